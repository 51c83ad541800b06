#include "nodes/object/ribbonsnode.h"

#include "app/random.h"
#include "ports/types/dataports.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portstring.h"
#include "render/camera.h"
#include "render/rendertypes.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <algorithm>

namespace {

constexpr const char* kDefaultExpression =
    "pos.x = sin(time+ribbonnr*1.12);\r\npos.y = cos(time+ribbonnr*1.12);\r\npos.z = 0;\r\n";

constexpr const char* kExpressionDescription =
    "Expression evaluated once for each ribbon at each new point.\nInputs: ribbonnr (from 1), numribbons, time, "
    "scenetime, deltatime, aspect, in1 to in5, perm and permrand (kept for the life of the node).\nOutputs: "
    "pos.x/y/z, width, col.r/g/b/a.";

} // namespace

template <>
CNodeDeclaration DeclareNode<CRibbonsNode>()
{
    using C = CRibbonsNode;
    return {
        In(&C::m_numRibbons, "NumRibbons", "Number of ribbons", {3, 1, 10000}),
        In(&C::m_numPoints, "NumPoints", "Number of points in each ribbon.", {20, 2, 10000}),
        In(&C::m_evaluationsPerSec, "EvaluationsPerSec",
           "Number of expression evaluations that should be done per second. For each evaluation we calculate one "
           "new point in the ribbon",
           {30.0f, 1.0f, 0.0f, 10000.0f}),
        InEach(&C::m_inputs, "In", "12345", "Input value #", {0.0f, 0.01f, -10000.0f, 10000.0f}),
        In(&C::m_randomSeed, "RandomSeed", "Random seed to be used by the rand() and srand() functions",
           {1, 1, 100000}),
        In(&C::m_expression, "Expression", kExpressionDescription, kDefaultExpression),
        In(&C::m_effect, "Effect", "Effect to apply to each ribbon"),
        Out(&C::m_objectOut, "Object", "Object"),
    };
}

bool CRibbonsNode::Init()
{
    static constexpr const char* names[] = {"in1",       "in2",   "in3",      "in4",      "in5",        "deltatime",
                                            "scenetime", "perm",  "permrand", "ribbonnr", "numribbons", "time",
                                            "aspect",    "pos.x", "pos.y",    "pos.z",    "width",      "col.r",
                                            "col.g",     "col.b", "col.a"};
    static_assert(std::size(names) == V_Count);
    m_expressionContext.AddVariables(names, m_variables);
    m_variables[V_PermRand] = g_random.NextUnit();
    return true;
}

void CRibbonsNode::MakeStore(int ribbons, int points)
{
    m_ribbonCount = ribbons;
    m_ringSize = points;
    m_ringCount = 0;
    m_head = 0;
    const size_t size = size_t(ribbons) * size_t(points);
    if (m_points.size() < size)
        m_points.resize(size);
    m_lines.Reserve(ribbons, int(size));
    m_lines.Reset();
}

void CRibbonsNode::Update(float time, CSceneContext* context)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);
    const int ribbons = std::max(1, m_numRibbons->m_value), points = std::max(2, m_numPoints->m_value);
    if (ribbons != m_ribbonCount || points != m_ringSize)
        MakeStore(ribbons, points);
    if (m_expression->m_changed)
        m_expressionContext.Parse(m_expression->m_value);
    if (!m_expressionContext.IsValid())
        return;

    // No rate means an endless period: no pass ever starts.
    const float rate = m_evaluationsPerSec->m_value;
    m_accumulator += context ? context->m_deltaTime : 0.0f;
    if (rate <= 0.0f || m_accumulator < 1.0f / rate)
        return;
    m_accumulator -= 1.0f / rate;
    Pass(context);
    FillLines();
    CCamera fallback;
    m_lines.BuildQuads(context && context->m_camera ? *context->m_camera : fallback);
}

void CRibbonsNode::Pass(CSceneContext* context)
{
    double* v = m_variables.data();
    for (size_t i = 0; i < 5; ++i)
        v[V_In1 + i] = m_inputs[i]->m_value;
    v[V_DeltaTime] = context ? context->m_deltaTime : 0.0f;
    v[V_SceneTime] = v[V_Time] = context ? context->m_time : 0.0f;
    v[V_Aspect] = context ? context->m_aspect : 1.0f;
    v[V_NumRibbons] = m_ribbonCount;
    m_expressionContext.SeedRandom(uint32_t(m_randomSeed->m_value));

    m_head = (m_head + 1) % m_ringSize;
    m_ringCount = std::min(m_ringCount + 1, m_ringSize);
    for (int r = 0; r < m_ribbonCount; ++r) {
        v[V_RibbonNr] = r + 1;
        v[V_PosX] = v[V_PosY] = v[V_PosZ] = 0.0;
        v[V_Width] = 0.1;
        v[V_ColR] = v[V_ColG] = v[V_ColB] = v[V_ColA] = 1.0;
        m_expressionContext.Evaluate();
        m_points[size_t(r) * size_t(m_ringSize) + size_t(m_head)] = {
            {float(v[V_PosX]), float(v[V_PosY]), float(v[V_PosZ])},
            PackColor(float(v[V_ColR]), float(v[V_ColG]), float(v[V_ColB]), float(v[V_ColA])),
            float(v[V_Width])};
    }
}

void CRibbonsNode::FillLines()
{
    m_lines.Reset();
    if (m_ringCount < 2)
        return;
    // Newest first, v running from 0 at the head to 1 at the tail.
    const float step = 1.0f / float(m_ringCount - 1);
    for (int r = 0; r < m_ribbonCount; ++r) {
        const SPoint* ring = &m_points[size_t(r) * size_t(m_ringSize)];
        CRenderVolumeLines::SVertex* out = m_lines.AddPolyline(m_ringCount);
        for (int k = 0; k < m_ringCount; ++k) {
            const SPoint& p = ring[(m_head - k + m_ringSize) % m_ringSize];
            out[k] = {p.position.x, p.position.y, p.position.z, p.color, p.width, float(k) * step};
        }
    }
}

bool CRibbonsNode::RestoreDevice(CRender* render)
{
    return m_lines.RestoreDevice(render);
}

void CRibbonsNode::InvalidateDevice(CRender* render)
{
    if (render)
        m_lines.InvalidateDevice(render);
}

void CRibbonsNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (list && parents && m_lines.GetQuadCount() > 0)
        m_lines.AddToRenderList(list, parents, camera, m_effect->m_value);
}
