#include "render/rendertarget.h"

#include "render/texture.h"

CRenderTarget::CRenderTarget(CTextureManager* manager, int width, int height, int format, int depthFormat,
                             std::string name)
    : m_width(width), m_height(height), m_format(format), m_depthFormat(depthFormat), m_manager(manager),
      m_name(std::move(name))
{
}

CRenderTarget::~CRenderTarget() = default;

std::shared_ptr<CTexture> CRenderTarget::GetColorTexture()
{
    if (!m_colorTexture)
        return nullptr;
    if (auto shared = m_colorTextureShared.lock())
        return shared;
    // The surface stays owned by the target: the deleter only lets go of the
    // target, which may then return to the pool.
    // The pointer of the last lending lets go of its counts first.
    m_colorTextureShared.reset();
    std::shared_ptr<CTexture> shared =
        m_colorSlot.Share(m_colorTexture.get(), [](CTexture* texture) { texture->m_renderTarget.reset(); });
    m_colorTextureShared = shared;
    m_colorTexture->m_renderTarget = m_self.lock();
    return shared;
}
