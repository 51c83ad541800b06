#include "render/renderstates.h"

#include "render/rendertypes.h"

void CRenderStateManager::Reset()
{
    m_states.m_flags = RS_DepthTest | RS_DepthWrite;
    m_states.m_srcBlend = 1;
    m_states.m_dstBlend = 0;
    m_states.m_cullMode = 2;
}
