#include "nodes/texture/rendertotexturenode.h"

#include "app/log.h"
#include "nodes/support/publishtexture.h"
#include "nodes/support/sizesteps.h"
#include "render/render.h"
#include "render/rendertarget.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "scene/nodedeclaration.h"
#include "scene/effectpasses.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <array>

namespace {

constexpr int MaxCustomSize = 4096;

void ClearTransparent(CRender* render)
{
    static const float transparent[4] = {0, 0, 0, 0};
    render->Clear(transparent, 1.0f, CF_Color | CF_Depth);
}

bool IsTargetFormat(int format)
{
    return format == TF_A8R8G8B8 || format == TF_A32R32G32B32F || format == TF_A16R16G16B16F ||
           format == TF_R11G11B10F;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CRenderToTextureNode>()
{
    const std::vector<SChoice> formats = {
        {TF_A8R8G8B8, "RGBA 8bit"},
        {TF_A32R32G32B32F, "RGBA 32bit float"},
        {TF_A16R16G16B16F, "RGBA 16bit float"},
        {TF_R11G11B10F, "RGB R11,G11,B10 bit float"},
    };
    const std::vector<SChoice> sizeSteps = {
        {-1, "Custom size in pixels"}, {0, "100% of render size"},  {1, "50% of render size"},
        {2, "25% of render size"},     {3, "12.5% of render size"}, {4, "6.25% of render size"},
        {5, "3.125% of render size"},
    };
    return {
        In(&CRenderToTextureNode::m_format, "Format", "Pixel format of the texture", {1, 1, 6, formats}),
        In(&CRenderToTextureNode::m_width, "Width", "Width of the texture", {0, -1, 5, sizeSteps}),
        In(&CRenderToTextureNode::m_height, "Height", "Height of the texture", {0, -1, 5, sizeSteps}),
        In(&CRenderToTextureNode::m_widthCustom, "WidthCustom", "Width in pixels for a custom size",
           {256, 1, MaxCustomSize}),
        In(&CRenderToTextureNode::m_heightCustom, "HeightCustom", "Height in pixels for a custom size",
           {256, 2, MaxCustomSize}),
        In(&CRenderToTextureNode::m_createMipMaps, "CreateMipMaps", "Build the smaller levels of the texture", true),
        In(&CRenderToTextureNode::m_swapTime, "ColorNextSwapTime",
           "Seconds between swaps of Color and ColorNext; 0 swaps every frame", {0.0f, 0.001f, 0.0f, 10.0f}),
        In(&CRenderToTextureNode::m_effect, "Effect", "Effect applied to the whole texture"),
        In(&CRenderToTextureNode::m_render, "Render", "Render chain drawn into the texture"),
        Out(&CRenderToTextureNode::m_color, "Color", "The texture drawn this frame"),
        Out(&CRenderToTextureNode::m_colorNext, "ColorNext",
            "The next color texture we are going to render to. Use this texture before its overwritten/reused in "
            "the next frame"),
    };
}

// ---- CRTTColor ----

std::shared_ptr<CTexture> CRTTColor::GetTexture(CRender* render)
{
    return m_target ? dObjs[size_t(render->GetDeviceIndex())].m_texture : nullptr;
}

void CRTTColor::Take(std::shared_ptr<CRenderTarget> target)
{
    m_target = std::move(target);
    dObjs[0].m_texture = m_target ? m_target->GetColorTexture() : nullptr;
}

void CRTTColor::Drop()
{
    dObjs[0].m_texture.reset();
    m_target.reset();
}

// ---- CRenderToTextureNode ----

int CRenderToTextureNode::TargetFormat()
{
    const int format = m_format->m_value;
    if (IsTargetFormat(format))
        return format;
    if (format != m_reportedFormat) {
        m_reportedFormat = format;
        Error("RenderToTexture \"%s\": unknown Format %d, RGBA 8bit is used", m_name.c_str(), format);
    }
    return TF_A8R8G8B8;
}

void CRenderToTextureNode::DropTargets()
{
    for (CRTTColor& record : m_records)
        record.Drop();
    m_current = 0;
}

void CRenderToTextureNode::Update(float time, CSceneContext* context)
{
    // The settings are read first, so that a connected size or format counts
    // in this frame. Effect and Render are pulled only once ColorNext is
    // published below: a feedback effect reads it while being pulled.
    const std::array<CPort*, 7> settings{m_format,      m_width,         m_height,  m_widthCustom,
                                         m_heightCustom, m_createMipMaps, m_swapTime};
    for (CPort* port : settings)
        port->Update(time);

    m_sinceSwap += context->m_deltaTime;
    if (m_swapTime->m_value <= m_sinceSwap || m_swapTime->m_value <= 0.0f) {
        m_sinceSwap = 0.0f;
        m_swapWanted = true;
    }

    const int format = TargetFormat();
    // A connected size beyond the ports' limits is held to them.
    const STextureSize size =
        SizeFromSteps(m_width->m_value, m_height->m_value, std::clamp(m_widthCustom->m_value, 1, MaxCustomSize),
                      std::clamp(m_heightCustom->m_value, 2, MaxCustomSize), TruncateToInt(context->m_width),
                      TruncateToInt(context->m_height));
    const CRenderTarget* held = m_records[size_t(m_current)].m_target.get();
    // A new render size also needs new surfaces; the feedback starts over.
    if (m_format->m_changed || m_width->m_changed || m_height->m_changed || m_widthCustom->m_changed ||
        m_heightCustom->m_changed || (held && (held->m_width != size.width || held->m_height != size.height)))
        DropTargets();

    CRender* render = context->m_render;
    const bool feedback = !m_colorNext->m_connections.empty();
    const bool drawable = render && TakeTargets(render, size.width, size.height, format, feedback);

    const int flags = (m_createMipMaps->m_value ? PDT_MipMaps : 0) | PDT_ClampToEdge;
    PublishTexture(*m_color, &m_records[size_t(m_current)], 2, flags);
    PublishTexture(*m_colorNext, feedback ? &m_records[size_t(1 - m_current)] : nullptr, 2, flags);

    m_effect->Update(time);
    m_render->Update(time);
    if (drawable)
        Draw(render, context);
}

bool CRenderToTextureNode::TakeTargets(CRender* render, int width, int height, int format, bool feedback)
{
    CTextureManager* manager = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    if (!manager)
        return false;
    CRTTColor& current = m_records[size_t(m_current)];
    if (!current.m_target)
        current.Take(manager->GetRenderTarget(width, height, format, TF_D24S8, "RenderToTextureNode1"));
    CRTTColor& next = m_records[size_t(1 - m_current)];
    if (feedback && !next.m_target) {
        // What ColorNext shows before anything was drawn into it.
        next.Take(manager->GetRenderTarget(width, height, format, TF_D24S8, "RenderToTextureNode2"));
        if (next.m_target) {
            next.m_target->Bind(render);
            ClearTransparent(render);
            next.m_target->Unbind();
        }
    }
    return current.m_target != nullptr;
}

void CRenderToTextureNode::Draw(CRender* render, CSceneContext* context)
{
    CRTTColor& current = m_records[size_t(m_current)];
    CPDEffect* effect = m_effect->m_value;
    m_list.Reset();
    if (!effect) {
        if (CNode* upstream = m_render->GetConnectedNode())
            upstream->BuildRenderList(&m_list, &m_list.GetRootList(), context->m_camera);
    }
    // Without anything to draw the texture is transparent black, not what
    // the pooled surface held before.
    const bool empty = !effect && m_list.GetRoot()->m_children.Empty();

    current.m_target->Bind(render);
    if (empty) {
        ClearTransparent(render);
    } else if (!effect) {
        m_list.Draw(render);
    } else {
        ClearTransparent(render);
        DrawEachPass(effect, render, [render] { render->DrawFullScreenQuad(); });
    }
    current.m_target->Unbind();

    // Also for an empty picture: a texture published with mip maps must have them.
    if (m_createMipMaps->m_value) {
        if (CTexture* texture = current.dObjs[0].m_texture.get())
            texture->GenerateMipMaps();
    }
}

void CRenderToTextureNode::FrameFinished()
{
    if (m_colorNext->m_connections.empty()) {
        DropTargets();
        return;
    }
    if (!m_swapWanted)
        return;
    // The surface drawn this frame becomes ColorNext; the one read through
    // ColorNext goes back, and the next update takes a fresh current one.
    m_records[size_t(1 - m_current)].Drop();
    m_current = 1 - m_current;
    m_swapWanted = false;
}

void CRenderToTextureNode::InvalidateDevice(CRender*)
{
    DropTargets();
}

bool CRenderToTextureNode::ResetDevice(CRender*)
{
    return true;
}
