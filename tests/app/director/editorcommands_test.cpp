// The editor's commands against a director that plays a small scene: each
// request, run by the director's update, and the answer it gets.

#include "app/cfg.h"
#include "app/director/lumora.h"
#include "app/host/clock.h"
#include "app/host/frameloop.h"
#include "ports/port.h"
#include "scene/node.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"
#include "services/scriptengine.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace {

// Answers without the writer's line breaks and indentation.
std::string Compact(const std::string& text)
{
    return std::regex_replace(text, std::regex("\n *"), "");
}

std::string Replace(std::string text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

class CTestLoop : public CFrameLoop
{
protected:
    void UpdateApp(float) override {}
    void RenderFrame() override {}
};

class EditorCommandsTest : public ::testing::Test
{
protected:
    EditorCommandsTest() : m_engine(CScriptEngine::Get())
    {
        m_file = m_dir.File("cmd.lms");
        WriteFile(m_file, "<LumoraScene Id=\"cmdtest\" SceneType=\"256\"><Nodes>"
                          "<Node Type=\"Clear\" Name=\"Clear1\"/><Node Type=\"Screen\" Name=\"Screen1\"/>"
                          "<Node Type=\"Sin\" Name=\"Sin1\"/><Node Type=\"Sin\" Name=\"Sin2\"/></Nodes><Connections>"
                          "<Connection Out=\"Clear1.Render\" In=\"Screen1.Render\"/>"
                          "<Connection Out=\"Sin1.Value\" In=\"Sin2.Offset\"/></Connections></LumoraScene>");
        auto scene = m_director.NewScene();
        EXPECT_TRUE(scene->Load(m_file, true));
        EXPECT_TRUE(m_director.PlayOnly(std::move(scene)));
        m_director.m_frameLoop = &m_loop;
        m_director.m_randomizeScene = false;
        m_director.m_autoGotoNextScene = false;
    }
    ~EditorCommandsTest() override { m_engine->Release(); }

    // Runs a request as an editor's would run: queued, then one update.
    std::string Ask(const std::string& request)
    {
        m_director.AddCommands(request);
        m_director.Update(1.0f / 30.0f);
        return Compact(m_engine->GetResults());
    }
    CScene* Active() { return dynamic_cast<CScene*>(m_director.GetActiveScene()); }

    CLogCapture m_log;
    CTempDir m_dir;
    CCfg m_config;
    CLumora m_director{m_config, CClock::System()};
    CTestLoop m_loop;
    CScriptEngine* m_engine;
    std::string m_file;
};

struct SCommandRow
{
    const char* name;
    const char* request;
    const char* answer;
};

class EditorCommandTable : public EditorCommandsTest, public ::testing::WithParamInterface<SCommandRow>
{
};

// "$FILE" stands for the scene that plays, "$SHARED" for the shared test data.
const SCommandRow kCommandRows[] = {
    {"ProjectCreate", "<ProjectCreate/><SceneActive/>", "<ProjectCreated/><SceneActivated File=\"\"/>"},
    {"ProjectLoadMissing", "<ProjectLoad Filename=\"/nonexistent.lmp\"/>", "<ProjectLoad Error=\"Load failed\"/>"},
    // The playlist's scenes join the one there was, which stays first.
    {"ProjectLoad", "<ProjectLoad Filename=\"$PLAYLIST\"/><SceneActivate File=\"$SHARED/scenes/red.lms\"/>",
     "<ProjectLoaded Filename=\"$PLAYLIST\"/><SceneActivated File=\"$SHARED/scenes/red.lms\" Name=\"\"/>"},
    {"ProjectSave", "<ProjectSave/>", ""},
    {"SceneLoadMissing", "<SceneLoad File=\"/nonexistent.lms\"/>",
     "<SceneLoad Error=\"Failed to load the scene\"/>"},
    {"SceneLoad", "<SceneLoad File=\"$FILE\" Name=\"again\" FreeOld=\"1\"/><ScenesGet/>",
     "<SceneLoaded File=\"$FILE\" Name=\"again\"/><Scenes><Scene File=\"$FILE\" Id=\"cmdtest\"/></Scenes>"},
    {"SceneRemove", "<SceneRemove File=\"$FILE\"/><SceneActive/>",
     "<SceneRemoved File=\"$FILE\"/><SceneActivated File=\"\"/>"},
    {"SceneRemoveByName", "<SceneRemove Name=\"cmd\"/>", "<SceneRemoved Name=\"cmd\"/>"},
    {"SceneRemoveMissing", "<SceneRemove Name=\"nope\"/>",
     "<SceneRemove Error=\"A scene with that name/file doesn't exists\"/>"},
    {"SceneSaveOther", "<SceneSave File=\"other.lms\"/>", "<SceneSaved File=\"other.lms\"/>"},
    {"SceneActivate", "<SceneActivate File=\"$FILE\" Name=\"n\"/>", "<SceneActivated File=\"$FILE\" Name=\"n\"/>"},
    {"SceneActivateMissing", "<SceneActivate File=\"nope\"/>",
     "<SceneActivate Error=\"A scene with that name doesn't exists\"/>"},
    {"SceneActive", "<SceneActive/>", "<SceneActivated File=\"$FILE\"/>"},
    {"ScenesGet", "<ScenesGet/>", "<Scenes><Scene File=\"$FILE\" Id=\"cmdtest\"/></Scenes>"},
    {"SceneGetMissing", "<SceneGet File=\"nope\"/>", "<SceneGet Error=\"A scene with that name doesn't exists\"/>"},
    {"SceneUpdateMissing", "<SceneUpdate File=\"nope\"/>",
     "<SceneUpdate Error=\"A scene with that name doesn't exists\"/>"},
    {"NodeCreate", "<NodeCreate Type=\"Sin\" Name=\"Wave\"/>", "<NodeCreated Type=\"Sin\" Name=\"Wave\"/>"},
    {"NodeCreateGeneratedName", "<NodeCreate Type=\"Sin\"/>", "<NodeCreated Type=\"Sin\" Name=\"Sin3\"/>"},
    {"NodeCreateTakenNameBeforeType", "<NodeCreate Type=\"Nope\" Name=\"Sin1\"/>",
     "<NodeCreate Error=\"A node with that name already exists\"/>"},
    {"NodeCreateUnknownType", "<NodeCreate Type=\"Nope\"/>", "<NodeCreate Error=\"Unknown node type\"/>"},
    {"NodeCreateWithoutScene", "<ProjectCreate/><NodeCreate Type=\"Sin\"/>",
     "<ProjectCreated/><NodeCreate Error=\"No active scene set\"/>"},
    {"NodeRemove", "<NodeRemove Name=\"Sin1\"/><NodeRemove Name=\"Sin1\"/>",
     "<NodeRemoved Name=\"Sin1\"/><NodeRemove Error=\"A node with that name doesn't exists\"/>"},
    {"NodeSet", "<NodeSet Name=\"Sin1\"/>", "<Node Name=\"Sin1\"/>"},
    {"NodeGet", "<NodeGet Name=\"Sin2\"/>",
     "<Node Name=\"Sin2\" SceneFile=\"$FILE\"><Port Name=\"Min\" Value=\"0\"/><Port Name=\"Max\" Value=\"1\"/>"
     "<Port Name=\"Offset\" Value=\"0\"/><Port Name=\"Frequency\" Value=\"1\"/></Node>"},
    {"NodeGetMissing", "<NodeGet Name=\"x\"/>", "<NodeGet Error=\"A node with that name doesn't exists\"/>"},
    {"ConnectionCreate", "<ConnectionCreate From=\"Sin1.Value\" To=\"Sin2.Min\"/>",
     "<ConnectionCreated From=\"Sin1.Value\" To=\"Sin2.Min\"/>"},
    // Sin1 reads nothing of Sin2's yet, but Sin2 reads Sin1.
    {"ConnectionCreateLoop", "<ConnectionCreate From=\"Sin2.Value\" To=\"Sin1.Min\"/>",
     "<ConnectionCreate Error=\"Unable to create connection\"/>"},
    {"ConnectionCreateOtherKinds", "<ConnectionCreate From=\"Sin1.Value\" To=\"Screen1.Render\"/>",
     "<ConnectionCreate Error=\"Unable to create connection\"/>"},
    {"ConnectionRemove", "<ConnectionRemove From=\"Sin1.Value\" To=\"Sin2.Offset\"/>",
     "<ConnectionRemoved From=\"Sin1.Value\" To=\"Sin2.Offset\"/>"},
    {"ConnectionRemoveMissing", "<ConnectionRemove From=\"x.Value\" To=\"Sin2.Offset\"/>",
     "<ConnectionRemove Error=\"Unable to remove connection\"/>"},
    {"ConnectionsBreak", "<ConnectionsBreak Node1=\"Sin2\" Node2=\"Sin1\"/>",
     "<ConnectionsBroken Node1=\"Sin2\" Node2=\"Sin1\"/>"},
    {"ConnectionsBreakMissing", "<ConnectionsBreak Node1=\"Sin2\" Node2=\"x\"/>",
     "<ConnectionsBreak Error=\"Unable to find one of the nodes\"/>"},
    {"PortSetClamps", "<PortSet Name=\"Sin1.Frequency\" Value=\"-5\"/><PortGet Name=\"Sin1.Frequency\"/>",
     "<Port Name=\"Sin1.Frequency\" Value=\"1e-06\"/><Port Name=\"Sin1.Frequency\" Value=\"1e-06\"/>"},
    {"PortSetColor", "<PortSet Name=\"Clear1.Color\" Value=\"0 1 0 1\"/>",
     "<Port Name=\"Clear1.Color\" Value=\"0 1 0 1\"/>"},
    {"PortSetMissing", "<PortSet Name=\"Clear1.Nope\" Value=\"1\"/>",
     "<PortSet Error=\"A node,port or component with that name doesn't exists\"/>"},
    {"PortGetMissing", "<PortGet Name=\"x.Max\"/>",
     "<PortGet Error=\"A node,attribute or component with that name doesn't exists\"/>"},
    {"WinCreate", "<WinCreate AppType=\"5\" ParentHWND=\"1234\"/>", "<WinCreate Error=\"Unable to create window\"/>"},
    {"WinCaptureWithoutWindow", "<WinCapture/>", "<WinCapture Error=\"Failed to save screen capture\"/>"},
    {"ConfigSetLockFps", "<ConfigSet LockFPS=\"1\"/><ConfigGet/>", "LockFPS=\"1\"/>"},
    {"ConfigSetFreeFps", "<ConfigSet LockFPS=\"0\"/><ConfigGet/>", "LockFPS=\"0\"/>"},
    {"RenderInfoGet", "<RenderInfoGet/>", "<RenderInfo/>"},
    {"Unknown", "<Bogus/>", "<Bogus Error=\"Unknown command\"/>"},
    {"SecondOfThreeFails", "<NodeSet Name=\"a\"/><Bogus/><NodeSet Name=\"c\"/>",
     "<Node Name=\"a\"/><Bogus Error=\"Unknown command\"/><Node Name=\"c\"/>"},
};

} // namespace

TEST_P(EditorCommandTable, AnswersAsTheProtocolSays)
{
    const SCommandRow& row = GetParam();
    const auto fill = [this](std::string text) {
        text = Replace(text, "$PLAYLIST", "$SHARED/playlists/colours.lmp");
        return Replace(Replace(text, "$SHARED", LUMORA_SHARED_TEST_DATA), "$FILE", m_file);
    };
    const std::string answer = Ask(fill(std::string("<lms>") + row.request + "</lms>"));
    const std::string expected = fill(row.answer);
    // Rows that give only the end of their answer compare only that.
    if (expected.starts_with("<") || expected.empty())
        EXPECT_EQ(answer, "<lms>" + expected + "</lms>");
    else
        EXPECT_TRUE(answer.ends_with(expected + "</lms>")) << answer;
}

INSTANTIATE_TEST_SUITE_P(Commands, EditorCommandTable, ::testing::ValuesIn(kCommandRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(EditorCommandsTest, CommandsChangeTheScene)
{
    Ask("<lms><PortSet Name=\"Clear1.Color\" Value=\"0 0 1 1\"/><NodeCreate Type=\"Sin\" Name=\"W\"/>"
        "<ConnectionsBreak Node1=\"Sin1\" Node2=\"Sin2\"/><SceneUpdate File=\"" +
        m_file + "\" Author=\"a\\@b\" Tags=\"x,,y\" WarmupTime=\"2.5\" NewFile=\"new.lms\"/></lms>");
    CScene* scene = Active();
    ASSERT_NE(scene, nullptr);
    EXPECT_EQ(scene->FindNode("Clear1")->GetInPort("Color")->GetValue(), "0 0 1 1");
    EXPECT_NE(scene->FindNode("W"), nullptr);
    EXPECT_EQ(scene->FindNode("Sin2")->GetInPort("Offset")->GetConnectedNode(), nullptr);
    EXPECT_EQ(scene->m_author, "a\tb");
    EXPECT_EQ(scene->m_tags, (std::vector<std::string>{"x", "y"}));
    EXPECT_FLOAT_EQ(scene->m_warmupTime, 2.5f);
    // A new file name makes a new scene that remembers where it came from.
    EXPECT_EQ(scene->m_fileName, "new.lms");
    EXPECT_EQ(scene->m_parentId, "cmdtest");
    EXPECT_NE(scene->m_id, "cmdtest");
    EXPECT_EQ(scene->m_version, 0);
}

TEST_F(EditorCommandsTest, CreatedScenesAndListings)
{
    const std::string created = Ask("<lms><SceneCreate/></lms>");
    const std::smatch match = [&] {
        std::smatch m;
        std::regex_search(created, m, std::regex("<SceneCreated Name=\"NewScene \\((\\w{10})\\)\"/>"));
        return m;
    }();
    ASSERT_EQ(match.size(), 2u) << created;
    // The new scene has no file name yet; activating the empty name finds it.
    EXPECT_EQ(Ask("<lms><SceneActivate File=\"\"/><ConnectionRemove From=\"Clear1.Render\" To=\"Screen1.Render\"/>"
                  "</lms>"),
              "<lms><SceneActivated Name=\"\"/><ConnectionRemoved From=\"Clear1.Render\" To=\"Screen1.Render\"/></lms>");
    EXPECT_EQ(Active()->m_licenseType, CScene::DefaultLicenseType);
    EXPECT_EQ(Active()->m_id, match[1].str());

    const std::string scene = Ask("<lms><SceneGet File=\"" + m_file + "\"/></lms>");
    EXPECT_TRUE(scene.starts_with("<lms><Scene><LumoraScene Id=\"cmdtest\"")) << scene;

    const std::string types = Ask("<lms><NodeTypesGet/></lms>");
    size_t listed = 0;
    for (size_t at = types.find("<NodeInfo "); at != std::string::npos; at = types.find("<NodeInfo ", at + 1))
        ++listed;
    EXPECT_EQ(listed, CNodeFactory::Get()->GetNodeInfos().size());
    CNodeFactory::Get()->Release();
    EXPECT_TRUE(types.starts_with("<lms><NodeTypes><NodeInfo Type=\"SignalGenerator\"")) << types.substr(0, 80);
}
