// PreviousLayer and Transition on a real context: the layers below a
// postprocessing scene, the two scenes of a transition, and what stands in
// for them outside those scenes.

#include "app/cfg.h"
#include "app/paths.h"
#include "scene/runinfo.h"
#include "scene/scenelayered.h"
#include "scene/scenetransition.h"
#include "support/logcapture.h"
#include "support/tempdir.h"
#include "texturescenetest.h"

#include <filesystem>

namespace {

class LayerTexturesGL : public TextureSceneTest
{
protected:
    void TearDown() override
    {
        g_paths.m_appPath = m_savedAppPath;
        TextureSceneTest::TearDown();
    }

    // A transition scene that shows FromScene through TestEffect1.
    std::unique_ptr<CScene> TransitionScene()
    {
        auto scene = MakeScene();
        Add(*scene, {"Transition"});
        AddTextureView(*scene, "Transition1.FromScene");
        return scene;
    }

    std::string m_savedAppPath = g_paths.m_appPath;
};

TEST_F(LayerTexturesGL, PreviousLayerHandsTheCapturedLayersToThePostprocessingScene)
{
    CScene& background = ClearScene("0 0 1 1");
    // Green over the right half, with no clear of its own.
    CScene& foreground = NewScene();
    Add(foreground, {"Screen", "RenderRect", "TestEffect"});
    Connect(foreground, "RenderRect1.Render", "Screen1.Render");
    Connect(foreground, "TestEffect1.Effect", "RenderRect1.Effect");
    Set(foreground, "TestEffect1.Shader", SolidColorEffect("0, 1, 0, 1"));
    Set(foreground, "Screen1.Viewport", "0.5 0 0.5 1");
    // The postprocessing scene shows the captured picture mirrored left to right.
    CScene& postprocessing = NewScene();
    Add(postprocessing, {"PreviousLayer"});
    AddTextureView(postprocessing, "PreviousLayer1.Color", "tex2D(tex, float2(1.0 - i.uv.x, i.uv.y))");

    auto layered = std::make_unique<CSceneLayered>();
    layered->m_background = &background;
    layered->m_foreground = &foreground;
    layered->m_postprocessing = &postprocessing;
    ASSERT_TRUE(layered->Prepare());
    ASSERT_NE(layered->m_previousLayer, nullptr);
    CSceneLayered& scene = Keep(std::move(layered));

    for (int frame = 0; frame < 2; ++frame) {
        Update(scene);
        ClearTo(0, 0, 0);
        scene.Draw(m_render.get());
        EXPECT_EQ(RgbAt(4, 8), (Rgb{0, 255, 0})) << "frame " << frame;
        EXPECT_EQ(RgbAt(27, 8), (Rgb{0, 0, 255})) << "frame " << frame;
        EXPECT_EQ(Pool()->UsedRenderTargetCount(), 0u) << "the capture is kept for the frame's draw only";
        scene.FrameFinished();
    }
    EXPECT_EQ(Output(postprocessing, "PreviousLayer1.Color")->m_value->m_flags, PDT_ClampToEdge);
}

TEST_F(LayerTexturesGL, PreviousLayerOutsideALayeredSceneIsTransparentBlack)
{
    CScene& scene = NewScene();
    Add(scene, {"PreviousLayer"});
    AddTextureView(scene, "PreviousLayer1.Color");
    PoolRedTargets(Width, Height, TF_A8R8G8B8, TF_D24S8);
    Update(scene);
    std::shared_ptr<CTexture> texture = TextureOf(scene, "PreviousLayer1.Color");
    ASSERT_TRUE(texture) << "a texture, not an empty pointer";
    EXPECT_TRUE(Near(PixelOf(texture, 6, 6), {0, 0, 0, 0}, 0));
    texture.reset();
    EXPECT_EQ(Pool()->UsedRenderTargetCount(), 0u) << "the target went back with its texture";
    ClearTo(1, 1, 1);
    scene.Draw(m_render.get());
    EXPECT_EQ(RgbAt(16, 8), (Rgb{0, 0, 0}));
}

TEST_F(LayerTexturesGL, TransitionDrawsTheScenesItMovesBetweenAtTheirScales)
{
    CScene& from = ClearScene("1 0 0 1");
    CScene& to = ClearScene("0 1 0 1");
    auto owned = std::make_unique<CSceneTransition>();
    owned->m_transition = TransitionScene();
    owned->m_from = &from;
    owned->m_to = &to;
    ASSERT_TRUE(owned->Prepare());
    CSceneTransition& transition = Keep(std::move(owned));
    CScene& scene = *transition.m_transition;

    Frame(transition);
    EXPECT_EQ(RgbAt(16, 8), (Rgb{255, 0, 0})) << "FromScene drawn through the transition scene";
    std::shared_ptr<CTexture> fromTexture = TextureOf(scene, "Transition1.FromScene");
    std::shared_ptr<CTexture> toTexture = TextureOf(scene, "Transition1.ToScene");
    ASSERT_TRUE(fromTexture && toTexture);
    EXPECT_TRUE(Near(PixelOf(fromTexture, 3, 3), {255, 0, 0, 255}));
    EXPECT_TRUE(Near(PixelOf(toTexture, 3, 3), {0, 255, 0, 255}));
    // Without settings the scene that comes is drawn at half size.
    EXPECT_EQ(fromTexture->m_width, Width);
    EXPECT_EQ(toTexture->m_width, Width / 2);
    EXPECT_EQ(toTexture->m_height, Height / 2);
    fromTexture.reset();
    toTexture.reset();

    // The configured scales, and a scale that makes no sense, which is 1.
    CCfg config;
    config.SceneFromScale = 0.25f;
    config.SceneToScale = 0.0f;
    m_run.m_config = &config;
    CLogCapture log;
    Frame(transition);
    fromTexture = TextureOf(scene, "Transition1.FromScene");
    toTexture = TextureOf(scene, "Transition1.ToScene");
    ASSERT_TRUE(fromTexture && toTexture);
    EXPECT_EQ(fromTexture->m_width, Width / 4);
    EXPECT_EQ(fromTexture->m_height, Height / 4);
    EXPECT_EQ(toTexture->m_width, Width);
    EXPECT_TRUE(log.Contains("scene scale 0 is not above 0"));
    fromTexture.reset();
    toTexture.reset();
    transition.FrameFinished();
    EXPECT_EQ(Pool()->UsedRenderTargetCount(), 0u) << "both targets go back at the frame's end";
}

TEST_F(LayerTexturesGL, TransitionWithoutATransitionShowsItsClearColours)
{
    CScene& from = ClearScene("1 0 0 1");
    auto owned = std::make_unique<CSceneTransition>();
    owned->m_transition = TransitionScene();
    owned->m_from = &from;
    owned->m_to = &from;
    ASSERT_TRUE(owned->Prepare());
    CSceneTransition& transition = Keep(std::move(owned));
    Frame(transition);
    EXPECT_EQ(RgbAt(16, 8), (Rgb{255, 0, 0}));

    // The transition scene leaves the transition, which forgets the node.
    CScene& scene = Keep(std::move(transition.m_transition));
    ASSERT_TRUE(transition.Prepare());
    Frame(scene);
    EXPECT_EQ(RgbAt(16, 8), (Rgb{0, 0, 0}));
    EXPECT_TRUE(Near(PixelOf(TextureOf(scene, "Transition1.FromScene"), 3, 3), {0, 0, 0, 255}));
    EXPECT_TRUE(Near(PixelOf(TextureOf(scene, "Transition1.ToScene"), 3, 3), {128, 128, 255, 255}));
}

TEST_F(LayerTexturesGL, ExampleScenesStandInForTheDirectorInAPreview)
{
    CTempDir dir;
    std::filesystem::create_directories(dir.File("scenes/special"));
    g_paths.m_appPath = dir.Path();
    {
        // The from example holds a Transition node itself: it must not load
        // the examples again.
        CScene example;
        Add(example, {"Screen", "Clear", "Transition"});
        Connect(example, "Clear1.Render", "Screen1.Render");
        Set(example, "Clear1.Color", "1 1 0 1");
        ASSERT_TRUE(example.Save(dir.File("scenes/special/TransitionFromExample.lmc"), false));
        CScene background;
        Add(background, {"Screen", "Clear"});
        Connect(background, "Clear1.Render", "Screen1.Render");
        Set(background, "Clear1.Color", "0 1 1 1");
        ASSERT_TRUE(background.Save(dir.File("scenes/special/PostprocessingBackground.lmc"), false));
    }
    // TransitionToExample.lmc is missing.

    m_run.m_appType = EAppType::Editor;
    CLogCapture log;
    CScene& scene = NewScene();
    Add(scene, {"Transition"});
    AddTextureView(scene, "Transition1.FromScene");
    EXPECT_TRUE(log.Contains("TransitionToExample.lmc")) << "the missing example is named";
    CScene& postprocessing = NewScene();
    Add(postprocessing, {"PreviousLayer"});
    AddTextureView(postprocessing, "PreviousLayer1.Color");

    Frame(scene);
    EXPECT_EQ(RgbAt(16, 8), (Rgb{255, 255, 0}));
    std::shared_ptr<CTexture> toTexture = TextureOf(scene, "Transition1.ToScene");
    ASSERT_TRUE(toTexture);
    EXPECT_TRUE(Near(PixelOf(toTexture, 3, 3), {128, 128, 255, 255})) << "no example: the clear colour";
    EXPECT_EQ(toTexture->m_width, Width) << "a preview draws both at full size";
    toTexture.reset();

    Frame(postprocessing);
    EXPECT_EQ(RgbAt(16, 8), (Rgb{0, 255, 255}));
}

} // namespace
