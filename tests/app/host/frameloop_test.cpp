#include "app/host/frameloop.h"

#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

// Microsecond counter that moves only when told to, or by the sleeps asked of it.
class CFakeClock : public CClock
{
public:
    int64_t Counter() override { return m_now; }
    int64_t Frequency() override { return m_frequency; }
    uint32_t Milliseconds() override { return static_cast<uint32_t>(m_now / 1000); }
    void Sleep(int milliseconds) override
    {
        m_sleeps.push_back(milliseconds);
        m_now += milliseconds > 0 ? milliseconds * 1000 : 50;
    }
    void Advance(double seconds) { m_now += static_cast<int64_t>(seconds * 1e6 + 0.5); }

    int64_t m_now = 1000000;
    int64_t m_frequency = 1000000;
    std::vector<int> m_sleeps;
};

class CTestLoop : public CFrameLoop
{
public:
    explicit CTestLoop(CFakeClock& clock) : CFrameLoop(clock), m_clock(clock) { m_maxFps = 0; }

    // One frame whose work, before pacing, took `seconds`.
    void RunFrame(double seconds)
    {
        m_work = seconds;
        Frame();
    }

    // The updates made for a frame that took `seconds`: the frame after it
    // sees that time.
    std::vector<float> UpdatesAfter(double seconds)
    {
        RunFrame(seconds);
        m_updates.clear();
        RunFrame(0.0);
        return m_updates;
    }

    std::vector<float> m_updates;
    std::vector<int64_t> m_frameEnds;
    bool m_screensaver = false;

protected:
    void UpdateApp(float deltaTime) override { m_updates.push_back(deltaTime); }
    void RenderFrame() override { m_clock.Advance(m_work); }
    bool ScreensaverRunning() override { return m_screensaver; }

private:
    CFakeClock& m_clock;
    double m_work = 0;
};

} // namespace

TEST(FrameLoop, FixedStepsAndRemainder)
{
    CFakeClock clock;
    CTestLoop loop(clock);
    const float step = loop.m_fixedStep;
    EXPECT_FLOAT_EQ(step, 0.033333335f);

    // Fast frames make one update of their own length (the time since the
    // last frame started is what the next frame sees).
    loop.RunFrame(1.0 / 60);
    EXPECT_TRUE(loop.m_updates.empty()) << "no time had passed before the first frame";
    loop.RunFrame(1.0 / 60);
    ASSERT_EQ(loop.m_updates.size(), 1u);
    EXPECT_NEAR(loop.m_updates[0], 1.0 / 60, 1e-5);

    // A frame of 0.08 s: two whole steps and the remainder.
    std::vector<float> updates = loop.UpdatesAfter(0.08);
    ASSERT_EQ(updates.size(), 3u);
    EXPECT_EQ(updates[0], step);
    EXPECT_EQ(updates[1], step);
    EXPECT_NEAR(updates[2], 0.08 - 2.0 / 30, 1e-5);
    EXPECT_EQ(loop.m_accumulator, 0.0f);

    // A stall of 3 s costs one step; the time is not made up.
    EXPECT_EQ(loop.UpdatesAfter(3.0), std::vector<float>{step});

    // At 30 frames a second every frame is one update of about a step;
    // rounding crumbs below 0.01 s stay for the next frame instead of making
    // an extra tiny update.
    loop.RunFrame(1.0 / 30);
    loop.m_updates.clear();
    for (int i = 0; i < 30; ++i)
        loop.RunFrame(1.0 / 30);
    ASSERT_EQ(loop.m_updates.size(), 30u);
    for (float d : loop.m_updates)
        EXPECT_NEAR(d, step, 1e-6);
    EXPECT_LT(loop.m_accumulator, 0.01f);

    // Below 0.1 ms nothing is updated at all.
    loop.m_accumulator = 0;
    EXPECT_TRUE(loop.UpdatesAfter(0.00005).empty());
}

TEST(FrameLoop, FrameRateEstimate)
{
    CFakeClock clock;
    CTestLoop loop(clock);

    // The first two frames count as 1/30 s whatever the clock says.
    loop.RunFrame(1.0 / 60);
    loop.RunFrame(1.0 / 60);
    EXPECT_FLOAT_EQ(loop.m_fps, 30.0f);

    for (int i = 0; i < 400; ++i)
        loop.RunFrame(1.0 / 60);
    EXPECT_NEAR(loop.m_fps, 60.0f, 0.5f);
    EXPECT_EQ(loop.m_frameIntervalMs, 17);
    EXPECT_NEAR(loop.m_engineTime, 402.0 / 60, 0.2);

    // One stalled frame does not enter the history as such.
    loop.RunFrame(3.0);
    loop.RunFrame(1.0 / 60);
    EXPECT_GT(loop.m_fps, 55.0f);

    // A real change is taken over within the window.
    for (int i = 0; i < 100; ++i)
        loop.RunFrame(1.0 / 20);
    EXPECT_NEAR(loop.m_fps, 20.0f, 0.5f);
    EXPECT_EQ(loop.m_frameIntervalMs, 50);

    for (int i = 0; i < 300; ++i)
        loop.RunFrame(1.0 / 200);
    EXPECT_NEAR(loop.m_fps, 200.0f, 3.0f);
    EXPECT_EQ(loop.m_frameIntervalMs, 8);

    CFakeClock slowClock;
    CTestLoop slow(slowClock);
    for (int i = 0; i < 200; ++i)
        slow.RunFrame(1.0);
    EXPECT_NEAR(slow.m_fps, 1.0f, 0.05f);
    EXPECT_EQ(slow.m_frameIntervalMs, 500);

    // Without a high-resolution counter the millisecond clock serves.
    CFakeClock coarse;
    coarse.m_frequency = 0;
    CTestLoop coarseLoop(coarse);
    for (int i = 0; i < 300; ++i)
        coarseLoop.RunFrame(0.025);
    EXPECT_FALSE(coarseLoop.m_timer.m_highResolution);
    EXPECT_NEAR(coarseLoop.m_fps, 40.0f, 0.5f);
}

TEST(FrameLoop, LimiterWaits)
{
    CFakeClock clock;
    CTestLoop loop(clock);
    loop.SetMaxFps(60);
    EXPECT_EQ(loop.m_fps, 60.0f);

    std::vector<int64_t> ends;
    for (int i = 0; i < 20; ++i) {
        loop.RunFrame(0.005);
        ends.push_back(loop.m_lastFrameTicks);
    }
    // Frames end within a 2 ms window around 1/60 s: between 1/(60 r) and 60/r.
    for (size_t i = 2; i < ends.size(); ++i) {
        const int64_t period = ends[i] - ends[i - 1];
        EXPECT_GE(period, 15690) << i;
        EXPECT_LE(period, 17700) << i;
    }
    // Coarse sleeps far from the end, single milliseconds near it.
    EXPECT_EQ(*std::max_element(clock.m_sleeps.begin(), clock.m_sleeps.end()), 5);
    EXPECT_NE(std::find(clock.m_sleeps.begin(), clock.m_sleeps.end(), 1), clock.m_sleeps.end());

    // No limit: no waiting and no sleeping at all.
    clock.m_sleeps.clear();
    loop.SetMaxFps(0);
    for (int i = 0; i < 5; ++i)
        loop.RunFrame(0.001);
    EXPECT_TRUE(clock.m_sleeps.empty());

    // Time running backwards ends the wait at once.
    loop.SetMaxFps(60);
    loop.RunFrame(0.001);
    clock.m_sleeps.clear();
    clock.m_now -= 500000;
    loop.LimitFps();
    EXPECT_TRUE(clock.m_sleeps.empty());

    // Without a high-resolution counter the limiter sleeps whole milliseconds.
    CFakeClock coarse;
    coarse.m_frequency = 0;
    CTestLoop coarseLoop(coarse);
    coarseLoop.SetMaxFps(60);
    coarseLoop.LimitFps();
    EXPECT_EQ(coarse.m_sleeps, std::vector<int>{16});
}

TEST(FrameLoop, ScreensaverPausesExceptForScreensaverRuns)
{
    CLogCapture log;
    CFakeClock clock;
    CTestLoop loop(clock);
    loop.m_screensaver = true;
    loop.RunFrame(0.1);
    loop.RunFrame(0.1);
    EXPECT_TRUE(loop.m_updates.empty());
    EXPECT_EQ(loop.m_frameCount, 0);
    EXPECT_EQ(clock.m_sleeps, (std::vector<int>{20, 20}));
    loop.m_screensaver = false;
    loop.RunFrame(0.0);
    EXPECT_EQ(loop.m_frameCount, 1);
    const auto messages = log.Messages();
    EXPECT_EQ(std::count(messages.begin(), messages.end(), "Screensaver is running. Pausing visualizer"), 1);
    EXPECT_TRUE(log.Contains("Screensaver has stopped running. Resuming visualizer"));

    CFakeClock saverClock;
    CTestLoop saver(saverClock);
    saver.m_appType = EAppType::Screensaver;
    saver.m_screensaver = true;
    saver.RunFrame(0.0);
    EXPECT_EQ(saver.m_frameCount, 1);
}
