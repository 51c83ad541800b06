#include "renderogl/rendertargetogl.h"

#include "app/log.h"
#include "render/render.h"
#include "render/texture.h"

CRenderTargetOGL::CRenderTargetOGL(CTextureManager* manager, int width, int height, int format, int depthFormat,
                                   std::string name)
    : CRenderTarget(manager, width, height, format, depthFormat, std::move(name))
{
}

CRenderTargetOGL::~CRenderTargetOGL()
{
    Free();
}

void CRenderTargetOGL::Bind(CRender* render)
{
    m_savedCamera = *render->GetCamera();
    m_render = render;
    m_savedCurrentRect = render->m_currentRect;
    m_savedVirtualRect = render->m_virtualRect;
    glBindTexture(GL_TEXTURE_2D, 0);

    CRenderData* data = render->GetRenderData();
    m_previousFramebuffer = data->m_boundFramebuffer;
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, m_framebuffer.Id());
    data->m_boundFramebuffer = m_framebuffer.Id();

    render->m_currentRect = SRect{0, 0, m_width, m_height};
    render->m_virtualRect = render->m_currentRect;
    render->SetViewport(0, 0, 1, 1);
    // The projection depends on the rectangle and on the bound framebuffer.
    render->SetCamera(m_savedCamera);
}

void CRenderTargetOGL::Unbind()
{
    if (!m_render)
        return;
    CRender* render = std::exchange(m_render, nullptr);
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, m_previousFramebuffer);
    render->GetRenderData()->m_boundFramebuffer = m_previousFramebuffer;
    render->m_currentRect = m_savedCurrentRect;
    render->m_virtualRect = m_savedVirtualRect;
    render->SetViewport(0, 0, 1, 1);
    m_previousFramebuffer = 0;
    render->SetCamera(m_savedCamera);
}

void CRenderTargetOGL::Free()
{
    // The destructor calls this again after an explicit Free.
    if (!m_framebuffer.Id())
        return;
    m_colorTexture.reset();
    m_depthBuffer.m_renderbuffer.Reset();
    Log("Release render target: LAST used by '%s' %dx%d %s %s OglFBOId: %u", m_name.c_str(), m_width, m_height,
        TextureFormatName(m_format), TextureFormatName(m_depthFormat), m_framebuffer.Id());
    m_framebuffer.Reset();
}
