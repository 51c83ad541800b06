#include "nodes/texture/poissonsolvernode.h"

#include "nodes/support/publishtexture.h"
#include "ports/types/dataports.h"
#include "render/camera.h"
#include "render/render.h"
#include "render/rendertarget.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "scene/nodedeclaration.h"

template <>
CNodeDeclaration DeclareNode<CPoissonSolverNode>()
{
    return {
        In(&CPoissonSolverNode::m_alpha, "Alpha", "Alpha", {1.0f, 0.001f, -1000.0f, 1000.0f}),
        In(&CPoissonSolverNode::m_beta, "Beta", "Beta", {0.25f, 0.001f, -1000.0f, 1000.0f}),
        In(&CPoissonSolverNode::m_iterations, "Iterations", "The number of iterations to do to try to solve the system",
           {20, 1, 10000}),
        In(&CPoissonSolverNode::m_rightHandSide, "RightHandSide", "The b in the Ax=b equation"),
        In(&CPoissonSolverNode::m_initialGuess, "InitalGuess",
           "The inital guess (x) at the unknowns that we solve for in the Ax=b equation."),
        Out(&CPoissonSolverNode::m_texture, "Texture", "Texture"),
    };
}

void CPoissonSolverNode::Update(float time, CSceneContext*)
{
    PublishTexture(*m_texture, this, m_dimension, m_flags);
    UpdateInPorts(time);
    if (m_rightHandSide->m_changed || m_initialGuess->m_changed)
        m_deviceDirty = 0xFFFFFFFFu;
}

bool CPoissonSolverNode::RestoreDevice(CRender* render)
{
    if (!m_jacobi.Load(render, "nodedata/ps_jacobi.cgfx"))
        return false;
    m_previous = m_jacobi.Param("prevSolutionSampler");
    m_rhs = m_jacobi.Param("rhsSampler");
    m_texSize = m_jacobi.Param("gTexSize");
    m_alphaParam = m_jacobi.Param("gAlpha");
    m_betaParam = m_jacobi.Param("gBeta");
    m_pass = m_jacobi.Pass("MainPass");
    return true;
}

void CPoissonSolverNode::InvalidateDevice(CRender*)
{
    m_jacobi.Reset();
    m_previous = m_rhs = m_texSize = m_alphaParam = m_betaParam = CFxParam();
    m_pass = CFxPass();
}

std::shared_ptr<CTexture> CPoissonSolverNode::GetTexture(CRender* render)
{
    if (m_rightHandSide->m_connections.empty() || !m_rightHandSide->m_value)
        return nullptr;
    std::shared_ptr<CTexture> rhs = m_rightHandSide->m_value->GetTexture(render);
    if (!rhs)
        return nullptr;
    if (!m_jacobi.IsLoaded() && !RestoreDevice(render))
        return nullptr;
    CCamera camera;
    camera.m_projection = CCamera::Orthographic;
    camera.m_fov = 60.0f;
    camera.m_near = 0.0f;
    camera.m_far = 1000.0f;
    SetPostStates(render);

    const int width = rhs->m_width, height = rhs->m_height, format = rhs->m_format;
    std::shared_ptr<CTexture> guess;
    if (!m_initialGuess->m_connections.empty() && m_initialGuess->m_value)
        guess = m_initialGuess->m_value->GetTexture(render);
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    if (!guess && textures) {
        // Without a guess the solution starts from zero.
        if (std::shared_ptr<CRenderTarget> zero = textures->GetRenderTarget(width, height, format, 0, "PoissonSolverNode")) {
            zero->Bind(render);
            const float clear[4] = {0, 0, 0, 0};
            render->Clear(clear, 1.0f, CF_Color | CF_Depth);
            zero->Unbind();
            guess = zero->GetColorTexture();
        }
    }
    if (!guess)
        return nullptr;

    CFx& fx = *m_jacobi.Fx();
    const float texel[2] = {1.0f / float(width), 1.0f / float(height)};
    for (int i = 0; i < m_iterations->m_value && guess; ++i) {
        render->SetCamera(camera);
        fx.SetTexture(m_previous, guess);
        fx.SetTexture(m_rhs, rhs);
        m_texSize.SetVector2(texel);
        m_alphaParam.SetFloat(m_alpha->m_value);
        m_betaParam.SetFloat(m_beta->m_value);
        guess = RunPass(render, fx, m_pass, width, height, format, "PoissonSolverNodeIt");
    }
    fx.SetTexture(m_previous, nullptr);
    fx.SetTexture(m_rhs, nullptr);
    return guess;
}
