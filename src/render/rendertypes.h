#pragma once

#include <array>
#include <cstdint>

// Numbers shared by the render interface and everything that draws through it.
// They are plain constants, not enum classes, because nodes store them in
// integer ports and effect files name them.

// Primitive kinds of DrawPrimitive and DrawIndexedPrimitive.
enum
{
    PT_Points = 1,
    PT_Lines = 2,
    PT_LineStrip = 3,
    PT_Triangles = 4,
    PT_TriangleStrip = 5,
    PT_PointSprites = 6,
};

// Transform kinds of SetTransform and GetTransform.
enum
{
    TS_World = 0,
    TS_View = 1,
    TS_Projection = 2,
};

// Clear flags.
enum
{
    CF_Color = 1,
    CF_Depth = 2,
};

// Buffer flags: with the dynamic bit the buffer is rewritten every frame.
enum
{
    VBF_DYNAMIC = 1,
    IBF_DYNAMIC = 1,
};

// Vertex formats.
enum
{
    VBF_PNTC = 1,
    VBF_PC = 2,
    VBF_PNTBTC = 3,
    VBF_PCS = 4,
};

// Texture formats.
enum
{
    TF_A8R8G8B8 = 1,
    TF_R8G8 = 2,
    TF_R8 = 3,
    TF_A32R32G32B32F = 4,
    TF_A16R16G16B16F = 5,
    TF_R11G11B10F = 6,
    TF_D24 = 7,
    TF_D24S8 = 0x1000,
};

// The name of a TF_* format in log lines, "Unknown" for any other value.
const char* TextureFormatName(int format);

// Texture types.
enum
{
    TT_Normal = 1,
    TT_RenderTarget = 2,
    TT_Dynamic = 3,
};

// Render state flags.
enum
{
    RS_DepthTest = 2,
    RS_DepthWrite = 4,
    RS_AlphaTest = 0x40,
};

// Left, top, right, bottom in pixels.
struct SRect
{
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;

    int32_t Width() const { return right - left; }
    int32_t Height() const { return bottom - top; }
    bool operator==(const SRect&) const = default;
};

// One attribute of a vertex format. Generic attribute numbers are those the
// effects' vertex programs bind.
struct SVertexAttribute
{
    int index;      // generic attribute number
    int offset;     // bytes from the vertex start
    int components; // floats, or 4 normalised bytes when isColor
    bool isColor;
};

struct SVertexFormat
{
    int stride = 0;
    int attributeCount = 0;
    std::array<SVertexAttribute, 6> attributes{};
};

// One vertex of VBF_PNTBTC as it lies in memory.
struct SVertexPNTBTC
{
    float position[3];
    uint32_t color;
    float uv[2];
    float normal[3];
    float tangent[3];
    float binormal[3];
    uint32_t padding;
};
static_assert(sizeof(SVertexPNTBTC) == 64);

// One vertex of VBF_PNTC as it lies in memory.
struct SVertexPNTC
{
    float position[3];
    float normal[3];
    float uv[2];
    uint32_t color;
};
static_assert(sizeof(SVertexPNTC) == 36);

// Layout of a VBF_* format; a format that is not known has stride 0.
const SVertexFormat& GetVertexFormat(int format);

// Every generic attribute some format uses, so a draw can switch off the rest.
inline constexpr std::array<int, 7> AllVertexAttributes = {0, 2, 3, 6, 8, 14, 15};

// The number of vertices or indices a draw of `primitives` primitives sends,
// 0 for an unknown kind.
int PrimitiveVertexCount(int kind, int primitives);

// Index buffers of up to this many indices hold 16-bit indices, bigger ones
// 32-bit indices.
inline constexpr int MaxShortIndexCount = 65534;
inline int IndexWidth(int count)
{
    return count <= MaxShortIndexCount ? 2 : 4;
}

// A colour packed as the vertex formats hold it: red in the low byte, alpha
// in the high byte, each channel clamped to 0..1 and truncated.
uint32_t PackColor(float r, float g, float b, float a);
