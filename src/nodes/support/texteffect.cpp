#include "nodes/support/texteffect.h"

#include "app/paths.h"
#include "ports/types/dataports.h"
#include "ports/types/portcolor.h"
#include "ports/types/portint.h"
#include "ports/types/portstring.h"
#include "ports/types/portvector.h"
#include "render/noisetextures.h"
#include "render/render.h"
#include "render/texture.h"
#include "scene/nodedeclaration.h"
#include "scene/pdtexture.h"
#include "scene/scenecontext.h"

#include <algorithm>

namespace {

// Draws the font's distance field: the outline lies at one half of the alpha.
constexpr const char* kDefaultFragment =
    "struct PSInput\r\n{\r\n\tfloat4 hpos : POSITION;\r\n\tfloat4 diffuse : COLOR0;\r\n\tfloat2 tex : "
    "TEXCOORD0;\r\n};\r\n\r\nPSInput VS_Program(VSInput vi) \r\n{\r\n\tPSInput pi;\r\n\tpi.hpos\t\t= mul( gWVP, "
    "float4(vi.pos.xyz, 1.0));\r\n\tpi.tex\t\t= vi.tex;\r\n\tpi.diffuse = vi.col*color*color1;\r\n\treturn "
    "pi;\r\n}\r\n\r\nfloat4 PS_Program(PSInput pi) : COLOR\r\n{\r\n\tfloat4 c = tex2D(texfont, pi.tex);\r\n\tc.a = "
    "smoothstep(0.475, 0.525, c.a);\r\n\treturn c*pi.diffuse;\r\n}";

constexpr const char* kShaderDescription =
    "Cgfx shader to be used.\n\t\t\t\t\t\tInputs are "
    "in1.x/y/z,color1,color2,color3,texfont,tex1,tex2,tex1size,tex2size.\n\t\t\t\t\t\tVSInput contains pos,col,tex";

constexpr const char* kFontSampler = "sampler texfont = sampler_state { MinFilter = LinearMipMapLinear; MagFilter = "
                                     "Linear; WrapS = ClampToEdge; WrapT = ClampToEdge; };\n";
constexpr const char* kVertexInput = "struct VSInput{float3 pos:ATTR0;float4 col:ATTR3;float2 tex:ATTR8;};";

constexpr SEffectDeclaration kDeclarations[] = {
    {"gWVP", "float4x4 gWVP:WORLDVIEWPROJECTION;\n"},
    {"time", "float time;\n"},
    {"in1", "float3 in1;\n"},
    {"color", "float4 color;\n"},
    {"color1", "float4 color1;\n"},
    {"color2", "float4 color2;\n"},
    {"color3", "float4 color3;\n"},
    {"tex1size", "float2 tex1size;\n"},
    {"tex2size", "float2 tex2size;\n"},
};

constexpr const char* kParamNames[] = {"time",    "in1",      "color",    "color1", "color2", "color3",
                                       "texfont", "tex1size", "tex2size", "tex1",   "tex2"};

constexpr const char* kTextureNames[] = {"tex1", "tex2"};

} // namespace

TPorts<CTextEffectNode> CTextEffectNode::StatePorts()
{
    return {
        In(&CTextEffectNode::m_srcBlend, "SrcBlend", "Source blend mode", {6, 0, 11, BlendModeChoices()}),
        In(&CTextEffectNode::m_dstBlend, "DstBlend", "Destination blend mode", {8, 0, 11, BlendModeChoices()}),
        In(&CTextEffectNode::m_cullMode, "CullMode", "Cull mode", {2, 0, 2, CullModeChoices()}),
    };
}

TPorts<CTextEffectNode> CTextEffectNode::EffectPorts()
{
    return {
        In(&CTextEffectNode::m_in1, "In1", "Input vector 1", {{0, 0, 0}, 0.1f, 10000.0f}),
        InEach(&CTextEffectNode::m_colorPorts, "Color", "123", "Color #", {{1, 1, 1, 1}}),
        In(&CTextEffectNode::m_shader, "Shader", kShaderDescription, kDefaultFragment),
        In(&CTextEffectNode::m_objectTexture, "Object", "Object"),
        InEach(&CTextEffectNode::m_texturePorts, "Texture", "12", "Texture #"),
        Out(&CTextEffectNode::m_objectOut, "Object", "Object"),
    };
}

const SEffectDialect& CTextEffectNode::Dialect()
{
    static_assert(std::size(kParamNames) == P_Count);
    static const SEffectDialect dialect{kWrapFastNoiseSampler, kWrapPermutationSamplers,
                                        kVertexInput,          kDeclarations,
                                        kTextureNames,         kParamNames,
                                        kFontSampler,          true};
    return dialect;
}

CTextEffectNode::CTextEffectNode() : CPDComposedEffect(Dialect(), P_Color, P_Tex1)
{}

CTextEffectNode::~CTextEffectNode()
{
    m_compiled.Reset();
}

void CTextEffectNode::UpdateEffectInputs(CSceneContext* context)
{
    m_objectOut->m_value = this;
    std::copy_n(m_in1->m_value.begin(), 3, m_in);
    for (size_t i = 0; i < m_colorPorts.size(); ++i)
        std::copy_n(m_colorPorts[i]->m_value.begin(), 4, m_colors[i]);
    m_time = context ? context->m_time : 0.0f;
    if (m_shader->m_changed || m_compiled.TexturesChanged(m_texturePorts))
        m_deviceDirty = 0xFFFFFFFFu;
}

void CTextEffectNode::LoadFont(const char* name, int capacity)
{
    const std::string path = g_paths.m_appPath + "/" + name;
    if (path != m_fontPath)
        m_deviceDirty = 0xFFFFFFFFu; // a new page for the device
    m_fontPath = path;
    m_font.Load(path, capacity);
}

bool CTextEffectNode::RestoreDevice(CRender* render)
{
    const bool font = m_fontPath.empty() || m_font.RestoreDevice(render);
    return m_compiled.Build(render, m_shader->m_value, m_texturePorts) && font;
}

void CTextEffectNode::InvalidateDevice(CRender* render)
{
    DropTextures();
    m_compiled.Reset();
    if (render)
        m_font.InvalidateDevice(render);
}

void CTextEffectNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (list && parents)
        m_font.AddToRenderList(list, parents, camera, this);
}

CFxPass* CTextEffectNode::Begin()
{
    if (!m_compiled.Technique() || !m_render)
        return nullptr;
    HoldTextures(m_texturePorts);
    if (CRenderStateManager* states = m_render->GetStateManager()) {
        states->m_states.m_flags &= ~int32_t(RS_DepthTest | RS_DepthWrite);
        states->m_states.m_cullMode = m_cullMode->m_value;
        states->m_states.m_srcBlend = m_srcBlend->m_value;
        states->m_states.m_dstBlend = m_dstBlend->m_value;
    }
    if (CFxParam& in1 = m_compiled.Param(P_In1))
        in1.SetVector3(m_in);
    for (size_t i = 0; i < 3; ++i)
        if (CFxParam& color = m_compiled.Param(P_Color1 + i))
            color.SetVector4(m_colors[i]);
    if (CFxParam& time = m_compiled.Param(P_Time))
        time.SetFloat(m_time);
    if (m_compiled.Param(P_TexFont))
        m_compiled.Fx()->SetTexture(m_compiled.Param(P_TexFont), m_font.GetTexture(m_render));
    // Width and height only, unlike the Shader node's sizes.
    BindTextures(P_Tex1Size, [](CFxParam& size, const CTexture& texture) {
        const float extent[2] = {float(texture.m_width), float(texture.m_height)};
        size.SetVector2(extent);
    });
    if (m_render->GetRenderData())
        m_compiled.BindNoiseTextures(m_render->GetRenderData()->GetNoiseTextures());
    return m_compiled.Technique()->FirstPass();
}
