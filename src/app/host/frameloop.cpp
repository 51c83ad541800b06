#include "app/host/frameloop.h"

#include "app/log.h"

#include <cmath>

namespace {

// The first two frames and stalled ones count as this, whatever the clock says.
constexpr float NominalFrame = 0.033333335f;

} // namespace

CFrameLoop::CFrameLoop(CClock& clock) : m_timer(clock) {}

void CFrameLoop::SetMaxFps(float fps)
{
    if (fps > 0.0f)
        m_fps = fps;
    m_maxFps = fps;
    m_frameHistory.fill(0.0f);
    m_historyIndex = 0;
    m_lastFrameTicks = 0;
}

void CFrameLoop::Frame()
{
    // A screensaver run never pauses for a screensaver: it is one.
    if (m_appType != EAppType::Screensaver) {
        if (ScreensaverRunning()) {
            if (!m_screensaverPause)
                Log("Screensaver is running. Pausing visualizer");
            m_timer.Clock().Sleep(20);
            m_screensaverPause = true;
            return;
        }
        if (m_screensaverPause) {
            m_screensaverPause = false;
            Log("Screensaver has stopped running. Resuming visualizer");
        }
    }

    UpdateFps();
    const double start = m_timer.NowMs();

    m_accumulator += m_timer.m_delta;
    // A long stall costs one step; the time is not made up.
    if (m_accumulator > 0.5f)
        m_accumulator = m_fixedStep;
    if (m_accumulator < m_fixedStep) {
        if (m_accumulator > 0.0001f) {
            UpdateApp(m_accumulator);
            m_accumulator = 0.0f;
        }
    } else {
        while (m_accumulator >= m_fixedStep) {
            m_accumulator -= m_fixedStep;
            UpdateApp(m_fixedStep);
        }
        // Rounding crumbs of at most 0.01 s wait for the next frame.
        if (m_accumulator > 0.01f) {
            UpdateApp(m_accumulator);
            m_accumulator = 0.0f;
        }
    }

    RenderFrame();
    m_frameWorkMs = static_cast<float>(m_timer.NowMs() - start);
    LimitFps();
    ++m_frameCount;
}

void CFrameLoop::UpdateFps()
{
    const int n = m_frameCount;
    m_timer.Tick();
    float d = m_timer.m_delta;
    if (n == 0) {
        m_fps = 30.0f;
        m_engineTime = 0.0f;
        m_historyIndex = 0;
    }
    m_engineTime += 1.0f / m_fps;

    const bool highResolution = m_timer.m_highResolution;
    int& i = m_historyIndex;
    if (n <= HistorySize) {
        const float w = highResolution ? 0.6f : 0.8f;
        if (n < 2)
            d = NominalFrame;
        else if (d > 1.0f || d < 0.0f)
            d = 1.0f / m_fps;
        const float first = m_frameHistory[0];
        const float c = History(i - 1) + d;
        History(i) = c;
        i = (i + 1) % HistorySize;
        if (n > 0)
            m_fps = (static_cast<float>(n) / (c - first)) * (1.0f - w) + m_fps * w;
    } else {
        int m = highResolution ? 64 : 128;
        // Slow rates average over fewer frames so that a change shows sooner.
        if (m_fps < 60.0f)
            m = static_cast<int>(((m_fps / 60.0f) * 0.9f + 0.1f) * static_cast<float>(m));
        if (d > 5.0f / m_fps || d > 1.0f || d < 0.0f)
            d = NominalFrame;
        const float old = History(i - m);
        const float c = History(i - 1) + d;
        History(i) = c;
        i = (i + 1) % HistorySize;
        const float e = static_cast<float>(m) / (c - old);
        const float w = highResolution ? 0.87f : 0.93f;
        // Jitter is smoothed; a real change is taken at once.
        if (std::fabs(m_fps - e) <= 3.0f)
            m_fps = (1.0f - w) * e + m_fps * w;
        else
            m_fps = e;
    }

    if (m_fps < 2.0f)
        m_frameIntervalMs = 500;
    else if (m_fps > 125.0f)
        m_frameIntervalMs = 8;
    else
        m_frameIntervalMs = static_cast<int>(1000.0f / m_fps + 0.5f);
}

void CFrameLoop::LimitFps()
{
    const float f = m_maxFps;
    if (f <= 0.0f)
        return;
    CClock& clock = m_timer.Clock();
    if (!m_timer.m_highResolution) {
        clock.Sleep(static_cast<int>(1000.0f / f));
        return;
    }

    // f × r and f / r are the rates whose periods lie 2 ms apart around the
    // wanted period: the frame ends somewhere in that window.
    const double x = -0.002 * f;
    const double r = (std::sqrt(x * x + 4.0) - x) / 2.0;
    int64_t counter = clock.Counter();
    if (m_lastFrameTicks == 0) {
        m_lastFrameTicks = counter;
        return;
    }
    const double frequency = static_cast<double>(m_timer.m_frequency);
    const int64_t shortest = static_cast<int64_t>(frequency / (f * r));
    const int64_t longest = static_cast<int64_t>(frequency / (f / r));
    for (;;) {
        counter = clock.Counter();
        const int64_t elapsed = counter - m_lastFrameTicks;
        if (elapsed >= shortest || counter < m_lastFrameTicks)
            break;
        const int64_t remaining = longest - elapsed;
        // Coarse sleeps while far from the end, only yields in the last millisecond.
        if (remaining > m_timer.m_frequency / 100)
            clock.Sleep(5);
        else if (remaining > m_timer.m_frequency / 1000)
            clock.Sleep(1);
        else
            for (int k = 0; k < 10; ++k)
                clock.Sleep(0);
    }
    m_lastFrameTicks = counter;
}
