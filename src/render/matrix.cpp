#include "render/matrix.h"

#include "render/camera.h"

#include <cmath>

SVec3 operator-(const SVec3& a, const SVec3& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

float Dot(const SVec3& a, const SVec3& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

SVec3 Cross(const SVec3& a, const SVec3& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

SVec3 Normalize(const SVec3& v)
{
    const float length = std::sqrt(Dot(v, v));
    if (length == 0.0f)
        return v;
    return {v.x / length, v.y / length, v.z / length};
}

CMatrix MatrixIdentity()
{
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
}

CMatrix MatrixMultiply(const CMatrix& a, const CMatrix& b)
{
    CMatrix out{};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) {
            float sum = 0;
            for (int k = 0; k < 4; ++k)
                sum += a[r * 4 + k] * b[k * 4 + c];
            out[r * 4 + c] = sum;
        }
    return out;
}

CMatrix MatrixRotation(float x, float y, float z)
{
    // Worked out in double and rounded once, so cameras built from the same
    // angles agree to the bit wherever they are made.
    const double sx = std::sin(double(x)), cx = std::cos(double(x));
    const double sy = std::sin(double(y)), cy = std::cos(double(y));
    const double sz = std::sin(double(z)), cz = std::cos(double(z));
    CMatrix m = MatrixIdentity();
    m[0] = float(cz * cy);
    m[1] = float(sz * cy);
    m[2] = float(-sy);
    m[4] = float(sy * sx * cz - sz * cx);
    m[5] = float(sy * sx * sz + cz * cx);
    m[6] = float(cy * sx);
    m[8] = float(sy * cx * cz + sz * sx);
    m[9] = float(sy * cx * sz - cz * sx);
    m[10] = float(cy * cx);
    return m;
}

CMatrix MatrixTranspose(const CMatrix& m)
{
    CMatrix out{};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            out[c * 4 + r] = m[r * 4 + c];
    return out;
}

CMatrix MatrixInverse(const CMatrix& m)
{
    // Cofactor expansion by 2x2 sub-determinants of the upper and lower rows.
    const float s0 = m[0] * m[5] - m[4] * m[1], s1 = m[0] * m[6] - m[4] * m[2], s2 = m[0] * m[7] - m[4] * m[3];
    const float s3 = m[1] * m[6] - m[5] * m[2], s4 = m[1] * m[7] - m[5] * m[3], s5 = m[2] * m[7] - m[6] * m[3];
    const float c5 = m[10] * m[15] - m[14] * m[11], c4 = m[9] * m[15] - m[13] * m[11], c3 = m[9] * m[14] - m[13] * m[10];
    const float c2 = m[8] * m[15] - m[12] * m[11], c1 = m[8] * m[14] - m[12] * m[10], c0 = m[8] * m[13] - m[12] * m[9];
    const float det = s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
    if (det == 0.0f || !std::isfinite(det))
        return MatrixIdentity();
    const float k = 1.0f / det;
    return CMatrix{
        (m[5] * c5 - m[6] * c4 + m[7] * c3) * k,   (-m[1] * c5 + m[2] * c4 - m[3] * c3) * k,
        (m[13] * s5 - m[14] * s4 + m[15] * s3) * k, (-m[9] * s5 + m[10] * s4 - m[11] * s3) * k,
        (-m[4] * c5 + m[6] * c2 - m[7] * c1) * k,  (m[0] * c5 - m[2] * c2 + m[3] * c1) * k,
        (-m[12] * s5 + m[14] * s2 - m[15] * s1) * k, (m[8] * s5 - m[10] * s2 + m[11] * s1) * k,
        (m[4] * c4 - m[5] * c2 + m[7] * c0) * k,   (-m[0] * c4 + m[1] * c2 - m[3] * c0) * k,
        (m[12] * s4 - m[13] * s2 + m[15] * s0) * k, (-m[8] * s4 + m[9] * s2 - m[11] * s0) * k,
        (-m[4] * c3 + m[5] * c1 - m[6] * c0) * k,  (m[0] * c3 - m[1] * c1 + m[2] * c0) * k,
        (-m[12] * s3 + m[13] * s1 - m[14] * s0) * k, (m[8] * s3 - m[9] * s1 + m[10] * s0) * k,
    };
}

SVec3 TransformPoint(const SVec3& p, const CMatrix& m)
{
    float v[4];
    for (int c = 0; c < 4; ++c)
        v[c] = p.x * m[c] + p.y * m[4 + c] + p.z * m[8 + c] + m[12 + c];
    if (v[3] == 0.0f)
        return {v[0], v[1], v[2]};
    return {v[0] / v[3], v[1] / v[3], v[2] / v[3]};
}

CMatrix BuildProjection(const CCamera& camera, const SRect& current, const SRect& virtualRect, bool flipped)
{
    const float w = static_cast<float>(current.Width());
    const float h = static_cast<float>(current.Height());
    // Centres are whole pixels, truncated, so that odd sizes match the
    // windows' own placement.
    const int cx = (current.left + current.right) / 2;
    const int cy = (current.top + current.bottom) / 2;
    const float ySign = flipped ? -1.0f : 1.0f;

    // A render target of the virtual screen's size stands for the whole
    // picture; any other current rectangle is a part of the virtual screen.
    const SRect& ref = (flipped && current.Width() == virtualRect.Width() && current.Height() == virtualRect.Height())
                           ? current
                           : virtualRect;
    const float rw = static_cast<float>(ref.Width());
    const float rh = static_cast<float>(ref.Height());
    const int rcx = (ref.left + ref.right) / 2;
    const int rcy = (ref.top + ref.bottom) / 2;

    // The factors 4 and −8 are deliberately unequal: they place the sections
    // of a multi-monitor picture as the scenes were tuned for.
    const float dx = (static_cast<float>(cx - rcx) / rw) * 4.0f;
    const float dy = (static_cast<float>(cy - rcy) / rh) * -8.0f;
    const float sx = w / rw;
    const float sy = h / rh;
    const float aspect = rw / rh;
    const float n = camera.m_near;
    const float f = camera.m_far;

    CMatrix m = MatrixIdentity();
    if (camera.m_projection == CCamera::Orthographic) {
        m[0] = 2.0f / sx;
        m[5] = (-2.0f / sy) * ySign;
        m[10] = 2.0f / (f - n);
        m[12] = -dx;
        m[13] = 0.0f;
        m[14] = -(n + f) / (f - n);
        m[15] = 1.0f;
        return m;
    }

    const float t = static_cast<float>(std::tan(static_cast<double>(camera.m_fov) * 0.017453292 * 0.5));
    const float hh = t * n * sy;
    const float hw = t * aspect * n * sx;
    m[0] = 2.0f * n / (2.0f * hw);
    m[5] = (2.0f * n / (2.0f * hh)) * ySign;
    m[8] = -dx;
    m[9] = -dy;
    m[10] = (f + n) / (f - n);
    m[11] = 1.0f;
    m[12] = -dx;
    m[13] = dy;
    m[14] = -(2.0f * f * n) / (f - n);
    // m[15] stays 1 from the identity; scenes were tuned with it.
    return m;
}
