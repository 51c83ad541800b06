#pragma once

#include "scene/node.h"
#include "scene/nodeinfo.h"
#include "scene/pdeffect.h"

#include <memory>
#include <string>

class CFx;
class CFxTechnique;
class CPortEffect;
class CPortString;
class CPortTexture;
class CPortBool;

// An effect node for tests, until scenes carry their own effects: its
// "Shader" port holds a whole effect text, which it compiles on the device
// and publishes through "Effect". The effect may use the parameters
// "color" (the item's colour) and "time" (scene time), and the sampler
// "tex", which gets the texture of the "Texture" input while it draws. With
// "Additive" set it adds to the picture instead of covering it.
class CTestEffectNode : public CNode, public CPDEffect
{
public:
    ~CTestEffectNode() override;
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;

    CFxPass* Begin() override;
    void BeginPass(CFxPass* pass) override;
    CFxPass* NextPass(CFxPass* pass) override;
    void EndPass(CFxPass* pass) override;
    void End() override;
    void SetColor(const float* rgba) override;
    void SetWorld(int index, const float* matrix) override;
    void CommitChanges(CRender* render) override;

    bool HasTechnique() const { return m_technique != nullptr; }

    // A name outside the catalogue, so that tests can run beside the real
    // Shader node and every real node type.
    static constexpr const char* TypeName = "TestEffect";

    // Registers the type under TypeName in the factory while it lives.
    class CType
    {
    public:
        CType();
        ~CType();
        CType(const CType&) = delete;
        CType& operator=(const CType&) = delete;

    private:
        class CNodeFactory* m_factory;
        std::unique_ptr<CNodeInfo> m_info;
    };

private:
    CPortString* m_shader = nullptr;
    CPortTexture* m_texture = nullptr;
    CPortBool* m_additive = nullptr;
    CPortEffect* m_effect = nullptr;
    std::unique_ptr<CFx> m_fx;
    std::unique_ptr<CFxTechnique> m_technique;
    float m_time = 0.0f;
    float m_color[4] = {1, 1, 1, 1};
    bool m_textureSet = false;
};

// An effect that paints `rgba` ("r, g, b, a" in the text) over what it draws.
std::string SolidColorEffect(const char* rgba);
// An effect whose picture depends on position and time: red grows to the
// right, green upwards, and blue pulses with time.
std::string GradientEffect();
// An effect whose colour is `pixel`, an expression that may sample the
// sampler "tex" at the texture coordinate i.uv.
std::string TextureEffect(const char* pixel);
