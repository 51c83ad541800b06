#include "app/paths.h"
#include "support/logcapture.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {
CPaths MakePaths(const std::string& app, const std::string& user)
{
    CPaths paths;
    paths.m_appPath = app;
    paths.m_userPath = user;
    return paths;
}
} // namespace

TEST(PathMacros, ExpandAndCompressWithCaseCounting)
{
    const CPaths paths = MakePaths("/opt/Lumora/share", "/home/ann/.config/lumora");
    struct Case
    {
        const char* stored;
        const char* expanded;
    };
    const Case roundTrips[] = {
        {"[apppath]scenes/Tunnel.lmc", "/opt/Lumora/share/scenes/Tunnel.lmc"},
        {"[userpath]playlists/Mine.lmp", "/home/ann/.config/lumora/playlists/Mine.lmp"},
        {"/elsewhere/x.lmc", "/elsewhere/x.lmc"},
        {"[apppath]a|[userpath]b", "/opt/Lumora/share/a|/home/ann/.config/lumora/b"},
    };
    for (const Case& c : roundTrips) {
        SCOPED_TRACE(c.stored);
        EXPECT_EQ(paths.ExpandPath(c.stored), c.expanded);
        EXPECT_EQ(paths.CompressPath(c.expanded), c.stored);
    }
    EXPECT_EQ(paths.ExpandPath("[apppath]scenes\\special\\A.lmc"), "/opt/Lumora/share/scenes/special/A.lmc");
    EXPECT_EQ(paths.CompressPath("/opt/Lumora/share"), "/opt/Lumora/share") << "the directory itself stays";
    EXPECT_EQ(paths.CompressPath("/opt/lumora/share/x"), "/opt/lumora/share/x") << "other case is another path";
    EXPECT_EQ(paths.ExpandPath("[APPPATH]x"), "[APPPATH]x");
    EXPECT_EQ(paths.CompressPath("C:\\data\\x"), "C:/data/x");
}

TEST(PathSetup, FindsDirectoriesFromTheEnvironment)
{
    CTempDir dir;
    CLogCapture log;
    namespace fs = std::filesystem;
    fs::create_directories(dir.File("prefix/bin"));
    fs::create_directories(dir.File("prefix/share/lumora"));

    // The user's folder per XDG, made if missing; an installed program's data.
    CPaths paths;
    CPaths::SEnvironment env;
    env.xdgConfigHome = dir.File("xdg");
    env.home = dir.File("home");
    env.executableDir = dir.File("prefix/bin");
    env.currentDir = dir.Path();
    paths.Setup(env);
    EXPECT_EQ(paths.m_appPath, dir.File("prefix/share/lumora"));
    EXPECT_EQ(paths.m_userPath, dir.File("xdg/lumora"));
    EXPECT_EQ(paths.m_configPath, dir.File("xdg/lumora/config.xml"));
    EXPECT_TRUE(fs::is_directory(paths.m_userPath));
    EXPECT_STREQ(log.Get().GetFileName(), dir.File("xdg/lumora/log.txt").c_str());

    // Without XDG_CONFIG_HOME the folder is under HOME; an override names the data.
    env.xdgConfigHome.clear();
    env.appPathOverride = dir.File("Data/");
    paths.Setup(env);
    EXPECT_EQ(paths.m_appPath, dir.File("Data"));
    EXPECT_EQ(paths.m_userPath, dir.File("home/.config/lumora"));

    // With no user folder the data directory serves and config.xml is relative.
    env.home.clear();
    env.xdgConfigHome = "relative/not/allowed";
    paths.Setup(env);
    EXPECT_EQ(paths.m_userPath, paths.m_appPath);
    EXPECT_EQ(paths.m_configPath, "config.xml");
}
