#include "nodes/support/quaternion.h"

#include <algorithm>
#include <cmath>

SQuaternion QuaternionFromEuler(float xDegrees, float yDegrees, float zDegrees)
{
    return QuaternionFromMatrix(
        MatrixRotation(xDegrees * DegreesToRadians, yDegrees * DegreesToRadians, zDegrees * DegreesToRadians));
}

SQuaternion QuaternionFromMatrix(const CMatrix& m)
{
    // m is row by row for row vectors: the transpose of the usual column form.
    const auto at = [&](int r, int c) { return m[size_t(r * 4 + c)]; };
    const float trace = at(0, 0) + at(1, 1) + at(2, 2);
    SQuaternion q;
    if (trace > 0.0f) {
        const float s = std::sqrt(trace + 1.0f) * 2.0f;
        q = {(at(1, 2) - at(2, 1)) / s, (at(2, 0) - at(0, 2)) / s, (at(0, 1) - at(1, 0)) / s, 0.25f * s};
    } else if (at(0, 0) > at(1, 1) && at(0, 0) > at(2, 2)) {
        const float s = std::sqrt(1.0f + at(0, 0) - at(1, 1) - at(2, 2)) * 2.0f;
        q = {0.25f * s, (at(1, 0) + at(0, 1)) / s, (at(2, 0) + at(0, 2)) / s, (at(1, 2) - at(2, 1)) / s};
    } else if (at(1, 1) > at(2, 2)) {
        const float s = std::sqrt(1.0f + at(1, 1) - at(0, 0) - at(2, 2)) * 2.0f;
        q = {(at(1, 0) + at(0, 1)) / s, 0.25f * s, (at(2, 1) + at(1, 2)) / s, (at(2, 0) - at(0, 2)) / s};
    } else {
        const float s = std::sqrt(1.0f + at(2, 2) - at(0, 0) - at(1, 1)) * 2.0f;
        q = {(at(2, 0) + at(0, 2)) / s, (at(2, 1) + at(1, 2)) / s, 0.25f * s, (at(0, 1) - at(1, 0)) / s};
    }
    return q;
}

CMatrix QuaternionMatrix(const SQuaternion& q)
{
    const float x = q.x, y = q.y, z = q.z, w = q.w;
    CMatrix m = MatrixIdentity();
    m[0] = 1 - 2 * (y * y + z * z);
    m[1] = 2 * (x * y + z * w);
    m[2] = 2 * (x * z - y * w);
    m[4] = 2 * (x * y - z * w);
    m[5] = 1 - 2 * (x * x + z * z);
    m[6] = 2 * (y * z + x * w);
    m[8] = 2 * (x * z + y * w);
    m[9] = 2 * (y * z - x * w);
    m[10] = 1 - 2 * (x * x + y * y);
    return m;
}

SQuaternion QuaternionMultiply(const SQuaternion& a, const SQuaternion& b)
{
    // The Hamilton product b·a: a's turn comes first.
    return {b.w * a.x + b.x * a.w + b.y * a.z - b.z * a.y, b.w * a.y - b.x * a.z + b.y * a.w + b.z * a.x,
            b.w * a.z + b.x * a.y - b.y * a.x + b.z * a.w, b.w * a.w - b.x * a.x - b.y * a.y - b.z * a.z};
}

SQuaternion QuaternionSlerp(const SQuaternion& a, SQuaternion b, float t)
{
    float dot = a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
    if (dot <= 0.0f) {
        b = {-b.x, -b.y, -b.z, -b.w};
        dot = -dot;
    }
    float wa = 1.0f - t, wb = t;
    if (1.0f - dot > 0.001f) {
        const float angle = std::acos(std::min(dot, 1.0f));
        const float sine = std::sin(angle);
        wa = std::sin((1.0f - t) * angle) / sine;
        wb = std::sin(t * angle) / sine;
    }
    return {wa * a.x + wb * b.x, wa * a.y + wb * b.y, wa * a.z + wb * b.z, wa * a.w + wb * b.w};
}
