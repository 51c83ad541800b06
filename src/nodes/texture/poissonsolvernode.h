#pragma once

#include "nodes/support/postpass.h"
#include "scene/node.h"
#include "scene/pdtexture.h"

class CPortFloat;
class CPortInt;
class CPortTexture;

// Solves A x = b on the GPU by Jacobi iterations from an initial guess (or
// from zero), b being the picture on RightHandSide; made anew whenever a
// reader asks for it.
class CPoissonSolverNode : public CNode, public CPDTexture
{
public:
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    std::shared_ptr<CTexture> GetTexture(CRender* render) override;

private:
    friend CNodeDeclaration DeclareNode<CPoissonSolverNode>();

    CPortFloat* m_alpha = nullptr;
    CPortFloat* m_beta = nullptr;
    CPortInt* m_iterations = nullptr;
    CPortTexture* m_rightHandSide = nullptr;
    CPortTexture* m_initialGuess = nullptr;
    CPortTexture* m_texture = nullptr;

    CBuiltInEffect m_jacobi;
    CFxParam m_previous, m_rhs, m_texSize, m_alphaParam, m_betaParam;
    CFxPass m_pass;
};
