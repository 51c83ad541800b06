// The director on a real context: the final pass that shows each window its
// section of the picture, and what it does when the pass or a scene's effect
// is missing.

#include "app/cfg.h"
#include "app/director/lumora.h"
#include "app/director/playlist.h"
#include "app/host/clock.h"
#include "app/paths.h"
#include "app/player/headlessrun.h"
#include "nodes/nodetypes.h"
#include "ports/port.h"
#include "support/glfixture.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"
#include "services/picturesequencewriter.h"
#include "support/logcapture.h"
#include "support/picturecompare.h"
#include "support/tempdir.h"
#include "support/testeffectnode.h"

#include <cstdlib>

namespace {

// A render whose window shows only a part of the whole picture.
class CSectionRender : public CRenderOGL
{
public:
    std::array<float, 4> GetCurrentSection() const override { return m_section; }
    std::array<float, 4> m_section{0, 0, 1, 1};
};

class DirectorGL : public ::testing::Test
{
protected:
    static constexpr int Width = 64;
    static constexpr int Height = 32;

    static void SetUpTestSuite() { SDL_InitSubSystem(SDL_INIT_VIDEO); }
    static void TearDownTestSuite() { SDL_QuitSubSystem(SDL_INIT_VIDEO); }

    void SetUp() override
    {
        setenv("XDG_CONFIG_HOME", m_home.Path().c_str(), 1);
        g_paths.Setup();
        ASSERT_TRUE(m_context.CreateHeadless(Width, Height));
        m_render = std::make_unique<CSectionRender>();
        ASSERT_TRUE(m_render->InitDevice());
        m_render->m_virtualRect = m_render->m_currentRect = SRect{0, 0, Width, Height};
        m_factory = CNodeFactory::Get();
        m_factory->Init(NodeTypes());
        m_effectType = std::make_unique<CTestEffectNode::CType>();
    }
    void TearDown() override
    {
        m_effectType.reset();
        m_factory->Release();
        m_render->ReleaseDevice();
        m_render.reset();
        unsetenv("LUMORA_APPPATH");
        g_paths.Setup();
    }

    // Red grows from 0 at the left edge to 255 at the right.
    std::unique_ptr<CScene> GradientScene(const std::string& effect)
    {
        auto scene = std::make_unique<CScene>();
        for (const char* type : {"Screen", "RenderRect", "TestEffect"})
            scene->AddNode(type);
        EXPECT_TRUE(scene->Connect("RenderRect1.Render", "Screen1.Render"));
        EXPECT_TRUE(scene->Connect("TestEffect1.Effect", "RenderRect1.Effect"));
        std::string component;
        scene->FindInPort("TestEffect1.Shader", &component)->SetValue(effect);
        scene->m_fileName = "gradient";
        return scene;
    }

    int RedAt(int x, int y)
    {
        std::vector<unsigned char> pixels(Width * Height * 3);
        m_render->ReadPixels(pixels.data());
        return pixels[size_t((y * Width + x) * 3 + 2)];
    }

    CTempDir m_home;
    CGLContext m_context;
    std::unique_ptr<CSectionRender> m_render;
    CNodeFactory* m_factory = nullptr;
    std::unique_ptr<CTestEffectNode::CType> m_effectType;
    CCfg m_config;
};

} // namespace

TEST_F(DirectorGL, EachWindowShowsItsSectionOfThePictureThroughTheFinalPass)
{
    CLumora director(m_config, CClock::System());
    director.m_render = m_render.get();
    director.Init();
    ASSERT_TRUE(director.PlayOnly(GradientScene(TextureEffect("float4(i.uv.x, 0, 0, 1)"))));
    director.Update(1.0f / 30.0f);
    director.Draw(m_render.get());
    EXPECT_LT(RedAt(1, 16), 16);
    EXPECT_GT(RedAt(62, 16), 240);

    // The right half of the picture fills this window.
    m_render->m_section = {0.5f, 0.0f, 0.5f, 1.0f};
    director.Draw(m_render.get());
    EXPECT_NEAR(RedAt(1, 16), 130, 8);
    EXPECT_GT(RedAt(62, 16), 240);
    director.InvalidateDevice(m_render.get());
    director.m_render = nullptr;
}

TEST_F(DirectorGL, WithoutTheFinalPassScenesAreDrawnStraightToTheWindow)
{
    setenv("LUMORA_APPPATH", m_home.Path().c_str(), 1);
    g_paths.Setup();
    CLogCapture log;
    CLumora director(m_config, CClock::System());
    director.m_render = m_render.get();
    director.Init();
    ASSERT_TRUE(director.PlayOnly(GradientScene(TextureEffect("float4(1, 0, 0, 1)"))));
    director.Update(1.0f / 30.0f);
    director.Draw(m_render.get());
    EXPECT_EQ(RedAt(32, 16), 255);
    EXPECT_TRUE(log.Contains("The final pass \"nodedata/scenefxaa.cgfx\" could not be loaded"));
    director.InvalidateDevice(m_render.get());
    director.m_render = nullptr;
}

TEST_F(DirectorGL, ScenesWhoseEffectDoesNotCompileAreLeftOutAndPlayGoesOn)
{
    CLogCapture log;
    const auto save = [&](const std::string& name, const std::string& effect) {
        std::unique_ptr<CScene> scene = GradientScene(effect);
        const std::string path = m_home.File(name);
        EXPECT_TRUE(scene->Save(path, false));
        return path;
    };
    CPlaylist playlist;
    playlist.Add(playlist.m_scenes, save("broken1.lmc", "this is no effect"), {}, 1.0f);
    playlist.Add(playlist.m_scenes, save("red.lmc", TextureEffect("float4(1, 0, 0, 1)")), {}, 1.0f);
    playlist.Add(playlist.m_scenes, save("broken2.lmc", TextureEffect("undefinedFunction(i.uv)")), {}, 1.0f);
    CLumora director(m_config, CClock::System());
    director.m_render = m_render.get();
    director.m_run.m_windowMode = EWindowMode::Record;
    director.Init();
    ASSERT_TRUE(director.DeserializeProject(playlist));
    for (int frame = 0; frame < 30 * 4; ++frame) {
        director.Update(1.0f / 30.0f);
        director.Draw(m_render.get());
        director.FrameFinished();
        ASSERT_NE(director.GetActiveScene(), nullptr);
        EXPECT_EQ(RedAt(32, 16), 255) << "frame " << frame;
        // The scene after the playing one is made ready, unseen, ahead of its turn.
        if (frame == 25) {
            EXPECT_TRUE(log.Contains("broken2.lmc' cannot be drawn"));
        }
    }
    EXPECT_EQ(director.PlayableCount(), 1u);
    EXPECT_TRUE(log.Contains("broken1.lmc' cannot be drawn on this device and is left out of play"));
    EXPECT_TRUE(log.Contains("broken2.lmc' cannot be drawn on this device and is left out of play"));
    director.InvalidateDevice(m_render.get());
    director.m_render = nullptr;

    // A playlist in which nothing can play ends a run with its exit code.
    CPlaylist nothing;
    nothing.Add(nothing.m_scenes, m_home.File("missing.lmc"));
    nothing.Add(nothing.m_scenes, save("broken3.lmc", "no effect either"));
    ASSERT_TRUE(nothing.Save(m_home.File("nothing.lmp")));
    SHeadlessOptions options;
    options.m_scenePath = m_home.File("nothing.lmp");
    options.m_outDirectory = m_home.File("frames");
    options.m_width = 32;
    options.m_height = 16;
    options.m_seconds = 1.0f;
    EXPECT_EQ(RunHeadless(options, MakeRenderOGL), 1);
}

TEST_F(DirectorGL, TheFinalPassSmoothsTheEdgesOfDrawnGeometry)
{
    // A white square turned by about 37 degrees on black, with hard edges:
    // drawn as it is, every pixel is black or white.
    const char* square = "float4(step(max(abs(0.8 * (i.uv.x - 0.5) * 2.0 + 0.6 * (i.uv.y - 0.5)), "
                         "abs(-0.6 * (i.uv.x - 0.5) * 2.0 + 0.8 * (i.uv.y - 0.5))), 0.3).xxx, 1)";
    CLumora director(m_config, CClock::System());
    director.m_render = m_render.get();
    director.Init();
    ASSERT_TRUE(director.PlayOnly(GradientScene(TextureEffect(square))));
    director.Update(1.0f / 30.0f);
    director.Draw(m_render.get());

    std::vector<unsigned char> pixels(Width * Height * 3);
    m_render->ReadPixels(pixels.data());
    int black = 0, white = 0, between = 0;
    for (size_t i = 0; i < pixels.size(); i += 3) {
        const int red = pixels[i + 2];
        (red < 8 ? black : red > 247 ? white : between)++;
    }
    EXPECT_GT(white, 100) << "the square's inside stays white";
    EXPECT_GT(black, 1000) << "the background stays black";
    EXPECT_GE(between, 20) << "edge pixels take values between black and white";
    EXPECT_EQ(RedAt(Width / 2, Height / 2), 255);
    EXPECT_EQ(RedAt(1, 1), 0);
    director.InvalidateDevice(m_render.get());
    director.m_render = nullptr;
}
