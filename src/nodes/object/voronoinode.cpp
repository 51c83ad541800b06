#include "nodes/object/voronoinode.h"

#include "app/random.h"
#include "render/fastmath.h"
#include "scene/nodedeclaration.h"
#include "scene/renderlist.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

namespace {

const char* const kDefaultExpression = "r1 = rand(pointnr)*95;\r\n"
                                       "pos.x=sin(pointnr+time*0.2)*r1;\r\n"
                                       "pos.y=cos(pointnr+time*0.1)*r1;";

constexpr float kNearZero = 1e-05f;
// Lines and sites lie just in front of the cells.
constexpr float kFront = -0.001f;

uint32_t Pack(const float c[4])
{
    return PackColor(c[0], c[1], c[2], c[3]);
}

SVertexPNTBTC FlatVertex(float x, float y, float z, uint32_t color, float u, float v)
{
    return SVertexPNTBTC{{x, y, z}, color, {u, v}, {0, 0, -1}, {1, 0, 0}, {0, -1, 0}, 0};
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CVoronoiNode>()
{
    using C = CVoronoiNode;
    return {
        In(&C::m_numPoints, "NumPoints", "Number of points/sites", {20, 2, 10000}),
        In(&C::m_lineWidth, "LineWidth", "Width of the lines", {0.0f, 0.001f, 0.0f, 10.0f}),
        In(&C::m_pointSize, "PointSize", "Size of points", {0.0f, 0.001f, 0.0f, 100.0f}),
        In(&C::m_lineColor, "LineColor", "Line color (Local)", {{1, 1, 1, 1}}),
        In(&C::m_pointColor, "PointColor", "Point/site color (Local)", {{1, 1, 1, 1}}),
        In(&C::m_cellColor, "CellColor", "Color of the cell (Local)", {{1, 1, 1, 1}}),
        In(&C::m_randomSeed, "RandomSeed", "Random seed to be used by the rand() and srand() functions", {1, 1, 100000}),
        In(&C::m_expression, "Expression",
           "Evaluates points using an expression. Inputs are time,pointnr,numpoints. Inputs & outputs are "
           "vel.x,vel.y,pos.x,pos.y. Please see the website for detailed description of this port. Some of the allowed "
           "values are abs, mod, min, max, sqrt, sin, cos, tan, atan, log, lb, exp, ceil, floor, deg, rad, if, select, "
           "equal, above, below, clip, clamp, and, or, not.",
           kDefaultExpression),
        In(&C::m_pointEffect, "PointEffect", "Effect applied to the points (also known as sites)"),
        In(&C::m_lineEffect, "LineEffect", "Effect applied to the lines"),
        In(&C::m_cellEffect, "CellEffect", "Effect applied to the inside of the cells"),
        Out(&C::m_object, "Object", "Object"),
    };
}

bool CVoronoiNode::Init()
{
    m_expressionContext.AddVariable("pointnr", &m_pointNr, 0.0);
    m_expressionContext.AddVariable("numpoints", &m_numPointsValue, 0.0);
    m_expressionContext.AddVariable("time", &m_time, 0.0);
    m_expressionContext.AddVariable("pos.x", &m_pos[0], 0.0);
    m_expressionContext.AddVariable("pos.y", &m_pos[1], 0.0);
    m_expressionContext.AddVariable("vel.x", &m_vel[0], 0.0);
    m_expressionContext.AddVariable("vel.y", &m_vel[1], 0.0);
    // Scripts may assign these; the node does not read them back.
    const char* colorNames[] = {"col.r", "col.g", "col.b", "col.a"};
    for (int i = 0; i < 4; ++i)
        m_expressionContext.AddVariable(colorNames[i], &m_col[i], 0.0);
    m_expressionContext.BindLists();
    return true;
}

void CVoronoiNode::Resize(int count)
{
    count = std::clamp(count, 2, 10000);
    if (count > int(m_sites.size())) {
        const size_t old = m_sites.size();
        m_sites.resize(size_t(count));
        for (size_t i = old; i < m_sites.size(); ++i) {
            SSite& s = m_sites[i];
            s = SSite{};
            s.x = g_random.NextSigned();
            s.y = g_random.NextSigned();
        }
        m_points.SetPrimitive(CRenderPoints::Texture, count);
        m_deviceDirty = 0xFFFFFFFFu;
    }
    m_count = count;
}

void CVoronoiNode::Update(float time, CSceneContext* context)
{
    m_object->m_value = this;
    UpdateInPorts(time);
    if (!m_parsed || m_expression->m_changed) {
        m_expressionContext.Parse(m_expression->m_value);
        m_parsed = true;
    }
    // No script is no error: the sites just keep their velocity.
    const bool script = !m_expression->m_value.empty();
    if (script && !m_expressionContext.IsValid())
        return;
    if (m_numPoints->m_value != m_count)
        Resize(m_numPoints->m_value);

    m_numPointsValue = m_count;
    m_time = time;
    m_expressionContext.SeedRandom(uint32_t(m_randomSeed->m_value));
    const float d = context ? context->m_deltaTime : 0.0f;
    for (int i = 0; i < m_count; ++i) {
        SSite& s = m_sites[size_t(i)];
        const float u = float(i) / float(m_count - 1);
        m_lineColor->Update(u);
        m_pointColor->Update(u);
        m_cellColor->Update(u);
        if (script) {
            m_pointNr = i;
            m_pos[0] = s.x;
            m_pos[1] = s.y;
            m_vel[0] = s.vx;
            m_vel[1] = s.vy;
            m_expressionContext.Evaluate();
            s.x = float(m_pos[0]);
            s.y = float(m_pos[1]);
            s.vx = float(m_vel[0]);
            s.vy = float(m_vel[1]);
        }
        s.x += s.vx * d;
        s.y += s.vy * d;
        std::copy_n(m_cellColor->m_value.begin(), 4, s.cellColor);
        std::copy_n(m_lineColor->m_value.begin(), 4, s.lineColor);
        std::copy_n(m_pointColor->m_value.begin(), 4, s.pointColor);
    }
    m_voronoi.GenerateVoronoi(m_sites.data(), m_count, sizeof(SSite), -1.0f, 1.0f, -1.0f, 1.0f, 0.001f);
    FillEdges();
    FillPoints();
}

bool CVoronoiNode::UsesQuads() const
{
    return std::fabs(m_lineWidth->m_value) > kNearZero;
}

void CVoronoiNode::FillEdges()
{
    const auto edges = m_voronoi.GetEdges();
    if (edges.empty())
        return;
    const int n = int(edges.size());
    // Grown at once to the most records the sites can give, so that frames
    // whose diagram has a few more edges than the last allocate nothing.
    const int most = std::max(n, 6 * m_count);
    if (!UsesQuads()) {
        m_lines.Resize(most);
        m_lines.Resize(n);
        for (int i = 0; i < n; ++i) {
            const VoronoiEdge& e = edges[size_t(i)];
            const uint32_t color = Pack(m_sites[size_t(e.site)].lineColor);
            *m_lines.GetLine(i) = {{e.x2, e.y2, 0.0f, color}, {e.x1, e.y1, 0.0f, color}};
        }
        return;
    }
    m_quads.Resize(most);
    m_quads.Resize(n);
    SQuad* quads = m_quads.GetQuads();
    const float half = m_lineWidth->m_value * 0.5f;
    for (int i = 0; i < n; ++i) {
        const VoronoiEdge& e = edges[size_t(i)];
        const uint32_t color = Pack(m_sites[size_t(e.site)].lineColor);
        const float dx = e.x2 - e.x1, dy = e.y2 - e.y1;
        const float s = FastInvSqrt(dx * dx + dy * dy) * half;
        const float sx = -dy * s, sy = dx * s;
        quads[i] = SQuad{{FlatVertex(e.x1 - sx, e.y1 - sy, kFront, color, 0, 0),
                          FlatVertex(e.x2 - sx, e.y2 - sy, kFront, color, 0, 1),
                          FlatVertex(e.x1 + sx, e.y1 + sy, kFront, color, 1, 0),
                          FlatVertex(e.x2 + sx, e.y2 + sy, kFront, color, 1, 1)}};
    }
}

void CVoronoiNode::FillPoints()
{
    const float size = m_pointSize->m_value;
    if (m_voronoi.GetEdges().empty() || std::fabs(size) <= kNearZero ||
        m_points.GetPrimitive() != CRenderPoints::Texture || m_points.GetCapacity() < m_count)
        return;
    const auto records = m_points.Records<CRenderPoints::SSized>();
    for (int i = 0; i < m_count; ++i) {
        const SSite& s = m_sites[size_t(i)];
        records[size_t(i)] = {s.x, s.y, kFront, Pack(s.pointColor), size, size, size};
    }
}

void CVoronoiNode::CellTriangle(int i, SVertexPNTBTC out[3]) const
{
    const VoronoiEdge& e = m_voronoi.GetEdges()[size_t(i)];
    const SSite& s = m_sites[size_t(e.site)];
    const uint32_t color = Pack(s.cellColor);
    out[0] = FlatVertex(s.x, s.y, 0.0f, color, 0.5f, 0.0f);
    out[1] = FlatVertex(e.x1, e.y1, 0.0f, color, 0.0f, 1.0f);
    out[2] = FlatVertex(e.x2, e.y2, 0.0f, color, 1.0f, 1.0f);
}

bool CVoronoiNode::RestoreDevice(CRender* render)
{
    const bool points = m_points.RestoreDevice(render);
    const bool lines = m_lines.RestoreDevice(render);
    const bool quads = m_quads.RestoreDevice(render);
    const bool cells = m_buffers.Restore(
        render, VBF_PNTBTC, 3 * TrianglesPerBatch, false,
        {"!(dObjs->m_VertexBuffer[i] = render->CreateVertexBuffer(triVBufSize, VBF_DYNAMIC, VBF_PNTBTC))",
         "!(dObjs->m_IndexBuffer = render->CreateIndexBuffer(triIndexSize, 0))", __FILE__, __LINE__});
    return points && lines && quads && cells;
}

void CVoronoiNode::InvalidateDevice(CRender* render)
{
    m_points.InvalidateDevice(render);
    m_lines.InvalidateDevice(render);
    m_quads.InvalidateDevice(render);
    m_buffers.Invalidate(render);
}

void CVoronoiNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (!list || !parents)
        return;
    if (CPDEffect* effect = m_cellEffect->m_value)
        for (CRenderItem* parent : *parents)
            parent->m_children.PushBack(list->NewItem(parent->m_world, camera, this, effect, parent->m_color));
    const auto edges = m_voronoi.GetEdges();
    if (!edges.empty()) {
        if (UsesQuads())
            m_quads.AddToRenderList(list, parents, camera, m_lineEffect->m_value, int(edges.size()));
        else
            m_lines.AddToRenderList(list, parents, camera, m_lineEffect->m_value);
    }
    if (!edges.empty() && std::fabs(m_pointSize->m_value) > kNearZero)
        m_points.AddToRenderList(list, parents, camera, m_pointEffect->m_value, nullptr, m_count);
}

void CVoronoiNode::Draw(CRender* render)
{
    m_buffers.DrawTriangles(render, int(m_voronoi.GetEdges().size()), TrianglesPerBatch,
                            [&](void* memory, int first, int n) {
                                auto* out = static_cast<SVertexPNTBTC*>(memory);
                                for (int i = first; i < first + n; ++i, out += 3)
                                    CellTriangle(i, out);
                            });
}
