#pragma once

#include "render/fxmanager.h"
#include "render/noisetextures.h"
#include "render/renderstates.h"
#include "render/texturemanager.h"

#include <cstdint>
#include <memory>

// State shared by every render class of one device.
class CRenderData
{
public:
    CRenderData() = default;
    ~CRenderData();
    CRenderData(const CRenderData&) = delete;
    CRenderData& operator=(const CRenderData&) = delete;

    CRenderStateManager* GetStateManager() { return m_stateManager.get(); }
    void SetStateManager(std::unique_ptr<CRenderStateManager> manager) { m_stateManager = std::move(manager); }
    CTextureManager* GetTextureManager() { return m_textureManager.get(); }
    void SetTextureManager(std::unique_ptr<CTextureManager> manager) { m_textureManager = std::move(manager); }
    CFxManager* GetFxManager() { return m_fxManager.get(); }
    void SetFxManager(std::unique_ptr<CFxManager> manager) { m_fxManager = std::move(manager); }
    CNoiseTextures* GetNoiseTextures() { return m_noiseTextures.get(); }
    void SetNoiseTextures(std::unique_ptr<CNoiseTextures> textures) { m_noiseTextures = std::move(textures); }
    // Frees the device-side members in their shut-down order.
    void FreeDeviceObjects();

    // Index into every per-device array; there is one device.
    int32_t m_deviceIndex = 0;
    // Id of the bound framebuffer, 0 for the window. Projection and the
    // winding of faces key on it, since framebuffers are drawn flipped in y.
    uint32_t m_boundFramebuffer = 0;

private:
    std::unique_ptr<CRenderStateManager> m_stateManager;
    std::unique_ptr<CNoiseTextures> m_noiseTextures;
    std::unique_ptr<CFxManager> m_fxManager;
    std::unique_ptr<CTextureManager> m_textureManager;
};
