#include "mesh/meshplacement.h"

#include "mesh/mesh.h"

CMatrix PlacementMatrix(const SMeshPlacement& placement, CMatrix* rotation)
{
    const SVec3& r = placement.rotation;
    const SVec3& s = placement.scale;
    const CMatrix turn = MatrixRotation(r.x * DegreesToRadians, r.y * DegreesToRadians, r.z * DegreesToRadians);
    CMatrix matrix = turn;
    const float rowScale[3] = {s.x, s.y, s.z};
    for (int row = 0; row < 3; ++row)
        for (int c = 0; c < 3; ++c)
            matrix[size_t(row * 4 + c)] *= rowScale[row];
    matrix[12] = placement.position.x;
    matrix[13] = placement.position.y;
    matrix[14] = placement.position.z;
    if (rotation)
        *rotation = turn;
    return matrix;
}

bool AppendPlaced(CMesh& target, const CMesh& source, const SMeshPlacement& placement)
{
    CMatrix rotation;
    const CMatrix matrix = PlacementMatrix(placement, &rotation);
    const SVec3& s = placement.scale;
    target.Append(source, &matrix, &rotation, &s);
    return s.x * s.y * s.z >= 0;
}
