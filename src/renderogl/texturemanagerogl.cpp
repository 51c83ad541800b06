#include "renderogl/texturemanagerogl.h"

#include "app/log.h"
#include "render/renderdata.h"
#include "render/rendertypes.h"
#include "renderogl/rendertargetogl.h"
#include "renderogl/textureogl.h"

#include <string>

namespace {

const char* FramebufferStatusText(GLenum status)
{
    switch (status) {
    case GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT_EXT:
        return "GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT_EXT";
    case GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT_EXT:
        return "Framebuffer incomplete, missing attachment";
    case GL_FRAMEBUFFER_INCOMPLETE_DIMENSIONS_EXT:
        return "Framebuffer incomplete, attached images must have same dimensions";
    case GL_FRAMEBUFFER_INCOMPLETE_FORMATS_EXT:
        return "Framebuffer incomplete, attached images must have same format";
    case GL_FRAMEBUFFER_INCOMPLETE_DRAW_BUFFER_EXT:
        return "Framebuffer incomplete, missing draw buffer";
    case GL_FRAMEBUFFER_INCOMPLETE_READ_BUFFER_EXT:
        return "Framebuffer incomplete, missing read buffer";
    case GL_FRAMEBUFFER_UNSUPPORTED_EXT:
        return "Unsupported framebuffer format";
    default:
        return "Unknown framebuffer status";
    }
}

// An incomplete framebuffer is logged and used all the same: draws into it
// are lost, nothing else.
void CheckFramebufferStatus()
{
    const GLenum status = glCheckFramebufferStatusEXT(GL_FRAMEBUFFER_EXT);
    if (status != GL_FRAMEBUFFER_COMPLETE_EXT)
        Error("CheckFramebufferStatus: %s (%ld)", FramebufferStatusText(status), static_cast<long>(status));
}

} // namespace

std::shared_ptr<CTexture> CTextureManagerOGL::GetTexture(int width, int height, int depth, int format, int type)
{
    if (width <= 0 || height <= 0 || depth < -1)
        return nullptr;
    if (CTexture* texture = TakeFreeTexture(width, height, depth, format, type))
        return Lend(texture);
    return Lend(AddUsed(std::make_unique<CTextureOGL>(this, width, height, depth, format, type)));
}

std::shared_ptr<CRenderTarget> CTextureManagerOGL::GetRenderTarget(int width, int height, int format,
                                                                   int depthFormat, std::string_view name)
{
    if (width <= 0 || height <= 0)
        return nullptr;
    if (CRenderTarget* target = TakeFreeRenderTarget(width, height, format, depthFormat)) {
        target->m_name = name;
        return Lend(target);
    }

    auto made = std::make_unique<CRenderTargetOGL>(this, width, height, format, depthFormat, std::string(name));
    CRenderTargetOGL& target = *made;
    const GLuint fbo = target.FramebufferId();
    Log("Create FBO: '%s' %dx%d %s %s OglFBOId: %u (InPool: %zu UsedRTs: %zu)", target.m_name.c_str(), width,
        height, TextureFormatName(format), TextureFormatName(depthFormat), fbo, m_freeRenderTargets.size(),
        m_usedRenderTargets.size());
    AddUsed(std::move(made));

    const GLuint previous = m_renderData ? m_renderData->m_boundFramebuffer : 0;
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, fbo);
    if (m_renderData)
        m_renderData->m_boundFramebuffer = fbo;

    auto color = std::make_unique<CTextureOGL>(this, width, height, 0, format, TT_RenderTarget);
    glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, GL_COLOR_ATTACHMENT0_EXT, color->Target(), color->Id(), 0);
    Log("Binding FBO '%s' (%ld) to color texture: %ld (%ldx%ld %ld)", target.m_name.c_str(), static_cast<long>(fbo),
        static_cast<long>(color->Id()), static_cast<long>(width), static_cast<long>(height), 0L);
    target.m_colorTexture = std::move(color);

    if (depthFormat != 0) {
        CRenderTargetOGL::SDepthBuffer& depth = target.m_depthBuffer;
        depth.m_width = width;
        depth.m_height = height;
        depth.m_format = depthFormat;
        depth.m_renderbuffer = CGLRenderbuffer();
        glBindRenderbufferEXT(GL_RENDERBUFFER_EXT, depth.m_renderbuffer.Id());
        if (depthFormat == TF_D24S8)
            glRenderbufferStorageEXT(GL_RENDERBUFFER_EXT, GL_DEPTH24_STENCIL8_EXT, width, height);
        glBindRenderbufferEXT(GL_RENDERBUFFER_EXT, 0);
        glFramebufferRenderbufferEXT(GL_FRAMEBUFFER_EXT, GL_DEPTH_ATTACHMENT_EXT, GL_RENDERBUFFER_EXT,
                                     depth.m_renderbuffer.Id());
        glFramebufferRenderbufferEXT(GL_FRAMEBUFFER_EXT, GL_STENCIL_ATTACHMENT_EXT, GL_RENDERBUFFER_EXT,
                                     depth.m_renderbuffer.Id());
        Log("Binding FBO '%s' (%ld) to depth texture: %ld %ldx%ld", target.m_name.c_str(), static_cast<long>(fbo),
            static_cast<long>(depth.m_renderbuffer.Id()), static_cast<long>(width), static_cast<long>(height));
    }

    CheckFramebufferStatus();

    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, previous);
    if (m_renderData)
        m_renderData->m_boundFramebuffer = previous;
    return Lend(&target);
}
