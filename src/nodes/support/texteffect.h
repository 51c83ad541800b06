#pragma once

#include "nodes/support/composedeffect.h"
#include "render/font.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <array>
#include <memory>
#include <string>

class CPortColor;
class CPortInt;
class CPortObject;
class CPortString;
class CPortTexture;
class CPortVector;
class CTexture;
template <class TOwner>
class TPorts;

// The common part of the text nodes (TextWriter, Clock): a font whose quads
// are the drawn object, and an effect of their own composed around the
// author's fragment, with the font's page as `texfont`.
class CTextEffectNode : public CNode, public CPDObject, public CPDComposedEffect
{
public:
    CTextEffectNode();
    // Their rows in a node's port table: the blend and cull ports, then the
    // shader's inputs, textures and the Object output.
    static TPorts<CTextEffectNode> StatePorts();
    static TPorts<CTextEffectNode> EffectPorts();

    ~CTextEffectNode() override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    CFxPass* Begin() override;

    bool HasTechnique() const { return m_compiled.Technique() != nullptr; }
    const std::string& GetComposedText() const { return m_compiled.ComposedText(); }
    CFont& GetFont() { return m_font; }

    static constexpr int NumTextures = 2;

protected:
    // Publishes the object, copies the shader's inputs of this frame and asks
    // for a new compile when the fragment or a texture source changed. Call
    // after UpdateInPorts.
    void UpdateEffectInputs(CSceneContext* context);
    // Loads a font file of the data folder ("nodedata/fonts/...") with room
    // for `capacity` glyphs, and gets its page onto the device next draw.
    void LoadFont(const char* name, int capacity);

    CFont m_font;

private:
    static const SEffectDialect& Dialect();

    CPortInt* m_srcBlend = nullptr;
    CPortInt* m_dstBlend = nullptr;
    CPortInt* m_cullMode = nullptr;
    CPortVector* m_in1 = nullptr;
    std::array<CPortColor*, 3> m_colorPorts{};
    CPortString* m_shader = nullptr;
    CPortTexture* m_objectTexture = nullptr;
    std::array<CPortTexture*, NumTextures> m_texturePorts{};
    CPortObject* m_objectOut = nullptr;

    float m_in[3] = {};
    float m_colors[3][4] = {};
    float m_time = 0.0f;
    std::string m_fontPath;

    enum EParam
    {
        P_Time, P_In1, P_Color, P_Color1, P_Color2, P_Color3, P_TexFont, P_Tex1Size, P_Tex2Size, P_Tex1, P_Tex2,
        P_Count
    };
};
