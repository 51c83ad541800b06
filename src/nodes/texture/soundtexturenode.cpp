#include "nodes/texture/soundtexturenode.h"

#include "app/check.h"
#include "nodes/support/cputexture.h"
#include "nodes/support/publishtexture.h"
#include "render/render.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "scene/scenecontext.h"
#include "sound/soundanalyzer.h"

#include <algorithm>
#include <cstring>

template <>
CNodeDeclaration DeclareNode<CSoundTextureNode>()
{
    return {
        In(&CSoundTextureNode::m_soundType, "SoundType", "The type of sound we should add to the texture",
           {0, 0, 1, {{0, "Spectrum"}, {1, "Waveform"}}}),
        In(&CSoundTextureNode::m_history, "History",
           "Number of historical values to keep. This is the height of the texture", {256, 1, 4096}),
        In(&CSoundTextureNode::m_amplification, "SpectrumAmplification",
           "How much to amplifying the spectrum before adding it to the texture", {1.0f, 0.1f, 0.0f, 100.0f}),
        Out(&CSoundTextureNode::m_texture, "Texture", "Texture"),
    };
}

void CSoundTextureNode::Update(float, CSceneContext* context)
{
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    const int history = std::clamp(m_history->m_value, 1, 4096);
    if (m_textureRows != history || m_rows != history) {
        m_rows = history;
        m_writeRow = 0;
        m_ring.assign(size_t(RowTexels) * 4 * size_t(history), 0);
        m_deviceDirty = 0xFFFFFFFFu;
        m_sinceRow = 0.0;
    }
    m_sinceRow += context ? context->m_deltaTime : 0.0f;
    if (m_sinceRow < 1.0 / 30.0)
        return;
    // Three rows' worth of time behind means a stall: start over rather than catch up.
    if (m_sinceRow > 3.0 * double(RowSeconds))
        m_sinceRow = 0.0;
    else
        m_sinceRow -= RowSeconds;
    if (g_soundAnalyzer && g_soundAnalyzer->IsMusicActive() && g_soundAnalyzer->m_blocks != m_lastBlock) {
        m_lastBlock = g_soundAnalyzer->m_blocks;
        WriteRow();
    }
    SetTextureInfo(history == 1 ? 1 : 2, 0);
}

void CSoundTextureNode::WriteRow()
{
    const CSoundAnalyzer& sound = *g_soundAnalyzer;
    const float step = 1.0f / float(RowTexels);
    const float gain = m_amplification->m_value;
    uint8_t* row = &m_ring[size_t(m_writeRow) * RowTexels * 4];
    for (int i = 0; i < RowTexels; ++i) {
        const float p = float(i) * step;
        float left, right, mono;
        if (m_soundType->m_value == 0) {
            left = sound.GetSpectrum(0, 0, p, p + step) * gain;
            right = sound.GetSpectrum(1, 0, p, p + step) * gain;
            mono = (left + right) * 0.5f;
        } else {
            // The waveform's middle is grey.
            const float l = sound.GetWaveform(0, p), r = sound.GetWaveform(1, p);
            left = l * 0.5f + 0.5f;
            right = r * 0.5f + 0.5f;
            mono = (l + r) * 0.25f + 0.5f;
        }
        WriteTexel(row + 4 * i, {mono, left, right, 0.0f});
    }
    m_writeRow = (m_writeRow + 1) % m_rows;
    m_behind.fill(true);
}

bool CSoundTextureNode::RestoreDevice(CRender* render)
{
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    const size_t device = size_t(render->GetDeviceIndex());
    std::shared_ptr<CTexture>& texture = dObjs[device].m_texture;
    CHECK(textures);
    const int history = std::clamp(m_history->m_value, 1, 4096);
    CHECK_FAILURE(!(texture = textures->GetTexture(RowTexels, history, 0, TF_A8R8G8B8, TT_Dynamic)));
    m_textureRows = history;
    m_behind[device] = true;
    return true;
}

void CSoundTextureNode::InvalidateDevice(CRender* render)
{
    dObjs[size_t(render->GetDeviceIndex())].m_texture.reset();
}

std::shared_ptr<CTexture> CSoundTextureNode::GetTexture(CRender* render)
{
    const size_t device = size_t(render->GetDeviceIndex());
    std::shared_ptr<CTexture>& texture = dObjs[device].m_texture;
    if (!texture || !m_behind[device] || m_textureRows != m_rows)
        return texture;
    m_behind[device] = false;
    if (uint8_t* texels = texture->Lock()) {
        // Oldest row first: from the write position to the end, then the start.
        const size_t rowBytes = size_t(RowTexels) * 4;
        const size_t older = size_t(m_rows - m_writeRow) * rowBytes;
        std::memcpy(texels, &m_ring[size_t(m_writeRow) * rowBytes], older);
        std::memcpy(texels + older, m_ring.data(), size_t(m_writeRow) * rowBytes);
        texture->Unlock(0);
    }
    return texture;
}
