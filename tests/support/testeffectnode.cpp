#include "support/testeffectnode.h"

#include "render/fx.h"
#include "render/fxmanager.h"
#include "render/render.h"
#include "scene/nodedeclaration.h"
#include "scene/nodefactory.h"
#include "scene/pdtexture.h"


CTestEffectNode::~CTestEffectNode() = default;

void CTestEffectNode::Update(float time, CSceneContext*)
{
    UpdateInPorts(time);
    if (m_shader->m_changed)
        m_deviceDirty = 0xFFFFFFFFu;
    m_time = time;
    m_effect->m_value = this;
}

bool CTestEffectNode::RestoreDevice(CRender* render)
{
    m_technique.reset();
    m_fx.reset(render->GetRenderData()->GetFxManager()->ParseEffect(m_shader->m_value));
    if (m_fx)
        m_technique.reset(m_fx->GetBestTechnique());
    return m_technique != nullptr;
}

void CTestEffectNode::InvalidateDevice(CRender*)
{
    m_technique.reset();
    m_fx.reset();
}

CFxPass* CTestEffectNode::Begin()
{
    if (!m_technique)
        return nullptr;
    // Like the effects of scenes: both faces drawn, no depth, since a
    // full-screen rectangle's winding depends on the target.
    if (CRenderStateManager* states = m_render ? m_render->GetStateManager() : nullptr) {
        states->m_states.m_cullMode = 0;
        states->m_states.m_flags &= ~(RS_DepthTest | RS_DepthWrite);
        // Source and destination factors: one and zero, or one and one to add.
        states->m_states.m_srcBlend = 1;
        states->m_states.m_dstBlend = m_additive->m_value ? 1 : 0;
    }
    if (CFxParam time = m_fx->GetParam("time"))
        time.SetFloat(m_time);
    CFxParam tex = m_fx->GetParam("tex");
    if (tex && m_texture->m_value && m_render) {
        m_fx->SetTexture(tex, m_texture->m_value->GetTexture(m_render));
        m_textureSet = true;
    }
    return m_technique->FirstPass();
}

void CTestEffectNode::BeginPass(CFxPass* pass)
{
    pass->SetState();
}

CFxPass* CTestEffectNode::NextPass(CFxPass*)
{
    return m_technique->NextPass();
}

void CTestEffectNode::EndPass(CFxPass* pass)
{
    pass->ResetState();
}

void CTestEffectNode::End()
{
    // Holding the texture would keep its target out of the pool.
    if (m_textureSet && m_fx)
        m_fx->SetTexture(m_fx->GetParam("tex"), nullptr);
    m_textureSet = false;
}

void CTestEffectNode::SetColor(const float* rgba)
{
    std::copy(rgba, rgba + 4, m_color);
}

void CTestEffectNode::SetWorld(int, const float* matrix)
{
    std::copy(matrix, matrix + 16, m_fx->m_world.begin());
}

void CTestEffectNode::CommitChanges(CRender* render)
{
    if (CFxParam color = m_fx->GetParam("color"))
        color.SetVector4(m_color);
    m_fx->UpdateParameters(render);
}

CTestEffectNode::CType::CType() : m_factory(CNodeFactory::Get())
{
    const CNodeDeclaration declaration = {
        In(&CTestEffectNode::m_shader, "Shader", "Effect text", ""),
        In(&CTestEffectNode::m_texture, "Texture", "Texture of the sampler \"tex\""),
        In(&CTestEffectNode::m_additive, "Additive", "Adds to what is drawn instead of covering it", false),
        Out(&CTestEffectNode::m_effect, "Effect", "The compiled effect"),
    };
    m_info = declaration.MakeInfo(NG_Effects, TypeName, "Effect text for tests");
    m_factory->Add(m_info.get());
}

CTestEffectNode::CType::~CType()
{
    m_factory->Release();
}

namespace {

// Positions pass through untransformed: a rectangle from -1 to 1 covers the
// viewport, as full-screen effects expect.
constexpr const char* kVertexProgram = R"(
float4 color = float4(1, 1, 1, 1);
float time = 0;
struct VOut { float4 pos : POSITION; float2 uv : TEXCOORD0; };
VOut mainVS(float4 pos : POSITION, float2 uv : TEXCOORD0)
{
    VOut o;
    o.pos = float4(pos.xyz, 1);
    o.uv = uv;
    return o;
}
)";

constexpr const char* kTechnique = R"(
technique Main { pass P0 {
    VertexProgram = compile vp40 mainVS();
    FragmentProgram = compile fp40 mainPS();
    CullFaceEnable = false;
    DepthTestEnable = false;
} }
)";

} // namespace

std::string SolidColorEffect(const char* rgba)
{
    return std::string(kVertexProgram) + "float4 mainPS(VOut i) : COLOR { return float4(" + rgba + ") * color; }\n" +
           kTechnique;
}

std::string TextureEffect(const char* pixel)
{
    return std::string(kVertexProgram) +
           "sampler2D tex = sampler_state { MinFilter = Linear; MagFilter = Linear; WrapS = ClampToEdge; "
           "WrapT = ClampToEdge; };\n"
           "float4 mainPS(VOut i) : COLOR { return " +
           pixel + "; }\n" + kTechnique;
}

std::string GradientEffect()
{
    return std::string(kVertexProgram) +
           "float4 mainPS(VOut i) : COLOR { return float4(i.uv.x, i.uv.y, 0.5 + 0.5 * sin(time * 6.0), 1) * color; "
           "}\n" +
           kTechnique;
}
