#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

class CRenderData;
class CRenderTarget;
class CTexture;

// The one source of textures and render targets. Objects are pooled by exact
// description and lent out through shared pointers whose deleter gives them
// back, so a request after the previous user let go costs no allocation.
// Every pooled object is owned here, in exactly one of the four lists.
class CTextureManager
{
public:
    explicit CTextureManager(CRenderData* renderData);
    // Destroys every pooled object, also what is lent out, without a word in
    // the log (Free does the logging): holders must have let go before, as
    // they do on InvalidateDevice.
    virtual ~CTextureManager();
    CTextureManager(const CTextureManager&) = delete;
    CTextureManager& operator=(const CTextureManager&) = delete;

    // Empty if the texture could not be made. Nothing clears a reused
    // texture: the caller fills it.
    virtual std::shared_ptr<CTexture> GetTexture(int width, int height, int depth, int format, int type) = 0;
    // Depth format 0 means no depth buffer. The name, the user's, only
    // appears in the log. Empty for a zero size.
    virtual std::shared_ptr<CRenderTarget> GetRenderTarget(int width, int height, int format, int depthFormat,
                                                           std::string_view name) = 0;
    // The two deleters: move a lent-out object back to the free list.
    virtual void ReleaseRenderTarget(CRenderTarget* target);
    virtual void ReleaseTexture(CTexture* texture);

    bool Init() { return true; }
    // Destroys the free objects; lent-out ones stay and are logged.
    void Free();
    void InvalidateDevice() { Free(); }

    size_t UsedTextureCount() const { return m_usedTextures.size(); }
    size_t FreeTextureCount() const { return m_freeTextures.size(); }
    size_t UsedRenderTargetCount() const { return m_usedRenderTargets.size(); }
    size_t FreeRenderTargetCount() const { return m_freeRenderTargets.size(); }

protected:
    // The first free texture of that description, moved to the used list.
    CTexture* TakeFreeTexture(int width, int height, int depth, int format, int type);
    CRenderTarget* TakeFreeRenderTarget(int width, int height, int format, int depthFormat);
    CTexture* AddUsed(std::unique_ptr<CTexture> texture);
    CRenderTarget* AddUsed(std::unique_ptr<CRenderTarget> target);
    // The pointers handed to users; the target also keeps a weak copy, from
    // which its colour texture takes its hold on it.
    std::shared_ptr<CTexture> Lend(CTexture* texture);
    std::shared_ptr<CRenderTarget> Lend(CRenderTarget* target);

    CRenderData* m_renderData;
    std::vector<std::unique_ptr<CTexture>> m_usedTextures;
    std::vector<std::unique_ptr<CTexture>> m_freeTextures;
    std::vector<std::unique_ptr<CRenderTarget>> m_usedRenderTargets;
    std::vector<std::unique_ptr<CRenderTarget>> m_freeRenderTargets;
};
