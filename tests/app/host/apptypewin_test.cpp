#include "app/host/apptypewin.h"

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
    bool Update(float) override { return true; }
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
    CAppTypeWin host(&app);
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
