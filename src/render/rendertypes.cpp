#include "render/rendertypes.h"

#include <algorithm>

namespace {

constexpr SVertexFormat MakePNTC()
{
    SVertexFormat f;
    f.stride = 36;
    f.attributeCount = 4;
    f.attributes = {{{0, 0, 3, false}, {2, 12, 3, false}, {8, 24, 2, false}, {3, 32, 4, true}}};
    return f;
}

constexpr SVertexFormat MakePC()
{
    SVertexFormat f;
    f.stride = 16;
    f.attributeCount = 2;
    f.attributes = {{{0, 0, 3, false}, {3, 12, 4, true}}};
    return f;
}

// The memory order differs from the order of the name; the last 4 bytes pad.
constexpr SVertexFormat MakePNTBTC()
{
    SVertexFormat f;
    f.stride = 64;
    f.attributeCount = 6;
    f.attributes = {{{0, 0, 3, false},
                     {3, 12, 4, true},
                     {8, 16, 2, false},
                     {2, 24, 3, false},
                     {14, 36, 3, false},
                     {15, 48, 3, false}}};
    return f;
}

constexpr SVertexFormat MakePCS()
{
    SVertexFormat f;
    f.stride = 20;
    f.attributeCount = 3;
    f.attributes = {{{0, 0, 3, false}, {3, 12, 4, true}, {6, 16, 1, false}}};
    return f;
}

constexpr SVertexFormat s_formats[] = {SVertexFormat{}, MakePNTC(), MakePC(), MakePNTBTC(), MakePCS()};

uint32_t ColorByte(float v)
{
    return static_cast<uint32_t>(std::clamp(v, 0.0f, 1.0f) * 255.0f);
}

} // namespace

const SVertexFormat& GetVertexFormat(int format)
{
    if (format < VBF_PNTC || format > VBF_PCS)
        return s_formats[0];
    return s_formats[format];
}

int PrimitiveVertexCount(int kind, int primitives)
{
    switch (kind) {
    case PT_Points:
    case PT_PointSprites:
        return primitives;
    case PT_Lines:
        return primitives * 2;
    case PT_LineStrip:
        return primitives + 1;
    case PT_Triangles:
        return primitives * 3;
    case PT_TriangleStrip:
        return primitives + 2;
    default:
        return 0;
    }
}

uint32_t PackColor(float r, float g, float b, float a)
{
    return ColorByte(r) | (ColorByte(g) << 8) | (ColorByte(b) << 16) | (ColorByte(a) << 24);
}

const char* TextureFormatName(int format)
{
    switch (format) {
    case TF_A8R8G8B8:
        return "A8R8G8B8";
    case TF_R8G8:
        return "R8G8";
    case TF_R8:
        return "R8";
    case TF_A32R32G32B32F:
        return "A32R32G32B32F";
    case TF_A16R16G16B16F:
        return "A16R16G16B16F";
    case TF_R11G11B10F:
        return "R11G11B10F";
    case TF_D24:
        return "D24";
    case TF_D24S8:
        return "D24S8";
    default:
        return "Unknown";
    }
}
