#pragma once

#include "scene/runinfo.h"

class CRender;
class CCamera;

// What a scene hands to every node's Update.
struct CSceneContext
{
    // Scene time: seconds, or 0 to 1 in a transition scene.
    float m_time = 0.0f;
    float m_deltaTime = 0.0f;
    float m_aspect = 1.0f;
    // m_aspect of the last graph update; nodes see a change by comparing.
    float m_lastAspect = 0.0f;
    bool m_warmingUp = false;
    bool m_firstUpdate = true;
    bool m_restarted = false;
    float m_width = 1.0f;
    float m_height = 1.0f;
    CRender* m_render = nullptr;
    // Camera of the Screen node being updated.
    CCamera* m_camera = nullptr;
    float m_timeScale = 1.0f;
    int m_frame = 0;
    // The kind of run the scene plays in; never null.
    const SRunInfo* m_run = &SRunInfo::Standalone();
};
