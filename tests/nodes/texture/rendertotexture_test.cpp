// RenderToTexture and PersistentTexture on a real context: what is drawn in
// the update, feedback through ColorNext, and last frame's texture.

#include "nodes/support/sizesteps.h"
#include "support/logcapture.h"
#include "texturescenetest.h"

namespace {

TEST(TextureSizeSteps, StepsHalveCustomReplacesAndTheLowerLimitsHold)
{
    struct SCase
    {
        int widthStep, heightStep, widthCustom, heightCustom, width, height;
        STextureSize expected;
    };
    const SCase cases[] = {
        {0, 0, 256, 256, 1000, 40, {1000, 40}},
        {1, 2, 256, 256, 1000, 40, {500, 10}},
        {3, 3, 256, 256, 1000, 40, {125, 5}},
        // 62.5 truncates; 1.25 truncates to 1 and is raised to 2.
        {4, 5, 256, 256, 1000, 40, {62, 2}},
        {-1, -1, 300, 7, 1000, 40, {300, 7}},
        {6, -2, 256, 256, 1000, 40, {1000, 40}},
        {5, 0, 256, 256, 20, 1, {1, 2}},
        {-1, -1, 0, 0, 1000, 40, {1, 2}},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "steps " << c.widthStep << ", " << c.heightStep);
        const STextureSize size =
            SizeFromSteps(c.widthStep, c.heightStep, c.widthCustom, c.heightCustom, c.width, c.height);
        EXPECT_EQ(size, c.expected) << size.width << "x" << size.height;
    }
}

class RenderToTextureGL : public TextureSceneTest
{
protected:
    // RenderToTexture1 shown on the window through TestEffect1.
    CScene& ShownTextureScene()
    {
        CScene& scene = NewScene();
        Add(scene, {"RenderToTexture"});
        AddTextureView(scene, "RenderToTexture1.Color");
        return scene;
    }
    // The same, with an effect that adds an eighth to what ColorNext holds.
    CScene& FeedbackScene()
    {
        CScene& scene = ShownTextureScene();
        Add(scene, {"TestEffect"});
        Connect(scene, "TestEffect2.Effect", "RenderToTexture1.Effect");
        Connect(scene, "RenderToTexture1.ColorNext", "TestEffect2.Texture");
        Set(scene, "TestEffect2.Shader", TextureEffect("tex2D(tex, i.uv) + float4(0.125, 0.125, 0.125, 0.125)"));
        return scene;
    }
};

TEST_F(RenderToTextureGL, DrawsItsRenderChainDuringTheUpdateAtTheChosenSize)
{
    CScene& scene = ShownTextureScene();
    Add(scene, {"Clear"});
    Connect(scene, "Clear1.Render", "RenderToTexture1.Render");
    Set(scene, "Clear1.Color", "0 1 0 1");

    // The picture is there before the scene is drawn.
    Update(scene);
    std::shared_ptr<CTexture> texture = TextureOf(scene, "RenderToTexture1.Color");
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->m_width, Width);
    EXPECT_EQ(texture->m_height, Height);
    EXPECT_TRUE(Near(PixelOf(texture, 3, 3), {0, 255, 0, 255}));
    EXPECT_EQ(Output(scene, "RenderToTexture1.Color")->m_value->m_flags, PDT_MipMaps | PDT_ClampToEdge);
    EXPECT_TRUE(texture->m_flags & TXF_MipMaps);
    EXPECT_EQ(Output(scene, "RenderToTexture1.ColorNext")->m_value, nullptr) << "nobody reads ColorNext";
    texture.reset();
    scene.Draw(m_render.get());
    EXPECT_EQ(RgbAt(20, 8), (Rgb{0, 255, 0})) << "the reader drew the texture";
    scene.FrameFinished();
    EXPECT_EQ(Pool()->UsedRenderTargetCount(), 0u) << "the surface goes back at the frame's end";

    // Half the render's width, a custom height, no mip maps.
    Set(scene, "RenderToTexture1.Width", "1");
    Set(scene, "RenderToTexture1.Height", "-1");
    Set(scene, "RenderToTexture1.HeightCustom", "4");
    Set(scene, "RenderToTexture1.CreateMipMaps", "false");
    Set(scene, "Clear1.Color", "1 0 1 1");
    Update(scene);
    texture = TextureOf(scene, "RenderToTexture1.Color");
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->m_width, Width / 2);
    EXPECT_EQ(texture->m_height, 4);
    EXPECT_TRUE(Near(PixelOf(texture, 1, 1), {255, 0, 255, 255}));
    EXPECT_EQ(Output(scene, "RenderToTexture1.Color")->m_value->m_flags, PDT_ClampToEdge);
}

TEST_F(RenderToTextureGL, WithNothingToDrawTheTextureIsTransparentBlack)
{
    CScene& scene = ShownTextureScene();
    PoolRedTargets(Width, Height, TF_A8R8G8B8, TF_D24S8);
    Update(scene);
    std::shared_ptr<CTexture> texture = TextureOf(scene, "RenderToTexture1.Color");
    ASSERT_TRUE(texture);
    EXPECT_TRUE(Near(PixelOf(texture, 5, 5), {0, 0, 0, 0}, 0)) << "the pooled red surface was cleared";
}

TEST_F(RenderToTextureGL, FeedbackThroughColorNextGrowsFrameByFrameWhileTheRecordsSwap)
{
    CScene& scene = FeedbackScene();
    Set(scene, "RenderToTexture1.CreateMipMaps", "false");
    // Both surfaces come from a pool of red ones: the ColorNext one must be cleared.
    PoolRedTargets(Width, Height, TF_A8R8G8B8, TF_D24S8, 2);

    const CPDTexture* lastColor = nullptr;
    for (int frame = 1; frame <= 4; ++frame) {
        Update(scene);
        const CPDTexture* color = Output(scene, "RenderToTexture1.Color")->m_value;
        const CPDTexture* next = Output(scene, "RenderToTexture1.ColorNext")->m_value;
        ASSERT_TRUE(color && next);
        EXPECT_NE(color, next);
        if (lastColor) {
            EXPECT_EQ(next, lastColor) << "frame " << frame << ": last frame's picture is offered as ColorNext";
        }
        lastColor = color;
        const int value = std::min(255, 32 * frame);
        EXPECT_TRUE(Near(PixelOf(TextureOf(scene, "RenderToTexture1.Color"), 4, 4), {value, value, value, value}))
            << "frame " << frame;
        scene.Draw(m_render.get());
        scene.FrameFinished();
    }

    // With a long swap time the same surface is drawn again and again, over
    // the picture that ColorNext kept from the last swap.
    Set(scene, "RenderToTexture1.ColorNextSwapTime", "10");
    Frame(scene);
    const CPDTexture* held = Output(scene, "RenderToTexture1.Color")->m_value;
    const int before = PixelOf(TextureOf(scene, "RenderToTexture1.ColorNext"), 4, 4)[0];
    Update(scene);
    EXPECT_EQ(Output(scene, "RenderToTexture1.Color")->m_value, held);
    EXPECT_EQ(PixelOf(TextureOf(scene, "RenderToTexture1.ColorNext"), 4, 4)[0], before);
    EXPECT_TRUE(Near(PixelOf(TextureOf(scene, "RenderToTexture1.Color"), 4, 4), {before + 32, before + 32,
                                                                                 before + 32, before + 32}));
}

TEST_F(RenderToTextureGL, AChangedFormatDropsBothSurfacesAndAnUnknownOneIsLogged)
{
    CScene& scene = FeedbackScene();
    for (int frame = 0; frame < 3; ++frame)
        Frame(scene);

    Set(scene, "RenderToTexture1.Format", "5");
    Update(scene);
    std::shared_ptr<CTexture> color = TextureOf(scene, "RenderToTexture1.Color");
    std::shared_ptr<CTexture> next = TextureOf(scene, "RenderToTexture1.ColorNext");
    ASSERT_TRUE(color && next);
    EXPECT_EQ(color->m_format, TF_A16R16G16B16F);
    EXPECT_EQ(next->m_format, TF_A16R16G16B16F);
    EXPECT_EQ(Output(scene, "RenderToTexture1.Color")->m_value->m_flags, PDT_MipMaps | PDT_ClampToEdge);
    EXPECT_TRUE(Near(PixelOf(color, 4, 4), {32, 32, 32, 32})) << "the feedback starts over";
    color.reset();
    next.reset();
    scene.Draw(m_render.get());
    scene.FrameFinished();

    // A number that names no format draws in RGBA 8bit and says so once.
    CLogCapture log;
    Set(scene, "RenderToTexture1.Format", "2");
    Update(scene);
    color = TextureOf(scene, "RenderToTexture1.Color");
    ASSERT_TRUE(color);
    EXPECT_EQ(color->m_format, TF_A8R8G8B8);
    EXPECT_TRUE(log.Contains("RenderToTexture \"RenderToTexture1\": unknown Format 2"));
}

TEST_F(RenderToTextureGL, PersistentTextureGivesLastFramesInput)
{
    CScene& scene = NewScene();
    Add(scene, {"Clear", "RenderToTexture", "PersistentTexture"});
    Connect(scene, "Clear1.Render", "RenderToTexture1.Render");
    Connect(scene, "RenderToTexture1.Color", "PersistentTexture1.Texture");
    AddTextureView(scene, "PersistentTexture1.Texture");

    const char* colors[] = {"1 0 0 1", "0 1 0 1", "0 0 1 1"};
    const Rgba expected[] = {{255, 0, 0, 255}, {0, 255, 0, 255}};
    for (int frame = 0; frame < 3; ++frame) {
        Set(scene, "Clear1.Color", colors[frame]);
        Update(scene);
        std::shared_ptr<CTexture> kept = TextureOf(scene, "PersistentTexture1.Texture");
        if (frame == 0) {
            EXPECT_FALSE(kept) << "nothing came in before the first frame";
        } else {
            ASSERT_TRUE(kept);
            EXPECT_TRUE(Near(PixelOf(kept, 2, 2), expected[frame - 1])) << "frame " << frame;
            kept.reset();
            scene.Draw(m_render.get());
            const Rgb shown{expected[frame - 1][0], expected[frame - 1][1], expected[frame - 1][2]};
            EXPECT_EQ(RgbAt(10, 10), shown) << "frame " << frame;
        }
        EXPECT_EQ(Output(scene, "PersistentTexture1.Texture")->m_value->m_dimension, 2);
        scene.FrameFinished();
        // Only this frame's texture is held across the frame's end.
        EXPECT_EQ(Pool()->UsedRenderTargetCount(), 1u) << "frame " << frame;
    }
}

} // namespace
