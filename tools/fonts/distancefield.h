#pragma once

#include <QImage>

// The signed distance of every pixel of `mask` (non-zero = inside) to the
// outline, in pixels: positive inside, negative outside. Exact Euclidean
// distances, in time linear in the pixel count.
std::vector<float> SignedDistance(const QImage& mask);
