#pragma once

#include "render/camera.h"
#include "render/renderstates.h"
#include "render/rendertypes.h"

class CRender;

// Keeps what a drawing detour changes on the render (the camera, the two
// rectangles and the wanted render states) and gives it back when the scope
// ends, whichever way it ends.
class CRenderStateGuard
{
public:
    explicit CRenderStateGuard(CRender& render);
    ~CRenderStateGuard();
    CRenderStateGuard(const CRenderStateGuard&) = delete;
    CRenderStateGuard& operator=(const CRenderStateGuard&) = delete;

private:
    CRender& m_render;
    CCamera m_camera;
    SRect m_virtualRect;
    SRect m_currentRect;
    bool m_hasStates = false;
    int32_t m_flags = 0;
    int32_t m_srcBlend = 0;
    int32_t m_dstBlend = 0;
    int32_t m_cullMode = 0;
};
