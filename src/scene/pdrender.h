#pragma once

class CRender;

// A step of the render chain: it draws itself and asks the step on its own
// Render input to do the same.
class CPDRender
{
public:
    virtual ~CPDRender() = default;
    virtual void Render(CRender* render) = 0;
};
