#include "renderogl/renderogl.h"

#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <SDL.h>

#include <algorithm>
#include <chrono>
#include <string>
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

    // A monitor left black keeps its window and never gets a picture, but
    // the window is cleared to black every frame, whatever it held.
    EXPECT_TRUE(render.IsRenderWindow(render.m_windows[1].m_window));
    ASSERT_TRUE(render.SwitchToRenderWindow(1));
    const float red[4] = {1, 0, 0, 1};
    render.Clear(red, 1.0f, CF_Color | CF_Depth);
    render.m_monitors[1].m_leaveBlack = true;
    EXPECT_FALSE(render.IsRenderWindow(render.m_windows[1].m_window));
    EXPECT_FALSE(render.IsRenderWindow(nullptr));
    app.m_drawnRects.clear();
    render.Render3DEnvironment(false);
    EXPECT_EQ(app.m_drawnRects, (std::vector<SRect>{SRect{0, 0, 64, 48}}));
    ASSERT_EQ(SDL_GL_MakeCurrent(render.m_windows[1].m_window, SDL_GL_GetCurrentContext()), 0);
    std::vector<unsigned char> pixels(64 * 48 * 3, 0xFF);
    render.ReadPixels(pixels.data());
    EXPECT_EQ(std::count(pixels.begin(), pixels.end(), 0), std::ptrdiff_t(pixels.size())) << "left black";

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

    // A resized plain window moves both rectangles, and so the aspect.
    SDL_Event resize{};
    resize.type = SDL_WINDOWEVENT;
    resize.window.event = SDL_WINDOWEVENT_SIZE_CHANGED;
    resize.window.windowID = SDL_GetWindowID(render.m_windows[0].m_window);
    resize.window.data1 = 800;
    resize.window.data2 = 400;
    render.HandleMessage(resize);
    EXPECT_EQ(render.m_virtualRect, (SRect{0, 0, 800, 400}));
    EXPECT_FLOAT_EQ(render.GetAspect(), 2.0f);
    resize.window.windowID += 100;
    resize.window.data1 = 10;
    render.HandleMessage(resize);
    EXPECT_EQ(render.m_currentRect.Width(), 800) << "not our window";

    // Keys become the host's events; a held key repeats scene changes but
    // not the pause.
    while (render.PollEvent() != EWindowEvent::None) {
    }
    struct SKey
    {
        SDL_Keycode key;
        bool repeat;
        EWindowEvent expected;
    };
    for (const SKey& k : {SKey{SDLK_RIGHT, false, EWindowEvent::Next}, SKey{SDLK_n, true, EWindowEvent::Next},
                          SKey{SDLK_LEFT, false, EWindowEvent::Previous}, SKey{SDLK_p, false, EWindowEvent::Previous},
                          SKey{SDLK_ESCAPE, false, EWindowEvent::Escape}, SKey{SDLK_SPACE, false, EWindowEvent::Pause},
                          SKey{SDLK_SPACE, true, EWindowEvent::Other}, SKey{SDLK_q, false, EWindowEvent::Other}}) {
        SDL_Event press{};
        press.type = SDL_KEYDOWN;
        press.key.keysym.sym = k.key;
        press.key.repeat = k.repeat;
        ASSERT_EQ(SDL_PushEvent(&press), 1);
        // SDL may hand a pushed event out one poll later.
        EWindowEvent event = EWindowEvent::None;
        for (int poll = 0; poll < 5 && event == EWindowEvent::None; ++poll)
            event = render.PollEvent();
        EXPECT_EQ(event, k.expected) << SDL_GetKeyName(k.key);
    }
}

// In window mode the title shows the frame rate, refreshed once a second.
TEST(RenderWin, WindowTitleShowsFrameRate)
{
    CCountingApp app;
    CRenderOGL render(&app);
    render.m_windowMode = WK_Window;
    ASSERT_TRUE(render.Init(false));
    ASSERT_TRUE(render.CreateScreen(WK_Window, false));
    ASSERT_TRUE(render.Initialize3DEnvironment());
    const std::string before = SDL_GetWindowTitle(render.m_windows[0].m_window);
    const auto start = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(1100))
        render.Render3DEnvironment(false);
    render.Render3DEnvironment(false);
    const std::string title = SDL_GetWindowTitle(render.m_windows[0].m_window);
    EXPECT_NE(title, before);
    EXPECT_EQ(title.rfind("Lumora v", 0), 0u) << title;
    EXPECT_NE(title.find(" fps"), std::string::npos) << title;
    EXPECT_GT(render.m_fpsFigure, 0.0f);
}
