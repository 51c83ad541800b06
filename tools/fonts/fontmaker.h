#pragma once

#include <QPainterPath>
#include <QString>

#include <cstdint>
#include <map>
#include <vector>

// One glyph to put on the page: its outline in pixels of the large drawing
// size, with the pen on the baseline at (0, 0) and y growing downwards.
struct SGlyphShape
{
    uint32_t m_id = 0; // a code below 256, or 0xffffffff for the default glyph
    QPainterPath m_outline;
    float m_advance = 0.0f;
};

// A whole font in drawing pixels, before it is made small.
struct SFontShapes
{
    float m_ascent = 0.0f;  // baseline below the top of a line
    float m_lineHeight = 0.0f;
    std::vector<SGlyphShape> m_glyphs;
    // Pen adjustment between two codes, keyed by (first << 8) | second.
    std::map<uint32_t, float> m_kerning;
};

// Draws every glyph at `scale` times the size it will have, turns it into a
// distance field of `spread` pixels either side of the outline at the final
// size, packs the glyphs on one page and writes "<base>.png" (the field in
// grey, 0.5 on the outline) and "<base>.fnt" (the block file the engine
// reads). False with a message on stderr when a file cannot be written.
bool WriteFont(const SFontShapes& shapes, int scale, int spread, const QString& base);
