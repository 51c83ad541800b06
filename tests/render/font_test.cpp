#include "render/font.h"
#include "support/logcapture.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QFile>

#include <cstring>
#include <string>

namespace {

// A small font file: line height 10, base 8, page 100 x 50; glyphs 'a'
// (advance 6) and 'b' (advance 4) and the default glyph (advance 5);
// kerning a->b of -2. `tail` is appended behind the blocks.
std::string WriteSmallFont(CTempDir& dir, const QByteArray& tail = {})
{
    QByteArray file("BMF\x03", 4);
    const auto put = [](QByteArray& out, auto value) { out.append(reinterpret_cast<const char*>(&value), sizeof value); };
    const auto block = [&](uint8_t type, const QByteArray& payload) {
        put(file, type);
        put(file, uint32_t(payload.size()));
        file.append(payload);
    };
    QByteArray common;
    for (int16_t v : {int16_t(10), int16_t(8), int16_t(100), int16_t(50), int16_t(1)})
        put(common, v);
    put(common, uint8_t(0));
    block(2, common);
    QByteArray characters;
    const auto character = [&](uint32_t id, float x, float advance) {
        put(characters, id);
        for (float v : {x, 10.0f, 5.0f, 7.0f, 1.0f, 2.0f, advance})
            put(characters, v);
        put(characters, uint16_t(0));
    };
    character('a', 0, 6);
    character('b', 20, 4);
    character(0xffffffffu, 40, 5);
    block(4, characters);
    QByteArray kerning;
    put(kerning, uint32_t('a'));
    put(kerning, int32_t('b'));
    put(kerning, -2.0f);
    block(5, kerning);
    file.append(tail);
    const std::string path = dir.File("small.fnt");
    QFile out(QString::fromStdString(path));
    EXPECT_TRUE(out.open(QIODevice::WriteOnly));
    out.write(file);
    return path;
}

TEST(Font, GlyphsKerningAndWidthsFollowTheFile)
{
    CTempDir dir;
    CFont font;
    ASSERT_EQ(font.Load(WriteSmallFont(dir), 16), 0);
    EXPECT_FLOAT_EQ(font.GetScale(), 0.1f);
    EXPECT_FLOAT_EQ(font.GetKerning('a', 'b'), -0.2f);
    EXPECT_FLOAT_EQ(font.GetKerning('b', 'a'), 0.0f);
    EXPECT_FLOAT_EQ(font.GetKerning('z', 'b'), 0.0f) << "no glyph, no kerning";
    // 0.6 + kerning -0.2 + 0.4, and 'z' takes the default glyph's 0.5.
    EXPECT_FLOAT_EQ(font.GetTextWidth("ab", -1), 0.8f);
    EXPECT_FLOAT_EQ(font.GetTextWidth("ba", 0), 1.0f);
    EXPECT_FLOAT_EQ(font.GetTextWidth("z", -1), 0.5f);

    // One quad a glyph, its corners from the offsets and the base, y upwards.
    font.Write(1.0f, 2.0f, 0.5f, "ab", 2, 0.0f);
    ASSERT_EQ(font.GetQuadCount(), 2);
    const SQuad& a = font.GetQuads()[0];
    EXPECT_FLOAT_EQ(a.v[1].position[0], 1.1f);
    EXPECT_FLOAT_EQ(a.v[1].position[1], 2.0f + 0.8f - 0.2f);
    EXPECT_FLOAT_EQ(a.v[0].position[0], 1.1f + 0.5f);
    EXPECT_FLOAT_EQ(a.v[3].position[1], 2.6f - 0.7f);
    EXPECT_FLOAT_EQ(a.v[1].uv[1], 0.2f);
    EXPECT_FLOAT_EQ(a.v[0].uv[0], 0.05f);
    EXPECT_FLOAT_EQ(font.GetQuads()[1].v[1].position[0], 1.0f + 0.6f - 0.2f + 0.1f) << "advance and kerning";

    // Empty lines vanish; each line goes one line height down.
    font.ClearText();
    font.WriteLines(0, 0, 0, "a\n\nb", -1, CFont::Align_Left);
    ASSERT_EQ(font.GetQuadCount(), 2);
    EXPECT_FLOAT_EQ(font.GetQuads()[1].v[1].position[1] - font.GetQuads()[0].v[1].position[1], -1.0f);

    // Justified: the wrapped line is stretched to the box, the last one not.
    font.ClearText();
    // "ab ab" is 2.1 wide (a blank takes the default glyph's 0.5).
    font.WriteBox(0, 0, 0, 2.2f, "ab ab ab", -1, CFont::Align_Justify);
    ASSERT_EQ(font.GetQuadCount(), 7);
    EXPECT_NEAR(font.GetQuads()[3].v[1].position[0], 0.8f + 0.5f + 0.1f + 0.1f, 1e-5f) << "the blank takes the rest";
    EXPECT_FLOAT_EQ(font.GetQuads()[5].v[1].position[0], 0.1f) << "the last line starts at the left";
    EXPECT_NEAR(font.GetQuads()[5].v[1].position[1] - font.GetQuads()[0].v[1].position[1], -1.0f, 1e-6f);
    font.ClearText();
    font.WriteBox(0, 0, 0, 0.3f, "ab", -1, CFont::Align_Left);
    EXPECT_EQ(font.GetQuadCount(), 2) << "a word wider than the box still shows";

    // The capacity holds; the same file again only sets the capacity.
    font.ClearText();
    ASSERT_EQ(font.Load(dir.File("small.fnt"), 3), 0);
    font.Write(0, 0, 0, "abababab", 8, 0.0f);
    EXPECT_EQ(font.GetQuadCount(), 3);
}

TEST(Font, BrokenFilesKeepWhatWasReadAndSayWhy)
{
    CTempDir dir;
    CLogCapture log;
    CFont missing;
    EXPECT_EQ(missing.Load(dir.File("none.fnt"), 4), 0);
    EXPECT_TRUE(log.Contains("Unable to load font"));
    missing.Write(0, 0, 0, "a", 1, 0.0f);
    EXPECT_FLOAT_EQ(missing.GetTextWidth("aaa", -1), 0.0f) << "without glyphs the pen stays";

    QFile bad(QString::fromStdString(dir.File("bad.fnt")));
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.write("BMF\x02 and more");
    bad.close();
    CFont wrongMagic;
    EXPECT_EQ(wrongMagic.Load(dir.File("bad.fnt"), 4), -1);
    EXPECT_TRUE(log.Contains("bad.fnt"));

    CFont unknownBlock;
    EXPECT_EQ(unknownBlock.Load(WriteSmallFont(dir, QByteArray("\x09\x00\x00\x00\x00", 5)), 4), -1);
    EXPECT_TRUE(log.Contains("Unexpected block type (9)"));
    EXPECT_NE(unknownBlock.GetGlyph('a'), nullptr) << "what came before stays";

    CFont truncated;
    EXPECT_EQ(truncated.Load(WriteSmallFont(dir, QByteArray("\x04\xff\xff\x00\x00\x61", 6)), 4), 0);
    EXPECT_NE(truncated.GetGlyph('b'), nullptr);
}

TEST(Font, TheShippedFontsHoldTheirGlyphs)
{
    CFont text;
    ASSERT_EQ(text.Load(std::string(LUMORA_SOURCE_DATA_DIR) + "/nodedata/fonts/font1.fnt", 64), 0);
    for (int code = 32; code < 127; ++code)
        EXPECT_NE(text.GetGlyph(code), nullptr) << char(code);
    EXPECT_NE(text.GetGlyph(0xe9), nullptr) << "Latin-1 letters";
    EXPECT_LT(text.GetKerning('A', 'V'), 0.0f);
    EXPECT_GT(text.GetTextWidth("WWW", -1), text.GetTextWidth("iii", -1));
    EXPECT_NEAR(text.GetTextWidth("\x01", 1), text.GetTextWidth("?", 1), 1e-6f) << "the default glyph";

    CFont led;
    ASSERT_EQ(led.Load(std::string(LUMORA_SOURCE_DATA_DIR) + "/nodedata/fonts/fontledbig.fnt", 16), 0);
    for (const char* c = "0123456789:.- "; *c; ++c)
        EXPECT_NE(led.GetGlyph(*c), nullptr) << *c;
    EXPECT_FLOAT_EQ(led.GetTextWidth("18", -1), led.GetTextWidth("00", -1)) << "digits of one width";
}

} // namespace
