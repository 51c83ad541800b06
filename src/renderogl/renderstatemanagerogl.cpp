#include "renderogl/renderstatemanagerogl.h"

#include "render/renderdata.h"
#include "render/rendertypes.h"

#include <GL/glew.h>

namespace {

constexpr GLenum s_blendFactors[BF_Count] = {
    GL_ZERO,      GL_ONE,       GL_SRC_COLOR,           GL_DST_COLOR,           GL_ONE_MINUS_SRC_COLOR,   GL_ONE_MINUS_DST_COLOR,
    GL_SRC_ALPHA, GL_DST_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE_MINUS_DST_ALPHA, GL_SRC_ALPHA_SATURATE,
};

GLenum BlendFactor(int value)
{
    return (value >= 0 && value < BF_Count) ? s_blendFactors[value] : GL_ONE;
}

void Enable(GLenum capability, bool on)
{
    if (on)
        glEnable(capability);
    else
        glDisable(capability);
}

} // namespace

void CRenderStateManagerOGL::Activate()
{
    const CRenderStates& s = m_states;
    Enable(GL_CULL_FACE, s.m_cullMode != 0);
    if (s.m_cullMode != 0)
        glFrontFace(FrontFaceClockwise(s.m_cullMode, m_data && m_data->m_boundFramebuffer != 0) ? GL_CW : GL_CCW);

    const bool blend = BlendEnabled(s);
    Enable(GL_BLEND, blend);
    if (blend)
        glBlendFunc(BlendFactor(s.m_srcBlend), BlendFactor(s.m_dstBlend));

    glDepthMask((s.m_flags & RS_DepthWrite) ? GL_TRUE : GL_FALSE);
    if (s.m_flags & RS_DepthTest)
        glDepthFunc(GL_LESS);
    Enable(GL_DEPTH_TEST, (s.m_flags & RS_DepthTest) != 0);
    if (s.m_flags & RS_AlphaTest)
        glAlphaFunc(GL_GREATER, 0.01f);
    Enable(GL_ALPHA_TEST, (s.m_flags & RS_AlphaTest) != 0);
}
