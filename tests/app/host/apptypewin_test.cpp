#include "app/host/apptypewin.h"
#include "app/host/framerecorder.h"

#include "app/cfg.h"
#include "render/userapp3d.h"
#include "renderogl/renderogl.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

class CIdleApp : public CUserApp3d
{
public:
    bool Draw(CRender*) override { return true; }
    bool Update(float deltaTime) override
    {
        m_time += deltaTime;
        return true;
    }
    double m_time = 0;
};

// Notes the simulated time of each frame written.
class CFakeRecorder : public CFrameRecorder
{
public:
    explicit CFakeRecorder(const CIdleApp& app) : m_app(app) {}
    bool StartMovie(const std::string& path) override
    {
        m_path = path;
        return m_canStart;
    }
    void WriteFrame(int frameRate) override
    {
        m_frameTimes.push_back(m_app.m_time);
        m_rate = frameRate;
    }
    void StopMovie() override { ++m_stops; }

    const CIdleApp& m_app;
    bool m_canStart = true;
    std::string m_path;
    std::vector<double> m_frameTimes;
    int m_rate = 0;
    int m_stops = 0;
};

} // namespace

TEST(AppTypeWin, ConfigurationScreensOverlayMatchingMonitorsOnly)
{
    setenv("SDL_VIDEODRIVER", "offscreen", 1);
    CLogCapture log;
    CTempDir dir;
    CCfg written;
    CCfgScreen first{"DISPLAY1", false, 0.25, 0, 0.5, 1};
    CCfgScreen later{"DISPLAY1", true, 0, 0.5, 1, 0.5};
    CCfgScreen gone{"DISPLAY9", true, 0.1, 0.1, 0.1, 0.1};
    written.Screens = {first, gone, later};
    ASSERT_TRUE(written.Save(dir.File("config.xml")));

    CIdleApp app;
    CAppTypeWin host(&app, MakeRenderOGL);
    EXPECT_EQ(g_appTypeWin, &host);
    host.m_configPath = dir.File("config.xml");
    ASSERT_TRUE(host.Init());
    ASSERT_EQ(host.m_render->m_monitors.size(), 1u);
    const CMonitor& monitor = host.m_render->m_monitors[0];
    // The later entry for the same monitor wins; the one for a monitor that
    // is gone changes nothing.
    EXPECT_TRUE(monitor.m_leaveBlack);
    EXPECT_EQ(monitor.m_section, (SSection{0, 0.5, 1, 0.5}));
    EXPECT_TRUE(log.Contains("Actual setup screen \"DISPLAY1\" LeaveBlack:1 SectionToRender:0,0.5,1,0.5"));
    EXPECT_FALSE(log.Contains("Actual setup screen \"DISPLAY9\""));
}

// A recording run ignores the clock: steps of 1/30 s, a warm-up that is not
// written, then the recorded stretch, then the run ends by itself.
TEST(AppTypeWin, RecordingRunsOnSimulatedTime)
{
    struct SCase
    {
        const char* song;
        const char* movie;
        double firstFrame, lastFrame;
        const char* path;
    };
    for (const SCase& c : {SCase{"", "", 15.0, 75.0, "movie.avi"}, SCase{"song.ogg", "out/clip.mkv", 0.0, 217.0, "out/clip.mkv"}}) {
        SCOPED_TRACE(c.path);
        CIdleApp app;
        CFakeRecorder recorder(app);
        CAppTypeWin host(&app, MakeRenderOGL);
        host.m_windowMode = EWindowMode::Record;
        host.m_recorder = &recorder;
        host.m_config->SongFile = c.song;
        host.m_config->MovieFile = c.movie;
        host.RunApp();
        EXPECT_EQ(recorder.m_path, c.path);
        ASSERT_FALSE(recorder.m_frameTimes.empty());
        EXPECT_NEAR(recorder.m_frameTimes.front(), c.firstFrame, 0.034) << c.song;
        EXPECT_NEAR(recorder.m_frameTimes.back(), c.lastFrame, 0.034) << c.song;
        EXPECT_NEAR(double(recorder.m_frameTimes.size()), (c.lastFrame - c.firstFrame) * 30, 2);
        EXPECT_EQ(recorder.m_rate, 30);
        EXPECT_EQ(recorder.m_stops, 1);
    }

    // A recorder that cannot start ends the run before any frame.
    CIdleApp app;
    CFakeRecorder recorder(app);
    recorder.m_canStart = false;
    CAppTypeWin host(&app, MakeRenderOGL);
    host.m_windowMode = EWindowMode::Record;
    host.m_recorder = &recorder;
    CLogCapture log;
    host.RunApp();
    EXPECT_TRUE(recorder.m_frameTimes.empty());
    EXPECT_EQ(host.m_frameCount, 0);
    EXPECT_TRUE(log.Contains("Recording could not start: \"movie.avi\""));
}
