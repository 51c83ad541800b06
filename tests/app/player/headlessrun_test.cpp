// Headless recording of a scene to pictures, in this process: the scene made
// here is saved, loaded back by the run and drawn on llvmpipe, and its frames
// are compared with reference pictures.

#include "app/paths.h"
#include "app/director/playlist.h"
#include "app/player/headlessrun.h"
#include "app/player/scenesnapshotter.h"
#include "nodes/nodetypes.h"
#include "renderogl/glcontext.h"
#include "renderogl/renderogl.h"
#include "scene/scenecontainer.h"
#include "ports/port.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"
#include "services/picturesequencewriter.h"
#include "support/picturecompare.h"
#include "support/tempdir.h"
#include "support/testeffectnode.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <tuple>
#include <SDL.h>

namespace {

class HeadlessRun : public ::testing::Test
{
protected:
    void SetUp() override
    {
        setenv("XDG_CONFIG_HOME", m_home.Path().c_str(), 1);
        g_paths.Setup();
        m_factory = CNodeFactory::Get();
        m_factory->Init(NodeTypes());
        m_effectType = std::make_unique<CTestEffectNode::CType>();
    }
    void TearDown() override
    {
        m_effectType.reset();
        m_factory->Release();
    }

    // A gradient whose blue follows time, drawn into the middle of the
    // picture over a dark red clear.
    std::string SaveGradientScene(const std::string& name)
    {
        CScene scene;
        for (const char* type : {"Screen", "RenderRect", "Clear", "TestEffect"})
            EXPECT_NE(scene.AddNode(type), nullptr) << type;
        EXPECT_TRUE(scene.Connect("Clear1.Render", "RenderRect1.Render"));
        EXPECT_TRUE(scene.Connect("RenderRect1.Render", "Screen1.Render"));
        EXPECT_TRUE(scene.Connect("TestEffect1.Effect", "RenderRect1.Effect"));
        std::string component;
        scene.FindInPort("Clear1.Color", &component)->SetValue("0.4 0 0 1");
        scene.FindInPort("Screen1.Viewport", &component)->SetValue("0.25 0.25 0.5 0.5");
        scene.FindInPort("TestEffect1.Shader", &component)->SetValue(GradientEffect());
        const std::string path = m_home.File(name);
        EXPECT_TRUE(scene.Save(path, false));
        return path;
    }

    // A scene of one clear colour.
    std::string SaveClearScene(const std::string& name, const char* rgba)
    {
        CScene scene;
        scene.AddNode("Screen");
        scene.AddNode("Clear");
        EXPECT_TRUE(scene.Connect("Clear1.Render", "Screen1.Render"));
        std::string component;
        scene.FindInPort("Clear1.Color", &component)->SetValue(rgba);
        const std::string path = m_home.File(name);
        EXPECT_TRUE(scene.Save(path, false));
        return path;
    }

    // A cross-fade: the scene that goes, fading out, plus the scene that
    // comes, fading in, added over it.
    std::string SaveCrossFade(const std::string& name)
    {
        CScene scene;
        scene.m_sceneType = CScene::SceneType_Transition;
        for (const char* type : {"Screen", "RenderRect", "RenderRect", "Clear", "TestEffect", "TestEffect", "Transition"})
            EXPECT_NE(scene.AddNode(type), nullptr) << type;
        for (const auto& [from, to] : {std::pair{"Clear1.Render", "RenderRect1.Render"},
                                       {"RenderRect1.Render", "RenderRect2.Render"},
                                       {"RenderRect2.Render", "Screen1.Render"},
                                       {"TestEffect1.Effect", "RenderRect1.Effect"},
                                       {"TestEffect2.Effect", "RenderRect2.Effect"},
                                       {"Transition1.FromScene", "TestEffect1.Texture"},
                                       {"Transition1.ToScene", "TestEffect2.Texture"}})
            EXPECT_TRUE(scene.Connect(from, to)) << from << " -> " << to;
        std::string component;
        scene.FindInPort("Clear1.Color", &component)->SetValue("0 0 0 1");
        scene.FindInPort("TestEffect1.Shader", &component)->SetValue(TextureEffect("tex2D(tex, i.uv) * (1.0 - time)"));
        scene.FindInPort("TestEffect2.Shader", &component)->SetValue(TextureEffect("tex2D(tex, i.uv) * time"));
        scene.FindInPort("TestEffect2.Additive", &component)->SetValue("1");
        const std::string path = m_home.File(name);
        EXPECT_TRUE(scene.Save(path, false));
        return path;
    }

    SHeadlessOptions Options(const std::string& scene, const std::string& out)
    {
        SHeadlessOptions options;
        options.m_scenePath = scene;
        options.m_outDirectory = out;
        options.m_width = 160;
        options.m_height = 90;
        options.m_fps = 30;
        options.m_seconds = 0.2f;
        options.m_seeded = true;
        options.m_seed = 7;
        return options;
    }

    std::string Frame(const std::string& out, int number) const
    {
        return out + "/" + CPictureSequenceWriter::FrameName(number);
    }

    static std::string Reference(const std::string& name)
    {
        return std::string(std::getenv("LUMORA_TEST_DATA")) + "/reference/" + name;
    }

    CTempDir m_home;
    CNodeFactory* m_factory = nullptr;
    std::unique_ptr<CTestEffectNode::CType> m_effectType;
};

} // namespace

TEST_F(HeadlessRun, RecordsEveryFrameOfASceneAsReferencePicturesShowIt)
{
    const std::string scene = SaveGradientScene("gradient.lmc");
    const std::string out = m_home.File("frames");
    ASSERT_EQ(RunHeadless(Options(scene, out), MakeRenderOGL), 0);

    EXPECT_EQ(HeadlessFrameCount(Options(scene, out)), 6);
    for (int frame = 1; frame <= 6; ++frame)
        EXPECT_TRUE(FileExists(Frame(out, frame))) << frame;
    EXPECT_FALSE(FileExists(Frame(out, 7)));

    // The clear fills the border, the rectangle the middle half, with red
    // growing to the right and green upwards.
    EXPECT_EQ(PixelAt(Frame(out, 1), 2, 2), (SPixel{102, 0, 0}));
    const SPixel lowLeft = PixelAt(Frame(out, 1), 44, 63);
    const SPixel topRight = PixelAt(Frame(out, 1), 116, 26);
    EXPECT_LT(lowLeft.r, 32);
    EXPECT_LT(lowLeft.g, 32);
    EXPECT_GT(topRight.r, 220);
    EXPECT_GT(topRight.g, 220);
    // Time moves the blue from frame to frame.
    EXPECT_NE(PixelAt(Frame(out, 1), 80, 45).b, PixelAt(Frame(out, 4), 80, 45).b);

    for (int frame : {1, 3, 6}) {
        const std::string name = "gradient-" + CPictureSequenceWriter::FrameName(frame);
        EXPECT_EQ(MatchReference(Frame(out, frame), Reference(name), 3, 0.01), "") << name;
    }

    // The same command gives the same pictures.
    const std::string again = m_home.File("again");
    ASSERT_EQ(RunHeadless(Options(scene, again), MakeRenderOGL), 0);
    for (int frame = 1; frame <= 6; ++frame) {
        const SPictureDifference difference = ComparePictures(Frame(again, frame), Frame(out, frame), 0);
        EXPECT_TRUE(difference.m_loaded && difference.m_sameSize && difference.m_differing == 0) << frame;
    }
}

TEST_F(HeadlessRun, ScenesThatCannotPlayAndPicturesThatCannotBeWrittenEndWithTheirCodes)
{
    const std::string out = m_home.File("frames");
    EXPECT_EQ(RunHeadless(Options(m_home.File("missing.lmc"), out), MakeRenderOGL), 1);
    EXPECT_EQ(RunHeadless(Options(m_home.Path(), out), MakeRenderOGL), 1) << "a directory is no scene";

    WriteFile(m_home.File("notzip.lmc"), "this is not a zip archive");
    EXPECT_EQ(RunHeadless(Options(m_home.File("notzip.lmc"), out), MakeRenderOGL), 1);

    WriteFile(m_home.File("broken.lms"), "<?xml version=\"1.0\"?>\n<LumoraScene><Nodes><Node Type=\"Screen\" Name=\"S\"");
    EXPECT_EQ(RunHeadless(Options(m_home.File("broken.lms"), out), MakeRenderOGL), 1);

    WriteFile(m_home.File("noscreen.lms"),
              "<?xml version=\"1.0\"?>\n<LumoraScene><Nodes><Node Type=\"Clear\" Name=\"Clear1\"/></Nodes></LumoraScene>");
    EXPECT_EQ(RunHeadless(Options(m_home.File("noscreen.lms"), out), MakeRenderOGL), 1);
    EXPECT_FALSE(std::filesystem::exists(out)) << "nothing is written for a scene that cannot play";

    // A file stands where the pictures should go.
    const std::string scene = SaveGradientScene("gradient.lmc");
    WriteFile(m_home.File("taken"), "");
    EXPECT_EQ(RunHeadless(Options(scene, m_home.File("taken")), MakeRenderOGL), 5);
}

TEST_F(HeadlessRun, SavedScenesCarryPicturesDrawnByTheRender)
{
    const std::string path = SaveGradientScene("gradient.lmc");
    CScene scene;
    ASSERT_TRUE(scene.Load(path, true));

    SDL_InitSubSystem(SDL_INIT_VIDEO);
    {
        CGLContext context;
        ASSERT_TRUE(context.CreateHeadless(64, 64));
        CRenderOGL render;
        ASSERT_TRUE(render.InitDevice());
        render.m_virtualRect = render.m_currentRect = SRect{0, 0, 64, 64};
        InstallSceneSnapshots(&render);
        EXPECT_TRUE(scene.Save(m_home.File("pictured.lmc"), true));
        InstallSceneSnapshots(nullptr);
        EXPECT_EQ((std::pair{render.m_currentRect.Width(), render.m_virtualRect.Width()}), (std::pair{64, 64}))
            << "the render's rectangles are put back";
        scene.InvalidateDevice(&render);
    }
    SDL_QuitSubSystem(SDL_INIT_VIDEO);

    CSceneContainer container;
    ASSERT_TRUE(container.Open(m_home.File("pictured.lmc")));
    for (const auto& [entry, width, height] :
         {std::tuple{"scene.jpg", 640, 360}, std::tuple{"preview.jpg", 160, 90}}) {
        QByteArray jpeg;
        ASSERT_TRUE(container.Read(entry, jpeg)) << entry;
        const std::string file = m_home.File(entry);
        WriteFile(file, jpeg.toStdString());
        // The border is the clear's dark red; the middle is the gradient,
        // whose top is green.
        const SPixel border = PixelAt(file, 2, 2);
        EXPECT_NEAR(border.r, 102, 8) << entry;
        EXPECT_LT(border.g + border.b, 16) << entry;
        const SPixel upper = PixelAt(file, width / 2, height * 3 / 8);
        const SPixel lower = PixelAt(file, width / 2, height * 5 / 8);
        EXPECT_GT(upper.g, lower.g) << entry << ": the picture stands upright";
    }
}

TEST_F(HeadlessRun, APlaylistPlaysItsScenesInOrderThroughATransitionThatBlendsThem)
{
    CPlaylist playlist;
    playlist.Add(playlist.m_scenes, SaveClearScene("red.lmc", "1 0 0 1"), {}, 2.0f);
    playlist.Add(playlist.m_scenes, SaveClearScene("blue.lmc", "0 0 1 1"), {}, 2.0f);
    playlist.Add(playlist.m_transitions, SaveCrossFade("crossfade.lmc"), {}, 2.0f);
    ASSERT_TRUE(playlist.Save(m_home.File("show.lmp")));

    const std::string out = m_home.File("show");
    SHeadlessOptions options = Options(m_home.File("show.lmp"), out);
    options.m_seconds = 20.0f;
    ASSERT_EQ(RunHeadless(options, MakeRenderOGL), 0);
    EXPECT_TRUE(FileExists(Frame(out, 600)));

    // Red for 2 s, the fade for 2 s, blue for 2 s, the fade back, and so on.
    const auto near = [](SPixel actual, SPixel wanted) {
        return std::abs(actual.r - wanted.r) <= 12 && std::abs(actual.g - wanted.g) <= 12 &&
               std::abs(actual.b - wanted.b) <= 12;
    };
    struct SMoment
    {
        int frame;
        SPixel colour;
    };
    for (const SMoment& m : {SMoment{30, {255, 0, 0}}, SMoment{90, {128, 0, 128}}, SMoment{150, {0, 0, 255}},
                             SMoment{210, {128, 0, 128}}, SMoment{270, {255, 0, 0}}}) {
        const SPixel seen = PixelAt(Frame(out, m.frame), 80, 45);
        EXPECT_TRUE(near(seen, m.colour)) << "frame " << m.frame << ": " << seen.r << " " << seen.g << " " << seen.b;
    }
    // Over the fade red gives way to blue step by step.
    EXPECT_GT(PixelAt(Frame(out, 75), 80, 45).r, PixelAt(Frame(out, 105), 80, 45).r);
    EXPECT_LT(PixelAt(Frame(out, 75), 80, 45).b, PixelAt(Frame(out, 105), 80, 45).b);
    for (int frame : {30, 90, 150}) {
        const std::string name = "show-" + CPictureSequenceWriter::FrameName(frame);
        EXPECT_EQ(MatchReference(Frame(out, frame), Reference(name), 3, 0.01), "") << name;
    }
}

TEST_F(HeadlessRun, DrawsLitMeshesAndInstancedMeshesAsReferencePicturesShowThem)
{
    // A torus that turns, a thousand cubes that one instanced draw places
    // on a grid from their instance ids, and a torus wearing a Turing
    // pattern that glows through Bloom.
    for (const char* name : {"meshtorus", "meshinstancer", "turingbloom"}) {
        SCOPED_TRACE(name);
        const std::string out = m_home.File(name);
        ASSERT_EQ(RunHeadless(Options(std::string(LUMORA_SHARED_TEST_DATA) + "/scenes/" + name + ".lms", out),
                              MakeRenderOGL),
                  0);
        // Lit from one side: the mesh shows shades, not one flat colour.
        const SPixel centre = PixelAt(Frame(out, 6), 80, 45);
        EXPECT_GT(centre.r + centre.g + centre.b, 60);
        for (int frame : {1, 6}) {
            const std::string reference = std::string(name) + "-" + CPictureSequenceWriter::FrameName(frame);
            EXPECT_EQ(MatchReference(Frame(out, frame), Reference(reference), 3, 0.01), "");
        }
    }
}

TEST_F(HeadlessRun, DrawsBlobsCellsAndSimulationsAsReferencePicturesShowThem)
{
    // Lit metaballs, Voronoi cells with their borders and sites, a plane
    // that shatters, a block of fluid, a galaxy, a starfield and grass on a
    // ball, each with a beat on one of its ports.
    for (const char* name : {"metaballs", "voronoi", "shatter", "fluid2d", "galaxy", "starfield", "grass"}) {
        SCOPED_TRACE(name);
        const std::string out = m_home.File(name);
        ASSERT_EQ(RunHeadless(Options(std::string(LUMORA_SHARED_TEST_DATA) + "/scenes/" + name + ".lms", out),
                              MakeRenderOGL),
                  0);
        for (int frame : {1, 6}) {
            const std::string reference = std::string(name) + "-" + CPictureSequenceWriter::FrameName(frame);
            EXPECT_EQ(MatchReference(Frame(out, frame), Reference(reference), 3, 0.01), "");
        }
    }
}
