// Post-processing nodes on a real context: what their passes make of a
// known picture, read back from the pooled targets they answer.

#include "app/paths.h"
#include "render/bitmapfile.h"
#include "support/tempdir.h"
#include "texturescenetest.h"

#include <cmath>
#include <cstdlib>

namespace {

constexpr int Side = 16;

class PostProcessingGL : public TextureSceneTest
{
protected:
    void SetUp() override
    {
        TextureSceneTest::SetUp();
        setenv("LUMORA_APPPATH", LUMORA_SOURCE_DATA_DIR, 1);
        g_paths.Setup();
        // A black picture with one white texel at (8, 8).
        std::vector<uint8_t> bgr(Side * Side * 3, 0);
        std::fill_n(&bgr[3 * (8 * Side + 8)], 3, 255);
        CBitmapFile picture;
        ASSERT_TRUE(picture.SetBgrBottomUp(bgr.data(), Side, Side));
        ASSERT_TRUE(picture.Save(m_dir.File("dot.png").c_str()));
        // A wider picture with a white square of 4 x 4 texels at (30, 30).
        std::vector<uint8_t> wide(64 * 64 * 3, 0);
        for (int y = 30; y < 34; ++y)
            std::fill_n(&wide[size_t(3 * (y * 64 + 30))], 12, 255);
        ASSERT_TRUE(picture.SetBgrBottomUp(wide.data(), 64, 64));
        ASSERT_TRUE(picture.Save(m_dir.File("square.png").c_str()));
        std::vector<uint8_t> thin(4 * 100 * 3, 255);
        ASSERT_TRUE(picture.SetBgrBottomUp(thin.data(), 4, 100));
        ASSERT_TRUE(picture.Save(m_dir.File("thin.png").c_str()));
        std::fill(bgr.begin(), bgr.end(), 128);
        ASSERT_TRUE(picture.SetBgrBottomUp(bgr.data(), Side, Side));
        ASSERT_TRUE(picture.Save(m_dir.File("grey.png").c_str()));
    }
    void TearDown() override
    {
        TextureSceneTest::TearDown();
        unsetenv("LUMORA_APPPATH");
    }

    // `type` reading the dot picture, its ports set, updated and restored.
    CScene& Over(const char* type, std::initializer_list<std::pair<const char*, const char*>> ports,
                 const char* picture = "dot.png", const char* input = "Texture")
    {
        CScene& scene = NewScene();
        Add(scene, {"FileTexture", type});
        Set(scene, "FileTexture1.Filename", m_dir.File(picture));
        Connect(scene, "FileTexture1.Texture", (std::string(type) + "1." + input).c_str());
        for (const auto& [port, value] : ports)
            Set(scene, std::string(type) + "1." + port, value);
        // A reader on the screen, so that the update reaches both nodes.
        AddTextureView(scene, (std::string(type) + "1.Texture").c_str());
        Update(scene);
        EXPECT_TRUE(scene.RestoreDevice(m_render.get()));
        return scene;
    }

    // Every pixel's red of a target's surface, rows from the bottom.
    std::vector<int> Reds(const std::shared_ptr<CTexture>& texture)
    {
        std::vector<int> reds;
        for (int y = 0; texture && y < texture->m_height; ++y)
            for (int x = 0; x < texture->m_width; ++x)
                reds.push_back(PixelOf(texture, x, y)[0]);
        return reds;
    }

    CTempDir m_dir;
};

} // namespace

TEST_F(PostProcessingGL, BlurSpreadsADotEvenlyKeepsItsEnergyAndBrightensOnlyAtTheEnd)
{
    CScene& both = Over("Blur", {{"Width", "4"}});
    const std::shared_ptr<CTexture> blurred = TextureOf(both, "Blur1.Texture");
    const std::vector<int> reds = Reds(blurred);
    ASSERT_EQ(reds.size(), size_t(Side * Side));
    // The dot's centre is the centre of the light.
    double sum = 0, mx = 0, my = 0;
    for (size_t i = 0; i < reds.size(); ++i) {
        sum += reds[i];
        mx += double(i % Side) * reds[i];
        my += double(i / Side) * reds[i];
    }
    ASSERT_GT(sum, 0);
    const int cx = int(std::lround(mx / sum)), cy = int(std::lround(my / sum));
    const size_t centre = size_t(cy * Side + cx);
    const auto at = [&](int x, int y) { return reds[size_t(y * Side + x)]; };
    for (int d = 1; d <= 2; ++d) {
        SCOPED_TRACE(d);
        EXPECT_EQ(at(cx - d, cy), at(cx + d, cy));
        EXPECT_EQ(at(cx, cy - d), at(cx, cy + d));
        EXPECT_EQ(at(cx - d, cy), at(cx, cy - d)) << "the same in both directions";
        EXPECT_GT(at(cx + d, cy), 0);
    }
    EXPECT_EQ(at(cx + 3, cy), 0) << "four taps reach two texels";
    EXPECT_NEAR(sum, 255, 255 / 8) << "a blur moves light, it makes none";

    const std::vector<int> brighter = Reds(TextureOf(Over("Blur", {{"Width", "4"}, {"Brightness", "2"}}), "Blur1.Texture"));
    EXPECT_NEAR(brighter[centre], 2 * reds[centre], 2);

    const std::vector<int> across = Reds(TextureOf(Over("Blur", {{"Width", "4"}, {"Dir", "0"}}), "Blur1.Texture"));
    EXPECT_GT(across[size_t(cy * Side + cx + 1)], 0);
    EXPECT_EQ(across[size_t((cy + 1) * Side + cx)], 0) << "along x only";

    CScene& none = Over("Blur", {{"Width", "1"}});
    EXPECT_EQ(TextureOf(none, "Blur1.Texture"), TextureOf(none, "FileTexture1.Texture")) << "a width of 1 is no blur";
}

TEST_F(PostProcessingGL, PoissonSolverRelaxesFromZeroTowardsTheSolution)
{
    // x = (sum of the four neighbours + b) * 0.2 has the solution x = b for
    // a flat b, reached from zero by 1 - 0.8^n of the way.
    const auto solved = [&](const char* iterations) {
        CScene& scene = Over("PoissonSolver", {{"Beta", "0.2"}, {"Iterations", iterations}}, "grey.png", "RightHandSide");
        const std::vector<int> reds = Reds(TextureOf(scene, "PoissonSolver1.Texture"));
        EXPECT_EQ(reds.size(), size_t(Side * Side));
        return reds.empty() ? -1 : reds[size_t(Side * Side / 2 + 3)];
    };
    EXPECT_NEAR(solved("1"), 0.2 * 128, 1.0);
    EXPECT_NEAR(solved("2"), 0.36 * 128, 2.0);
    EXPECT_NEAR(solved("60"), 128, 6.0) << "8-bit steps stop it a little short";
}

TEST_F(PostProcessingGL, BloomGlowsAroundWhatIsBrightAtHalfTheSizeAndOnlyAboveItsThreshold)
{
    CScene& scene = Over("Bloom", {}, "square.png");
    const std::shared_ptr<CTexture> bloom = TextureOf(scene, "Bloom1.Texture");
    ASSERT_TRUE(bloom);
    EXPECT_EQ(bloom->m_width, 32);
    const auto red = [&](const std::shared_ptr<CTexture>& texture, int x, int y) { return PixelOf(texture, x, y)[0]; };
    // The square sits at the middle of the half-size picture.
    EXPECT_GT(red(bloom, 16, 16), 30);
    EXPECT_GT(red(bloom, 16, 22), 0) << "the glow reaches beyond the square";
    EXPECT_LT(red(bloom, 16, 22), red(bloom, 16, 18));
    EXPECT_LT(red(bloom, 0, 0), red(bloom, 16, 22)) << "and fades with distance";

    const std::shared_ptr<CTexture> cut = TextureOf(Over("Bloom", {{"Threshold", "1"}}, "square.png"), "Bloom1.Texture");
    ASSERT_TRUE(cut);
    EXPECT_EQ(red(cut, 16, 16), 0) << "nothing is brighter than white";

    EXPECT_FALSE(TextureOf(Over("Bloom", {}, "thin.png"), "Bloom1.Texture")) << "too narrow to halve";
}

TEST_F(PostProcessingGL, StreaksDrawBrightPartsOutAlongTheirLinesAtAQuarterOfTheSize)
{
    CScene& scene = Over("Streak", {{"NumStarLines", "1"}, {"StarRotation", "0"}}, "square.png");
    const std::shared_ptr<CTexture> streak = TextureOf(scene, "Streak1.Texture");
    ASSERT_TRUE(streak);
    EXPECT_EQ(streak->m_width, 16);
    const auto red = [&](const std::shared_ptr<CTexture>& texture, int x, int y) { return PixelOf(texture, x, y)[0]; };
    const int along = std::max(red(streak, 8, 4), red(streak, 8, 12));
    const int across = std::max(red(streak, 4, 8), red(streak, 12, 8));
    EXPECT_GT(along, 0) << "a line without a rotation runs along y";
    EXPECT_EQ(across, 0);

    const std::shared_ptr<CTexture> grey =
        TextureOf(Over("Streak", {{"ChromaticAberration", "0"}}, "square.png"), "Streak1.Texture");
    ASSERT_TRUE(grey);
    const Rgba centre = PixelOf(grey, 8, 8);
    EXPECT_GT(centre[0], 0);
    EXPECT_NEAR(centre[0], centre[1], 1) << "without aberration every sample is the same grey";
    EXPECT_NEAR(centre[1], centre[2], 1);

    EXPECT_FALSE(TextureOf(Over("Streak", {}, "thin.png"), "Streak1.Texture"));
}
