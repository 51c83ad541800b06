#pragma once

#include "nodes/support/composedeffect.h"
#include "render/fx.h"
#include "scene/node.h"
#include "scene/pdeffect.h"
#include "scene/pdtexture.h"

#include <array>
#include <memory>
#include <string>

class CPortBool;
class CPortColor;
class CPortInt;
class CPortString;
class CPortTexture;
class CPortVector;
class CRenderTarget;
class CVertexBuffer;

// Runs a small shader of the author's over a texture into a smaller one,
// when a reader first asks for it in a frame. The effect it compiles is its
// own: as an effect holder it draws nothing (Begin answers null).
class CCopyTextureNode : public CNode, public CPDTexture, public CPDEffect
{
public:
    ~CCopyTextureNode() override;
    void Update(float time, CSceneContext* context) override;
    void FrameFinished() override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;

    // The copy made this frame; the first call of a frame draws it.
    std::shared_ptr<CTexture> GetTexture(CRender* render) override;

    CFxPass* Begin() override { return nullptr; }
    void BeginPass(CFxPass*) override {}
    CFxPass* NextPass(CFxPass*) override { return nullptr; }
    void EndPass(CFxPass*) override {}
    void End() override {}
    void SetColor(const float*) override {}
    void SetWorld(int, const float*) override {}
    void CommitChanges(CRender*) override {}

    bool HasTechnique() const { return m_compiled.Technique() != nullptr; }
    // The whole text handed to the compiler at the last RestoreDevice.
    const std::string& GetComposedText() const { return m_compiled.ComposedText(); }

    static constexpr int NumTextures = 3;

private:
    friend CNodeDeclaration DeclareNode<CCopyTextureNode>();

    bool MakeQuad(CRender* render);
    void Draw(CRender* render, const std::shared_ptr<CTexture>& source);
    void ReleaseQuad();

    CPortInt* m_textureSize = nullptr;
    CPortBool* m_createMipMaps = nullptr;
    std::array<CPortVector*, 3> m_vectorPorts{};
    std::array<CPortColor*, 2> m_colorPorts{};
    CPortString* m_shader = nullptr;
    std::array<CPortTexture*, NumTextures> m_texturePorts{};
    CPortTexture* m_out = nullptr;

    float m_time = 0.0f;
    float m_in[3][3] = {};
    float m_colors[2][4] = {};

    // The text written around the fragment, the same for every node of the type.
    static const SEffectDialect& Dialect();
    CComposedEffect m_compiled{Dialect()};
    std::shared_ptr<CRenderTarget> m_target;

    enum EParam
    {
        P_Time,
        P_In1,
        P_In2,
        P_In3,
        P_Color1,
        P_Color2,
        P_Tex1Size,
        P_Tex2Size,
        P_Tex3Size,
        P_Tex1,
        P_Tex2,
        P_Tex3,
        P_Count
    };

    struct SDeviceQuad
    {
        std::unique_ptr<CVertexBuffer> m_VertexBuffer;
    };
    std::array<SDeviceQuad, 1> m_quads;
};
