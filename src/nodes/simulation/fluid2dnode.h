#pragma once

#include "render/renderpoints.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <span>
#include <vector>

class CPortBool;
class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;
class CPortVector;

// A material-point fluid on a grid, in grid-cell units: particles scatter
// mass and density to the nodes around them through quadratic weights,
// take pressure and wall forces back, and move with the nodes' velocity.
// Fixed steps of 1/30 s. Only the nodes that particles touched are cleared
// and divided, through the active list.
class CFluid2dNode : public CNode, public CPDObject
{
public:
    struct SMaterial
    {
        float mass = 1.0f;
        float unused = 0.1f;
    };
    struct SParticle
    {
        const SMaterial* material;
        float x, y;
        float u, v;
        int cx, cy;
        float px[3], py[3];
        float gx[3], gy[3];
    };
    struct SGridNode
    {
        float mass, d;
        float gx, gy;
        float u, v;
        float ax, ay;
        bool active;
    };

    static constexpr float StepLength = 0.033333335f;
    static constexpr int MaxGridCells = 1024;
    static constexpr int MaxParticles = 1000000;

    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    std::span<const SParticle> GetParticles() const { return {m_particles.data(), size_t(m_count)}; }
    int GetStepCount() const { return m_steps; }
    int GetActiveCount() const { return int(m_active.size()); }
    const CRenderPoints& GetPoints() const { return m_points; }

private:
    friend CNodeDeclaration DeclareNode<CFluid2dNode>();

    SGridNode& Node(int x, int y) { return m_grid[size_t(y) * size_t(m_width) + size_t(x)]; }
    void Step(int width, int height);
    void Spawn(int count, int width, int height);
    void Weights(int width, int height);
    void Scatter();
    void Forces(int width, int height);
    void Velocities();
    void Move(int width, int height);
    void FillBatcher(int width, int height, float aspect);

    CPortEffect* m_effect = nullptr;
    CPortInt* m_gridCellsX = nullptr;
    CPortInt* m_gridCellsY = nullptr;
    CPortInt* m_numParticles = nullptr;
    CPortColor* m_color = nullptr;
    CPortVector* m_gravity = nullptr;
    CPortFloat* m_particleSize = nullptr;
    CPortInt* m_primType = nullptr;
    CPortBool* m_adjustForAspect = nullptr;
    CPortObject* m_objectIn = nullptr;
    CPortObject* m_objectOut = nullptr;

    SMaterial m_material;
    std::vector<SParticle> m_particles;
    int m_count = 0;
    std::vector<SGridNode> m_grid;
    int m_width = 0;
    std::vector<SGridNode*> m_active;
    float m_accumulator = 0.0f;
    int m_steps = 0;
    int m_batcherPrimitive = -1;
    bool m_capReported = false;
    CRenderPoints m_points;
};
