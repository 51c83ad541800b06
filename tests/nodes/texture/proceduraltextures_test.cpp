// Textures filled on the CPU: exact texels, fills only on a change of input.

#include "expression/musicfixture.h"
#include "nodes/nodetypes.h"
#include "nodes/texture/filetexturenode.h"
#include "nodes/texture/noisetexturenode.h"
#include "nodes/texture/turingpatternnode.h"
#include "ports/port.h"
#include "render/texture.h"
#include "scene/node.h"
#include "scene/nodefactory.h"
#include "scene/scenecontext.h"
#include "scene/pdtexture.h"
#include "scene/scene.h"
#include "render/bitmapfile.h"
#include "support/tempdir.h"
#include "support/logcapture.h"
#include "support/glfixture.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>

namespace {

class ProceduralTextures : public CGLRenderTest
{
protected:
    void SetUp() override
    {
        CGLRenderTest::SetUp();
        m_factory = CNodeFactory::Get();
        m_factory->Init(NodeTypes());
        m_context.m_render = m_render.get();
    }
    void TearDown() override
    {
        m_scene.reset();
        m_factory->Release();
        CGLRenderTest::TearDown();
    }

    CNode* Make(const char* type, std::initializer_list<std::pair<const char*, const char*>> ports)
    {
        CNode* node = m_scene->AddNode(type);
        for (const auto& [port, value] : ports) {
            std::string component;
            m_scene->FindInPort(std::string(node->m_name) + "." + port, &component)->SetValue(value);
        }
        return node;
    }
    // The node's texels after an update and, if it asks, a fill.
    std::vector<std::array<int, 4>> Texels(CNode* node)
    {
        node->Update(0.0f, &m_context);
        node->ClearChangedFlags();
        if (node->m_deviceDirty) {
            node->m_deviceDirty = 0;
            EXPECT_TRUE(node->ResetDevice(m_render.get()));
        }
        std::shared_ptr<CTexture> texture = dynamic_cast<CPDTexture*>(node)->GetTexture(m_render.get());
        std::vector<std::array<int, 4>> texels;
        if (!texture)
            return texels;
        const uint8_t* bytes = texture->Lock();
        for (size_t i = 0; i < size_t(texture->m_width) * size_t(std::max(1, texture->m_height)); ++i)
            texels.push_back({bytes[4 * i], bytes[4 * i + 1], bytes[4 * i + 2], bytes[4 * i + 3]});
        return texels;
    }

    CNodeFactory* m_factory = nullptr;
    std::unique_ptr<CScene> m_scene = std::make_unique<CScene>();
    CSceneContext m_context;
};

TEST_F(ProceduralTextures, GradientsBlendTheirStopsInPeakOrder)
{
    // Black with alpha 0 to white: t = (x + 0.5) / 4 over four texels.
    CNode* linear = Make("Gradient", {{"Width", "4"}});
    const auto row = Texels(linear);
    ASSERT_EQ(row.size(), 4u);
    EXPECT_EQ(row[0], (std::array<int, 4>{31, 31, 31, 31}));
    EXPECT_EQ(row[3], (std::array<int, 4>{223, 223, 223, 223}));
    EXPECT_EQ(dynamic_cast<CPDTexture*>(linear)->m_dimension, 1);

    // A stop whose peak is out of port order is sorted into place: red at
    // 0.25 lies between black at 0 and white at 1.
    CNode* sorted =
        Make("Gradient", {{"Width", "8"}, {"Color3Peak", "0.25"}, {"Color3", "1 0 0 1"}, {"Color1", "0 0 0 1"}});
    const auto colours = Texels(sorted);
    EXPECT_EQ(colours[1], (std::array<int, 4>{191, 0, 0, 255})) << "t = 0.1875, three quarters of the way to red";
    EXPECT_EQ(colours[7][1], 233) << "then on to white";

    // Square and radial: the centre is Color1, the corners the far end; with
    // Color2 peaking at 0.5, what lies beyond gets the background.
    CNode* square = Make("Gradient", {{"Width", "8"}, {"Height", "8"}, {"GradientType", "3"}, {"Color2Peak", "0.5"},
                                      {"Color3Peak", "0.5"}, {"Color4Peak", "0.5"}, {"Color5Peak", "0.5"},
                                      {"BackgroundColor", "0 0 1 1"}});
    const auto field = Texels(square);
    ASSERT_EQ(field.size(), 64u);
    EXPECT_EQ(field[3 * 8 + 3][0], 63) << "next to the centre: a quarter of the way to Color2";
    EXPECT_EQ(field[0], (std::array<int, 4>{0, 0, 255, 255})) << "a corner, beyond the last stop";
    EXPECT_EQ(dynamic_cast<CPDTexture*>(square)->m_dimension, 2);

    // An update without a change keeps the texture as it is.
    const std::shared_ptr<CTexture> before = dynamic_cast<CPDTexture*>(square)->GetTexture(m_render.get());
    square->Update(0.0f, &m_context);
    EXPECT_EQ(square->m_deviceDirty, 0u) << "no refill without a change";
}

TEST_F(ProceduralTextures, RandomTexturesFollowTheirSeedRectangleAndCount)
{
    // Every pixel once: all between Color1 and Color2, grey, and not alike.
    CNode* dense = Make("RandomTexture", {{"Width", "16"}, {"Height", "16"}, {"CountRel", "100"}});
    const auto full = Texels(dense);
    ASSERT_EQ(full.size(), 256u);
    std::set<int> values;
    for (const auto& texel : full) {
        EXPECT_TRUE(texel[0] == texel[1] && texel[1] == texel[2] && texel[3] == 255);
        values.insert(texel[0]);
    }
    EXPECT_GT(values.size(), 100u);
    EXPECT_EQ(Texels(Make("RandomTexture", {{"Width", "16"}, {"Height", "16"}, {"CountRel", "100"}})), full)
        << "the same seed, the same picture";
    EXPECT_NE(Texels(Make("RandomTexture", {{"Width", "16"}, {"Height", "16"}, {"CountRel", "100"}, {"Seed", "2"}})),
              full);

    // A few hits on the background, only inside the rectangle.
    CNode* sparse = Make("RandomTexture", {{"Width", "16"}, {"Height", "16"}, {"Count", "20"},
                                           {"BackgroundColor", "1 0 0 1"}, {"Rect", "0.5 0.5 0.5 0.5"}});
    const auto hits = Texels(sparse);
    int touched = 0;
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            const auto& texel = hits[size_t(y * 16 + x)];
            const bool background = texel == std::array<int, 4>{255, 0, 0, 255};
            if (!background) {
                ++touched;
                EXPECT_TRUE(x >= 8 && y >= 8) << x << ", " << y;
            }
        }
    }
    EXPECT_GT(touched, 10);
    EXPECT_LE(touched, 20);
}

TEST_F(ProceduralTextures, NoiseTexturesTileAndMoveOnlyAlongTheirOffsetAxis)
{
    // Every kind of noise repeats with period 1 on each axis.
    for (int type = 1; type <= 17; ++type) {
        SCOPED_TRACE(type);
        for (float p : {0.1f, 0.37f, 0.8f}) {
            EXPECT_NEAR(CNoiseTextureNode::Noise(type, 0.0f, p, 0.0f, false),
                        CNoiseTextureNode::Noise(type, 1.0f, p, 0.0f, false), 1e-4f);
            EXPECT_NEAR(CNoiseTextureNode::Noise(type, p, 0.0f, 0.0f, false),
                        CNoiseTextureNode::Noise(type, p, 1.0f, 0.0f, false), 1e-4f);
            EXPECT_NEAR(CNoiseTextureNode::Noise(type, p, 0.5f, 0.0f, true),
                        CNoiseTextureNode::Noise(type, p, 0.5f, 1.0f, true), 1e-4f);
        }
    }

    const auto texels = Texels(Make("NoiseTexture", {{"Width", "16"}, {"Height", "16"}, {"NoiseA", "0"}}));
    ASSERT_EQ(texels.size(), 256u);
    std::set<int> reds;
    for (const auto& texel : texels) {
        EXPECT_EQ(texel[3], 127) << "\"None\" is the middle, not 0";
        reds.insert(texel[0]);
    }
    EXPECT_GT(reds.size(), 20u) << "noise, not a flat colour";
    EXPECT_EQ(Texels(Make("NoiseTexture", {{"Width", "16"}, {"Height", "16"}, {"NoiseA", "0"}, {"Offset", "5 0 0"}})),
              texels)
        << "a flat texture ignores x of the offset";
    EXPECT_NE(Texels(Make("NoiseTexture", {{"Width", "16"}, {"Height", "16"}, {"NoiseA", "0"}, {"Offset", "0 0.25 0"}})),
              texels);
}

TEST_F(ProceduralTextures, TuringPatternsStepAtMostThirtyTimesASecondAndStayNormalised)
{
    const auto grid = [](CNode* node) { return dynamic_cast<CTuringPatternNode*>(node)->Grid(); };
    CNode* node = Make("TuringPattern", {{"Width", "16"}, {"Height", "8"}});
    m_context.m_deltaTime = 0.01f;
    const auto first = Texels(node);
    ASSERT_EQ(first.size(), 128u);
    const std::vector<float> stepped = grid(node);
    EXPECT_EQ(*std::min_element(stepped.begin(), stepped.end()), 0.0f);
    EXPECT_EQ(*std::max_element(stepped.begin(), stepped.end()), 1.0f);
    for (const auto& texel : first)
        EXPECT_TRUE(texel[0] == texel[1] && texel[1] == texel[2] && texel[3] == 255);

    node->Update(0.0f, &m_context);
    EXPECT_EQ(grid(node), stepped) << "a hundredth of a second is no step";
    m_context.m_deltaTime = 5.0f;
    node->Update(0.0f, &m_context);
    const std::vector<float> afterLongFrame = grid(node);
    EXPECT_NE(afterLongFrame, stepped);
    m_context.m_deltaTime = 0.0f;
    node->Update(0.0f, &m_context);
    EXPECT_EQ(grid(node), afterLongFrame) << "a slow frame leaves no debt of steps";

    // Nobody seeds it: every pattern grows the same way.
    m_context.m_deltaTime = 0.01f;
    EXPECT_EQ(Texels(Make("TuringPattern", {{"Width", "16"}, {"Height", "8"}})), first);
}

TEST_F(ProceduralTextures, SoundTexturesAddARowForEachNewBlockWithTheNewestAtTheBottom)
{
    CMusicFixture music;
    m_context.m_deltaTime = 0.04f;
    // The raw spectrum is flat: 0.5 left, 0.25 right.
    CNode* spectrum = Make("SoundTexture", {{"History", "4"}});
    auto rows = Texels(spectrum);
    ASSERT_EQ(rows.size(), 4u * 256u);
    EXPECT_EQ(rows[3 * 256 + 7], (std::array<int, 4>{95, 127, 63, 0})) << "mono, left, right";
    EXPECT_EQ(rows[2 * 256 + 7], (std::array<int, 4>{0, 0, 0, 0}));

    rows = Texels(spectrum);
    EXPECT_EQ(rows[2 * 256 + 7], (std::array<int, 4>{0, 0, 0, 0})) << "no new block, no new row";
    music.m_analyzer.m_blocks = 2;
    m_context.m_deltaTime = 0.01f;
    EXPECT_EQ(Texels(spectrum)[2 * 256 + 7], (std::array<int, 4>{0, 0, 0, 0})) << "at most 30 rows a second";
    std::fill(std::begin(music.m_analyzer.m_rawSpectrum[0]), std::end(music.m_analyzer.m_rawSpectrum[0]), 1.0f);
    m_context.m_deltaTime = 0.04f;
    rows = Texels(spectrum);
    EXPECT_EQ(rows[2 * 256 + 7], (std::array<int, 4>{95, 127, 63, 0})) << "the older row moved up";
    EXPECT_EQ(rows[3 * 256 + 7], (std::array<int, 4>{159, 255, 63, 0}));

    // The waveform's middle is grey; at the middle of the row left is 0.5 and right -0.25.
    const auto wave = Texels(Make("SoundTexture", {{"History", "1"}, {"SoundType", "1"}}));
    ASSERT_EQ(wave.size(), 256u);
    EXPECT_NEAR(wave[128][0], 143, 1);
    EXPECT_NEAR(wave[128][1], 191, 1);
    EXPECT_NEAR(wave[128][2], 95, 1);
    EXPECT_EQ(wave[0][1], 127);

    music.SetMusic(false);
    music.m_analyzer.m_blocks = 3;
    EXPECT_EQ(Texels(spectrum), rows) << "without music the picture stands still";
}

TEST_F(ProceduralTextures, ExpressionTexturesEvaluateEveryTexelAndKeepTheirPictureOnABrokenText)
{
    CNode* node = Make("ExpressionTexture", {{"Width", "4"}, {"Height", "2"}, {"In1", "0.5"},
                                             {"Expression", "col.r = x; col.g = y; col.b = in1; col.a = 1;"}});
    const auto texels = Texels(node);
    ASSERT_EQ(texels.size(), 8u);
    EXPECT_EQ(texels[1], (std::array<int, 4>{63, 0, 127, 255}));
    EXPECT_EQ(texels[4], (std::array<int, 4>{0, 127, 127, 255}));
    EXPECT_EQ(dynamic_cast<CPDTexture*>(node)->m_dimension, 2);

    CLogCapture log;
    std::string component;
    CPort* expression = m_scene->FindInPort(node->m_name + ".Expression", &component);
    expression->SetValue("col.r = (x;");
    expression->m_changed = true;
    EXPECT_EQ(Texels(node), texels) << "a broken text keeps the last picture";
    EXPECT_FALSE(log.Messages().empty());

    // perm runs on from texel to texel; the default text writes no colour.
    const auto counted = Texels(Make("ExpressionTexture", {{"Width", "4"}, {"Expression", "perm = perm + 1; col.r = perm / 8;"}}));
    ASSERT_EQ(counted.size(), 4u);
    EXPECT_EQ(counted[3][0], 127);
    EXPECT_EQ(counted[0][0], 31);
    for (const auto& texel : Texels(Make("ExpressionTexture", {{"Width", "8"}})))
        EXPECT_EQ(texel, (std::array<int, 4>{0, 0, 0, 0}));
}

TEST_F(ProceduralTextures, FileTexturesReadPicturesAndFallBackToATransparentOneWithALogLine)
{
    CTempDir dir;
    // Two rows of blue, green, red bytes, the bottom row first.
    const uint8_t bgr[] = {255, 0, 0, 0, 255, 0, /* top: */ 0, 0, 255, 255, 255, 255};
    CBitmapFile picture;
    ASSERT_TRUE(picture.SetBgrBottomUp(bgr, 2, 2));
    ASSERT_TRUE(picture.Save(dir.File("tiny.png").c_str()));

    CNode* node = Make("FileTexture", {{"Filename", dir.File("tiny.png").c_str()}});
    const auto texels = Texels(node);
    ASSERT_EQ(texels.size(), 4u);
    EXPECT_EQ(texels[0], (std::array<int, 4>{255, 0, 0, 255})) << "top row first, as r, g, b, a";
    EXPECT_EQ(texels[1], (std::array<int, 4>{255, 255, 255, 255}));
    EXPECT_EQ(texels[2], (std::array<int, 4>{0, 0, 255, 255}));
    EXPECT_EQ(dynamic_cast<CPDTexture*>(node)->m_dimension, 2);

    std::filesystem::create_directory(dir.File("folder"));
    for (const std::string& name : {dir.File("missing.png"), dir.File("folder")}) {
        SCOPED_TRACE(name);
        CLogCapture log;
        const auto fallback = Texels(Make("FileTexture", {{"Filename", name.c_str()}}));
        EXPECT_TRUE(log.Contains("Unable to load image \"" + name + "\""));
        ASSERT_EQ(fallback.size(), size_t(CNTFile::MissingSide * CNTFile::MissingSide));
        EXPECT_EQ(fallback[33], (std::array<int, 4>{0, 0, 0, 0})) << "transparent";
    }

    // "sky-" names the six faces of a cube map; a missing face fails the device.
    for (const char* face : {"posx", "negx", "posy", "negy", "posz", "negz"})
        ASSERT_TRUE(picture.Save(dir.File(std::string("sky-") + face + ".jpg").c_str()));
    CNode* cube = Make("FileTexture", {{"Filename", dir.File("sky-").c_str()}});
    cube->Update(0.0f, &m_context);
    EXPECT_EQ(dynamic_cast<CPDTexture*>(cube)->m_dimension, -1);
    EXPECT_TRUE(cube->RestoreDevice(m_render.get()));
    std::filesystem::remove(dir.File("sky-negz.jpg"));
    CLogCapture log;
    EXPECT_FALSE(cube->RestoreDevice(m_render.get()));
    EXPECT_TRUE(log.Contains("sky-negz.jpg"));
}

} // namespace
