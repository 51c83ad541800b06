#include "renderogl/renderogl.h"

#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// Counts the draws the render asks of the application.
class CCountingApp : public CUserApp3d
{
public:
    bool Draw(CRender* render) override
    {
        m_drawnRects.push_back(render->m_currentRect);
        return true;
    }
    bool Update(float) override { return true; }
    void FrameFinished() override { ++m_finished; }

    std::vector<SRect> m_drawnRects;
    int m_finished = 0;
};

CMonitor FakeMonitor(const char* name, int l, int t, int r, int b, bool leaveBlack = false)
{
    CMonitor m;
    m.m_deviceName = name;
    m.m_handle = 1;
    m.m_rect = SRect{l, t, r, b};
    m.m_leaveBlack = leaveBlack;
    return m;
}

} // namespace

// Several monitors come from a fake list given to the enumeration's result;
// the windows are real, on SDL's offscreen driver.
TEST(RenderWin, FullScreenWindowPerMonitorWithSections)
{
    CLogCapture log;
    CCountingApp app;
    CRenderOGL render(&app);
    ASSERT_TRUE(render.Init(false));
    render.m_monitors = {FakeMonitor("DISPLAY1", 0, 0, 64, 48), FakeMonitor("DISPLAY2", 64, 0, 128, 48),
                         FakeMonitor("DISPLAY3", 128, 0, 192, 48, true)};
    render.m_monitors[2].m_handle = 0; // gone: gets no window
    ComputeSections(render.m_monitors, 128, 48);

    ASSERT_TRUE(render.CreateScreen(WK_FullScreen, false));
    ASSERT_EQ(render.m_windows.size(), 2u);
    EXPECT_EQ(render.m_windows[1].m_section, (SSection{0.5, 0, 0.5, 1}));
    EXPECT_TRUE(log.Contains("Creating full screen window. MonitorNr:2 (64 0 64 x 48)"));

    ASSERT_TRUE(render.Initialize3DEnvironment());
    EXPECT_EQ(render.m_virtualRect, (SRect{0, 0, 128, 48}));
    EXPECT_TRUE(log.Contains("Virtual screen size 0,0 128x48"));

    ASSERT_TRUE(render.Render3DEnvironment(false));
    EXPECT_EQ(app.m_drawnRects, (std::vector<SRect>{SRect{0, 0, 64, 48}, SRect{64, 0, 128, 48}}));
    EXPECT_EQ(app.m_finished, 1);
    EXPECT_FALSE(render.SwitchToRenderWindow(2));
    EXPECT_EQ(render.m_currentWindow, 1);

    // A monitor left black keeps its window but never gets a picture.
    render.m_monitors[1].m_leaveBlack = true;
    app.m_drawnRects.clear();
    render.Render3DEnvironment(false);
    EXPECT_EQ(app.m_drawnRects, (std::vector<SRect>{SRect{0, 0, 64, 48}}));

    // The failed flag makes every frame black without the application.
    render.m_failed = true;
    app.m_drawnRects.clear();
    render.Render3DEnvironment(false);
    EXPECT_TRUE(app.m_drawnRects.empty());
    EXPECT_EQ(app.m_finished, 3);

    render.Cleanup3DEnvironment();
    EXPECT_TRUE(render.m_windows.empty());
}

TEST(RenderWin, PlainWindowAndKindsWithoutAPlatformEquivalent)
{
    CLogCapture log;
    CRenderOGL render(nullptr);
    render.m_windowMode = WK_Window;
    ASSERT_TRUE(render.Init(true));
    EXPECT_FALSE(render.m_monitors.empty());
    EXPECT_EQ(render.m_monitors[0].m_deviceName, "DISPLAY1");

    EXPECT_FALSE(render.CreateScreen(WK_Preview, false));
    EXPECT_TRUE(log.Contains("Unable to create preview window"));
    EXPECT_FALSE(render.Initialize3DEnvironment()) << "no windows";

    ASSERT_TRUE(render.CreateScreen(WK_Screenshot, false));
    EXPECT_EQ(render.m_virtualRect, (SRect{0, 0, 1280, 1024}));
    EXPECT_FLOAT_EQ(render.GetAspect(), 1.25f);
    ASSERT_TRUE(render.Initialize3DEnvironment());
    EXPECT_TRUE(render.Render3DEnvironment(false));
}
