#pragma once

#include "render/matrix.h"

class CMesh;

// Where one copy of a mesh goes: rotation in degrees, scale per axis.
struct SMeshPlacement
{
    SVec3 position;
    SVec3 rotation;
    SVec3 scale = {1, 1, 1};
};

// Rows scale.x · R row 0, scale.y · R row 1, scale.z · R row 2, then the
// position; `rotation` receives R when given.
CMatrix PlacementMatrix(const SMeshPlacement& placement, CMatrix* rotation = nullptr);

// Appends `source` to `target` rotated, scaled and then moved; the normals
// turn with the rotation alone. Returns false when the scale mirrors, so the
// caller knows the normals want recomputing.
bool AppendPlaced(CMesh& target, const CMesh& source, const SMeshPlacement& placement);
