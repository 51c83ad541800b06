#include "render/texturemanager.h"

#include "app/log.h"
#include "render/rendertarget.h"
#include "render/rendertypes.h"
#include "render/texture.h"

#include <algorithm>

namespace {

// Moves the object from one list to the end of the other; false if it is not
// in the first.
template <class T>
bool MoveBetween(std::vector<std::unique_ptr<T>>& from, std::vector<std::unique_ptr<T>>& to, const T* object)
{
    auto it = std::find_if(from.begin(), from.end(), [object](const auto& p) { return p.get() == object; });
    if (it == from.end())
        return false;
    to.push_back(std::move(*it));
    from.erase(it);
    return true;
}

} // namespace

CTextureManager::CTextureManager(CRenderData* renderData) : m_renderData(renderData) {}

CTextureManager::~CTextureManager()
{
    // Taken out of the lists first: a colour texture that is still lent out
    // lets go of its target while it dies, and that release must find
    // nothing to move.
    auto freeTargets = std::move(m_freeRenderTargets);
    auto usedTargets = std::move(m_usedRenderTargets);
    auto freeTextures = std::move(m_freeTextures);
    auto usedTextures = std::move(m_usedTextures);
    freeTargets.clear();
    usedTargets.clear();
    freeTextures.clear();
    usedTextures.clear();
}

void CTextureManager::ReleaseRenderTarget(CRenderTarget* target)
{
    MoveBetween(m_usedRenderTargets, m_freeRenderTargets, target);
}

void CTextureManager::ReleaseTexture(CTexture* texture)
{
    if (texture->m_renderTarget)
        return;
    MoveBetween(m_usedTextures, m_freeTextures, texture);
}

void CTextureManager::Free()
{
    for (const auto& target : m_usedRenderTargets)
        Log("FBO Still used: '%s' %dx%d %s", target->m_name.c_str(), target->m_width, target->m_height,
            TextureFormatName(target->m_format));
    Log("Freeing RTs: %zu Textures: %zu", m_freeRenderTargets.size(), m_freeTextures.size());
    // Front first, as the objects were pooled.
    for (auto& target : m_freeRenderTargets)
        target.reset();
    m_freeRenderTargets.clear();
    for (auto& texture : m_freeTextures)
        texture.reset();
    m_freeTextures.clear();
}

CTexture* CTextureManager::TakeFreeTexture(int width, int height, int depth, int format, int type)
{
    for (const auto& texture : m_freeTextures) {
        if (texture->m_width == width && texture->m_height == height && texture->m_depth == depth &&
            texture->m_format == format && texture->m_type == type) {
            CTexture* found = texture.get();
            MoveBetween(m_freeTextures, m_usedTextures, found);
            return found;
        }
    }
    return nullptr;
}

CRenderTarget* CTextureManager::TakeFreeRenderTarget(int width, int height, int format, int depthFormat)
{
    for (const auto& target : m_freeRenderTargets) {
        if (target->m_width == width && target->m_height == height && target->m_format == format &&
            target->m_depthFormat == depthFormat) {
            CRenderTarget* found = target.get();
            MoveBetween(m_freeRenderTargets, m_usedRenderTargets, found);
            return found;
        }
    }
    return nullptr;
}

CTexture* CTextureManager::AddUsed(std::unique_ptr<CTexture> texture)
{
    m_usedTextures.push_back(std::move(texture));
    return m_usedTextures.back().get();
}

CRenderTarget* CTextureManager::AddUsed(std::unique_ptr<CRenderTarget> target)
{
    m_usedRenderTargets.push_back(std::move(target));
    return m_usedRenderTargets.back().get();
}

std::shared_ptr<CTexture> CTextureManager::Lend(CTexture* texture)
{
    return texture->m_lendSlot.Share(texture, [this](CTexture* t) { ReleaseTexture(t); });
}

std::shared_ptr<CRenderTarget> CTextureManager::Lend(CRenderTarget* target)
{
    // The pointer of the last lending lets go of its counts first.
    target->m_self.reset();
    std::shared_ptr<CRenderTarget> shared = target->m_selfSlot.Share(target, [this](CRenderTarget* t) { ReleaseRenderTarget(t); });
    target->m_self = shared;
    return shared;
}
