#include "nodes/object/metaballsnode.h"

#include "app/log.h"
#include "app/random.h"
#include "render/fastmath.h"
#include "scene/nodedeclaration.h"
#include "scene/renderlist.h"
#include "scene/scenecontext.h"

#include <algorithm>

namespace {

// Streams the surface into the node's rotating buffers, drawing each full
// pair.
class CBufferSink : public CMetaballSink
{
public:
    CBufferSink(CRender* render, CTriangleBuffers& buffers) : m_render(render), m_buffers(buffers) { Next(); }

    bool Flush() override
    {
        m_buffers.UnlockAndDraw(m_render, m_indexCount);
        return Next();
    }
    void Finish() override
    {
        if (m_vertices)
            m_buffers.UnlockAndDraw(m_render, m_indexCount);
        m_vertices = nullptr;
    }

private:
    bool Next()
    {
        void* vertices = nullptr;
        m_vertexCount = m_indexCount = 0;
        m_vertices = nullptr;
        m_indices = nullptr;
        if (!m_buffers.Lock(m_render, &vertices, &m_indices))
            return false;
        m_vertices = static_cast<SVertexPNTC*>(vertices);
        return true;
    }

    CRender* m_render;
    CTriangleBuffers& m_buffers;
};

void RandomHalfVector(float* v)
{
    for (int axis = 0; axis < 3; ++axis)
        v[axis] = g_random.NextSigned() * 0.5f;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CMetaballsNode>()
{
    using C = CMetaballsNode;
    return {
        In(&C::m_numBalls, "NumBalls", "Number of metaballs", {10, 1, 1000}),
        In(&C::m_gridSize, "GridSize", "Size of the grid subdivision. Higher value will be smoother but slower",
           {50, 2, 10000}),
        In(&C::m_threshold, "Threshold", "At what energy threshold we will create the hull of the balls",
           {100.0f, 1.0f, 0.0f, 100000.0f}),
        In(&C::m_speed, "Speed", "Speed of ball movement", {0.1f, 0.001f, 0.0f, 10000.0f}),
        In(&C::m_effect, "Effect", "Effect"),
        Out(&C::m_object, "Object", "Object"),
    };
}

float CMetaballsNode::GetThreshold() const
{
    return std::max(m_threshold->m_value, MinThreshold);
}

void CMetaballsNode::Resize(int count)
{
    count = std::clamp(count, 1, 1000);
    const size_t old = m_balls.size();
    m_balls.resize(size_t(count));
    for (size_t i = old; i < m_balls.size(); ++i) {
        SMetaball& ball = m_balls[i];
        RandomHalfVector(ball.position);
        RandomHalfVector(ball.velocity);
        RandomHalfVector(ball.target);
        ball.timer = g_random.NextUnit();
        ball.strength = 1.0f;
    }
}

void CMetaballsNode::Move(SMetaball& ball, float d, float speed) const
{
    SVec3 position{ball.position[0], ball.position[1], ball.position[2]};
    SVec3 velocity{ball.velocity[0], ball.velocity[1], ball.velocity[2]};
    position = position + velocity * d;
    ball.timer -= d;
    if (ball.timer < 0.0f) {
        ball.timer = g_random.NextUnit();
        RandomHalfVector(ball.target);
    }
    const SVec3 toTarget = SVec3{ball.target[0], ball.target[1], ball.target[2]} - position;
    velocity = velocity + FastNormalize(toTarget) * (speed * d);
    const float length2 = Dot(velocity, velocity);
    if (length2 > 0.04f)
        velocity = velocity * (0.2f * FastInvSqrt(length2));
    ball.position[0] = position.x;
    ball.position[1] = position.y;
    ball.position[2] = position.z;
    ball.velocity[0] = velocity.x;
    ball.velocity[1] = velocity.y;
    ball.velocity[2] = velocity.z;
    // The outermost cells stay free, so that the surface closes at the walls.
    const float c = m_surface.GetCellSize();
    for (int axis = 0; axis < 3; ++axis) {
        const float low = c - 1.0f, high = 1.0f - c;
        if (ball.position[axis] < low || ball.position[axis] > high) {
            ball.position[axis] = std::clamp(ball.position[axis], low, high);
            ball.velocity[axis] = 0.0f;
        }
    }
}

void CMetaballsNode::Update(float time, CSceneContext* context)
{
    m_object->m_value = this;
    UpdateInPorts(time);
    const int grid = m_gridSize->m_value;
    if (grid > CMetaballSurface::MaxGridSize && !m_gridCapReported) {
        m_gridCapReported = true;
        Log("Metaballs \"%s\": GridSize %d is drawn as %d", m_name.c_str(), grid, CMetaballSurface::MaxGridSize);
    }
    m_surface.SetGridSize(grid);
    if (int(m_balls.size()) != m_numBalls->m_value)
        Resize(m_numBalls->m_value);
    const float d = context ? context->m_deltaTime : 0.0f;
    for (SMetaball& ball : m_balls)
        Move(ball, d, m_speed->m_value);
}

void CMetaballsNode::ExtractSurface(CMetaballSink& sink)
{
    if (m_surface.GetGridSize() == 0)
        m_surface.SetGridSize(m_gridSize->m_value);
    m_surface.Extract(m_balls, GetThreshold(), sink);
}

bool CMetaballsNode::RestoreDevice(CRender* render)
{
    return m_buffers.Restore(
        render, VBF_PNTC, CMetaballSurface::MaxVertices, true,
        {"!(dObjs->m_VertexBuffer[i] = render->CreateVertexBuffer(MAX_VERTICES, VBF_DYNAMIC, VBF_PNTC))",
         "!(dObjs->m_IndexBuffer[i] = render->CreateIndexBuffer(MAX_INDICES, IBF_DYNAMIC))", __FILE__, __LINE__});
}

void CMetaballsNode::InvalidateDevice(CRender* render)
{
    m_buffers.Invalidate(render);
}

void CMetaballsNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (!m_effect->m_value || !list || !parents)
        return;
    for (CRenderItem* parent : *parents)
        parent->m_children.PushBack(list->NewItem(parent->m_world, camera, this, m_effect->m_value, parent->m_color));
}

void CMetaballsNode::Draw(CRender* render)
{
    if (!m_buffers.IsReady())
        return;
    CBufferSink sink(render, m_buffers);
    ExtractSurface(sink);
}
