#include "distancefield.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr float Far = 1e20f;

// The squared distance transform of one row or column: out[q] is the least
// (q - p)^2 + in[p] over all p (Felzenszwalb and Huttenlocher).
void Transform1D(const std::vector<float>& in, std::vector<float>& out, std::vector<int>& v, std::vector<float>& z)
{
    const int n = int(in.size());
    const auto meet = [&](int q, int p) {
        return ((in[size_t(q)] + float(q) * float(q)) - (in[size_t(p)] + float(p) * float(p))) / float(2 * (q - p));
    };
    int k = 0;
    v[0] = 0;
    z[0] = -Far;
    z[1] = Far;
    for (int q = 1; q < n; ++q) {
        float s = meet(q, v[size_t(k)]);
        // A pixel of the seed lies so far below that the parabola of q never
        // reaches under -Far: k stays at 0 or above.
        while (s <= z[size_t(k)]) {
            --k;
            s = meet(q, v[size_t(k)]);
        }
        ++k;
        v[size_t(k)] = q;
        z[size_t(k)] = s;
        z[size_t(k) + 1] = Far;
    }
    k = 0;
    for (int q = 0; q < n; ++q) {
        while (z[size_t(k) + 1] < float(q))
            ++k;
        const float d = float(q - v[size_t(k)]);
        out[size_t(q)] = d * d + in[size_t(v[size_t(k)])];
    }
}

// Squared distance of each pixel to the nearest pixel where `seed` is true.
std::vector<float> SquaredDistance(const std::vector<bool>& seed, int width, int height)
{
    std::vector<float> grid(seed.size());
    for (size_t i = 0; i < seed.size(); ++i)
        grid[i] = seed[i] ? 0.0f : Far;
    const auto longest = static_cast<size_t>(std::max(width, height));
    std::vector<float> in(longest), out(longest), z(longest + 1);
    std::vector<int> v(longest);
    in.resize(size_t(height));
    out.resize(size_t(height));
    for (int x = 0; x < width; ++x) {
        for (int y = 0; y < height; ++y)
            in[size_t(y)] = grid[size_t(y * width + x)];
        Transform1D(in, out, v, z);
        for (int y = 0; y < height; ++y)
            grid[size_t(y * width + x)] = out[size_t(y)];
    }
    in.resize(size_t(width));
    out.resize(size_t(width));
    for (int y = 0; y < height; ++y) {
        std::copy_n(grid.begin() + y * width, width, in.begin());
        Transform1D(in, out, v, z);
        std::copy_n(out.begin(), width, grid.begin() + y * width);
    }
    return grid;
}

} // namespace

std::vector<float> SignedDistance(const QImage& mask)
{
    const int width = mask.width(), height = mask.height();
    std::vector<bool> inside(size_t(width * height));
    for (int y = 0; y < height; ++y) {
        const uchar* row = mask.constScanLine(y);
        for (int x = 0; x < width; ++x)
            inside[size_t(y * width + x)] = row[x] >= 128;
    }
    std::vector<bool> outside(inside.size());
    for (size_t i = 0; i < inside.size(); ++i)
        outside[i] = !inside[i];
    const std::vector<float> toInside = SquaredDistance(inside, width, height);
    const std::vector<float> toOutside = SquaredDistance(outside, width, height);
    std::vector<float> distance(inside.size());
    // Pixel centres on either side of the outline are one pixel apart: half
    // of it belongs to each side.
    for (size_t i = 0; i < distance.size(); ++i)
        distance[i] = inside[i] ? std::sqrt(toOutside[i]) - 0.5f : 0.5f - std::sqrt(toInside[i]);
    return distance;
}
