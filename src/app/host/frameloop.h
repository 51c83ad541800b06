#pragma once

#include "app/host/frametimer.h"
#include "render/runmode.h"

#include <array>
#include <cstddef>
#include <cstdint>

// The per-frame work of the host: the frame-rate estimate, fixed update
// steps with a remainder, and frame pacing. The host derives from it; what a
// frame updates and draws comes through the two virtual operations.
class CFrameLoop
{
public:
    explicit CFrameLoop(CClock& clock = CClock::System());
    virtual ~CFrameLoop() = default;

    // One pass of the loop when no message is waiting.
    void Frame();
    void UpdateFps();
    void LimitFps();
    // 0 means no limit. A positive rate also becomes the start estimate.
    void SetMaxFps(float fps);

    static constexpr int HistorySize = 128;

    float m_maxFps = 60.0f;
    float m_accumulator = 0.0f;
    float m_fixedStep = 1.0f / 30.0f;
    bool m_screensaverPause = false;
    EAppType m_appType = EAppType::Visualizer;
    CFrameTimer m_timer;
    float m_fps = 30.0f;
    float m_frameWorkMs = 0.0f;
    int32_t m_frameCount = 0;
    float m_engineTime = 0.0f;
    std::array<float, HistorySize> m_frameHistory{};
    int32_t m_historyIndex = 0;
    int32_t m_frameIntervalMs = 0;
    int64_t m_lastFrameTicks = 0;

protected:
    virtual void UpdateApp(float deltaTime) = 0;
    virtual void RenderFrame() = 0;
    // Linux has no test for a running screensaver.
    virtual bool ScreensaverRunning() { return false; }

private:
    float& History(int index) { return m_frameHistory[static_cast<size_t>(((index % HistorySize) + HistorySize) % HistorySize)]; }
};
