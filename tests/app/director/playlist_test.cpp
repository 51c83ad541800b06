#include "app/director/playlist.h"
#include "app/paths.h"
#include "app/textnumber.h"
#include "support/diskfull.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <utility>
#include <vector>

namespace {

// Every list as "file|id|seconds" entries, the active scene and the layered flag.
std::string Summary(const CPlaylist& p)
{
    std::string text = "active=" + p.m_activeSceneFile;
    const std::pair<const char*, const CPlaylist::Entries*> lists[] = {
        {" T[", &p.m_transitions}, {" S[", &p.m_scenes},          {" B[", &p.m_backgrounds},
        {" F[", &p.m_foregrounds}, {" P[", &p.m_postprocessings},
    };
    for (const auto& [tag, list] : lists) {
        text += tag;
        for (const auto& entry : *list)
            text += entry->m_fileName + "|" + entry->m_id + "|" + FormatG(entry->m_runTime) + ",";
        text += "]";
    }
    return text + (p.m_hasLayered ? " layered" : "");
}

// Points the path macros at directories of the test's own.
class Playlist : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_saved = g_paths;
        g_paths.m_appPath = m_dir.File("app");
        g_paths.m_userPath = m_dir.File("user");
    }
    void TearDown() override { g_paths = m_saved; }

    CTempDir m_dir;
    CPaths m_saved;
};

} // namespace

TEST_F(Playlist, SaveAndLoadKeepEveryListWithPathsStoredAsMacros)
{
    const std::string app = g_paths.m_appPath, user = g_paths.m_userPath;
    CPlaylist saved;
    saved.m_activeSceneFile = app + "/scenes/Start.lmc";
    saved.Add(saved.m_transitions, app + "/transitions/Fade.lmc", "T1", 3.0f);
    saved.Add(saved.m_scenes, user + "/scenes/Mine.lmc", "S1", 45.0f);
    saved.Add(saved.m_scenes, "/elsewhere/Other.lmc");
    saved.Add(saved.m_scenes, app + "/a.lmc;" + user + "/b.lmc;");
    saved.Add(saved.m_backgrounds, app + "\\bg\\Sky.lmc", "", 7.0f);
    saved.Add(saved.m_postprocessings, user + "/pp/Blur.lmc", "P1", 10.0f);
    const std::string path = m_dir.File("list.lmp");
    ASSERT_TRUE(saved.Save(path));

    const std::string text = ReadFile(path);
    EXPECT_TRUE(text.starts_with("<?xml")) << text;
    EXPECT_EQ(text.find(m_dir.Path()), std::string::npos) << text;
    size_t previous = 0;
    for (const char* part : {"<Playlist ActiveSceneFile=\"[apppath]scenes/Start.lmc\"/>",
                             "File=\"[apppath]transitions/Fade.lmc\"", "File=\"[userpath]scenes/Mine.lmc\"",
                             "File=\"[apppath]a.lmc;[userpath]b.lmc;\"", "File=\"[apppath]bg/Sky.lmc\"",
                             "<ForegroundScenes/>", "<PostprocessingScenes>"}) {
        const size_t at = text.find(part);
        EXPECT_NE(at, std::string::npos) << part << " in\n" << text;
        EXPECT_GT(at, previous) << part << " out of order in\n" << text;
        previous = at;
    }

    CPlaylist loaded;
    ASSERT_TRUE(loaded.Load(path));
    CPlaylist expected;
    expected.m_activeSceneFile = saved.m_activeSceneFile;
    const std::pair<const CPlaylist::Entries*, CPlaylist::Entries*> lists[] = {
        {&saved.m_transitions, &expected.m_transitions},
        {&saved.m_scenes, &expected.m_scenes},
        {&saved.m_backgrounds, &expected.m_backgrounds},
        {&saved.m_postprocessings, &expected.m_postprocessings},
    };
    for (const auto& [from, to] : lists)
        for (const auto& entry : *from)
            expected.Add(*to, ExpandPath(entry->m_fileName), entry->m_id, entry->m_runTime);
    EXPECT_EQ(Summary(loaded), Summary(expected));
    EXPECT_TRUE(loaded.m_hasLayered);
}

TEST_F(Playlist, ReadingRules)
{
    struct SCase
    {
        const char* name;
        std::string body; // inside <Lumora>
        std::string expected; // Summary() with macros to expand
        const char* logged = nullptr;
    };
    std::vector<SCase> cases = {
        {"run times are whole non-negative seconds",
         "<Scenes><Scene File=\"a\" Id=\"A\"/><Scene File=\"b\" ShowTimeMax=\"12.5\"/>"
         "<Scene File=\"c\" ShowTimeMax=\"x\"/><Scene File=\"d\" ShowTimeMax=\"-4\"/></Scenes>",
         "active= T[] S[a|A|0,b||12,c||0,d||0,] B[] F[] P[]"},
        {"macros and backslashes in files",
         "<Playlist ActiveSceneFile=\"[apppath]x\\y.lmc\"/>"
         "<Transitions><Scene File=\"[userpath]t\\f.lmc\" ShowTimeMax=\"2\"/></Transitions>",
         "active=[apppath]x/y.lmc T[[userpath]t/f.lmc||2,] S[] B[] F[] P[]", "ActiveScene: '"},
        {"unknown elements and list children are skipped with their subtrees",
         "<Unknown><Scenes><Scene File=\"no\"/></Scenes></Unknown>"
         "<Scenes><Other><Scene File=\"no\"/></Other><Scene File=\"z\"><Scene File=\"no\"/></Scene></Scenes>",
         "active= T[] S[z||0,] B[] F[] P[]"},
        {"Playlist may stand anywhere",
         "<Scenes><Scene File=\"a\"/></Scenes><Playlist ActiveSceneFile=\"s\"><Scenes/></Playlist>"
         "<BackgroundScenes><Scene File=\"b\"/></BackgroundScenes>",
         "active=s T[] S[a||0,] B[b||0,] F[] P[]", "ActiveScene: 's'"},
        {"scenes without a file are dropped",
         "<ForegroundScenes><Scene/><Scene File=\"f\"/><Scene File=\"\" Id=\"x\"/></ForegroundScenes>",
         "active= T[] S[] B[] F[f||0,] P[]", "Playlist entry without a file in <ForegroundScenes> at line 1"},
        {"a cut-off file keeps what came before",
         "<Scenes><Scene File=\"a\"/><Scene File=\"b\"/></Scenes><PostprocessingScenes><Scene File=\"c\"/><Sce",
         "active= T[] S[a||0,b||0,] B[] F[] P[c||0,]", "is broken at 1, "},
    };
    // A later plain entry doesn't clear the flag.
    const std::pair<std::string, const char*> lists[] = {{"Transitions", "T["},      {"Scenes", "S["},
                                                         {"BackgroundScenes", "B["}, {"ForegroundScenes", "F["},
                                                         {"PostprocessingScenes", "P["}};
    for (const auto& [list, tag] : lists) {
        std::string expected = "active= T[] S[] B[] F[] P[] layered";
        expected.insert(expected.find(tag) + 2, "a;;||0,b||0,");
        cases.push_back({"a layered entry in any list",
                         "<" + list + "><Scene File=\"a;;\"/><Scene File=\"b\"/></" + list + ">", expected});
    }

    const std::string path = m_dir.File("list.lmp");
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.name + (": " + c.body));
        WriteFile(path, "<Lumora>" + c.body + (c.body.ends_with("<Sce") ? "" : "</Lumora>"));
        CLogCapture log;
        CPlaylist loaded;
        ASSERT_TRUE(loaded.Load(path));
        // Relative files are read as files beside the playlist.
        std::string expected = ExpandPath(c.expected);
        for (const char* name : {"a", "b", "c", "d", "z", "f", "a;;"}) {
            for (const std::string& form : {std::string("[") + name + "|", std::string(",") + name + "|"}) {
                const size_t at = expected.find(form);
                if (at != std::string::npos)
                    expected.insert(at + 1, m_dir.Path() + "/");
            }
        }
        EXPECT_EQ(Summary(loaded), expected);
        if (c.logged)
            EXPECT_TRUE(log.Contains(c.logged)) << testing::PrintToString(log.Messages());
        else
            EXPECT_TRUE(log.Messages().empty()) << testing::PrintToString(log.Messages());
    }
}

TEST_F(Playlist, RunTimeAndIdAreWrittenOnlyWhenSet)
{
    CPlaylist saved;
    saved.Add(saved.m_scenes, "a", "", 0.0f);
    saved.Add(saved.m_scenes, "b", "B", 12.5f);
    saved.Add(saved.m_scenes, "c", "", 0.5f);
    const std::string path = m_dir.File("list.lmp");
    ASSERT_TRUE(saved.Save(path));
    const std::string text = ReadFile(path);
    for (const char* part : {"<Scene File=\"a\"/>", "<Scene File=\"b\" Id=\"B\" ShowTimeMax=\"12\"/>",
                             "<Scene File=\"c\" ShowTimeMax=\"0\"/>", "<Transitions/>", "<BackgroundScenes/>",
                             "<ForegroundScenes/>", "<PostprocessingScenes/>"})
        EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
}

TEST_F(Playlist, UnreadableFilesFailWithALogLine)
{
    const std::string path = m_dir.File("list.lmp");
    enum class EKind
    {
        Missing,
        File,
        Fifo,
        Directory,
        Device,
    };
    struct SCase
    {
        const char* name;
        EKind kind;
        std::string content;
        std::uintmax_t size; // the content padded with zeros, sparse
        std::string reason;  // why it was not opened, if it wasn't
        std::string logged;
    };
    const SCase cases[] = {
        {"missing", EKind::Missing, "", 0, "does not exist", ""},
        {"empty", EKind::File, "", 0, "", "Failed to read playlist file \"Premature end of document.\" at 1, 0"},
        {"wrong root", EKind::File, "<Settings><Scenes><Scene File=\"a\"/></Scenes></Settings>", 0, "",
         "Failed to read playlist file \"Root element <Settings> instead of <Lumora>\" at 1, 10"},
        {"too large", EKind::File, "<Lumora>", CPlaylist::MaxFileSize + 1, "is larger than 16777216 bytes", ""},
        // Nothing writes to it: an open that waits would never return.
        {"FIFO", EKind::Fifo, "", 0, "is a FIFO, not a regular file", ""},
        {"directory", EKind::Directory, "", 0, "is a directory", ""},
        {"endless device", EKind::Device, "", 0, "is a device, not a regular file", ""},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove_all(path);
        if (c.kind == EKind::File)
            WriteFile(path, c.content);
        if (c.size)
            std::filesystem::resize_file(path, c.size);
        if (c.kind == EKind::Fifo)
            MakeFifo(path);
        if (c.kind == EKind::Directory)
            std::filesystem::create_directory(path);
        const std::string name = c.kind == EKind::Device ? "/dev/zero" : path;
        CHangGuard guard;
        CLogCapture log;
        CPlaylist loaded;
        EXPECT_FALSE(loaded.Load(name));
        EXPECT_EQ(Summary(loaded), "active= T[] S[] B[] F[] P[]");
        const std::vector<std::string> refused = {"Playlist file \"" + name + "\" " + c.reason,
                                                  "Failed to open playlist file for reading \"" + name + "\""};
        EXPECT_EQ(log.Messages(), c.reason.empty() ? std::vector<std::string>{c.logged} : refused);
    }
}

TEST_F(Playlist, FailedSaveLeavesThePreviousFileAsItWas)
{
    CPlaylist playlist;
    playlist.Add(playlist.m_scenes, "a.lmc", "A", 5.0f);

    const std::string notADirectory = m_dir.File("file");
    WriteFile(notADirectory, "x");
    {
        CLogCapture log;
        EXPECT_FALSE(playlist.Save(notADirectory + "/list.lmp"));
        EXPECT_EQ(log.Messages(), std::vector<std::string>{"Failed to open playlist file for writing \"" +
                                                           notADirectory + "/list.lmp\""});
    }

    const std::string path = m_dir.File("list.lmp");
    const std::string old = "<?xml version=\"1.0\"?>\n<Lumora/>\n";
    WriteFile(path, old);
    CLogCapture log;
    const bool written = [&] {
        CDiskFull full(64);
        return playlist.Save(path);
    }();
    EXPECT_FALSE(written);
    EXPECT_EQ(ReadFile(path), old);
    EXPECT_EQ(std::ranges::distance(std::filesystem::directory_iterator(m_dir.Path())), 2) << "no temporary left";
    EXPECT_EQ(log.Messages(), std::vector<std::string>{"Failed to write playlist file \"" + path + "\""});
}

TEST_F(Playlist, RelativePathsNameFilesBesideThePlaylist)
{
    std::filesystem::create_directories(m_dir.File("lists"));
    WriteFile(m_dir.File("lists/relative.lmp"),
              "<?xml version=\"1.0\"?><Lumora><Scenes>"
              "<Scene File=\"../scenes/a.lmc\"/><Scene File=\"b.lms;;../post/c.lmc\"/>"
              "<Scene File=\"[apppath]scenes/d.lmc\"/><Scene File=\"/abs/e.lmc\"/>"
              "</Scenes></Lumora>");
    CPlaylist playlist;
    ASSERT_TRUE(playlist.Load(m_dir.File("lists/relative.lmp")));
    ASSERT_EQ(playlist.m_scenes.size(), 4u);
    EXPECT_EQ(playlist.m_scenes[0]->m_fileName, m_dir.File("scenes/a.lmc"));
    EXPECT_EQ(playlist.m_scenes[1]->m_fileName, m_dir.File("lists/b.lms") + ";;" + m_dir.File("post/c.lmc"));
    EXPECT_EQ(playlist.m_scenes[2]->m_fileName, m_dir.File("app") + "/scenes/d.lmc");
    EXPECT_EQ(playlist.m_scenes[3]->m_fileName, "/abs/e.lmc");
}
