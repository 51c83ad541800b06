#include "render/renderstateguard.h"

#include "render/render.h"

CRenderStateGuard::CRenderStateGuard(CRender& render)
    : m_render(render), m_camera(*render.GetCamera()), m_virtualRect(render.m_virtualRect),
      m_currentRect(render.m_currentRect)
{
    if (const CRenderStateManager* states = render.GetStateManager()) {
        m_hasStates = true;
        m_flags = states->m_states.m_flags;
        m_srcBlend = states->m_states.m_srcBlend;
        m_dstBlend = states->m_states.m_dstBlend;
        m_cullMode = states->m_states.m_cullMode;
    }
}

CRenderStateGuard::~CRenderStateGuard()
{
    CRenderStateManager* states = m_render.GetStateManager();
    if (states && m_hasStates) {
        states->m_states.m_flags = m_flags;
        states->m_states.m_srcBlend = m_srcBlend;
        states->m_states.m_dstBlend = m_dstBlend;
        states->m_states.m_cullMode = m_cullMode;
    }
    m_render.m_currentRect = m_currentRect;
    m_render.m_virtualRect = m_virtualRect;
    m_render.SetCamera(m_camera);
}
