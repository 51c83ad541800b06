#include "nodes/texture/bloomnode.h"

#include "nodes/support/publishtexture.h"
#include "ports/types/dataports.h"
#include "render/render.h"
#include "render/texture.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CBloomNode>()
{
    return {
        In(&CBloomNode::m_format, "Format",
           "Format of the texture. The 8 bit format is not recommended for bloom since it needs higher precision.",
           {5, 0, 6, PostFormats()}),
        In(&CBloomNode::m_blurIterations, "BlurIterations", "Each iteration creates a wider bloom", {3, 1, 5}),
        In(&CBloomNode::m_weightScale, "WeightScale", "How much to scale all the weights", {1.0f, 0.1f, 0.0f, 100000.0f}),
        In(&CBloomNode::m_weights, 0, "Weight1", "The weight to add to the smallest blur radius",
           {1.0f, 0.1f, 0.0f, 100000.0f}),
        In(&CBloomNode::m_weights, 1, "Weight2", "The weight to add to the medium-smallest blur radius",
           {1.0f, 0.1f, 0.0f, 100000.0f}),
        In(&CBloomNode::m_weights, 2, "Weight3", "The weight to add to the medium blur radius",
           {1.0f, 0.1f, 0.0f, 100000.0f}),
        In(&CBloomNode::m_weights, 3, "Weight4", "The weight to add to the medium-largest blur radius",
           {1.0f, 0.1f, 0.0f, 100000.0f}),
        In(&CBloomNode::m_weights, 4, "Weight5", "The weight to add to the largest blur radius",
           {1.0f, 0.1f, 0.0f, 100000.0f}),
        In(&CBloomNode::m_threshold, "Threshold", "Any region above this threshold will recived bloom",
           {0.0f, 0.1f, 0.0f, 100000.0f}),
        In(&CBloomNode::m_input, "Texture", "Texture"),
        Out(&CBloomNode::m_texture, "Texture", "Texture"),
    };
}

void CBloomNode::Update(float time, CSceneContext*)
{
    SetTextureInfo(2, PDT_Clamp);
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    UpdateInPorts(time);
    if (m_input->m_changed)
        m_deviceDirty = 0xFFFFFFFFu;
}

bool CBloomNode::RestoreDevice(CRender* render)
{
    if (!m_bloom.Load(render, "nodedata/bloom.cgfx") || !m_downscale.Load(render, "nodedata/downscale2.cgfx"))
        return false;
    m_bloomSource = m_bloom.Param("gSrcSampler");
    m_previous = m_bloom.Param("gPrevSampler");
    m_sourceSize = m_bloom.Param("gSourceTextureSize");
    m_scale = m_bloom.Param("gScale");
    m_horizontal = m_bloom.Pass("blurHorizontal");
    m_vertical = m_bloom.Pass("blurVertical");
    m_verticalPrevious = m_bloom.Pass("blurVerticalPrev");
    m_downSource = m_downscale.Param("gSrcSampler");
    m_halfTexel = m_downscale.Param("gSourceTextureHalfTexelSize");
    m_thresholdParam = m_downscale.Param("gThreshold");
    m_downMain = m_downscale.Pass("mainPass");
    m_downThreshold = m_downscale.Pass("thresholdPass");
    return true;
}

void CBloomNode::InvalidateDevice(CRender*)
{
    m_bloom.Reset();
    m_downscale.Reset();
    m_bloomSource = m_previous = m_sourceSize = m_scale = CFxParam();
    m_downSource = m_halfTexel = m_thresholdParam = CFxParam();
    m_horizontal = m_vertical = m_verticalPrevious = m_downMain = m_downThreshold = CFxPass();
}

std::shared_ptr<CTexture> CBloomNode::Blur(CRender* render, const std::shared_ptr<CTexture>& level, float weight,
                                           const std::shared_ptr<CTexture>& previous, int format)
{
    CFx& fx = *m_bloom.Fx();
    const int width = level->m_width, height = level->m_height;
    const float texel[2] = {1.0f / float(width), 1.0f / float(height)};
    m_sourceSize.SetVector2(texel);
    fx.SetTexture(m_bloomSource, level);
    std::shared_ptr<CTexture> across = RunPass(render, fx, m_horizontal, width, height, format, "BloomNodeHBlur");
    if (!across)
        return nullptr;
    m_sourceSize.SetVector2(texel);
    m_scale.SetFloat(weight);
    fx.SetTexture(m_bloomSource, across);
    if (!previous)
        return RunPass(render, fx, m_vertical, width, height, format, "BloomNodeVBlur");
    fx.SetTexture(m_previous, previous);
    std::shared_ptr<CTexture> joined = RunPass(render, fx, m_verticalPrevious, width, height, format, "BloomNodeVBlur");
    fx.SetTexture(m_previous, nullptr);
    return joined;
}

std::shared_ptr<CTexture> CBloomNode::GetTexture(CRender* render)
{
    if (m_input->m_connections.empty() || !m_input->m_value || !m_bloomSource || !m_downSource)
        return nullptr;
    std::shared_ptr<CTexture> source = m_input->m_value->GetTexture(render);
    if (!source || source->m_width < 5 || source->m_height < 5)
        return nullptr;
    SetPostStates(render);
    float weights[MaxLevels];
    for (int i = 0; i < MaxLevels; ++i)
        weights[i] = m_weights[size_t(i)]->m_value * m_weightScale->m_value;
    const int format = m_format->m_value != 0 ? m_format->m_value : source->m_format;

    CFx& down = *m_downscale.Fx();
    std::array<std::shared_ptr<CTexture>, MaxLevels> levels;
    int count = 0;
    for (int i = 0; i < std::min(m_blurIterations->m_value, MaxLevels); ++i) {
        const int width = source->m_width >> 1, height = source->m_height >> 1;
        if (width < 5 || height < 5)
            break;
        // Only the first level is cut at the threshold.
        CFxPass& pass = i == 0 ? m_downThreshold : m_downMain;
        if (i == 0)
            m_thresholdParam.SetFloat(m_threshold->m_value);
        down.SetTexture(m_downSource, source);
        const float half[2] = {0.5f / float(width), 0.5f / float(height)};
        m_halfTexel.SetVector2(half);
        source = RunPass(render, down, pass, width, height, format, "BloomNode");
        if (!source)
            break;
        levels[size_t(count++)] = source;
    }
    down.SetTexture(m_downSource, nullptr);
    if (count == 0)
        return nullptr;

    std::shared_ptr<CTexture> bloom = Blur(render, levels[size_t(count - 1)], weights[count - 1], nullptr, format);
    for (int k = count - 2; k >= 0 && bloom; --k)
        bloom = Blur(render, levels[size_t(k)], weights[k], bloom, format);
    m_bloom.Fx()->SetTexture(m_bloomSource, nullptr);
    return bloom;
}
