// The director's choices, on a fake clock and a seeded generator, with scenes
// of one clear colour each: which scene plays, for how long, and through
// which transition.

#include "app/cfg.h"
#include "app/crashnotes.h"
#include "app/director/lumora.h"
#include "app/director/playlist.h"
#include "app/paths.h"
#include "app/host/clock.h"
#include "app/random.h"
#include "scene/runinfo.h"
#include "app/stoprequest.h"
#include "scene/scene.h"
#include "scene/scenelayered.h"
#include "scene/scenetransition.h"
#include "services/stats.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace {

class CFakeClock : public CClock
{
public:
    int64_t Counter() override { return m_microseconds; }
    int64_t Frequency() override { return 1000000; }
    uint32_t Milliseconds() override { return uint32_t(m_microseconds / 1000); }
    void Sleep(int) override {}
    void Advance(double seconds) { m_microseconds += int64_t(seconds * 1e6); }

    int64_t m_microseconds = 1000000;
};

class Director : public ::testing::Test
{
protected:
    Director()
    {
        g_random.Seed(11);
        m_config.MinRunTime = 7;
        m_config.MaxRunTime = 7;
    }
    // A scene file of one clear colour; `type` 8 makes it a transition.
    std::string WriteScene(const std::string& name, int type = 0, const char* extra = "")
    {
        const std::string path = m_dir.File(name + ".lms");
        WriteFile(path, "<?xml version=\"1.0\"?>\n<LumoraScene Id=\"" + name + "\" SceneType=\"" +
                            std::to_string(type) + "\">\n<Nodes><Node Type=\"Clear\" Name=\"Clear1\"/>" + extra +
                            "<Node Type=\"Screen\" Name=\"Screen1\"/></Nodes>\n"
                            "<Connections><Connection Out=\"Clear1.Render\" In=\"Screen1.Render\"/></Connections>\n"
                            "</LumoraScene>\n");
        return path;
    }

    // Plays `count` scenes named s0.. through `transitions` transitions.
    std::unique_ptr<CLumora> Play(int count, int transitions = 0, EWindowMode windowMode = EWindowMode::FullScreen)
    {
        CPlaylist playlist;
        // Names built by appending: GCC 12 warns falsely about "s" + to_string.
        const auto numbered = [](char letter, int i) { return std::string(1, letter).append(std::to_string(i)); };
        for (int i = 0; i < count; ++i)
            playlist.Add(playlist.m_scenes, WriteScene(numbered('s', i)));
        for (int i = 0; i < transitions; ++i)
            playlist.Add(playlist.m_transitions, WriteScene(numbered('t', i), 8), {}, 2.0f);
        auto director = std::make_unique<CLumora>(m_config, m_clock);
        director->m_run.m_windowMode = windowMode;
        director->Init();
        EXPECT_TRUE(director->DeserializeProject(playlist));
        return director;
    }

    static std::string Active(const CLumora& director)
    {
        const CSceneBase* active = director.GetActiveScene();
        if (!active)
            return "none";
        if (active->m_kind == CSceneBase::Kind_Transition)
            return "transition to " + static_cast<const CSceneTransition*>(active)->m_to->GetId();
        return active->GetId();
    }

    // Runs steps of 1/30 s on the clock for `seconds`.
    void Run(CLumora& director, double seconds)
    {
        for (int i = 0; i < int(seconds * 30 + 0.5); ++i) {
            m_clock.Advance(1.0 / 30.0);
            director.Update(1.0f / 30.0f);
        }
    }

    CTempDir m_dir;
    CFakeClock m_clock;
    CCfg m_config;
    CLogCapture m_log;
};

} // namespace

TEST_F(Director, RandomPlayRepeatsNoSceneWithinACycle)
{
    auto director = Play(5);
    std::vector<std::string> played{Active(*director)};
    for (int i = 0; i < 14; ++i) {
        director->NextScene();
        played.push_back(Active(*director));
    }
    for (size_t cycle = 0; cycle < 3; ++cycle) {
        const std::set<std::string> seen(played.begin() + std::ptrdiff_t(cycle * 5),
                                          played.begin() + std::ptrdiff_t(cycle * 5 + 5));
        EXPECT_EQ(seen.size(), 5u) << "cycle " << cycle;
    }
    EXPECT_TRUE(m_log.Contains("*** Picked standalone scene"));
}

TEST_F(Director, UsageStatisticsCountTheScenesAndFramesOfARun)
{
    CStats& stats = CStats::Instance();
    struct SOff
    {
        ~SOff() { CStats::Instance().m_send = false; }
    } off;
    stats.m_send = true;
    stats.m_appType = EAppType::Visualizer;
    stats.m_path = m_dir.File("stats.dat");
    stats.m_url = "http://127.0.0.1:1/";
    std::time_t now = 1700000000;
    stats.m_now = [&now] { return now; };
    m_config.RandomizeScene = false;
    {
        std::unique_ptr<CLumora> director = Play(3);
        for (int i = 0; i < 20 * 30; ++i) {
            m_clock.Advance(1.0 / 30.0);
            director->Update(1.0f / 30.0f);
            director->FrameFinished();
        }
        // Scenes of a little over 7 seconds: the third has run about 6.
        EXPECT_EQ(stats.SceneName(), CompressPath(m_dir.File("s2.lms")));
        EXPECT_NEAR(stats.SceneFrames(), 6 * 30, 3);
        EXPECT_NEAR(stats.SceneTime() * 30.0f, float(stats.SceneFrames()), 1.01f);
        EXPECT_EQ(stats.Frames(), 20 * 30);
        now += 20;
    }
    const CStats::SRunRecord* record = stats.Record(EAppType::Visualizer);
    EXPECT_EQ(record->m_runCount, 1);
    EXPECT_EQ(record->m_runTime, 20);
    EXPECT_EQ(record->m_scenes, 3);
    EXPECT_DOUBLE_EQ(record->m_avgFps, 30.0);
    const std::string file = ReadFile(m_dir.File("stats.dat"));
    EXPECT_NE(file.find("<visualizer runcount=\"1\" runtime=\"20\""), std::string::npos) << file;
}

TEST_F(Director, RunTimesComeFromTheSettingsOrThePlaylist)
{
    auto director = Play(3, 0, EWindowMode::Window);
    const std::string first = Active(*director);
    EXPECT_FLOAT_EQ(director->GetScheduled(), 7.0f);
    Run(*director, 6.9);
    EXPECT_EQ(Active(*director), first);
    Run(*director, 0.2);
    EXPECT_NE(Active(*director), first) << "the run time is over";

    // A run time in the playlist beats the configured range.
    CPlaylist playlist;
    playlist.Add(playlist.m_scenes, WriteScene("short"), {}, 3.0f);
    playlist.Add(playlist.m_scenes, WriteScene("long"), {}, 0.0f);
    CLumora fromPlaylist(m_config, m_clock);
    fromPlaylist.m_run.m_windowMode = EWindowMode::Window;
    fromPlaylist.m_randomizeScene = false;
    fromPlaylist.Init();
    ASSERT_TRUE(fromPlaylist.DeserializeProject(playlist));
    fromPlaylist.ActivateScene(0);
    EXPECT_EQ(Active(fromPlaylist), "short");
    EXPECT_FLOAT_EQ(fromPlaylist.GetScheduled(), 3.0f);

    // With automatic switching off nothing changes by itself.
    fromPlaylist.SetAutoGoto(false, false);
    const std::string before = Active(fromPlaylist);
    Run(fromPlaylist, 20);
    EXPECT_EQ(Active(fromPlaylist), before);

    // No configuration program where it is looked for: said, and the run goes on.
    bool closed = false;
    CTempDir empty;
    fromPlaylist.m_configProgramDir = empty.Path();
    fromPlaylist.m_requestClose = [&closed] { closed = true; };
    EXPECT_FALSE(fromPlaylist.ShowConfig());
    EXPECT_FALSE(closed);
    EXPECT_TRUE(m_log.Contains("Failed to launch the configuration: \""));
}

TEST_F(Director, TransitionsStartAtTheEndOfARunAndHandOverAfterTheirLength)
{
    auto director = Play(2, 1);
    director->m_randomizeScene = false;
    const std::string first = Active(*director);
    Run(*director, 7.1);
    const CSceneBase* active = director->GetActiveScene();
    ASSERT_NE(active, nullptr);
    ASSERT_EQ(active->m_kind, CSceneBase::Kind_Transition) << Active(*director);
    const auto* transition = static_cast<const CSceneTransition*>(active);
    EXPECT_EQ(transition->m_from->GetId(), first);
    EXPECT_FLOAT_EQ(director->GetScheduled(), 1.0f);
    EXPECT_FLOAT_EQ(transition->m_nextRunTime, 7.0f);
    EXPECT_TRUE(m_log.Contains("Transition '"));
    // A crash report would name the scenes on screen.
    EXPECT_EQ(std::string(g_crashNotes.SceneFile()), m_dir.File("t0.lms") + " (transition from '" +
                                                         transition->m_from->GetFileName() + "' to '" +
                                                         transition->m_to->GetFileName() + "')");

    // The transition's own run time of 2 s is its length.
    Run(*director, 1.8);
    EXPECT_EQ(director->GetActiveScene(), active);
    Run(*director, 0.4);
    EXPECT_NE(director->GetActiveScene(), active);
    EXPECT_NE(Active(*director), first);
    EXPECT_FLOAT_EQ(director->GetScheduled(), 7.0f);
    EXPECT_TRUE(m_log.Contains("Transition done"));
    EXPECT_EQ(std::string(g_crashNotes.SceneFile()), director->GetActiveScene()->GetFileName());

    // One scene only: its time restarts and no transition begins.
    auto single = Play(1, 1);
    const CSceneBase* only = single->GetActiveScene();
    Run(*single, 7.5);
    EXPECT_EQ(single->GetActiveScene(), only);
}

TEST_F(Director, SlowScenesAreLeftEarlyExceptInAPlainWindow)
{
    struct SCase
    {
        EWindowMode windowMode;
        int framesInFiveSeconds;
        bool leaves;
    };
    for (const SCase& c : {SCase{EWindowMode::FullScreen, 24, true}, SCase{EWindowMode::FullScreen, 25, false},
                          SCase{EWindowMode::Window, 10, false}}) {
        m_config.MinRunTime = m_config.MaxRunTime = 30;
        auto director = Play(3, 0, c.windowMode);
        const CSceneBase* first = director->GetActiveScene();
        for (int i = 0; i < c.framesInFiveSeconds; ++i) {
            // The last of them just after the fifth second.
            m_clock.Advance(5.01 / c.framesInFiveSeconds);
            director->Update(0.2f);
        }
        // Slow from here on: once 25 frames were counted, no more judging.
        m_clock.Advance(0.5);
        director->Update(0.5f);
        EXPECT_EQ(director->GetActiveScene() != first, c.leaves)
            << "mode " << int(c.windowMode) << ", " << c.framesInFiveSeconds << " frames";
    }
    EXPECT_TRUE(m_log.Contains("Scene too slow. Switching to new scene."));
}

TEST_F(Director, RecordingGoesInPlaylistOrderOnSimulatedTime)
{
    auto director = Play(3, 2, EWindowMode::Record);
    std::vector<std::string> order{Active(*director)};
    std::vector<std::string> transitions;
    for (int i = 0; i < 4; ++i) {
        // The clock stands still: a recording counts the steps' own time.
        for (int step = 0; step < 30 * 10; ++step) {
            director->Update(1.0f / 30.0f);
            const CSceneBase* active = director->GetActiveScene();
            if (active->m_kind == CSceneBase::Kind_Transition &&
                (transitions.empty() || transitions.back() != active->GetFileName()))
                transitions.push_back(active->GetFileName());
            if (active->m_kind == CSceneBase::Kind_Scene && Active(*director) != order.back())
                order.push_back(Active(*director));
        }
    }
    ASSERT_GE(order.size(), 4u);
    EXPECT_EQ((std::vector<std::string>(order.begin(), order.begin() + 4)),
              (std::vector<std::string>{"s0", "s1", "s2", "s0"}));
    ASSERT_GE(transitions.size(), 3u);
    EXPECT_NE(transitions[0], transitions[1]) << "transitions take turns";
    EXPECT_EQ(transitions[0], transitions[2]);
}

TEST_F(Director, PlaylistEntriesThatDoNotLoadAreLeftOutAndForegroundsLoseTheirClear)
{
    CPlaylist playlist;
    playlist.Add(playlist.m_scenes, WriteScene("good"));
    playlist.Add(playlist.m_scenes, m_dir.File("missing.lmc"));
    playlist.Add(playlist.m_transitions, m_dir.File("gone.lms"));
    playlist.Add(playlist.m_scenes, WriteScene("back") + ";" + WriteScene("front") + ";");
    // Names that are no regular files: nothing ever writes to the FIFOs.
    MakeFifo(m_dir.File("fifo.lms"));
    MakeFifo(m_dir.File("fifo.lmc"));
    std::filesystem::create_directory(m_dir.File("folder.lms"));
    for (const char* name : {"fifo.lms", "fifo.lmc", "folder.lms"})
        playlist.Add(playlist.m_scenes, m_dir.File(name));
    CLumora director(m_config, m_clock);
    director.Init();
    {
        CHangGuard guard;
        ASSERT_TRUE(director.DeserializeProject(playlist));
    }
    EXPECT_EQ(director.PlayableCount(), 2u);
    EXPECT_EQ(director.TransitionCount(), 0u);
    EXPECT_TRUE(m_log.Contains("missing.lmc' could not be loaded and is left out of the playlist"));
    for (const char* name : {"fifo.lms\" is a FIFO", "fifo.lmc\" is a FIFO", "folder.lms\" is a directory"})
        EXPECT_TRUE(m_log.Contains(name)) << name;
    EXPECT_TRUE(m_log.Contains("folder.lms' could not be loaded and is left out of the playlist"));
    EXPECT_NE(director.GetActiveScene(), nullptr);

    const auto* layered = dynamic_cast<const CSceneLayered*>(director.FindSceneByFile(
        m_dir.File("back.lms") + ";" + m_dir.File("front.lms") + ";"));
    ASSERT_NE(layered, nullptr);
    ASSERT_NE(layered->m_foreground, nullptr);
    EXPECT_EQ(layered->m_foreground->FindNode("Clear1"), nullptr) << "a foreground never wipes the background";
    EXPECT_NE(layered->m_background->FindNode("Clear1"), nullptr);

    // One made from an entry: an empty part is no layer, not an empty scene.
    const std::string front = WriteScene("front2");
    const CSceneLayered* made = director.CreateLayeredScene(";" + front + ";");
    EXPECT_EQ(made->m_background, nullptr);
    ASSERT_NE(made->m_foreground, nullptr);
    EXPECT_EQ(made->m_foreground->FindNode("Clear1"), nullptr);
    EXPECT_EQ(made->GetFileName(), ";" + front + ";");

    // A layered entry of fewer than three parts breaks the playlist.
    CPlaylist broken;
    broken.Add(broken.m_scenes, WriteScene("a") + ";" + WriteScene("b"));
    CLumora refused(m_config, m_clock);
    refused.Init();
    EXPECT_FALSE(refused.DeserializeProject(broken));
    EXPECT_TRUE(m_log.Contains("Invalid layered scene file"));
}

TEST_F(Director, AStopRequestEndsLoadingAPlaylistBeforeItsNextScene)
{
    CPlaylist playlist;
    for (const char* name : {"a", "b", "c"})
        playlist.Add(playlist.m_scenes, WriteScene(name));
    CLumora director(m_config, m_clock);
    director.Init();
    RequestStop(SIGTERM);
    const bool read = director.DeserializeProject(playlist);
    RequestStop(0);
    EXPECT_TRUE(read);
    EXPECT_EQ(director.GetActiveScene(), nullptr);
    EXPECT_EQ(director.PlayableCount(), 0u);
    EXPECT_TRUE(m_log.Contains("Loading stopped by signal 15"));
    EXPECT_FALSE(m_log.Contains("New scene"));
}
