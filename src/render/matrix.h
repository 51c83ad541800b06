#pragma once

#include "render/rendertypes.h"

#include <array>

// Matrices are 16 floats stored row by row and used with row vectors, so a
// vertex is multiplied from the left and world × view × projection is the
// order of concatenation. m[r * 4 + c] is row r, column c.
using CMatrix = std::array<float, 16>;

struct SVec3
{
    float x = 0, y = 0, z = 0;
};

SVec3 operator-(const SVec3& a, const SVec3& b);
float Dot(const SVec3& a, const SVec3& b);
SVec3 Cross(const SVec3& a, const SVec3& b);
SVec3 Normalize(const SVec3& v);

CMatrix MatrixIdentity();
// a × b: first a, then b.
CMatrix MatrixMultiply(const CMatrix& a, const CMatrix& b);
CMatrix MatrixTranspose(const CMatrix& m);
// The inverse of m; a singular matrix gives the identity.
CMatrix MatrixInverse(const CMatrix& m);
// Nodes store angles in degrees; this is the factor their code has always used.
inline constexpr float DegreesToRadians = 0.017453292f;

// The rotation of scene nodes from three angles in radians: x (pitch),
// y (yaw) and z (roll) combined as the nodes' cameras and objects expect.
CMatrix MatrixRotation(float x, float y, float z);
// The point p as a row vector times m, divided by w.
SVec3 TransformPoint(const SVec3& p, const CMatrix& m);

class CCamera;

// The projection of `camera` for drawing into `current`. A framebuffer is
// drawn flipped in y against a window, and a window may show only its part of
// a wide virtual screen; the matrix carries both.
CMatrix BuildProjection(const CCamera& camera, const SRect& current, const SRect& virtualRect, bool flipped);
