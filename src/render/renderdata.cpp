#include "render/renderdata.h"

CRenderData::~CRenderData()
{
    FreeDeviceObjects();
}

void CRenderData::FreeDeviceObjects()
{
    m_stateManager.reset();
    // The noise textures are pooled, so they go back before the pool goes.
    if (m_noiseTextures) {
        m_noiseTextures->Free();
        m_noiseTextures.reset();
    }
    // Effects hold textures, so they go before the textures' manager.
    if (m_fxManager) {
        m_fxManager->Free();
        m_fxManager.reset();
    }
    if (m_textureManager) {
        m_textureManager->Free();
        m_textureManager.reset();
    }
}
