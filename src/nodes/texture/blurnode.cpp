#include "nodes/texture/blurnode.h"

#include "nodes/support/publishtexture.h"
#include "ports/types/dataports.h"
#include "render/camera.h"
#include "render/render.h"
#include "render/texture.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CNTBlur>()
{
    const std::vector<SChoice> widths = {{4, "4 pixels"},   {6, "6 pixels"},   {8, "8 pixels"},   {12, "12 pixels"},
                                         {16, "16 pixels"}, {18, "18 pixels"}, {20, "20 pixels"}, {24, "24 pixels"},
                                         {28, "28 pixels"}, {32, "32 pixels"}};
    return {
        In(&CNTBlur::m_dir, "Dir", "Blur direction", {2, 0, 3, {{0, "X"}, {1, "Y"}, {2, "Both"}}}),
        In(&CNTBlur::m_width, "Width", "Size of the blur", {6, 1, 1000, widths}),
        In(&CNTBlur::m_brightness, "Brightness", "How much to amplify the image", {1.0f, 0.1f, 0.0f, 1000.0f}),
        In(&CNTBlur::m_input, "Texture", "Texture"),
        Out(&CNTBlur::m_texture, "Texture", "Texture"),
    };
}

void CNTBlur::Update(float time, CSceneContext*)
{
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    UpdateInPorts(time);
    if (m_input->m_changed)
        m_deviceDirty = 0xFFFFFFFFu;
}

bool CNTBlur::RestoreDevice(CRender* render)
{
    if (!m_blur.Load(render, "nodedata/blur.cgfx"))
        return false;
    m_source = m_blur.Param("srcSampler");
    m_sourceSize = m_blur.Param("gSourceTextureSize");
    m_gain = m_blur.Param("gBrightness");
    m_horizontal4 = m_blur.Pass("horizontalPass4");
    m_vertical4 = m_blur.Pass("verticalPass4");
    m_horizontal6 = m_blur.Pass("horizontalPass6");
    m_vertical6 = m_blur.Pass("verticalPass6");
    return true;
}

void CNTBlur::InvalidateDevice(CRender*)
{
    m_blur.Reset();
    m_source = m_sourceSize = m_gain = CFxParam();
    m_horizontal4 = m_vertical4 = m_horizontal6 = m_vertical6 = CFxPass();
}

std::shared_ptr<CTexture> CNTBlur::GetTexture(CRender* render)
{
    if (m_input->m_connections.empty() || !m_input->m_value || !m_gain || !m_blur.IsLoaded())
        return nullptr;
    std::shared_ptr<CTexture> source = m_input->m_value->GetTexture(render);
    if (!source)
        return nullptr;
    CFx& fx = *m_blur.Fx();
    const float one = 1.0f;
    m_gain.SetFloat(one);
    CCamera camera;
    camera.m_projection = CCamera::Orthographic;
    camera.m_fov = 60.0f;
    camera.m_near = 0.0f;
    camera.m_far = 1000.0f;
    render->SetCamera(camera);
    SetPostStates(render);

    const int width = source->m_width, height = source->m_height, format = source->m_format;
    const float texel[2] = {1.0f / float(width), 1.0f / float(height)};
    const int dir = m_dir->m_value;
    // Rounds of six texels while more than five remain, then of four; the
    // last round may go past the width asked for.
    for (int remaining = m_width->m_value; remaining > 1;) {
        const bool six = remaining >= 6;
        remaining -= six ? 6 : 4;
        const bool last = remaining < 1;
        if (dir == 0 || dir == 2) {
            m_sourceSize.SetVector2(texel);
            m_gain.SetFloat(last && dir == 0 ? m_brightness->m_value : one);
            fx.SetTexture(m_source, source);
            CFxPass& pass = six ? m_horizontal6 : m_horizontal4;
            source = RunPass(render, fx, pass, width, height, format, "BlurNodeHBlur");
            if (!source)
                break;
        }
        if (dir == 1 || dir == 2) {
            m_sourceSize.SetVector2(texel);
            m_gain.SetFloat(last ? m_brightness->m_value : one);
            fx.SetTexture(m_source, source);
            CFxPass& pass = six ? m_vertical6 : m_vertical4;
            source = RunPass(render, fx, pass, width, height, format, "BlurNodeVBlur");
            if (!source)
                break;
        }
    }
    fx.SetTexture(m_source, nullptr);
    return source;
}
