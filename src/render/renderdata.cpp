#include "render/renderdata.h"

CRenderData::~CRenderData()
{
    FreeDeviceObjects();
}

void CRenderData::FreeDeviceObjects()
{
    m_stateManager.reset();
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
