#pragma once

#include "render/matrix.h"

#include <cstdint>

// A plain value copied whole. The view matrix stands first, so a pointer to
// the camera is a pointer to its view matrix. View space is left-handed: the
// camera looks along +z.
class CCamera
{
public:
    enum
    {
        Perspective = 0,
        Orthographic = 1,
    };

    CCamera();

    // forward = normalise(target − eye), right = normalise(up × forward),
    // up' = forward × right.
    void LookAt(const SVec3& eye, const SVec3& target, const SVec3& up);

    CMatrix m_view{};
    SVec3 m_eye;
    SVec3 m_right;
    SVec3 m_up;
    SVec3 m_forward;
    float m_fov = 45.0f; // vertical, degrees
    float m_near = 1.0f;
    float m_far = 100.0f;
    int32_t m_projection = Perspective;
};
