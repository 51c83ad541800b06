#include "render/renderdata.h"

CRenderData::~CRenderData()
{
    FreeDeviceObjects();
}

void CRenderData::FreeDeviceObjects()
{
    m_stateManager.reset();
    if (m_textureManager) {
        m_textureManager->Free();
        m_textureManager.reset();
    }
}
