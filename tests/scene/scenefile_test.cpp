#include "scene/node.h"
#include "scene/scene.h"
#include "scenenodes.h"
#include "support/diskfull.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <QBuffer>
#include <QImage>
#include <QXmlStreamWriter>
#include <gtest/gtest.h>
#include <quazip/quazip.h>
#include <quazip/quazipfile.h>
#include <quazip/quazipnewinfo.h>

#include <csignal>
#include <functional>
#include <filesystem>
#include <map>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Entries = std::vector<std::pair<std::string, std::string>>;

std::map<std::string, std::string> ReadZip(const std::string& path)
{
    std::map<std::string, std::string> entries;
    QuaZip zip(QString::fromStdString(path));
    if (!zip.open(QuaZip::mdUnzip))
        return entries;
    for (bool more = zip.goToFirstFile(); more; more = zip.goToNextFile()) {
        QuaZipFile file(&zip);
        file.open(QIODevice::ReadOnly);
        entries[zip.getCurrentFileName().toStdString()] = file.readAll().toStdString();
    }
    return entries;
}

void WriteZip(const std::string& path, const Entries& entries)
{
    QuaZip zip(QString::fromStdString(path));
    ASSERT_TRUE(zip.open(QuaZip::mdCreate));
    for (const auto& [name, data] : entries) {
        QuaZipFile file(&zip);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly, QuaZipNewInfo(QString::fromStdString(name))));
        file.write(QByteArray::fromStdString(data));
        file.close();
    }
    zip.close();
}

std::string Xml(CScene& scene)
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    scene.Serialize(&writer, true);
    return xml.toStdString();
}

// A synthetic render read-back: left half red, right half blue, in BGR order.
CSceneSnapshot RedBlue(int width, int height)
{
    CSceneSnapshot picture{width, height, std::vector<uint8_t>(size_t(width) * height * 3)};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint8_t* bgr = &picture.m_bgr[(size_t(y) * width + x) * 3];
            bgr[x < width / 2 ? 2 : 0] = 255;
        }
    }
    return picture;
}

class SceneFile : public ::testing::Test
{
protected:
    void TearDown() override { CScene::SetSnapshotSource(nullptr); }

    std::string File(const std::string& name) const { return m_dir.File(name); }

    // A scene with every stored field, node kind, port kind and connection kind.
    void Fill(CScene& scene)
    {
        scene.m_id = "0a1b2c3d4e";
        scene.m_parentId = "zzzzzzzzzz";
        scene.m_author = "Ann <ann@example.org>";
        scene.m_desc = "Waves\n\tand \"quotes\"";
        scene.m_created = {2020, 2, 29, 23, 58, 0};
        scene.m_lastModified = {2020, 3, 1, 0, 1, 0};
        scene.m_version = 41;
        scene.m_warmupTime = 1.25f;
        scene.m_sceneType = CScene::SceneType_Foreground | CScene::SceneType_Hidden;
        scene.m_tags = {"calm", "blue sky", ""};
        scene.SetLicenseType("CC BY 3.0");
        scene.m_relicensingPossible = true;
        scene.m_goodScenes = {"Deep Sea", "Glow"};
        scene.m_badScenes = {"Noise"};
        for (const char* type : {"Screen", "Sin", "RenderRect", "Shader", "RenderToTexture", "Cube", "MeshObject"})
            ASSERT_NE(scene.AddNode(type), nullptr) << type;
        CNode* rect = scene.FindNode("RenderRect1");
        rect->GetInPort("Rect")->SetValue("0.1 0.2 0.9 0.8");
        rect->GetInPort("Enabled")->SetValue("0");
        rect->GetInPort("Mode")->SetValue("Add");
        rect->GetInPort("Offset")->SetValue("1 -2 3.5");
        rect->GetInPort("Label")->SetValue("multi\nline & <text>");
        scene.FindNode("Screen1")->GetInPort("Color")->SetValue("0.5 0.25 1 1");
        scene.FindNode("Sin1")->GetInPort("Bias")->SetValue("-7.5");
        scene.FindNode("Shader1")->GetInPort("Shader")->SetValue("float4 main() : COLOR { return 1; }");
        for (const auto& [out, in] : Entries{{"RenderRect1.Render", "Screen1.Render"},
                                             {"Shader1.Effect", "RenderRect1.Effect"},
                                             {"RenderToTexture1.ColorNext", "Shader1.Texture"},
                                             {"Sin1.Out", "RenderRect1.Rect.w"},
                                             {"Cube1.Mesh", "MeshObject1.Mesh"}})
            ASSERT_TRUE(scene.Connect(out, in)) << out << " -> " << in;
    }

    CSceneTestTypes m_types;
    CTempDir m_dir;
};

} // namespace

TEST_F(SceneFile, RoundTripThroughAContainerKeepsEveryFieldNodePortAndConnection)
{
    CScene saved;
    Fill(saved);
    ASSERT_TRUE(saved.Save(File("full.lmc"), false));
    EXPECT_EQ(saved.m_version, 42);
    EXPECT_EQ(saved.m_fileName, File("full.lmc"));
    const auto entries = ReadZip(File("full.lmc"));
    ASSERT_EQ(entries.size(), 1u) << "no images without a picture";
    EXPECT_EQ(entries.begin()->first, "scene.xml");
    EXPECT_EQ(entries.begin()->second.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<LumoraScene", 0), 0u);
    EXPECT_NE(entries.begin()->second.find("\n\t<Author>"), std::string::npos) << "indented by tabs";

    CScene loaded;
    CLogCapture log;
    ASSERT_TRUE(loaded.Load(File("full.lmc"), true));
    EXPECT_TRUE(log.Messages().empty());
    EXPECT_EQ(loaded.m_id, "0a1b2c3d4e");
    EXPECT_EQ(loaded.m_parentId, "zzzzzzzzzz");
    EXPECT_EQ(loaded.m_author, saved.m_author);
    EXPECT_EQ(loaded.m_desc, saved.m_desc);
    EXPECT_EQ(loaded.m_created, (SSceneTime{2020, 2, 29, 23, 58, 0}));
    EXPECT_EQ(loaded.m_lastModified.Format(), saved.m_lastModified.Format());
    EXPECT_EQ(loaded.m_version, 42);
    EXPECT_FLOAT_EQ(loaded.m_warmupTime, 1.25f);
    EXPECT_EQ(loaded.m_sceneType, 0x802);
    EXPECT_EQ(loaded.m_tags, saved.m_tags);
    EXPECT_EQ(loaded.m_licenseType, "CC BY 3.0");
    EXPECT_EQ(loaded.m_licenseText, CScene::GetLicenseText("CC BY 3.0"));
    EXPECT_TRUE(loaded.m_relicensingPossible);
    EXPECT_EQ(loaded.m_goodScenes, saved.m_goodScenes);
    EXPECT_EQ(loaded.m_badScenes, saved.m_badScenes);
    EXPECT_TRUE(loaded.HasFeedback()) << "a texture input reads ColorNext";
    EXPECT_FALSE(saved.HasFeedback());

    ASSERT_EQ(loaded.m_nodes.size(), 7u);
    EXPECT_EQ(loaded.GetRoot(), loaded.FindNode("Screen1"));
    CNode* rect = loaded.FindNode("RenderRect1");
    EXPECT_EQ(rect->GetInPort("Rect")->GetValue(), "0.1 0.2 0.9 0.8");
    EXPECT_EQ(rect->GetInPort("Mode")->GetValue(), "1");
    EXPECT_EQ(rect->GetInPort("Label")->GetValue(), "multi\nline & <text>");
    EXPECT_EQ(rect->GetInPort("Rect.w")->GetConnectedNode(), loaded.FindNode("Sin1")) << "sub-port connection";
    EXPECT_EQ(loaded.FindInPort("Screen1.Render", nullptr)->GetConnectedNode(), rect);
    EXPECT_EQ(loaded.FindInPort("MeshObject1.Mesh", nullptr)->GetConnectedNode(), loaded.FindNode("Cube1"));
    // Whatever the checks above missed shows in the whole written form.
    EXPECT_EQ(Xml(loaded), Xml(saved));
}

TEST_F(SceneFile, HeaderOnlyLoadAndEmptyPath)
{
    CScene saved;
    Fill(saved);
    ASSERT_TRUE(saved.Save(File("h.lmc"), false));

    CScene header;
    ASSERT_TRUE(header.Load(File("h.lmc"), false));
    EXPECT_TRUE(header.m_nodes.empty());
    EXPECT_EQ(header.m_author, saved.m_author);
    EXPECT_EQ(header.m_desc, saved.m_desc);
    EXPECT_EQ(header.m_tags, saved.m_tags);
    EXPECT_EQ(header.m_licenseType, "CC BY 3.0");
    EXPECT_TRUE(header.m_relicensingPossible);
    EXPECT_EQ(header.m_id, "0a1b2c3d4e");
    EXPECT_TRUE(header.m_goodScenes.empty()) << "compatibility belongs to the graph";
    EXPECT_FALSE(header.HasFeedback());

    CScene empty;
    EXPECT_TRUE(empty.Load("", true));
    EXPECT_TRUE(empty.m_nodes.empty() && empty.m_fileName.empty());
}

TEST_F(SceneFile, OldLmsIsReadWithItsShadersRewrittenAndReplacedByAContainerOnSave)
{
    WriteFile(File("old.lms"),
              "<?xml version=\"1.0\"?>\n"
              "<Lumora><Playlists/><Scenes><Scene Id=\"ABCDEFGHIJ\" Author=\"Old\" Desc=\"from attributes\" "
              "WarmupTime=\"3\" Version=\"7\" Created=\"20100101 10:00\">\n"
              "<Desc>from element <b>bold</b> end</Desc>\n"
              "<Nodes><Node Type=\"Shader\" Name=\"S\"><Port Id=\"Shader\"><Value>"
              "o.pos = mul( gWVP, float4(vi.pos.xyz, 1.0));\nagain mul( gWVP, float4(vi.pos.xyz, 1.0));"
              "</Value></Port></Node><Node Type=\"RenderRect\" Name=\"R\"/><Node Type=\"Shader\" Name=\"Loose\">"
              "<Port Id=\"Shader\"><Value>mul( gWVP, float4(vi.pos.xyz, 1.0));</Value></Port></Node></Nodes>\n"
              "<Connections><Connection Out=\"S.Effect\" In=\"R.Effect\"/></Connections>\n"
              "</Scene></Scenes></Lumora>\n");
    CScene scene;
    ASSERT_TRUE(scene.Load(File("old.lms"), true));
    EXPECT_EQ(scene.m_id, "abcdefghij");
    EXPECT_EQ(scene.m_author, "Old");
    EXPECT_EQ(scene.m_desc, "from element  end") << "the element replaces the attribute";
    EXPECT_FLOAT_EQ(scene.m_warmupTime, 3.0f);
    EXPECT_EQ(scene.m_version, 7);
    EXPECT_EQ(scene.FindNode("S")->GetInPort("Shader")->GetValue(),
              "o.pos = float4(vi.pos.xyz, 1.0);\nagain float4(vi.pos.xyz, 1.0);");
    EXPECT_EQ(scene.FindNode("Loose")->GetInPort("Shader")->GetValue(), "mul( gWVP, float4(vi.pos.xyz, 1.0));")
        << "only shaders that feed a render step";

    ASSERT_TRUE(scene.Save(File("old.lms"), false));
    EXPECT_FALSE(FileExists(File("old.lms")));
    EXPECT_TRUE(FileExists(File("old.lmc")));
    EXPECT_EQ(scene.m_fileName, File("old.lmc"));
    CScene again;
    ASSERT_TRUE(again.Load(File("old.lmc"), true));
    EXPECT_EQ(again.m_version, 8);
    EXPECT_EQ(again.m_created, (SSceneTime{2010, 1, 1, 10, 0, 0}));
    EXPECT_EQ(Xml(again), Xml(scene));
}

TEST_F(SceneFile, OldestFormMovesTheCameraAndTurnsAttributesIntoPorts)
{
    // No declaration, port values as attributes, a tab and line breaks in a shader.
    WriteFile(File("oldest.lms"),
              "\n<Lumora>\r\n  <Scenes>\r\n    <Scene Author=\"First\">\r\n      <Nodes>\r\n"
              "        <Node Type=\"RenderObject\" Name=\"Obj\" CamFov=\"60\" CamPos=\"0 0 -5\"/>\r\n"
              "        <Node Type=\"Screen\" Name=\"Scr\" CamFov=\"30\" Color=\"1 0 0 1\"/>\r\n"
              "        <Node Type=\"Shader\" Name=\"Sh\" Shader=\"line one&#x0D;\r\n\tline two\"/>\r\n"
              "        <Node Type=\"Sin\" Name=\"Wave\" Bias=\"2.5\" Unknown=\"x\"/>\r\n"
              "      </Nodes>\r\n    </Scene>\r\n  </Scenes>\r\n</Lumora>\r\n");
    CScene scene;
    CLogCapture log;
    ASSERT_TRUE(scene.Load(File("oldest.lms"), true));
    EXPECT_TRUE(log.Messages().empty()) << log.Messages().front();
    EXPECT_EQ(scene.m_author, "First");
    ASSERT_EQ(scene.m_nodes.size(), 4u);
    EXPECT_EQ(scene.FindNode("Scr")->GetInPort("CamFov")->GetValue(), "60") << "the camera moved to the screen";
    EXPECT_EQ(scene.FindNode("Scr")->GetInPort("Color")->GetValue(), "1 0 0 1");
    EXPECT_EQ(scene.FindNode("Sh")->GetInPort("Shader")->GetValue(), "line one\n\tline two");
    EXPECT_EQ(scene.FindNode("Wave")->GetInPort("Bias")->GetValue(), "2.5");
}

TEST_F(SceneFile, SavesKeepImagesCountVersionsAndKeepTheCreationDate)
{
    CScene scene;
    Fill(scene);
    scene.m_created = {};

    // Without a render that can draw the scene, asking for images writes none.
    ASSERT_TRUE(scene.Save(File("s.lmc"), true));
    EXPECT_EQ(ReadZip(File("s.lmc")).size(), 1u);
    EXPECT_TRUE(scene.m_created.IsSet());
    const SSceneTime created = scene.m_created;

    int pictures = 0;
    CScene::SetSnapshotSource([&](CScene& drawn, CSceneSnapshot& picture) {
        EXPECT_EQ(&drawn, &scene);
        ++pictures;
        picture = RedBlue(1280, 720);
        return true;
    });
    ASSERT_TRUE(scene.Save(File("s.lmc"), true));
    EXPECT_EQ(pictures, 1);
    auto entries = ReadZip(File("s.lmc"));
    ASSERT_EQ(entries.size(), 3u);
    const std::string sceneJpg = entries["scene.jpg"];
    const std::string previewJpg = entries["preview.jpg"];

    QImage big, small;
    ASSERT_TRUE(big.loadFromData(QByteArray::fromStdString(sceneJpg), "JPG"));
    ASSERT_TRUE(small.loadFromData(QByteArray::fromStdString(previewJpg), "JPG"));
    EXPECT_EQ(big.size(), QSize(640, 360));
    EXPECT_EQ(small.size(), QSize(160, 90));
    for (const QImage* image : {&big, &small}) {
        const QColor left = image->pixelColor(image->width() / 4, image->height() / 2);
        const QColor right = image->pixelColor(image->width() * 3 / 4, image->height() / 2);
        EXPECT_GT(left.red(), 230);
        EXPECT_LT(left.blue(), 25) << "red stays red";
        EXPECT_GT(right.blue(), 230);
        EXPECT_LT(right.red(), 25);
    }

    // Saves without images keep the old ones byte for byte, however often.
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(scene.Save(File("s.lmc"), false));
        entries = ReadZip(File("s.lmc"));
        EXPECT_EQ(entries["scene.jpg"], sceneJpg);
        EXPECT_EQ(entries["preview.jpg"], previewJpg);
    }
    EXPECT_EQ(pictures, 1);

    CScene loaded;
    ASSERT_TRUE(loaded.Load(File("s.lmc"), false));
    EXPECT_EQ(loaded.m_version, 41 + 4);
    EXPECT_EQ(loaded.m_created.Format(), created.Format());

    // A malformed picture or a render that has none gives a container without images.
    CScene::SetSnapshotSource([](CScene&, CSceneSnapshot& picture) {
        picture = RedBlue(4, 4);
        picture.m_bgr.pop_back();
        return true;
    });
    CLogCapture log;
    ASSERT_TRUE(scene.Save(File("s.lmc"), true));
    EXPECT_EQ(ReadZip(File("s.lmc")).size(), 1u);
    EXPECT_TRUE(log.Contains("is malformed"));
    CScene::SetSnapshotSource([](CScene&, CSceneSnapshot&) { return false; });
    ASSERT_TRUE(scene.Save(File("s.lmc"), true));
    EXPECT_EQ(ReadZip(File("s.lmc")).size(), 1u);
}

TEST_F(SceneFile, ASaveReplacesTheOldFileWholeOrNotAtAll)
{
    CScene scene;
    Fill(scene);
    ASSERT_TRUE(scene.Save(File("keep.lmc"), false));
    // The new file takes the place of the old one with its permissions.
    ASSERT_EQ(chmod(File("keep.lmc").c_str(), 0600), 0);
    ASSERT_TRUE(scene.Save(File("keep.lmc"), false));
    struct stat status{};
    ASSERT_EQ(stat(File("keep.lmc").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    const std::string before = ReadFile(File("keep.lmc"));
    const int version = scene.m_version;
    // Enough text that the archive can't stay below the size limit.
    for (int i = 0; i < 2000; ++i)
        scene.m_desc += std::to_string(i * 7919 % 10007);

    CLogCapture log;
    const bool written = [&] {
        CDiskFull full(1024);
        return scene.Save(File("keep.lmc"), false);
    }();

    EXPECT_FALSE(written);
    EXPECT_TRUE(log.Contains("Unable to save scene file \"" + File("keep.lmc") + "\"; the file as it was is kept."));
    EXPECT_EQ(ReadFile(File("keep.lmc")), before);
    EXPECT_EQ(scene.m_version, version) << "a failed save doesn't count";
    EXPECT_FALSE(scene.Save(File("missing/dir/keep.lmc"), false));
    if (geteuid() != 0) {
        ASSERT_EQ(chmod(m_dir.Path().c_str(), 0555), 0);
        EXPECT_FALSE(scene.Save(File("keep.lmc"), false));
        chmod(m_dir.Path().c_str(), 0755);
        EXPECT_EQ(ReadFile(File("keep.lmc")), before);
    }
    // No temporary file is left behind.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_dir.Path()), {}), 1);
}

TEST_F(SceneFile, ContainerNamedInCapitalsIsReadAsAPlainFile)
{
    CScene scene;
    Fill(scene);
    ASSERT_TRUE(scene.Save(File("CAPS.LMC"), false));
    ASSERT_FALSE(ReadZip(File("CAPS.LMC")).empty());
    CScene loaded;
    CLogCapture log;
    EXPECT_TRUE(loaded.Load(File("CAPS.LMC"), true));
    EXPECT_TRUE(loaded.m_nodes.empty());
    EXPECT_TRUE(log.Contains("Failed to read scene file"));
}

namespace {

std::string SceneXml(const std::string& body, const std::string& attributes = "")
{
    return "<?xml version=\"1.0\"?><LumoraScene" + attributes + ">" + body + "</LumoraScene>";
}

// Sets the sizes that a zip's local and central headers claim for its entries.
void PatchClaimedSizes(const std::string& path, uint32_t size)
{
    std::string bytes = ReadFile(path);
    const auto patch = [&](const std::string& signature, size_t offset) {
        for (size_t at = bytes.find(signature); at != std::string::npos; at = bytes.find(signature, at + 4)) {
            for (int i = 0; i < 4; ++i)
                bytes[at + offset + i] = char((size >> (8 * i)) & 0xFF);
        }
    };
    patch(std::string("PK\x03\x04", 4), 22);
    patch(std::string("PK\x01\x02", 4), 24);
    WriteFile(path, bytes);
}

struct SBadInput
{
    const char* what;
    const char* file;
    std::function<void(const std::string& path)> make;
    bool loads;
    std::vector<std::string> logged;
    size_t nodes;
    std::function<void(CScene&)> check = nullptr;
};

} // namespace

TEST_F(SceneFile, BadInputFailsOrLosesOnlyTheBadPartWithALogLine)
{
    const std::string good = SceneXml("<Nodes><Node Type=\"Sin\" Name=\"a\"/></Nodes>");
    const auto text = [](std::string content) { return [content](const std::string& path) { WriteFile(path, content); }; };
    const auto zip = [](Entries entries) { return [entries](const std::string& path) { WriteZip(path, entries); }; };
    const std::string unusable = "Unable to load scene file";
    const std::string broken = "Failed to read scene file";

    const std::vector<SBadInput> cases = {
        {"not a zip", "text.lmc", text(good), false, {unusable}, 0},
        {"empty container", "empty.lmc", text(""), false, {unusable}, 0},
        {"truncated zip", "cut.lmc",
         [&](const std::string& path) {
             WriteZip(path, {{"scene.xml", good}, {"scene.jpg", std::string(5000, 'j')}});
             WriteFile(path, ReadFile(path).substr(0, ReadFile(path).size() / 2));
         },
         false, {unusable}, 0},
        {"only entries that climb out or are absolute", "escape.lmc",
         zip({{"../scene.xml", good}, {"/scene.xml", good}, {"x/../scene.xml", good}}), false, {unusable}, 0},
        {"entry name in capitals is still the scene", "caps.lmc", zip({{"SCENE.XML", good}}), true, {}, 1},
        {"entry that claims more than the limit", "bomb.lmc",
         zip({{"scene.xml", SceneXml("<Desc>" + std::string((64 << 20) + 1, ' ') + "</Desc>")}}), false,
         {"claims 67108926 bytes", unusable}, 0},
        {"entry that claims less than it holds", "liar.lmc",
         [&](const std::string& path) {
             WriteZip(path, {{"scene.xml", SceneXml("<Desc>" + std::string(100000, 'x') + "</Desc>")}});
             PatchClaimedSizes(path, 10);
         },
         false, {unusable}, 0},
        {"missing file", "none.lms", nullptr, false, {unusable}, 0},
        {"a directory", "dir.lms", [](const std::string& path) { std::filesystem::create_directory(path); }, false,
         {unusable}, 0},
        {"a directory named as a container", "dir.lmc",
         [](const std::string& path) { std::filesystem::create_directory(path); }, false, {unusable}, 0},
        {"not a scene document", "other.lms", text("<?xml version=\"1.0\"?><Other/>"), true,
         {"Invalid scene file. Unknown start element: Other", broken}, 0},
        {"old form without a scene", "noscene.lms", text("<?xml version=\"1.0\"?><Lumora><Scenes/></Lumora>"), true,
         {broken}, 0},
        {"document broken halfway", "half.lms",
         text("<?xml version=\"1.0\"?><LumoraScene><Nodes><Node Type=\"Sin\" Name=\"a\"/><Node Ty"), true,
         {broken + " \"Premature end of document.\" at 1, 76"}, 1},
        {"unknown node type and its connection", "unknown.lms",
         text(SceneXml("<Nodes><Node Type=\"Warp\" Name=\"w\"><Port Id=\"A\" Value=\"1\"/></Node>"
                       "<Node Type=\"Sin\" Name=\"a\"/></Nodes><Connections><Connection Out=\"w.Out\" In=\"a.A\"/>"
                       "</Connections>")),
         true,
         {"Unknown node: \"Warp\"", "Unknown node type \"Warp\"!",
          "Failed to create connection from \"w.Out\" to \"a.A\""},
         1},
        {"missing attributes", "bare.lms",
         text(SceneXml("<Nodes><Node Name=\"x\"/><Node Type=\"Sin\"/></Nodes>"
                       "<Connections><Connection Out=\"Sin1.Out\"/><Connection/></Connections>")),
         true,
         {"Unknown node type \"\"!", "Failed to create connection from \"Sin1.Out\" to \"\"",
          "Failed to create connection from \"\" to \"\""},
         1, [](CScene& scene) { EXPECT_NE(scene.FindNode("Sin1"), nullptr) << "a nameless node keeps its made name"; }},
        {"connections to missing ports and of the wrong type", "types.lms",
         text(SceneXml("<Nodes><Node Type=\"Sin\" Name=\"a\"/><Node Type=\"RenderRect\" Name=\"r\"/></Nodes>"
                       "<Connections><Connection Out=\"a.Nope\" In=\"r.Mode\"/><Connection Out=\"r.Render\" "
                       "In=\"a.A\"/><Connection Out=\"a.Out\" In=\"r.Rect.x\"/></Connections>")),
         true,
         {"Failed to create connection from \"a.Nope\" to \"r.Mode\"",
          "Unable to created a connection between nodes of different type 7 -> 3",
          "Failed to create connection from \"r.Render\" to \"a.A\""},
         2, [](CScene& scene) { EXPECT_NE(scene.FindInPort("r.Rect.x", nullptr)->GetConnectedNode(), nullptr); }},
        {"cycle of nodes evaluated on every pull", "cycle.lms",
         text(SceneXml("<Nodes><Node Type=\"Expression\" Name=\"e\"/><Node Type=\"Expression\" Name=\"f\"/></Nodes>"
                       "<Connections><Connection Out=\"e.Out\" In=\"f.A\"/><Connection Out=\"f.Out\" In=\"e.A\"/>"
                       "<Connection Out=\"e.Out\" In=\"e.B\"/></Connections>")),
         true,
         {"Connection would close a loop", "Failed to create connection from \"f.Out\" to \"e.A\"",
          "Failed to create connection from \"e.Out\" to \"e.B\""},
         2},
        {"numbers in wrong formats", "numbers.lms",
         text(SceneXml("<Nodes><Node Type=\"Sin\" Name=\"a\"><Port Id=\"Bias\" Value=\"abc\"/></Node></Nodes>"
                       "<License Type=\"CC0\" RelicensingPossible=\"yes\"/>",
                       " WarmupTime=\"1e9\" SceneType=\"0x10\" Version=\"seven\" Created=\"yesterday, late\" "
                       "LastModified=\"2024\"")),
         true, {}, 1,
         [](CScene& scene) {
             EXPECT_FLOAT_EQ(scene.m_warmupTime, CScene::MaxWarmupTime);
             EXPECT_EQ(scene.m_sceneType, 0);
             EXPECT_EQ(scene.m_version, 0);
             EXPECT_FALSE(scene.m_created.IsSet() || scene.m_lastModified.IsSet());
             EXPECT_FALSE(scene.m_relicensingPossible);
             EXPECT_EQ(scene.FindNode("a")->GetInPort("Bias")->GetValue(), "0");
         }},
        {"warm-up that isn't a number", "nan.lms", text(SceneXml("", " WarmupTime=\"inf\"")), true, {}, 0,
         [](CScene& scene) { EXPECT_EQ(scene.m_warmupTime, 0.0f); }},
        {"unknown elements and a repeated name", "extra.lms",
         text(SceneXml("<Junk><Nodes><Node Type=\"Sin\" Name=\"hidden\"/></Nodes></Junk><Nodes><Other/>"
                       "<Node Type=\"Sin\" Name=\"a\"><Extra/><Port Id=\"Nope\" Value=\"1\"/></Node>"
                       "<Node Type=\"Sin\" Name=\"a\"/></Nodes><Connections><Connection Out=\"a.Out\" "
                       "In=\"a1.A\"/></Connections>")),
         true, {"Node name \"a\" is taken; the node is called \"a1\""}, 2,
         [](CScene& scene) { EXPECT_EQ(scene.FindInPort("a1.A", nullptr)->GetConnectedNode(), scene.FindNode("a")); }},
        {"deep nesting", "deep.lms",
         [](const std::string& path) {
             std::string open, close;
             for (int i = 0; i < 100000; ++i) {
                 open += "<a>";
                 close += "</a>";
             }
             WriteFile(path, SceneXml(open + close + "<Author>after</Author>"));
         },
         true, {}, 0, [](CScene& scene) { EXPECT_EQ(scene.m_author, "after"); }},
        {"deep nesting in the oldest form", "deepold.lms",
         [](const std::string& path) {
             std::string open, close;
             for (int i = 0; i < 100000; ++i) {
                 open += "<a>";
                 close += "</a>";
             }
             WriteFile(path, "<Lumora><Scenes><Scene Author=\"deep\"><Nodes>" + open + close +
                                 "</Nodes></Scene></Scenes></Lumora>");
         },
         true, {}, 0, [](CScene& scene) { EXPECT_EQ(scene.m_author, "deep"); }},
    };

    for (const SBadInput& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string path = File(c.file);
        if (c.make)
            c.make(path);
        CScene scene;
        CLogCapture log;
        EXPECT_EQ(scene.Load(path, true), c.loads);
        EXPECT_EQ(scene.m_nodes.size(), c.nodes);
        const auto messages = log.Messages();
        for (const std::string& expected : c.logged) {
            EXPECT_TRUE(log.Contains(expected)) << "missing \"" << expected << "\" in "
                                                << ::testing::PrintToString(messages);
        }
        if (c.logged.empty()) {
            EXPECT_TRUE(messages.empty()) << ::testing::PrintToString(messages);
        }
        if (c.check)
            c.check(scene);
    }
}
