#pragma once

class CRender;

// A drawable published through an Object port.
class CPDObject
{
public:
    virtual ~CPDObject() = default;
    // Called once for each render item of the object.
    virtual void Draw(CRender* render);
};

inline void CPDObject::Draw(CRender*)
{
}
