#pragma once

#include "render/texturemanager.h"

// The texture manager on GL: makes CTextureOGL and CRenderTargetOGL objects
// when the pool has none of the description asked for.
class CTextureManagerOGL : public CTextureManager
{
public:
    using CTextureManager::CTextureManager;

    std::shared_ptr<CTexture> GetTexture(int width, int height, int depth, int format, int type) override;
    std::shared_ptr<CRenderTarget> GetRenderTarget(int width, int height, int format, int depthFormat,
                                                   std::string_view name) override;
};
