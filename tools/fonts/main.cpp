// lumora-fonts: makes the bitmap fonts that ship in data/nodedata/fonts from
// fonts installed on this machine, so that every font file of Lumora comes
// from a free font through a program of its own:
//     lumora-fonts <data directory>
// writes font1 (DejaVu Sans, for text) and fontledbig (seven-segment digits
// drawn here, for clocks), each a ".fnt" block file with its ".png" page.

#include "fontmaker.h"

#include <QDir>
#include <QGuiApplication>
#include <QRawFont>

#include <cstdio>

namespace {

// Everything is drawn this many times larger than it is stored, so that the
// distance field is measured on a fine grid.
constexpr int Scale = 8;
// Distance field: pixels either side of the outline at the stored size.
constexpr int Spread = 6;
// Line height of the stored font, in pixels of its page.
constexpr int LineHeight = 56;

// The Latin-1 codes that have a glyph: the text the nodes write is one
// byte a character.
bool Printable(int code)
{
    return (code >= 32 && code < 127) || code >= 160;
}

bool MakeTextFont(const QString& fontFile, const QString& base)
{
    QRawFont font(fontFile, 1.0);
    if (!font.isValid()) {
        std::fprintf(stderr, "lumora-fonts: cannot read %s (package fonts-dejavu-core)\n", qPrintable(fontFile));
        return false;
    }
    // Pixel size that gives the wanted line height at the drawing scale.
    const double lineUnits = font.ascent() + font.descent() + font.leading();
    font.setPixelSize(double(LineHeight * Scale) / lineUnits);

    SFontShapes shapes;
    shapes.m_ascent = float(font.ascent());
    shapes.m_lineHeight = float(LineHeight * Scale);
    std::vector<quint32> indexes(256, 0);
    for (int code = 0; code < 256; ++code) {
        if (!Printable(code))
            continue;
        const QList<quint32> glyph = font.glyphIndexesForString(QString(QChar(code)));
        if (glyph.isEmpty() || glyph[0] == 0)
            continue;
        indexes[size_t(code)] = glyph[0];
        const QList<QPointF> advance = font.advancesForGlyphIndexes(glyph);
        shapes.m_glyphs.push_back({uint32_t(code), font.pathForGlyph(glyph[0]), float(advance[0].x())});
    }
    // A character the font lacks shows as a question mark.
    if (indexes['?']) {
        SGlyphShape fallback = shapes.m_glyphs['?' - 32];
        fallback.m_id = 0xffffffffu;
        shapes.m_glyphs.push_back(fallback);
    }
    // Kerning: how much the pair's kerned advance differs from the plain one.
    for (int first = 0; first < 256; ++first) {
        if (!indexes[size_t(first)])
            continue;
        for (int second = 0; second < 256; ++second) {
            if (!indexes[size_t(second)])
                continue;
            const QList<quint32> pair{indexes[size_t(first)], indexes[size_t(second)]};
            const QList<QPointF> plain = font.advancesForGlyphIndexes(pair);
            const QList<QPointF> kerned = font.advancesForGlyphIndexes(pair, QRawFont::KernedAdvances);
            const float amount = float(kerned[0].x() - plain[0].x());
            if (std::abs(amount) >= 0.25f * Scale)
                shapes.m_kerning[uint32_t(first) << 8 | uint32_t(second)] = amount;
        }
    }
    return WriteFont(shapes, Scale, Spread, base);
}

// One segment of a seven-segment digit: a slanted bar with pointed ends
// from `a` to `b`, `width` thick.
QPainterPath Segment(QPointF a, QPointF b, double width)
{
    const QPointF along = (b - a) / std::hypot(b.x() - a.x(), b.y() - a.y());
    const QPointF across(-along.y(), along.x());
    const double half = width / 2.0;
    QPainterPath path;
    path.moveTo(a);
    path.lineTo(a + along * half + across * half);
    path.lineTo(b - along * half + across * half);
    path.lineTo(b);
    path.lineTo(b - along * half - across * half);
    path.lineTo(a + along * half - across * half);
    path.closeSubpath();
    return path;
}

bool MakeLedFont(const QString& base)
{
    const double s = Scale;
    const double height = LineHeight * s * 0.8, width = height * 0.52, bar = height * 0.11, gap = bar * 0.25;
    const double slant = 0.12; // x shift per unit of height, upwards
    // Corners of the digit, the pen on the baseline.
    const auto point = [&](double x, double y) { return QPointF(x + slant * -y, y); };
    const QPointF tl = point(0, -height), tr = point(width, -height), ml = point(0, -height / 2),
                  mr = point(width, -height / 2), bl = point(0, 0), br = point(width, 0);
    const auto shrink = [&](QPointF from, QPointF to) {
        const QPointF d = (to - from) / std::hypot(to.x() - from.x(), to.y() - from.y());
        return std::pair{from + d * gap, to - d * gap};
    };
    const auto segment = [&](QPointF a, QPointF b) {
        auto [p, q] = shrink(a, b);
        return Segment(p, q, bar);
    };
    // Segments a to g: top, top right, bottom right, bottom, bottom left,
    // top left, middle.
    const QPainterPath segments[7] = {segment(tl, tr), segment(tr, mr), segment(mr, br), segment(bl, br),
                                      segment(ml, bl), segment(tl, ml), segment(ml, mr)};
    static const char* const digits[10] = {"abcdef", "bc", "abdeg", "abcdg", "bcfg",
                                           "acdfg", "acdefg", "abc", "abcdefg", "abcdfg"};
    SFontShapes shapes;
    shapes.m_ascent = float(LineHeight * s * 0.9);
    shapes.m_lineHeight = float(LineHeight * s);
    const float advance = float(width + height * 0.3);
    const auto add = [&](uint32_t id, const QPainterPath& outline, float step) {
        QPainterPath placed = outline.translated(height * 0.08, 0);
        shapes.m_glyphs.push_back({id, placed, step});
    };
    for (int d = 0; d < 10; ++d) {
        QPainterPath digit;
        for (const char* on = digits[d]; *on; ++on)
            digit.addPath(segments[*on - 'a']);
        add(uint32_t('0' + d), digit.simplified(), advance);
    }
    const auto dot = [&](double y) {
        QPainterPath path;
        path.addRect(QRectF(point(0, y).x() - bar / 2, y - bar / 2, bar, bar));
        return path;
    };
    QPainterPath colon = dot(-height * 0.3);
    colon.addPath(dot(-height * 0.7));
    add(':', colon.translated(bar, 0), float(bar * 3));
    add('.', dot(-bar / 2).translated(bar, 0), float(bar * 3));
    add('-', segments[6], advance);
    add(' ', QPainterPath(), advance);
    // A character without a segment form shows all segments off: a blank.
    add(0xffffffffu, QPainterPath(), advance);
    return WriteFont(shapes, Scale, Spread, base);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: lumora-fonts <data directory>\n");
        return 2;
    }
    const QString dir = QString::fromLocal8Bit(argv[1]) + "/nodedata/fonts";
    QDir().mkpath(dir);
    const bool made = MakeTextFont("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf", dir + "/font1") &&
                      MakeLedFont(dir + "/fontledbig");
    return made ? 0 : 1;
}
