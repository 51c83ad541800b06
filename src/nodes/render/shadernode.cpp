#include "nodes/render/shadernode.h"

#include "app/random.h"
#include "render/camera.h"
#include "render/fxmanager.h"
#include "render/noisetextures.h"
#include "render/render.h"
#include "render/texture.h"
#include "scene/effecttext.h"
#include "scene/nodedeclaration.h"
#include "scene/pdtexture.h"
#include "scene/scenecontext.h"

#include <algorithm>

namespace {

constexpr const char* kDefaultFragment =
    "struct PSInput\r\n{\r\n\tfloat4 hpos : POSITION;\r\n\tfloat4 diffuse : COLOR0;\r\n\tfloat2 tex : "
    "TEXCOORD0;\r\n};\r\n\r\nPSInput VS_Program(VSInput vi) \r\n{\r\n\tPSInput pi;\r\n\tpi.hpos\t\t= mul( gWVP, "
    "float4(vi.pos.xyz, 1.0));\r\n\tpi.tex\t\t= vi.tex;\r\n\tpi.diffuse = vi.col*color1*color;\r\n\treturn "
    "pi;\r\n}\r\n\r\nfloat4 PS_Program(PSInput pi) : COLOR\r\n{\r\n\tfloat2 p = pi.tex*2.0 - 1.0;\r\n\t// return "
    "tex2D(tex1, pi.tex)*pi.diffuse;\r\n\treturn pi.diffuse*(1.0-length(p));\r\n}";

constexpr const char* kShaderDescription =
    "Cgfx shader to be used.\n\t\t\t\t\t\tCommon matrices are "
    "gW,gWVP,gWIT,gVI,gV,gP,gWV,gVP,gWT,gVT,gPT,gWVPT,gWVT,gVPT. So gWVP is the WorldViewProjection "
    "matrix.\n\t\t\t\t\t\tThere is also "
    "time,in1.x/y/z,in2.x/y/z,in3.x/y/z,color1,color2,tex1,tex2,tex3,tex1size,tex2size,tex3size,targetsize,znear "
    "and zfar.\n\t\t\t\t\t\tVSInput contains pos,col,tex,normal,tangent,binormal\n\t\t\t\t\t\tAll size variables "
    "store width and height in xy and 1.0/width, 1.0/height in zw.\n\t\t\t\t\t\tFast noise: "
    "_noisefast,_noisegradientfast,_fbmfast,_turbulencefast,_ridgedmffast,_voronoi\n\t\t\t\t\t\tDetailed noise: "
    "_noise,_fbm,_turbulence,_ridgedmf\n\t\t\t\t\t\tHelpers: _bump,_cubicpulse";

constexpr const char* kExpressionDescription =
    "Preprocessing expression. Inputs are the same as the node inputs in1.x, in2.y and so on. There is also "
    "time,deltatime,perm (Not reset for the life of the node. Initial value 0) and permrand (Not reset for the "
    "life of the node. Initial value 0.0-1.0). Before the input values will be set they can be changed using this "
    "expression. Use this to moving an expression like 'sin(time)' from the vertex/pixel shader. Please see the "
    "website for detailed description of this port.";

constexpr const char* kFastNoiseSampler =
    "sampler3D gFastPerlinNoiseSampler = sampler_state { MinFilter = Linear; MagFilter = Linear; AddressU = Repeat; "
    "AddressV = Repeat; AddressW = Repeat; };\n";
constexpr const char* kPermutationSamplers =
    "sampler1D gPermutation1dSampler = sampler_state { MinFilter = Point; MagFilter = Point; AddressU = Repeat; };\n"
    "sampler2D gPermutation2dSampler = sampler_state { MinFilter = Point; MagFilter = Point; AddressU = Repeat; "
    "AddressV = Repeat; };\n"
    "#include \"shader.cgh\"\n";
constexpr const char* kVertexInput =
    "struct VSInput{float3 pos:ATTR0;float4 col:ATTR3;float2 tex:ATTR8;float4 normal:ATTR2;float4 "
    "tangent:ATTR14;float4 binormal:ATTR15;int vertexid : VERTEXID;int instanceid : INSTANCEID;};";

// In the order the header declares them.
constexpr SEffectDeclaration kDeclarations[] = {
    {"gWIT", "float4x4 gWIT:WORLDINVERSETRANSPOSE;\n"},
    {"gWVP", "float4x4 gWVP:WORLDVIEWPROJECTION;\n"},
    {"gVI", "float4x4 gVI:VIEWINVERSE;\n"},
    {"gW", "float4x4 gW:WORLD;\n"},
    {"gV", "float4x4 gV:VIEW;\n"},
    {"gP", "float4x4 gP:PROJECTION;\n"},
    {"gWV", "float4x4 gWV:WORLDVIEW;\n"},
    {"gVP", "float4x4 gVP:VIEWPROJECTION;\n"},
    {"gWT", "float4x4 gWT:WORLDTRANSPOSE;\n"},
    {"gVT", "float4x4 gVT:VIEWTRANSPOSE;\n"},
    {"gPT", "float4x4 gPT:PROJECTIONTRANSPOSE;\n"},
    {"gWVPT", "float4x4 gWVPT:WORLDVIEWPROJECTIONTRANSPOSE;\n"},
    {"gWVT", "float4x4 gWVT:WORLDVIEWTRANSPOSE;\n"},
    {"gVPT", "float4x4 gVPT:VIEWPROJECTIONTRANSPOSE;\n"},
    {"gVPI", "float4x4 gVPI:VIEWPROJECTIONINVERSE;\n"},
    {"znear", "float znear;\n"},
    {"zfar", "float zfar;\n"},
    {"time", "float time;\n"},
    {"in1", "float3 in1;\n"},
    {"in2", "float3 in2;\n"},
    {"in3", "float3 in3;\n"},
    {"color", "float4 color;\n"},
    {"color1", "float4 color1;\n"},
    {"color2", "float4 color2;\n"},
    {"framenr", "float framenr;\n"},
    {"tex1size", "float4 tex1size;\n"},
    {"tex2size", "float4 tex2size;\n"},
    {"tex3size", "float4 tex3size;\n"},
    {"targetsize", "float4 targetsize;\n"},
};

// Handles fetched after each compile, in the order of the node's EParam.
constexpr const char* kParamNames[] = {
    "znear",    "zfar",     "time",     "framenr", "in1",  "in2",  "in3",  "color",      "color1",
    "color2",   "tex1size", "tex2size", "tex3size", "tex1", "tex2", "tex3", "targetsize",
};

constexpr const char* kTextureNames[] = {"tex1", "tex2", "tex3"};

} // namespace

template <>
CNodeDeclaration DeclareNode<CShaderNode>()
{
    const std::vector<SChoice>& blends = BlendModeChoices();
    return {
        In(&CShaderNode::m_depthTest, "DepthTest", "Test any written values against the depth buffer", true),
        In(&CShaderNode::m_depthWrite, "DepthWrite", "Write to the depth buffer when rendering new objects", true),
        In(&CShaderNode::m_srcBlend, "SrcBlend", "Source blend mode", {1, 0, 11, blends}),
        In(&CShaderNode::m_dstBlend, "DstBlend", "Destination blend mode", {0, 0, 11, blends}),
        In(&CShaderNode::m_cullMode, "CullMode", "Cull mode", {2, 0, 2, CullModeChoices()}),
        InEach(&CShaderNode::m_vectorPorts, "In", "123", "Input vector #", {{0, 0, 0}, 0.001f, 10000.0f}),
        InEach(&CShaderNode::m_colorPorts, "Color", "12", "Input color #", {{1, 1, 1, 1}}),
        In(&CShaderNode::m_shader, "Shader", kShaderDescription, kDefaultFragment),
        In(&CShaderNode::m_randomSeed, "RandomSeed", "Random seed to be used by the rand() and srand() functions",
           {1, 1, 100000}),
        In(&CShaderNode::m_expression, "Expression", kExpressionDescription, ""),
        InEach(&CShaderNode::m_texturePorts, "Texture", "123", "Texture #"),
        Out(&CShaderNode::m_effect, "Effect", "Effect"),
    };
}

const SEffectDialect& CShaderNode::Dialect()
{
    static_assert(std::size(kParamNames) == P_Count);
    static const SEffectDialect dialect{kFastNoiseSampler, kPermutationSamplers, kVertexInput, kDeclarations,
                                        kTextureNames, kParamNames};
    return dialect;
}

CShaderNode::CShaderNode() : CPDComposedEffect(Dialect(), P_Color, P_Tex1)
{
}

CShaderNode::~CShaderNode()
{
    m_compiled.Reset();
}

bool CShaderNode::Init()
{
    static constexpr const char* names[] = {"in1.x",  "in1.y",  "in1.z",  "in2.x",     "in2.y",     "in2.z",
                                            "in3.x",  "in3.y",  "in3.z",  "col1.r",    "col1.g",    "col1.b",
                                            "col1.a", "col2.r", "col2.g", "col2.b",    "col2.a",    "time",
                                            "scenetime", "deltatime", "aspect", "perm", "permrand"};
    static_assert(std::size(names) == V_Count);
    for (int i = 0; i < V_PermRand; ++i)
        m_expressionContext.AddVariable(names[i], &m_variables[size_t(i)], 0.0);
    m_expressionContext.AddVariable(names[V_PermRand], &m_variables[V_PermRand], g_random.NextUnit());
    m_expressionContext.BindLists();
    return true;
}

void CShaderNode::Update(float time, CSceneContext* context)
{
    m_effect->m_value = this;
    UpdateInPorts(time);
    if (m_expression->m_changed)
        m_expressionContext.Parse(m_expression->m_value);

    for (size_t i = 0; i < 3; ++i)
        std::copy_n(m_vectorPorts[i]->m_value.begin(), 3, m_in[i]);
    for (size_t i = 0; i < 2; ++i)
        std::copy_n(m_colorPorts[i]->m_value.begin(), 4, m_colors[i]);
    m_time = context ? context->m_time : 0.0f;
    m_variables[V_SceneTime] = m_time;
    m_variables[V_Aspect] = context ? context->m_aspect : 1.0f;
    // Reseeded every frame, so that rand() starts each frame alike.
    m_expressionContext.SeedRandom(uint32_t(m_randomSeed->m_value));
    m_frame = context ? float(context->m_frame) : 0.0f;

    if (m_expressionContext.IsValid()) {
        m_variables[V_DeltaTime] = context ? context->m_deltaTime : 0.0f;
        m_variables[V_Time] = m_time;
        for (size_t i = 0; i < 9; ++i)
            m_variables[V_In1X + i] = m_in[i / 3][i % 3];
        for (size_t i = 0; i < 8; ++i)
            m_variables[V_Col1R + i] = m_colors[i / 4][i % 4];
        m_expressionContext.Evaluate();
        // A script that failed half-way leaves the ports' values.
        if (m_expressionContext.IsValid()) {
            for (size_t i = 0; i < 9; ++i)
                m_in[i / 3][i % 3] = float(m_variables[V_In1X + i]);
            for (size_t i = 0; i < 8; ++i)
                m_colors[i / 4][i % 4] = float(m_variables[V_Col1R + i]);
            m_time = float(m_variables[V_Time]);
        }
    }

    if (m_shader->m_changed || m_compiled.TexturesChanged(m_texturePorts))
        m_deviceDirty = 0xFFFFFFFFu;

    m_setMask = m_clearMask = 0;
    (m_depthTest->m_value ? m_setMask : m_clearMask) |= RS_DepthTest;
    (m_depthWrite->m_value ? m_setMask : m_clearMask) |= RS_DepthWrite;
}

bool CShaderNode::RestoreDevice(CRender* render)
{
    if (!m_compiled.Build(render, m_shader->m_value, m_texturePorts))
        return false;
    return true;
}

void CShaderNode::InvalidateDevice(CRender*)
{
    DropTextures();
    m_compiled.Reset();
}

CFxPass* CShaderNode::Begin()
{
    if (!m_compiled.Technique() || !m_render)
        return nullptr;
    const SRect& rect = m_render->m_currentRect;
    const float width = float(rect.Width()), height = float(rect.Height());
    auto sizeOf = [](float w, float h) {
        return std::array<float, 4>{w, h, w > 0 ? 1.0f / w : 0.0f, h > 0 ? 1.0f / h : 0.0f};
    };
    if (CFxParam& target = m_compiled.Param(P_TargetSize))
        target.SetVector4(sizeOf(width, height).data());

    HoldTextures(m_texturePorts);

    if (CRenderStateManager* states = m_render->GetStateManager()) {
        states->m_states.m_flags |= int32_t(m_setMask);
        states->m_states.m_flags &= ~int32_t(m_clearMask);
        states->m_states.m_cullMode = m_cullMode->m_value;
        states->m_states.m_srcBlend = m_srcBlend->m_value;
        states->m_states.m_dstBlend = m_dstBlend->m_value;
    }
    for (size_t i = 0; i < 3; ++i)
        if (CFxParam& in = m_compiled.Param(P_In1 + i))
            in.SetVector3(m_in[i]);
    for (size_t i = 0; i < 2; ++i)
        if (CFxParam& color = m_compiled.Param(P_Color1 + i))
            color.SetVector4(m_colors[i]);
    if (CFxParam& time = m_compiled.Param(P_Time))
        time.SetFloat(m_time);
    if (const CCamera* camera = m_render->GetCamera()) {
        if (CFxParam& znear = m_compiled.Param(P_ZNear))
            znear.SetFloat(camera->m_near);
        if (CFxParam& zfar = m_compiled.Param(P_ZFar))
            zfar.SetFloat(camera->m_far);
    }
    if (CFxParam& frame = m_compiled.Param(P_FrameNr))
        frame.SetFloat(m_frame);
    BindTextures(P_Tex1Size, [&](CFxParam& size, const CTexture& texture) {
        size.SetVector4(sizeOf(float(texture.m_width), float(texture.m_height)).data());
    });
    if (m_render->GetRenderData())
        m_compiled.BindNoiseTextures(m_render->GetRenderData()->GetNoiseTextures());
    return m_compiled.Technique()->FirstPass();
}
