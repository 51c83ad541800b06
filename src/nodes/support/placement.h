#pragma once

#include "render/matrix.h"

#include <array>
#include <span>

class CCamera;
class CNode;
class CRenderItemList;
class CRenderList;

using SColor4 = std::array<float, 4>;

// The matrix of a placed object: the rotation of Euler angles in degrees,
// each basis row scaled by its axis, and the position as translation.
CMatrix PlacementMatrix(const float* position, const float* rotation, const float* scale);

// Draws `object` once for each copy below each parent, without copying its
// geometry: a copy's item has the copy's world times the parent's and the
// copy's colour times the parent's, channel by channel. One colour in
// `colors` serves every copy; otherwise there is one per world.
void PlaceCopies(CRenderList* list, CRenderItemList* parents, CCamera* view, CNode* object,
                 std::span<const CMatrix> worlds, std::span<const SColor4> colors);
