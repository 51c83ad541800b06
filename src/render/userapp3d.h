#pragma once

#include <string>

class CRender;

// The application callback object: all the host and the render know of the
// application. The director's application forwards these calls to it.
class CUserApp3d
{
public:
    virtual ~CUserApp3d() = default;
    virtual bool OneTimeInit() { return true; }
    virtual bool Draw(CRender* render) = 0;
    virtual bool Update(float deltaTime) = 0;
    virtual bool RestoreDevice() { return true; }
    virtual bool InvalidateDevice() { return true; }
    virtual std::string GetName() const { return "Lumora"; }
    virtual void FrameFinished() {}
    // The user asks for another scene.
    virtual void NextScene() {}
    virtual void PrevScene() {}
    virtual std::string GetVersionText() const { return {}; }
    virtual std::string GetStatusText() const { return {}; }
};
