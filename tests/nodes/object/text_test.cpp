// TextWriter and Clock without a device: the clock's text in each format,
// the writer's release of characters, its line-end pause and restart, and
// the expression that shapes each character only while it is young.

#include "app/paths.h"
#include "nodes/object/clocknode.h"
#include "nodes/object/textwriternode.h"
#include "nodes/value/valuegraph.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

std::tm At(int hour, int minute, int second)
{
    std::tm time{};
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_sec = second;
    return time;
}

std::tm g_fakeTime = At(22, 31, 42);
std::tm FakeTime()
{
    return g_fakeTime;
}

class TextNodes : public ::testing::Test
{
protected:
    void SetUp() override { g_paths.m_appPath = LUMORA_DATA_DIR; }
    void TearDown() override { CClockNode::s_localTime = &CClockNode::SystemLocalTime; }

    CValueGraph m_graph;
};

// The centre of quad q's four corners.
std::pair<float, float> Centre(const SQuad& q)
{
    float x = 0, y = 0;
    for (const SVertexPNTBTC& v : q.v) {
        x += v.position[0] * 0.25f;
        y += v.position[1] * 0.25f;
    }
    return {x, y};
}

} // namespace

TEST_F(TextNodes, TheClockShowsTheTimeInEachFormat)
{
    struct Case
    {
        std::tm time;
        int format;
        const char* text;
    };
    const Case cases[] = {
        {At(22, 31, 42), 0, "22:31"},       {At(22, 31, 42), 1, "22:31:42"}, {At(22, 31, 42), 2, "10:31 PM"},
        {At(22, 31, 42), 3, "10:31:42 PM"}, {At(0, 5, 0), 2, "12:05 AM"},    {At(12, 5, 0), 2, "12:05 PM"},
        {At(11, 59, 9), 3, "11:59:09 AM"},  {At(13, 0, 0), 2, "01:00 PM"},   {At(7, 3, 4), 1, "07:03:04"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(CClockNode::Format(c.time, c.format), c.text) << c.format;

    // The node reads the clock it is given and centres the text on the origin.
    CClockNode::s_localTime = &FakeTime;
    auto* clock = static_cast<CClockNode*>(m_graph.Add("Clock"));
    for (const char* font : {"0", "1"}) {
        SCOPED_TRACE(font);
        CValueGraph::Set(clock, "Font", font);
        CValueGraph::Set(clock, "DigitalFormat", "1");
        m_graph.Frame(clock, 1.0f / 30);
        EXPECT_EQ(clock->GetText(), "22:31:42");
        CFont& text = clock->GetFont();
        ASSERT_EQ(text.GetQuadCount(), 8);
        float left = 1e9f, right = -1e9f, top = -1e9f, bottom = 1e9f;
        for (int q = 0; q < 8; ++q)
            for (const SVertexPNTBTC& v : text.GetQuads()[q].v) {
                left = std::min(left, v.position[0]);
                right = std::max(right, v.position[0]);
                top = std::max(top, v.position[1]);
                bottom = std::min(bottom, v.position[1]);
            }
        EXPECT_NEAR(left + right, 0.0f, 0.1f * (right - left));
        EXPECT_GT(top, 0.0f);
        EXPECT_LT(bottom, 0.0f);
        EXPECT_LT(top - bottom, 1.0f);
    }
    g_fakeTime = At(9, 5, 0);
    m_graph.Frame(clock, 1.0f / 30);
    EXPECT_EQ(clock->GetText(), "09:05:00");
}

TEST_F(TextNodes, TheWriterReleasesCharactersPausesAtLineEndsAndStartsOver)
{
    auto* writer = static_cast<CTextWriterNode*>(m_graph.Add("TextWriter"));
    CValueGraph::Set(writer, "TextLines", "ab\r\ncd");
    CValueGraph::Set(writer, "CharsPerSec", "20");
    CValueGraph::Set(writer, "ResetDelay", "-1");
    // Two characters a step of 0.1 s; the line end ends its step early.
    const int released[] = {2, 3, 5, 5, 5};
    const int drawn[] = {2, 2, 4, 4, 4};
    for (size_t frame = 0; frame < std::size(released); ++frame) {
        m_graph.Frame(writer, 0.1f);
        EXPECT_EQ(writer->GetReleased(), released[frame]) << frame;
        EXPECT_EQ(writer->GetFont().GetQuadCount(), drawn[frame]) << frame;
    }
    for (int i = 0; i < 30; ++i)
        m_graph.Frame(writer, 0.1f);
    EXPECT_EQ(writer->GetReleased(), 5) << "-1 keeps the finished text";

    CValueGraph::Set(writer, "ResetDelay", "0.5");
    for (int i = 0; i < 7; ++i)
        m_graph.Frame(writer, 0.1f);
    EXPECT_LT(writer->GetReleased(), 5) << "started over half a second after it was done";

    CValueGraph::Set(writer, "UseCharsPerSec", "false");
    CValueGraph::Set(writer, "ResetDelay", "-1");
    m_graph.Frame(writer, 0.1f);
    EXPECT_EQ(writer->GetReleased(), 5) << "all at once";
}

TEST_F(TextNodes, TheExpressionShapesACharacterUntilItsTimeIsUp)
{
    auto* writer = static_cast<CTextWriterNode*>(m_graph.Add("TextWriter"));
    CValueGraph::Set(writer, "TextLines", "Hi");
    CValueGraph::Set(writer, "UseCharsPerSec", "false");
    CValueGraph::Set(writer, "CharExpressionTime", "1");
    CValueGraph::Set(writer, "Expression",
                     "pos.y = pos.y + 2*(1-age) + linenr; width = width*2; col.a = age; "
                     "rot.z = equal(charnr, 1)*90*(1-age);");
    // Where the font itself puts the glyphs.
    CFont plain;
    ASSERT_EQ(plain.Load(std::string(LUMORA_DATA_DIR) + "/nodedata/fonts/font1.fnt", 10), 0);
    plain.WriteLines(0, 0, 0, "Hi", 2, CFont::Align_Centre);

    // Born at age 0: two units up, full colour but no alpha.
    m_graph.Frame(writer, 0.25f);
    CFont& text = writer->GetFont();
    ASSERT_EQ(text.GetQuadCount(), 2);
    for (int q = 0; q < 2; ++q) {
        SCOPED_TRACE(q);
        EXPECT_NEAR(Centre(text.GetQuads()[q]).first, Centre(plain.GetQuads()[q]).first, 1e-4f);
        EXPECT_NEAR(Centre(text.GetQuads()[q]).second, Centre(plain.GetQuads()[q]).second + 2.0f, 1e-4f);
        EXPECT_EQ(text.GetQuads()[q].v[0].color >> 24, 0u);
    }
    // The second glyph stands turned a quarter: its top edge runs upright.
    const SQuad& turned = text.GetQuads()[1];
    EXPECT_NEAR(turned.v[0].position[0], turned.v[1].position[0], 1e-4f);
    const SQuad& upright = text.GetQuads()[0];
    EXPECT_NEAR(upright.v[0].position[0] - upright.v[1].position[0],
                2.0f * (plain.GetQuads()[0].v[0].position[0] - plain.GetQuads()[0].v[1].position[0]), 1e-4f)
        << "twice as wide";

    // Past its time a character rests where the expression left it at age 1.
    for (int i = 0; i < 8; ++i)
        m_graph.Frame(writer, 0.25f);
    for (int q = 0; q < 2; ++q) {
        SCOPED_TRACE(q);
        EXPECT_NEAR(Centre(text.GetQuads()[q]).second, Centre(plain.GetQuads()[q]).second, 1e-4f);
        EXPECT_EQ(text.GetQuads()[q].v[0].color, 0xFFFFFFFFu);
    }
    EXPECT_TRUE(writer->GetCharacters()[0].fixed);
    // A fixed character is not evaluated again, whatever the script says now.
    CValueGraph::Set(writer, "Expression", "pos.y = 5;");
    m_graph.Frame(writer, 0.25f);
    EXPECT_NEAR(Centre(text.GetQuads()[0]).second, Centre(plain.GetQuads()[0]).second, 1e-4f);
}
