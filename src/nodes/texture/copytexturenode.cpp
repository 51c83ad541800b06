#include "nodes/texture/copytexturenode.h"

#include "app/check.h"
#include "nodes/support/publishtexture.h"
#include "nodes/support/sizesteps.h"
#include "render/camera.h"
#include "render/fxmanager.h"
#include "render/noisetextures.h"
#include "render/render.h"
#include "render/rendertarget.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "scene/effecttext.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <algorithm>

namespace {

// A plain copy of the source.
constexpr const char* kDefaultFragment = "struct PSInput\r\n{\r\n\tfloat4 hpos : POSITION;\r\n\tfloat2 tex : "
                                         "TEXCOORD0;\r\n};\r\n\r\nPSInput VS_Program(VSInput vi)\r\n{\r\n\tPSInput "
                                         "pi;\r\n\tpi.hpos = mul(gWVP, float4(vi.pos.xyz, 1.0));\r\n\tpi.tex = "
                                         "vi.tex;\r\n\treturn pi;\r\n}\r\n\r\nfloat4 PS_Program(PSInput pi) : "
                                         "COLOR\r\n{\r\n\treturn tex2D(tex1, pi.tex);\r\n}";

constexpr const char* kShaderDescription =
    "Cgfx shader that draws the copy. The quad's corners lie at -0.5 and 0.5: gWVP makes it cover the "
    "texture.\n\t\t\t\t\t\tThere is also time,in1.x/y/z,in2.x/y/z,in3.x/y/z,color1,color2,tex1,tex2,tex3,"
    "tex1size,tex2size,tex3size.\n\t\t\t\t\t\tVSInput contains pos,col,tex,normal,tangent,binormal\n\t\t\t\t\t\t"
    "The size variables store width and height in xy.";

constexpr const char* kVertexInput = "struct VSInput{float3 pos:ATTR0;float4 col:ATTR3;float2 tex:ATTR8;float4 "
                                     "normal:ATTR2;float4 tangent:ATTR14;float4 binormal:ATTR15;};";

// The sizes are float2 here, not float4 as in the Shader node.
constexpr SEffectDeclaration kDeclarations[] = {
    {"gWVP", "float4x4 gWVP:WORLDVIEWPROJECTION;\n"},
    {"time", "float time;\n"},
    {"in1", "float3 in1;\n"},
    {"in2", "float3 in2;\n"},
    {"in3", "float3 in3;\n"},
    {"color1", "float4 color1;\n"},
    {"color2", "float4 color2;\n"},
    {"tex1size", "float2 tex1size;\n"},
    {"tex2size", "float2 tex2size;\n"},
    {"tex3size", "float2 tex3size;\n"},
};

// Handles fetched after each compile, in the order of the node's EParam.
constexpr const char* kParamNames[] = {
    "time",
    "in1",
    "in2",
    "in3",
    "color1",
    "color2",
    "tex1size",
    "tex2size",
    "tex3size",
    "tex1",
    "tex2",
    "tex3",
};

constexpr const char* kTextureNames[] = {"tex1", "tex2", "tex3"};

constexpr int QuadVertices = 6;

void FillQuad(SVertexPNTBTC* vertices)
{
    struct SCorner
    {
        float x, y, u, v;
    };
    static constexpr SCorner corners[QuadVertices] = {
        {-0.5f, 0.5f, 0, 1}, {-0.5f, -0.5f, 0, 0}, {0.5f, -0.5f, 1, 0},
        {0.5f, -0.5f, 1, 0}, {0.5f, 0.5f, 1, 1},   {-0.5f, 0.5f, 0, 1},
    };
    for (const SCorner& c : corners)
        *vertices++ = SVertexPNTBTC{{c.x, c.y, 0}, 0xFFFFFFFFu, {c.u, c.v}, {0, 0, -1}, {1, 0, 0}, {0, 1, 0}, 0};
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CCopyTextureNode>()
{
    const std::vector<SChoice> sizes = {
        {1, "50% of source size"},   {2, "25% of source size"},    {3, "12.5% of source size"},
        {4, "6.25% of source size"}, {5, "3.125% of source size"},
    };
    return {
        In(&CCopyTextureNode::m_textureSize, "TextureSize", "Size of the copy", {2, 1, 5, sizes}),
        In(&CCopyTextureNode::m_createMipMaps, "CreateMipMaps", "Build the smaller levels of the copy", false),
        InEach(&CCopyTextureNode::m_vectorPorts, "In", "123", "Input vector #", {{0, 0, 0}, 0.001f, 10000.0f}),
        InEach(&CCopyTextureNode::m_colorPorts, "Color", "12", "Input color #", {{1, 1, 1, 1}}),
        In(&CCopyTextureNode::m_shader, "Shader", kShaderDescription, kDefaultFragment),
        In(&CCopyTextureNode::m_texturePorts, 0, "Texture", "The texture to copy (tex1)"),
        In(&CCopyTextureNode::m_texturePorts, 1, "Texture2", "Texture 2 (tex2)"),
        In(&CCopyTextureNode::m_texturePorts, 2, "Texture3", "Texture 3 (tex3)"),
        Out(&CCopyTextureNode::m_out, "Texture", "The copy"),
    };
}

const SEffectDialect& CCopyTextureNode::Dialect()
{
    static_assert(std::size(kParamNames) == P_Count);
    static const SEffectDialect dialect{kWrapFastNoiseSampler, kWrapPermutationSamplers, kVertexInput, kDeclarations,
                                        kTextureNames, kParamNames};
    return dialect;
}

CCopyTextureNode::~CCopyTextureNode()
{
    m_target.reset();
    m_compiled.Reset();
    ReleaseQuad();
}

void CCopyTextureNode::Update(float time, CSceneContext* context)
{
    UpdateInPorts(time);
    PublishTexture(*m_out, this, 2, (m_createMipMaps->m_value ? PDT_MipMaps : 0) | PDT_ClampToEdge);
    for (size_t i = 0; i < 3; ++i)
        std::copy_n(m_vectorPorts[i]->m_value.begin(), 3, m_in[i]);
    for (size_t i = 0; i < 2; ++i)
        std::copy_n(m_colorPorts[i]->m_value.begin(), 4, m_colors[i]);
    m_time = context ? context->m_time : 0.0f;

    // The first texture counts too: its flags choose the sampler's filter,
    // and a mip map filter on a source without mip maps samples black.
    if (m_shader->m_changed || m_compiled.TexturesChanged(m_texturePorts))
        m_deviceDirty = 0xFFFFFFFFu;
}

bool CCopyTextureNode::RestoreDevice(CRender* render)
{
    if (!m_compiled.Build(render, m_shader->m_value, m_texturePorts))
        return false;
    return !m_compiled.Technique() || MakeQuad(render);
}

bool CCopyTextureNode::MakeQuad(CRender* render)
{
    SDeviceQuad* quad = &m_quads[size_t(render->GetDeviceIndex())];
    if (quad->m_VertexBuffer && quad->m_VertexBuffer->m_count == QuadVertices)
        return true;
    ReleaseQuad();
    const int vertexCount = QuadVertices;
    CHECK_FAILURE(!(quad->m_VertexBuffer = render->CreateVertexBuffer(vertexCount, 0, VBF_PNTBTC)));
    auto* vertices = static_cast<SVertexPNTBTC*>(quad->m_VertexBuffer->Lock());
    if (!vertices) {
        ReleaseQuad();
        return false;
    }
    FillQuad(vertices);
    quad->m_VertexBuffer->Unlock();
    return true;
}

void CCopyTextureNode::ReleaseQuad()
{
    for (SDeviceQuad& quad : m_quads)
        quad.m_VertexBuffer.reset();
}

void CCopyTextureNode::InvalidateDevice(CRender*)
{
    m_target.reset();
    dObjs[0].m_texture.reset();
    m_compiled.Reset();
    ReleaseQuad();
}

void CCopyTextureNode::FrameFinished()
{
    dObjs[0].m_texture.reset();
    m_target.reset();
}

std::shared_ptr<CTexture> CCopyTextureNode::GetTexture(CRender* render)
{
    const CPortTexture* texture = m_texturePorts[0];
    if (!render || !m_quads[size_t(render->GetDeviceIndex())].m_VertexBuffer || texture->m_connections.empty() ||
        !m_compiled.Technique() || !texture->m_value)
        return nullptr;
    std::shared_ptr<CTexture> source = texture->m_value->GetTexture(render);
    if (!source)
        return nullptr;
    // Drawn once a frame, however many readers ask.
    if (!m_target)
        Draw(render, source);
    return m_target ? dObjs[0].m_texture : nullptr;
}

void CCopyTextureNode::Draw(CRender* render, const std::shared_ptr<CTexture>& source)
{
    CTextureManager* pool = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    if (!pool)
        return;
    std::array<std::shared_ptr<CTexture>, NumTextures> textures{source};
    for (size_t i = 1; i < NumTextures; ++i) {
        CPDTexture* other = m_texturePorts[i]->m_value;
        if (!m_texturePorts[i]->m_connections.empty() && m_compiled.Param(P_Tex1 + i) && other)
            textures[i] = other->GetTexture(render);
    }

    const int step = m_textureSize->m_value;
    const STextureSize size =
        SizeFromSteps(step, step, source->m_width, source->m_height, source->m_width, source->m_height);
    m_target = pool->GetRenderTarget(size.width, size.height, source->m_format, 0, "CopyTextureNode");
    if (!m_target)
        return;
    dObjs[0].m_texture = m_target->GetColorTexture();

    CCamera camera;
    camera.m_projection = CCamera::Orthographic;
    camera.m_fov = 60.0f;
    camera.m_near = 0.0f;
    camera.m_far = 1000.0f;
    const CMatrix identity = MatrixIdentity();
    // Binding keeps the reader's camera and gives it back at Unbind.
    m_target->Bind(render);
    render->SetCamera(camera);
    render->SetTransform(TS_World, identity.data());
    if (CRenderStateManager* states = render->GetStateManager()) {
        states->m_states.m_flags &= ~(RS_DepthTest | RS_DepthWrite);
        states->m_states.m_cullMode = 0;
        states->m_states.m_srcBlend = 1;
        states->m_states.m_dstBlend = 0;
    }

    for (size_t i = 0; i < 3; ++i)
        if (CFxParam& in = m_compiled.Param(P_In1 + i))
            in.SetVector3(m_in[i]);
    for (size_t i = 0; i < 2; ++i)
        if (CFxParam& color = m_compiled.Param(P_Color1 + i))
            color.SetVector4(m_colors[i]);
    if (CFxParam& time = m_compiled.Param(P_Time))
        time.SetFloat(m_time);
    for (size_t i = 0; i < NumTextures; ++i) {
        if (!textures[i])
            continue;
        const float texSize[2] = {float(textures[i]->m_width), float(textures[i]->m_height)};
        if (CFxParam& param = m_compiled.Param(P_Tex1Size + i))
            param.SetVector2(texSize);
    }
    for (size_t i = 0; i < NumTextures; ++i)
        if (m_compiled.Param(P_Tex1 + i))
            m_compiled.Fx()->SetTexture(m_compiled.Param(P_Tex1 + i), textures[i]);
    m_compiled.BindNoiseTextures(render->GetRenderData()->GetNoiseTextures());

    m_compiled.Fx()->m_world = identity;
    if (CFxPass* pass = m_compiled.Technique()->FirstPass()) {
        pass->SetState();
        render->SetCamera(camera);
        m_compiled.Fx()->UpdateParameters(render);
        render->SetVertexBuffer(m_quads[size_t(render->GetDeviceIndex())].m_VertexBuffer.get());
        render->DrawPrimitive(PT_Triangles, 0, 2);
        pass->ResetState();
    }
    m_target->Unbind();

    // The effect lets go of the sources, so that their surfaces can go back.
    for (size_t i = 0; i < NumTextures; ++i)
        if (m_compiled.Param(P_Tex1 + i))
            m_compiled.Fx()->SetTexture(m_compiled.Param(P_Tex1 + i), nullptr);
    if (m_createMipMaps->m_value)
        if (CTexture* texture = dObjs[0].m_texture.get())
            texture->GenerateMipMaps();
}
