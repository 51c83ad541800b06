#pragma once

#include "render/renderstates.h"

// Writes the whole wanted state on each Activate and keeps no shadow copy:
// effect passes change GL state without the manager's knowledge.
class CRenderStateManagerOGL : public CRenderStateManager
{
public:
    using CRenderStateManager::CRenderStateManager;
    void Activate() override;
};
