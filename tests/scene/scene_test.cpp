#include "app/random.h"
#include "render/render.h"
#include "scene/scene.h"
#include "scene/pdmesh.h"
#include "scenenodes.h"
#include "support/logcapture.h"

#include <QXmlStreamWriter>
#include <gtest/gtest.h>

#include <set>

namespace {

class SceneGraph : public ::testing::Test
{
protected:
    CSceneTestTypes m_types;
    CScene m_scene;
};

using Names = std::vector<std::string>;

Names NodeNames(const CScene& scene)
{
    Names names;
    for (const auto& node : scene.m_nodes)
        names.push_back(node->m_name);
    return names;
}

std::string Xml(CScene& scene, bool document)
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    scene.Serialize(&writer, document);
    return xml.toStdString();
}

} // namespace

TEST_F(SceneGraph, AddsNodesUnderUniqueNamesWithTheFirstScreenAsRootAndRemovesThemCleanly)
{
    EXPECT_EQ(m_scene.UniqueName("Screen"), "Screen1");
    CNode* screen = m_scene.AddNode("Screen");
    CNode* second = m_scene.AddNode("Screen");
    CNode* sin = m_scene.AddNode("Sin");
    ASSERT_TRUE(screen && second && sin);
    EXPECT_EQ(NodeNames(m_scene), (Names{"Screen1", "Screen2", "Sin1"}));
    EXPECT_EQ(m_scene.GetRoot(), screen);
    EXPECT_EQ(m_scene.FindNode("Sin1"), sin);
    EXPECT_EQ(m_scene.FindNode("sin1"), nullptr);

    {
        CLogCapture log;
        EXPECT_EQ(m_scene.AddNode("Bogus"), nullptr);
        EXPECT_EQ(m_scene.m_nodes.size(), 3u);
        EXPECT_TRUE(log.Contains("Unknown node: \"Bogus\""));
    }

    // Names are unique even when an earlier number was freed.
    ASSERT_TRUE(m_scene.Connect("Sin1.Out", "Screen2.CamFov"));
    ASSERT_TRUE(m_scene.Connect("Sin1.Out", "Screen1.CamFov"));
    EXPECT_TRUE(m_scene.RemoveNode("Sin1"));
    EXPECT_FALSE(m_scene.RemoveNode("Sin1"));
    EXPECT_TRUE(screen->GetInPort("CamFov")->m_connections.empty());
    EXPECT_TRUE(second->GetInPort("CamFov")->m_connections.empty());
    EXPECT_EQ(m_scene.AddNode("Sin")->m_name, "Sin1");

    EXPECT_TRUE(m_scene.RemoveNode("Screen1"));
    EXPECT_EQ(m_scene.GetRoot(), nullptr) << "the second Screen doesn't take over";
    EXPECT_EQ(m_scene.AddNode("Screen")->m_name, "Screen1");
    EXPECT_EQ(m_scene.GetRoot(), m_scene.FindNode("Screen1"));
}

TEST_F(SceneGraph, ConnectsByPathWithTheTypeRule)
{
    m_scene.AddNode("Sin");
    m_scene.AddNode("RenderRect");
    m_scene.AddNode("Shader");
    m_scene.AddNode("Expression");
    m_scene.AddNode("Expression");
    m_scene.AddNode("Cube");
    m_scene.AddNode("MeshObject");
    CLogCapture log;
    EXPECT_TRUE(m_scene.Connect("Sin1.Out", "RenderRect1.Mode")) << "Float feeds Int";
    EXPECT_TRUE(m_scene.Connect("Sin1.Out", "RenderRect1.Enabled")) << "and Bool";
    EXPECT_TRUE(m_scene.Connect("Shader1.Effect", "RenderRect1.Effect"));
    EXPECT_EQ(m_scene.FindInPort("RenderRect1.Effect", nullptr)->GetConnectedNode(), m_scene.FindNode("Shader1"));

    // A sub-port is reached by a third part; any other third part is ignored.
    std::string component;
    CPort* x = m_scene.FindInPort("RenderRect1.Rect.x", &component);
    ASSERT_NE(x, nullptr);
    EXPECT_EQ(x->m_name, "Rect.x");
    EXPECT_EQ(component, "x");
    EXPECT_TRUE(m_scene.Connect("Sin1.Out", "RenderRect1.Rect.x"));
    EXPECT_EQ(x->GetConnectedNode(), m_scene.FindNode("Sin1"));
    EXPECT_TRUE(m_scene.Connect("Sin1.Out.whatever", "Expression1.A.y"));
    EXPECT_EQ(m_scene.FindInPort("Expression1.A", nullptr)->GetConnectedNode(), m_scene.FindNode("Sin1"));

    EXPECT_FALSE(m_scene.Connect("Sin1.Nope", "Expression1.B"));
    EXPECT_FALSE(m_scene.Connect("Sin1.Out", "Nobody1.B"));
    EXPECT_FALSE(m_scene.Connect("Sin1", "Expression1.B"));
    EXPECT_FALSE(m_scene.Connect("RenderRect1.Render", "Expression1.B"));
    EXPECT_FALSE(m_scene.Connect("Sin1.Out", "RenderRect1.Label"));
    EXPECT_EQ(m_scene.FindInPort("Expression1.Out", nullptr), nullptr) << "outputs aren't inputs";

    // Two nodes evaluated on every pull would pull each other without end.
    EXPECT_TRUE(m_scene.Connect("Expression1.Out", "Expression2.A"));
    EXPECT_FALSE(m_scene.Connect("Expression2.Out", "Expression1.B"));

    // Mesh inputs see a new or lost connection as a change.
    CPort* mesh = m_scene.FindInPort("MeshObject1.Mesh", nullptr);
    mesh->m_changed = false;
    EXPECT_TRUE(m_scene.Connect("Cube1.Mesh", "MeshObject1.Mesh"));
    EXPECT_TRUE(mesh->m_changed);
    mesh->m_changed = false;
    EXPECT_TRUE(m_scene.Disconnect("Cube1.Mesh", "MeshObject1.Mesh"));
    EXPECT_TRUE(mesh->m_changed && mesh->m_connections.empty());
    EXPECT_FALSE(m_scene.Disconnect("Cube1.Mesh", "MeshObject1.Nope"));

    EXPECT_EQ(log.Messages(),
              (Names{"!ERROR! : Unable to created a connection between nodes of different type 7 -> 3",
                     "!ERROR! : Unable to created a connection between nodes of different type 3 -> 5",
                     "!ERROR! : Connection would close a loop of nodes that are evaluated on every pull (B -> Out)"}));
}

TEST_F(SceneGraph, IdsAreTenCharactersFromTheGlobalGeneratorAndSerialisationFillsWhatIsUnset)
{
    g_random.Seed(7);
    m_scene.GenerateId();
    const std::string first = m_scene.m_id;
    g_random.Seed(7);
    m_scene.GenerateId();
    EXPECT_EQ(m_scene.m_id, first) << "the ids come from g_random";
    std::set<std::string> ids;
    for (int i = 0; i < 200; ++i) {
        m_scene.GenerateId();
        ASSERT_EQ(m_scene.m_id.size(), 10u);
        EXPECT_EQ(m_scene.m_id.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyz"), std::string::npos);
        ids.insert(m_scene.m_id);
    }
    EXPECT_EQ(ids.size(), 200u);

    CScene fresh;
    EXPECT_FALSE(fresh.m_created.IsSet());
    Xml(fresh, true);
    EXPECT_EQ(fresh.m_id.size(), 10u);
    EXPECT_TRUE(fresh.m_created.IsSet() && fresh.m_lastModified.IsSet());
}

TEST(SceneLicense, TextsOfTheLicenceTypes)
{
    EXPECT_EQ(CScene::GetLicenseText("CC0"),
              "To the extent possible under law, the person who associated CC0 with this work has waived all "
              "copyright and related or neighboring rights to this work.");
    EXPECT_EQ(CScene::GetLicenseText("CC BY-SA 3.0"),
              "This work is licensed under the Creative Commons Attribution-ShareAlike 3.0 Unported License. To "
              "view a copy of this license, visit https://creativecommons.org/licenses/by-sa/3.0/");
    EXPECT_EQ(CScene::GetLicenseText("CC BY 4.0"),
              "This work is licensed under the Creative Commons Attribution 4.0 Unported License. To view a copy "
              "of this license, visit https://creativecommons.org/licenses/by/4.0/");
    EXPECT_EQ(CScene::GetLicenseText("CC BY-NC 5.0"), "");
    EXPECT_EQ(CScene::GetLicenseText("cc by 4.0"), "");

    CScene scene;
    EXPECT_EQ(scene.m_licenseType, "CC BY-NC-SA 4.0");
    EXPECT_EQ(scene.m_licenseText, CScene::GetLicenseText("CC BY-NC-SA 4.0"));
    EXPECT_NE(scene.m_licenseText.find("Attribution-NonCommercial-ShareAlike 4.0"), std::string::npos);
    EXPECT_FALSE(scene.m_relicensingPossible);
    scene.SetLicenseType("CC BY-NC 3.0");
    EXPECT_EQ(scene.m_licenseText, CScene::GetLicenseText("CC BY-NC 3.0"));
}

TEST(SceneNames, NameFromFileAndCompatibilityBothWays)
{
    struct SCase
    {
        const char* file;
        const char* name;
    };
    for (const SCase& c : {SCase{"[userpath]/scenes/Deep Sea.lmc", "Deep Sea"}, SCase{"C:\\x\\Glow.lms", "Glow"},
                           SCase{"abc", "abc"}, SCase{"", ""}, SCase{"dir/.lmc", ""}}) {
        CScene scene;
        scene.m_fileName = c.file;
        EXPECT_EQ(scene.GetName(), c.name) << c.file;
    }

    CScene a, b, c;
    a.m_fileName = "scenes/Alpha.lmc";
    b.m_fileName = "scenes/Beta.lmc";
    c.m_fileName = "scenes/Gamma.lmc";
    EXPECT_EQ(a.CheckCompatibility(&b), 1);
    EXPECT_EQ(a.CheckCompatibility(nullptr), 1);
    a.m_goodScenes = {"BETA"};
    EXPECT_EQ(a.CheckCompatibility(&b), 2);
    EXPECT_EQ(b.CheckCompatibility(&a), 2) << "the other's list counts too";
    b.m_badScenes = {"alpha"};
    EXPECT_EQ(a.CheckCompatibility(&b), 0) << "bad wins over good";
    EXPECT_EQ(b.CheckCompatibility(&a), 0);
    EXPECT_EQ(c.CheckCompatibility(&a), 1);
    c.m_kind = CSceneBase::Kind_Layered;
    c.m_badScenes = {"Alpha"};
    EXPECT_EQ(a.CheckCompatibility(&c), 1) << "layered scenes are neutral";
}

TEST_F(SceneGraph, WritesTheXmlFormInItsOrder)
{
    m_scene.m_id = "abcdefghij";
    m_scene.m_parentId = "p";
    m_scene.m_author = "A & B";
    m_scene.m_desc = "two\nlines";
    m_scene.m_created = {2021, 3, 4, 5, 6, 7};
    m_scene.m_lastModified = SSceneTime::Parse("20220102 03:04");
    m_scene.m_version = 3;
    m_scene.m_fileName = "[userpath]/scenes/x.lmc";
    m_scene.m_warmupTime = 2.5f;
    m_scene.m_sceneType = 0x101;
    m_scene.m_tags = {"a", "", "b"};
    m_scene.SetLicenseType("CC0");
    m_scene.m_relicensingPossible = true;
    m_scene.m_goodScenes = {"G"};
    m_scene.m_badScenes = {"B1", "B2"};
    m_scene.AddNode("Sin");
    m_scene.AddNode("RenderToTexture");
    m_scene.AddNode("Shader");
    ASSERT_TRUE(m_scene.Connect("RenderToTexture1.ColorNext", "Shader1.Texture"));
    ASSERT_TRUE(m_scene.Connect("Sin1.Out", "Sin1.A"));

    EXPECT_EQ(Xml(m_scene, false),
              "<LumoraScene Id=\"abcdefghij\" ParentId=\"p\" WarmupTime=\"2.5\" SceneType=\"257\" Version=\"3\" "
              "Created=\"20210304 05:06\" LastModified=\"20220102 03:04\" File=\"[userpath]/scenes/x.lmc\">"
              "<Author>A &amp; B</Author><Desc>two\nlines</Desc><Tags>a,,b</Tags>"
              "<License Type=\"CC0\" RelicensingPossible=\"1\">" + CScene::GetLicenseText("CC0") + "</License>"
              "<Nodes><Node Type=\"Sin\" Name=\"Sin1\"><Port Id=\"A\" Value=\"0\"/><Port Id=\"B\" Value=\"0\"/>"
              "<Port Id=\"Bias\" Value=\"0\"/></Node><Node Type=\"RenderToTexture\" Name=\"RenderToTexture1\"/>"
              "<Node Type=\"Shader\" Name=\"Shader1\"><Port Id=\"Shader\"><Value></Value></Port></Node></Nodes>"
              "<Connections><Connection Out=\"Sin1.Out\" In=\"Sin1.A\"/>"
              "<Connection Out=\"RenderToTexture1.ColorNext\" In=\"Shader1.Texture\"/></Connections>"
              "<SceneCompatibility><GoodScenes><Scene Name=\"G\"/></GoodScenes>"
              "<BadScenes><Scene Name=\"B1\"/><Scene Name=\"B2\"/></BadScenes></SceneCompatibility></LumoraScene>");

    // The document form starts with the declaration and leaves out the file.
    const std::string document = Xml(m_scene, true);
    EXPECT_EQ(document.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?><LumoraScene Id=\"abcdefghij\"", 0), 0u);
    EXPECT_EQ(document.find("File="), std::string::npos);

    // A date needs its 14 characters and must be a real one.
    EXPECT_FALSE(SSceneTime::Parse("20220102 03:0").IsSet());
    EXPECT_FALSE(SSceneTime::Parse("20221302 03:04").IsSet());
    EXPECT_FALSE(SSceneTime::Parse("2022x102 03:04").IsSet());
    EXPECT_EQ(SSceneTime::Parse("20220102 23:59:30"), (SSceneTime{2022, 1, 2, 23, 59, 0}));
    EXPECT_EQ(SSceneTime{}.Format(), "");
}

TEST_F(SceneGraph, DeviceWalksAndFrameBookkeeping)
{
    CNode* cube = m_scene.AddNode("Cube");
    CNode* object = m_scene.AddNode("MeshObject");
    CPDMesh mesh;
    static_cast<CPortMesh*>(object->GetInPort("Mesh"))->m_value = &mesh;
    cube->m_deviceDirty = object->m_deviceDirty = 0;

    m_scene.ForceRestore();
    EXPECT_EQ(cube->m_deviceDirty, 0xFFFFFFFFu);
    EXPECT_EQ(object->m_deviceDirty, 0xFFFFFFFFu);
    EXPECT_TRUE(mesh.m_meshDirty) << "a MeshObject's mesh is generated again";

    CRender render;
    EXPECT_TRUE(m_scene.RestoreDevice(&render));
    EXPECT_EQ(cube->m_deviceDirty, 0xFFFFFFFEu) << "device 0 is restored";

    const int frame = m_scene.GetContext().m_frame;
    m_scene.FrameFinished();
    EXPECT_EQ(m_scene.GetContext().m_frame, frame + 1);
    m_scene.Restart();
    EXPECT_TRUE(m_scene.GetContext().m_restarted);
    static_cast<CPortMesh*>(object->GetInPort("Mesh"))->m_value = nullptr;
}
