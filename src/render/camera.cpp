#include "render/camera.h"

CCamera::CCamera()
{
    LookAt({0, 0, 0}, {0, 0, 1}, {0, 1, 0});
}

void CCamera::LookAt(const SVec3& eye, const SVec3& target, const SVec3& up)
{
    m_eye = eye;
    m_forward = Normalize(target - eye);
    m_right = Normalize(Cross(up, m_forward));
    m_up = Cross(m_forward, m_right);

    m_view = MatrixIdentity();
    const SVec3 axes[3] = {m_right, m_up, m_forward};
    for (int c = 0; c < 3; ++c) {
        m_view[0 * 4 + c] = axes[c].x;
        m_view[1 * 4 + c] = axes[c].y;
        m_view[2 * 4 + c] = axes[c].z;
        m_view[3 * 4 + c] = -Dot(eye, axes[c]);
    }
}
