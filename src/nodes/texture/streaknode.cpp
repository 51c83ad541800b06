#include "nodes/texture/streaknode.h"

#include "nodes/support/publishtexture.h"
#include "ports/types/dataports.h"
#include "render/render.h"
#include "render/rendertarget.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "scene/nodedeclaration.h"

#include <array>
#include <cmath>

template <>
CNodeDeclaration DeclareNode<CStreakNode>()
{
    return {
        In(&CStreakNode::m_format, "Format",
           "Format of the texture. The 8 bit format is not recommended for streaks since it needs higher precision.",
           {5, 0, 6, PostFormats()}),
        In(&CStreakNode::m_iterations, "Iterations", "Each iteration creates a wider streak", {2, 1, 3}),
        In(&CStreakNode::m_numStarLines, "NumStarLines",
           "Number of start lines.\nThey will be spread out evenly around the star", {4, 1, 10}),
        In(&CStreakNode::m_starRotation, "StarRotation", "Rotation of the star lines",
           {25.0f, 0.1f, -100000.0f, 100000.0f}),
        In(&CStreakNode::m_starLineLength, "StarLineLength", "Length of the star lines", {1.0f, 0.01f, 0.0f, 1.0f}),
        In(&CStreakNode::m_attenuation, "StarLineAttenuation", "Strength of the streaks",
           {0.95f, 0.01f, 0.0f, 100000.0f}),
        In(&CStreakNode::m_chromaticAberration, "ChromaticAberration", "Chromatic aberration",
           {0.5f, 0.01f, 0.0f, 100000.0f}),
        In(&CStreakNode::m_threshold, "Threshold", "Any region above this threshold will recived bloom",
           {0.0f, 0.1f, 0.0f, 100000.0f}),
        In(&CStreakNode::m_input, "Texture", "Texture"),
        Out(&CStreakNode::m_texture, "Texture", "Texture"),
    };
}

namespace {

// The fringe colours of the eight samples, blended towards a neutral 0.63
// the more so the later the row.
constexpr float kBaseColors[CStreakNode::Samples][3] = {
    {0.5f, 0.5f, 0.5f}, {0.8f, 0.3f, 0.3f}, {1.0f, 0.2f, 0.2f}, {0.5f, 0.2f, 0.6f},
    {0.2f, 0.2f, 1.0f}, {0.2f, 0.3f, 0.7f}, {0.2f, 0.6f, 0.2f}, {0.3f, 0.5f, 0.3f},
};

} // namespace

void CStreakNode::Update(float time, CSceneContext*)
{
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    UpdateInPorts(time);
    if (m_input->m_changed)
        m_deviceDirty = 0xFFFFFFFFu;
}

bool CStreakNode::RestoreDevice(CRender* render)
{
    if (!m_streak.Load(render, "nodedata/streak.cgfx") || !m_downscale.Load(render, "nodedata/downscale2.cgfx"))
        return false;
    m_source = m_streak.Param("gSrcSampler");
    m_weights = m_streak.Param("gWeights");
    m_offsets = m_streak.Param("gOffsets");
    m_pass = m_streak.Pass("streak");
    m_downSource = m_downscale.Param("gSrcSampler");
    m_halfTexel = m_downscale.Param("gSourceTextureHalfTexelSize");
    m_thresholdParam = m_downscale.Param("gThreshold");
    m_downThreshold = m_downscale.Pass("thresholdPass");
    return true;
}

void CStreakNode::InvalidateDevice(CRender*)
{
    m_streak.Reset();
    m_downscale.Reset();
    m_source = m_weights = m_offsets = m_downSource = m_halfTexel = m_thresholdParam = CFxParam();
    m_pass = m_downThreshold = CFxPass();
}

std::shared_ptr<CTexture> CStreakNode::GetTexture(CRender* render)
{
    if (m_input->m_connections.empty() || !m_input->m_value || !m_source || !m_downSource)
        return nullptr;
    std::shared_ptr<CTexture> input = m_input->m_value->GetTexture(render);
    if (!input || input->m_width < 5 || input->m_height < 5)
        return nullptr;
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    CRenderStateManager* states = render->GetStateManager();
    if (!textures || !states)
        return nullptr;
    SetPostStates(render);
    const int format = m_format->m_value != 0 ? m_format->m_value : input->m_format;

    // A quarter of the size, cut at the threshold.
    const int width = input->m_width >> 2, height = input->m_height >> 2;
    CFx& down = *m_downscale.Fx();
    m_thresholdParam.SetFloat(m_threshold->m_value);
    down.SetTexture(m_downSource, input);
    const float half[2] = {0.5f / float(width), 0.5f / float(height)};
    m_halfTexel.SetVector2(half);
    const std::shared_ptr<CTexture> small = RunPass(render, down, m_downThreshold, width, height, format, "StreakDownsample");
    down.SetTexture(m_downSource, nullptr);
    if (!small)
        return nullptr;

    const int passes = std::clamp(m_iterations->m_value, 1, 3);
    const float aberration = m_chromaticAberration->m_value;
    float colors[3][Samples][3];
    for (int row = 0; row < 3; ++row) {
        const float a = float(row + 1) / 3.0f;
        for (int s = 0; s < Samples; ++s)
            for (int c = 0; c < 3; ++c) {
                const float tinted = kBaseColors[s][c] + (0.63f - kBaseColors[s][c]) * a;
                colors[row][s][c] = (tinted - 0.63f) * aberration + 0.63f;
            }
    }

    CFx& fx = *m_streak.Fx();
    const int lines = std::max(1, m_numStarLines->m_value);
    const float firstStride = (std::atan(0.39269909f) + 0.1f) * 280.0f / float(width + height);
    std::shared_ptr<CRenderTarget> sum;
    for (int line = 0; line < lines; ++line) {
        const float angle = float(line) * 6.2831855f / float(lines) + m_starRotation->m_value * 0.017453292f;
        float su = std::sin(angle) / float(width) * m_starLineLength->m_value;
        float sv = std::cos(angle) / float(height) * m_starLineLength->m_value;
        float stride = firstStride;
        std::shared_ptr<CTexture> source = small;
        for (int pass = 0; pass < passes; ++pass) {
            const bool last = pass == passes - 1;
            std::array<float, 4 * Samples> weights{};
            std::array<float, 2 * Samples> offsets{};
            for (int s = 0; s < Samples; ++s) {
                const float u = float(s) * su, v = float(s) * sv;
                // Reads that would leave most of the picture behind drop out.
                if (std::abs(u) >= 0.9f || std::abs(v) >= 0.9f)
                    continue;
                const float lum = std::pow(m_attenuation->m_value, float(s) * stride);
                for (int c = 0; c < 3; ++c) {
                    float weight = float(pass + 1) * colors[passes - 1 - pass][s][c] * lum * 0.5f;
                    if (last)
                        weight /= float(lines);
                    weights[size_t(4 * s + c)] = weight;
                }
                offsets[size_t(2 * s)] = u;
                offsets[size_t(2 * s + 1)] = v;
            }
            m_offsets.SetFloatArray(int(offsets.size()), offsets.data());
            m_weights.SetFloatArray(int(weights.size()), weights.data());
            fx.SetTexture(m_source, source);
            // The last pass of every line after the first adds to the sum.
            const bool add = last && sum;
            std::shared_ptr<CRenderTarget> target =
                add ? sum : textures->GetRenderTarget(width, height, format, 0, "Streak");
            if (!target) {
                fx.SetTexture(m_source, nullptr);
                return nullptr;
            }
            states->m_states.m_dstBlend = add ? 1 : 0;
            RunPassInto(render, fx, m_pass, *target);
            states->m_states.m_dstBlend = 0;
            if (last && !sum)
                sum = target;
            else if (!last)
                source = target->GetColorTexture();
            su *= 8.0f;
            sv *= 8.0f;
            stride *= 8.0f;
        }
    }
    fx.SetTexture(m_source, nullptr);
    return sum ? sum->GetColorTexture() : nullptr;
}
