#pragma once

#include "render/rendertarget.h"
#include "renderogl/globjects.h"

#include <string>

// A render target on a GL framebuffer object. The manager attaches the
// surfaces; the target binds, unbinds and frees them.
class CRenderTargetOGL : public CRenderTarget
{
public:
    CRenderTargetOGL(CTextureManager* manager, int width, int height, int format, int depthFormat, std::string name);
    ~CRenderTargetOGL() override;

    void Bind(CRender* render) override;
    void Unbind() override;
    void Free() override;

    GLuint FramebufferId() const { return m_framebuffer.Id(); }

    struct SDepthBuffer
    {
        int32_t m_width = 0;
        int32_t m_height = 0;
        int m_format = 0;
        CGLRenderbuffer m_renderbuffer{GLEmpty};
    };

    CGLFramebuffer m_framebuffer;
    // What was bound when the running bind began.
    GLuint m_previousFramebuffer = 0;
    SDepthBuffer m_depthBuffer;
};
