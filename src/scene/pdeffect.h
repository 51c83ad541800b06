#pragma once

class CFxPass;
class CRender;

// A programmable effect published through an Effect port. The render list
// sets m_render before Begin.
class CPDEffect
{
public:
    virtual ~CPDEffect() = default;
    // The first pass, or null.
    virtual CFxPass* Begin() = 0;
    virtual void BeginPass(CFxPass* pass) = 0;
    // The next pass, or null.
    virtual CFxPass* NextPass(CFxPass* pass) = 0;
    virtual void EndPass(CFxPass* pass) = 0;
    virtual void End() = 0;
    virtual void SetColor(const float* rgba) = 0;
    // `matrix` is 16 floats, row by row.
    virtual void SetWorld(int index, const float* matrix) = 0;
    virtual void CommitChanges(CRender* render) = 0;

    CRender* m_render = nullptr;
};
