#include "render/renderdata.h"

CRenderData::~CRenderData()
{
    FreeDeviceObjects();
}

void CRenderData::FreeDeviceObjects()
{
    m_stateManager.reset();
}
