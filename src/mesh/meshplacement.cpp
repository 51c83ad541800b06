#include "mesh/meshplacement.h"

#include "mesh/mesh.h"

bool AppendPlaced(CMesh& target, const CMesh& source, const SMeshPlacement& placement)
{
    const SVec3& r = placement.rotation;
    const SVec3& s = placement.scale;
    const CMatrix rotation = MatrixRotation(r.x * DegreesToRadians, r.y * DegreesToRadians, r.z * DegreesToRadians);
    CMatrix matrix = rotation;
    const float rowScale[3] = {s.x, s.y, s.z};
    for (int row = 0; row < 3; ++row)
        for (int c = 0; c < 3; ++c)
            matrix[size_t(row * 4 + c)] *= rowScale[row];
    matrix[12] = placement.position.x;
    matrix[13] = placement.position.y;
    matrix[14] = placement.position.z;
    target.Append(source, &matrix, &rotation, &s);
    return s.x * s.y * s.z >= 0;
}
