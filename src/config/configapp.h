#pragma once

#include "render/userapp3d.h"

class CLumora;
class CRender;

// The application object of the front end: it plays nothing and draws
// nothing, but the host needs one.
class CConfigApp : public CUserApp3d
{
public:
    bool Draw(CRender*) override { return true; }
    bool Update(float) override { return true; }
    std::string GetName() const override { return {}; }

    CLumora* m_director = nullptr;
    CRender* m_render = nullptr;
};
