#pragma once

#include <cstdint>
#include <span>

// One vertex of an editable mesh. Plain data so that meshes copy by
// assignment; `temp` is scratch space of the mesh algorithms (hash chains,
// new indices) and means nothing between two operations.
struct CMeshVertexA
{
    float position[3] = {0, 0, 0};
    float normal[3] = {0, 0, 1};
    float tangent[3] = {0, 1, 0};
    float tangentSign = 1.0f;
    float uv[2] = {0, 0};
    float uv2[2] = {0, 0};
    uint32_t color = 0xFFFFFFFFu;
    uint16_t group = 0xFFFF;
    float select = 0.0f;
    int32_t temp = 0;

    // The accumulator of weighted sums: everything 0 but the group.
    static CMeshVertexA Zero();
    // Adds `w` times `other`; tangent, group, select and temp stay.
    void Accumulate(const CMeshVertexA& other, float w);
};

// Equality over everything a vertex shows; select and temp do not count.
bool operator==(const CMeshVertexA& a, const CMeshVertexA& b);

// One polygon: 3 or 4 corners, 0 for a face about to be removed.
struct CMeshFace
{
    int32_t cluster = 0;
    int32_t count = 3;
    float select = 0.0f;
    int32_t vertices[4] = {0, 0, 0, 0};
};

// Reverses the winding of a triangle or quad.
void FlipFace(CMeshFace& face);

// A set of faces drawn with one vertex and one index buffer.
struct CMeshCluster
{
    int32_t scratch = 0;
    int32_t firstIndex = 0;
    int32_t indexCount = 0;
    int32_t reserved = 0;
};

// Hashes over raw float bits (so 0.0 and -0.0 hash apart, while the
// comparisons are by value).
uint32_t HashWords(std::span<const float> words);
uint32_t PositionHash(const CMeshVertexA& v);
uint32_t SurfaceHash(const CMeshVertexA& v);
uint32_t VertexHash(const CMeshVertexA& v);
