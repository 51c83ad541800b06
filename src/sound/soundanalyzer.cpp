#include "sound/soundanalyzer.h"

#include "app/log.h"
#include "app/trace.h"
#include "sound/loopbackcapture.h"
#include "sound/songdecoder.h"
#include "sound/spectrumfft.h"

CSoundAnalyzer* g_soundAnalyzer = nullptr;

static_assert(SoundPacket::Capacity == CSoundAnalyzer::BlockFloats);
static_assert(CSongDecoder::BlockFloats == CSoundAnalyzer::BlockFloats);

namespace {

// The decoder's output. One block serves the engine's one sound object.
std::array<float, CSongDecoder::BlockFloats> s_songBlock;

} // namespace

CSoundAnalyzer::CSoundAnalyzer() : m_fft(std::make_unique<CSpectrumFft>())
{
    for (int c = 0; c < 2; ++c) {
        for (int b = 0; b < 3; ++b)
            m_fast[c][b] = m_medium[c][b] = m_slow[c][b] = 1.0f;
    }
}

CSoundAnalyzer::~CSoundAnalyzer()
{
    Log("Waveform max: %f", double(m_waveMax));
}

void CSoundAnalyzer::Update(float deltaTime)
{
    TRACE("CSoundAnalyzer::Update");
    if (!m_captureEnabled && m_songPath.empty())
        return;
    if (!m_started) {
        StartSources();
        return;
    }
    m_playTime += deltaTime;
    if (!m_songPath.empty())
        UpdateSong();
    else
        UpdateCapture();
}

void CSoundAnalyzer::StartSources()
{
    TRACE_LOG("CSoundAnalyzer::StartSources");
    // The platform layer registers factories for the real sources at start-up
    // (RegisterSoundSources), so this library never links PulseAudio or
    // FFmpeg; a test puts its own sources into m_capture and m_decoder instead.
    m_started = true;
    m_playTime = 0.0f;

    if (!m_songPath.empty()) {
        if (!m_decoder && g_songDecoderFactory)
            m_decoder = g_songDecoderFactory();
        if (!m_decoder) {
            Error("Can't initialize device");
            return;
        }
        Log("Start playing song: %s", m_songPath.c_str());
        if (!m_decoder->Open(m_songPath))
            Error("Can't play file");
    }

    // Started with a song too, though only read without one; the device
    // reaches for the sound server at its first read, not here.
    if (!m_capture && g_captureDeviceFactory)
        m_capture = std::make_unique<CLoopbackCapture>(g_captureDeviceFactory(m_captureSource));
    if (m_capture)
        m_capture->Start();
    else
        Log("No sound capture on this platform");
}

void CSoundAnalyzer::UpdateSong()
{
    if (!m_decoder)
        return;
    // Checked before each block, not after: a frame shorter than a block
    // must not pull the song ahead of the clock.
    while (m_decoder->Position() < m_playTime) {
        const int frames = m_decoder->Decode(s_songBlock);
        // The end of the song, or a song that never opened, turns the music off.
        m_hasMusic = frames > 0;
        if (frames <= 0)
            break;
        ProcessSamples(frames, s_songBlock.data());
    }
}

void CSoundAnalyzer::UpdateCapture()
{
    if (!m_capture)
        return;
    m_capture->Poll();
    while (SoundPacket* packet = m_capture->PopReady()) {
        ProcessSamples(packet->frames, packet->data.data());
        m_capture->Recycle(packet);
    }

    if (!m_capture->IsSilent()) {
        m_hasMusic = true;
        m_silenceStart = 0.0;
        return;
    }
    const double now = m_capture->Milliseconds();
    if (m_silenceStart == 0.0)
        m_silenceStart = now;
    // m_silenceStart stays, so this repeats each frame until sound returns.
    if (now - m_silenceStart > m_maxSilence * 1000.0) {
        m_hasMusic = false;
        m_waveMax = 0.01f;
    }
}
