#pragma once

#include "render/matrix.h"

// A rotation as a unit quaternion, composed in the order of the row-vector
// matrices: Matrix(Multiply(a, b)) turns by a first, then by b, as
// Matrix(a) × Matrix(b) does.
struct SQuaternion
{
    float x = 0, y = 0, z = 0, w = 1;
};

// The rotation of Euler angles in degrees, as the nodes build it.
SQuaternion QuaternionFromEuler(float xDegrees, float yDegrees, float zDegrees);
SQuaternion QuaternionFromMatrix(const CMatrix& m);
CMatrix QuaternionMatrix(const SQuaternion& q);
SQuaternion QuaternionMultiply(const SQuaternion& a, const SQuaternion& b);
// Spherical interpolation the short way round; nearly equal rotations are
// mixed linearly, without renormalising.
SQuaternion QuaternionSlerp(const SQuaternion& a, SQuaternion b, float t);
