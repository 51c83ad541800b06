#include "distancefield.h"
#include "fontmaker.h"

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

struct SPlaced
{
    uint32_t id;
    QImage field; // final size, grey
    float xOffset, yOffset, advance;
    int x = 0, y = 0;
};

// The glyph's distance field at the final size: drawn large, measured
// exactly there, then read at the centres of the final pixels.
SPlaced MakeField(const SGlyphShape& glyph, float ascent, int scale, int spread)
{
    if (glyph.m_outline.isEmpty()) {
        // A blank: nothing to draw, only its advance.
        SPlaced blank{glyph.m_id, QImage(1, 1, QImage::Format_Grayscale8), 0.0f, 0.0f, glyph.m_advance / float(scale)};
        blank.field.fill(0);
        return blank;
    }
    const QRectF bounds = glyph.m_outline.boundingRect();
    const int margin = spread * scale;
    const int left = int(std::floor(bounds.left())) - margin;
    const int top = int(std::floor(bounds.top())) - margin;
    // Whole final pixels, so that the large picture maps onto them exactly.
    const int width = (int(std::ceil(bounds.right())) + margin - left + scale - 1) / scale;
    const int height = (int(std::ceil(bounds.bottom())) + margin - top + scale - 1) / scale;

    QImage mask(std::max(width, 1) * scale, std::max(height, 1) * scale, QImage::Format_Grayscale8);
    mask.fill(0);
    {
        QPainter painter(&mask);
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.translate(-left, -top);
        painter.fillPath(glyph.m_outline, Qt::white);
    }
    const std::vector<float> distance = SignedDistance(mask);

    SPlaced placed{glyph.m_id, QImage(std::max(width, 1), std::max(height, 1), QImage::Format_Grayscale8),
                   float(left) / float(scale), ascent + float(top) / float(scale), glyph.m_advance / float(scale)};
    for (int y = 0; y < placed.field.height(); ++y) {
        uchar* row = placed.field.scanLine(y);
        for (int x = 0; x < placed.field.width(); ++x) {
            // The four large pixels around the centre of the small one.
            const int cx = x * scale + scale / 2, cy = y * scale + scale / 2;
            float sum = 0.0f;
            for (int dy = -1; dy <= 0; ++dy)
                for (int dx = -1; dx <= 0; ++dx)
                    sum += distance[size_t((cy + dy) * mask.width() + cx + dx)];
            const float d = sum / 4.0f / float(scale);
            const float value = std::clamp(0.5f + d / float(2 * spread), 0.0f, 1.0f);
            row[x] = uchar(std::lround(value * 255.0f));
        }
    }
    return placed;
}

// Shelf packing, tallest first, on a page `width` wide; answers the height
// used.
int Pack(std::vector<SPlaced>& glyphs, int width)
{
    std::vector<SPlaced*> order;
    for (SPlaced& glyph : glyphs)
        order.push_back(&glyph);
    std::stable_sort(order.begin(), order.end(),
                     [](const SPlaced* a, const SPlaced* b) { return a->field.height() > b->field.height(); });
    int x = 0, y = 0, shelf = 0;
    for (SPlaced* glyph : order) {
        const int w = glyph->field.width() + 1, h = glyph->field.height() + 1;
        if (x + w > width) {
            x = 0;
            y += shelf;
            shelf = 0;
        }
        glyph->x = x;
        glyph->y = y;
        x += w;
        shelf = std::max(shelf, h);
    }
    return y + shelf;
}

void Put(QByteArray& out, const void* data, size_t size)
{
    out.append(static_cast<const char*>(data), qsizetype(size));
}

template <class T>
void Put(QByteArray& out, T value)
{
    // The engine reads little-endian numbers, as this machine writes them.
    static_assert(std::endian::native == std::endian::little);
    Put(out, &value, sizeof value);
}

void Block(QByteArray& out, uint8_t type, const QByteArray& payload)
{
    Put(out, type);
    Put(out, uint32_t(payload.size()));
    out.append(payload);
}

} // namespace

bool WriteFont(const SFontShapes& shapes, int scale, int spread, const QString& base)
{
    std::vector<SPlaced> glyphs;
    for (const SGlyphShape& glyph : shapes.m_glyphs)
        glyphs.push_back(MakeField(glyph, shapes.m_ascent / float(scale), scale, spread));
    int pageWidth = 256;
    int pageHeight = 0;
    // The smallest power-of-two square-ish page the glyphs fit on.
    for (;; pageWidth *= 2) {
        pageHeight = 1;
        const int used = Pack(glyphs, pageWidth);
        while (pageHeight < used)
            pageHeight *= 2;
        if (pageHeight <= pageWidth)
            break;
    }
    QImage page(pageWidth, pageHeight, QImage::Format_Grayscale8);
    page.fill(0);
    {
        QPainter painter(&page);
        for (const SPlaced& glyph : glyphs)
            painter.drawImage(glyph.x, glyph.y, glyph.field);
    }
    if (!page.save(base + ".png")) {
        std::fprintf(stderr, "lumora-fonts: cannot write %s.png\n", qPrintable(base));
        return false;
    }

    QByteArray file("BMF\x03", 4);
    Block(file, 1, QByteArray("Lumora font", 11));
    QByteArray common;
    Put(common, int16_t(std::lround(shapes.m_lineHeight / float(scale))));
    Put(common, int16_t(std::lround(shapes.m_ascent / float(scale))));
    Put(common, int16_t(pageWidth));
    Put(common, int16_t(pageHeight));
    Put(common, int16_t(1));
    Put(common, uint8_t(0));
    Block(file, 2, common);
    QByteArray pageName = QFileInfo(base).fileName().toUtf8() + ".png";
    pageName.append('\0');
    Block(file, 3, pageName);
    QByteArray characters;
    for (const SPlaced& glyph : glyphs) {
        Put(characters, glyph.id);
        for (float value : {float(glyph.x), float(glyph.y), float(glyph.field.width()), float(glyph.field.height()),
                            glyph.xOffset, glyph.yOffset, glyph.advance})
            Put(characters, value);
        Put(characters, uint8_t(0));
        Put(characters, uint8_t(15));
    }
    Block(file, 4, characters);
    QByteArray kerning;
    for (const auto& [pair, amount] : shapes.m_kerning) {
        Put(kerning, uint32_t(pair >> 8));
        Put(kerning, int32_t(pair & 0xff));
        Put(kerning, amount / float(scale));
    }
    if (!kerning.isEmpty())
        Block(file, 5, kerning);

    QFile out(base + ".fnt");
    if (!out.open(QIODevice::WriteOnly) || out.write(file) != file.size()) {
        std::fprintf(stderr, "lumora-fonts: cannot write %s.fnt\n", qPrintable(base));
        return false;
    }
    return true;
}
