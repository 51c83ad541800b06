#include "mesh/meshvertex.h"

#include <algorithm>
#include <bit>
#include <utility>

CMeshVertexA CMeshVertexA::Zero()
{
    CMeshVertexA v;
    v.normal[2] = 0;
    v.tangent[1] = 0;
    v.tangentSign = 0;
    v.color = 0;
    return v;
}

void CMeshVertexA::Accumulate(const CMeshVertexA& other, float w)
{
    for (int i = 0; i < 3; ++i) {
        position[i] += w * other.position[i];
        normal[i] += w * other.normal[i];
    }
    tangentSign += w * other.tangentSign;
    for (int i = 0; i < 2; ++i) {
        uv[i] += w * other.uv[i];
        uv2[i] += w * other.uv2[i];
    }
    // Colour channels scale in 16.16 fixed point and saturate per byte.
    const uint32_t k = uint32_t(int32_t(w * 65536.0f));
    uint32_t sum = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        const uint32_t c = (other.color >> shift) & 0xFF;
        const uint32_t scaled = uint32_t((uint64_t(c) * k) >> 16);
        const uint32_t mine = (color >> shift) & 0xFF;
        sum |= std::min<uint32_t>(255u, mine + scaled) << shift;
    }
    color = sum;
}

bool operator==(const CMeshVertexA& a, const CMeshVertexA& b)
{
    return std::equal(a.position, a.position + 3, b.position) && std::equal(a.uv, a.uv + 2, b.uv) &&
           a.color == b.color && std::equal(a.normal, a.normal + 3, b.normal) &&
           std::equal(a.tangent, a.tangent + 3, b.tangent) && a.tangentSign == b.tangentSign &&
           std::equal(a.uv2, a.uv2 + 2, b.uv2) && a.group == b.group;
}

void FlipFace(CMeshFace& face)
{
    if (face.count == 3) {
        std::swap(face.vertices[0], face.vertices[2]);
    } else {
        std::swap(face.vertices[0], face.vertices[3]);
        std::swap(face.vertices[1], face.vertices[2]);
    }
}

namespace {

constexpr uint32_t HashM = 0x5BD1E995u;
constexpr uint32_t HashSeed = 0x286A90B9u;

// A MurmurHash2-style mix of one word.
uint32_t Mix(uint32_t w)
{
    const uint32_t k = w * HashM;
    return (k ^ (k >> 24)) * HashM;
}

} // namespace

uint32_t HashWords(std::span<const float> words)
{
    uint32_t h = HashSeed;
    for (size_t i = 0; i < words.size(); ++i) {
        const uint32_t k = Mix(std::bit_cast<uint32_t>(words[i]));
        h = i + 1 < words.size() ? (h ^ k) * HashM : h ^ k;
    }
    return h;
}

uint32_t PositionHash(const CMeshVertexA& v)
{
    return HashWords(v.position);
}

uint32_t SurfaceHash(const CMeshVertexA& v)
{
    const float words[6] = {v.position[0], v.position[1], v.position[2], v.normal[0], v.normal[1], v.normal[2]};
    return HashWords(words);
}

uint32_t VertexHash(const CMeshVertexA& v)
{
    const float words[5] = {v.position[0], v.position[1], v.position[2], v.normal[0], v.normal[1]};
    return HashWords(words) ^ std::bit_cast<uint32_t>(v.uv[0]) ^ std::bit_cast<uint32_t>(v.uv[1]);
}
