#pragma once

#include "render/camera.h"
#include "render/lendslot.h"
#include "render/rendertypes.h"

#include <cstdint>
#include <memory>
#include <string>

class CRender;
class CTexture;
class CTextureManager;

// A pooled framebuffer with its colour surface and an optional depth buffer.
// Users hold it through the manager's shared pointer, whose deleter puts it
// back in the pool; binds nest, each target remembering what was bound
// before it.
class CRenderTarget
{
public:
    CRenderTarget(CTextureManager* manager, int width, int height, int format, int depthFormat, std::string name);
    virtual ~CRenderTarget();
    CRenderTarget(const CRenderTarget&) = delete;
    CRenderTarget& operator=(const CRenderTarget&) = delete;

    // Draws go to this target until Unbind, with the render's rectangles set
    // to the target's size and the camera set again for the flipped projection.
    virtual void Bind(CRender* render) = 0;
    virtual void Unbind() = 0;
    // Destroys the surfaces and the framebuffer.
    virtual void Free() = 0;

    // The colour surface under a pointer of its own. While any copy of it
    // lives, the target stays out of the pool even if nobody holds the target.
    std::shared_ptr<CTexture> GetColorTexture();

    // Where the pointers that lend the target and its colour surface keep
    // their counts; before the weak pointers that may point into them.
    CLendSlot m_selfSlot;
    CLendSlot m_colorSlot;
    std::unique_ptr<CTexture> m_colorTexture;
    std::weak_ptr<CTexture> m_colorTextureShared;
    // The manager's pointer to this target while it is lent out.
    std::weak_ptr<CRenderTarget> m_self;
    int32_t m_width;
    int32_t m_height;
    int m_format;
    int m_depthFormat;
    SRect m_savedCurrentRect;
    SRect m_savedVirtualRect;
    CCamera m_savedCamera;
    CTextureManager* m_manager;
    // The render of the running bind, null outside one.
    CRender* m_render = nullptr;
    // The last user's name, for the log only.
    std::string m_name;
};
