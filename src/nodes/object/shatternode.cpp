#include "nodes/object/shatternode.h"

#include "app/random.h"
#include "render/fastmath.h"
#include "scene/nodedeclaration.h"
#include "scene/renderlist.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kTwoPi = 6.2831855f;
constexpr float kHalfSide = 3.0f;

// Shared by every Shatter node of the process, so that two in a row differ.
int s_patternSwitch = -1;

SVec3 Vec(const float* v)
{
    return {v[0], v[1], v[2]};
}

void Store(float* out, const SVec3& v)
{
    out[0] = v.x;
    out[1] = v.y;
    out[2] = v.z;
}

// QEasingCurve's OutQuad.
float OutQuad(float q)
{
    return -q * (q - 2.0f);
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CShatterNode>()
{
    using C = CShatterNode;
    return {
        In(&C::m_gravity, "Gravity", "Direction and strength of gravity", {{0, -0.9f, 0}, 0.1f, 10000.0f}),
        In(&C::m_shatterDelay, "ShatterDelay", "How long to wait before the object is shattered (Sec)",
           {2.0f, 0.01f, 0.0f, 1000.0f}),
        In(&C::m_shatterTime, "ShatterTime", "How long time the shatter process will last (Sec)",
           {12.0f, 0.01f, 0.0f, 1000.0f}),
        In(&C::m_rebuildTime, "RebuildTime", "Minimum time to rebuilt the object again (Sec)",
           {0.25f, 0.01f, 0.0f, 1000.0f}),
        In(&C::m_rebuildTimeVar, "RebuildTimeVar", "Variation time added to the rebuild tim (Sec)",
           {4.0f, 0.01f, 0.0f, 1000.0f}),
        In(&C::m_numPoints, "NumPoints", "Number of points", {1000, 1, 100000}),
        In(&C::m_effect, "Effect", "Effect applied to the object"),
        Out(&C::m_object, "Object", "Object"),
    };
}

bool CShatterNode::Init()
{
    m_expressionContext.AddVariable("pointnr", &m_pointNr, 0.0);
    m_expressionContext.AddVariable("numpoints", &m_numPointsValue, 0.0);
    m_expressionContext.AddVariable("time", &m_time, 0.0);
    m_expressionContext.BindLists();
    return true;
}

int CShatterNode::GetPatternSwitch()
{
    return s_patternSwitch;
}

void CShatterNode::Update(float time, CSceneContext* context)
{
    m_object->m_value = this;
    UpdateInPorts(time);
    const float d = context ? context->m_deltaTime : 0.0f;
    const float timeScale = context && context->m_timeScale > 0.0f ? context->m_timeScale : 1.0f;
    m_t += d;
    m_accumulator += d / timeScale;
    if (m_accumulator < StepLength)
        return;
    m_accumulator -= StepLength;

    const auto& gv = m_gravity->m_value;
    const float g[3] = {gv[0] * 0.0011111113f, gv[1] * 0.0011111113f, gv[2] * 0.0011111113f};
    const float D = m_shatterDelay->m_value, S = m_shatterTime->m_value;
    const float R = m_rebuildTime->m_value, V = m_rebuildTimeVar->m_value;
    if (m_t < D) {
        // Whole: nothing moves.
    } else if (m_t < D + S) {
        Fall(g);
    } else if (m_t < D + S + R + V) {
        Rebuild(m_t - (D + S));
    } else {
        m_t = 0.0f;
        Build();
    }
    Relax();
}

void CShatterNode::Fall(const float g[3])
{
    for (STriangle& tri : m_triangles) {
        for (SCorner& c : tri.corner) {
            const SVec3 p = Vec(c.position), prev = Vec(c.previous);
            SVec3 next = p + (p - prev) * 0.995f + Vec(g);
            SVec3 newPrev = p;
            if (next.y < Floor) {
                const float depth = Floor - next.y;
                next.y = Floor;
                const SVec3 v = next - newPrev;
                if (Dot(v, v) > 1e-5f && depth * depth > 1e-5f) {
                    // Bounce off the floor at half speed, slide at a quarter.
                    const SVec3 normal{0.0f, v.y, 0.0f};
                    const SVec3 tangent{v.x, 0.0f, v.z};
                    newPrev = next - (tangent * 0.25f - normal * 0.5f);
                }
            }
            Store(c.previous, newPrev);
            Store(c.position, next);
        }
    }
}

void CShatterNode::Rebuild(float since)
{
    const float R = m_rebuildTime->m_value, V = m_rebuildTimeVar->m_value;
    for (STriangle& tri : m_triangles) {
        const float duration = tri.rebuild * V + R;
        const float q = duration > 0.0f ? std::min(since / duration, 1.0f) : 1.0f;
        const float e = OutQuad(q);
        // `previous` keeps where the fall left the corner.
        for (SCorner& c : tri.corner)
            for (int k = 0; k < 3; ++k)
                c.position[k] = c.previous[k] + (c.home[k] - c.previous[k]) * e;
    }
}

void CShatterNode::Relax()
{
    constexpr int kEdges[3][2] = {{0, 1}, {1, 2}, {2, 0}};
    for (STriangle& tri : m_triangles) {
        const SVec3 c0 = Vec(tri.corner[0].position), c1 = Vec(tri.corner[1].position);
        const SVec3 c2 = Vec(tri.corner[2].position);
        Store(tri.normal, FastNormalize(Cross(c0 - c2, c0 - c1)));
        for (int e = 0; e < 3; ++e) {
            float* a = tri.corner[kEdges[e][0]].position;
            float* b = tri.corner[kEdges[e][1]].position;
            const SVec3 d = Vec(a) - Vec(b);
            const float rest = tri.rest[e];
            const float s = rest / (Dot(d, d) + rest) - 0.5f;
            Store(a, Vec(a) + d * s);
            Store(b, Vec(b) - d * s);
        }
    }
}

void CShatterNode::Build()
{
    if (s_patternSwitch < 0)
        s_patternSwitch = int(std::floor(g_random.NextUnit() * 2.0f));
    s_patternSwitch = (s_patternSwitch + 1) % 2;
    const int pattern = s_patternSwitch;
    const float r0 = g_random.NextSigned(), r1 = g_random.NextSigned();
    g_random.NextSigned();
    const float cx = r0 * 1.5f, cy = r1 * 1.5f;

    const int wanted = std::max(m_numPoints->m_value, 1);
    m_points.clear();
    m_points.reserve(size_t(wanted) + 8);
    for (const auto& [x, y] : {std::pair{-kHalfSide, kHalfSide}, {kHalfSide, kHalfSide}, {kHalfSide, -kHalfSide},
                               {-kHalfSide, -kHalfSide}})
        m_points.push_back({x, y, 0.0f});
    if (pattern == 1) {
        m_points.push_back({cx, cy, 0.0f});
        const int perRing = wanted / 5;
        for (float r : {0.25f, 0.5f, 1.0f, 2.0f, 4.0f}) {
            for (int k = 0; k < perRing; ++k) {
                const float a = kTwoPi * float(k) / float(perRing);
                const float x = cx + std::cos(a) * r + g_random.NextSigned() * r * 0.4f;
                const float y = cy + std::sin(a) * r + g_random.NextSigned() * r * 0.4f;
                // Off the plane: left out.
                if (std::fabs(x) <= kHalfSide && std::fabs(y) <= kHalfSide)
                    m_points.push_back({x, y, 0.0f});
            }
        }
    } else {
        for (int i = 0; i < wanted - 4; ++i) {
            const float x = g_random.NextSigned(), y = g_random.NextSigned();
            g_random.NextSigned();
            m_points.push_back({x * kHalfSide, y * kHalfSide, 0.0f});
        }
    }
    const int count = int(m_points.size());
    m_points.resize(size_t(count) + 3);
    const SBox2 box = Triangulate(m_points, count, m_indices);
    const int mode = int(std::floor(g_random.NextUnit() * 5.0f));

    const float w = box.maxX > box.minX ? box.maxX - box.minX : 1.0f;
    const float h = box.maxY > box.minY ? box.maxY - box.minY : 1.0f;
    m_triangles.resize(m_indices.size());
    for (size_t i = 0; i < m_indices.size(); ++i) {
        STriangle& tri = m_triangles[i];
        const int ids[3] = {m_indices[i].p1, m_indices[i].p2, m_indices[i].p3};
        float su = 0, sv = 0;
        for (int k = 0; k < 3; ++k) {
            const SPoint3& p = m_points[size_t(ids[k])];
            SCorner& c = tri.corner[k];
            Store(c.home, {p.x, p.y, p.z});
            Store(c.position, {p.x, p.y, p.z});
            Store(c.previous, {p.x, p.y, p.z});
            c.u = (p.x - box.minX) / w;
            c.v = (p.y - box.minY) / h;
            su += c.u;
            sv += c.v;
        }
        for (int e = 0; e < 3; ++e) {
            const SVec3 d = Vec(tri.corner[e].home) - Vec(tri.corner[(e + 1) % 3].home);
            tri.rest[e] = Dot(d, d);
        }
        Store(tri.normal, {0, 0, -1});
        if (mode <= 1) {
            tri.rebuild = sv / 3.0f;
        } else if (mode <= 3) {
            const float mu = su / 3.0f * 2.0f - 1.0f, mv = sv / 3.0f * 2.0f - 1.0f;
            tri.rebuild = 1.0f - std::min(std::sqrt(mu * mu + mv * mv) / 1.414214f, 1.0f);
        } else {
            tri.rebuild = g_random.NextUnit();
        }
    }
    Blow(pattern, cx, cy);
}

void CShatterNode::Blow(int pattern, float cx, float cy)
{
    if (pattern == 1) {
        const float R = g_random.NextUnit() * 3.0f + 1.5f;
        const float strong = g_random.NextUnit() * 0.3f + 0.4f;
        const float weak = (g_random.NextUnit() * 0.02f + 0.01f) * strong;
        for (STriangle& tri : m_triangles) {
            for (SCorner& c : tri.corner) {
                const SVec3 d = Vec(c.position) - SVec3{cx, cy, 0.0f};
                const float distance = std::sqrt(Dot(d, d));
                const float a = g_random.NextSigned() * 0.5f, b = g_random.NextSigned() * 0.5f;
                const SVec3 direction = FastNormalize({a, b, 1.0f});
                const float k = (1.0f - std::min(distance, R) / R) * (strong - weak) + weak;
                Store(c.previous, Vec(c.previous) - direction * (k * k));
            }
        }
        return;
    }
    const SVec3 e{0.0f, -g_random.NextUnit() * 2.0f, -(g_random.NextUnit() * 4.0f + 0.1f)};
    const float f = g_random.NextUnit() * 0.3f + 0.2f;
    for (STriangle& tri : m_triangles) {
        for (SCorner& c : tri.corner) {
            const SVec3 d = Vec(c.position) - e;
            const float d2 = Dot(d, d);
            if (d2 > 100.0f)
                continue;
            const float distance = std::sqrt(d2);
            const SVec3 u = FastNormalize(d);
            const float k = (1.0f - distance / 10.0f) * (1.0f - distance / 10.0f) * f;
            const float s = g_random.NextSigned() * k + k;
            Store(c.previous, Vec(c.previous) - u * s);
        }
    }
}

bool CShatterNode::RestoreDevice(CRender* render)
{
    return m_buffers.Restore(
        render, VBF_PNTC, 3 * TrianglesPerBatch, false,
        {"!(dObjs->m_VertexBuffer[i] = render->CreateVertexBuffer(triVBufSize, VBF_DYNAMIC, VBF_PNTC))",
         "!(dObjs->m_IndexBuffer = render->CreateIndexBuffer(triIndexSize, 0))", __FILE__, __LINE__});
}

void CShatterNode::InvalidateDevice(CRender* render)
{
    m_buffers.Invalidate(render);
}

void CShatterNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (!m_effect->m_value || !list || !parents || m_triangles.empty())
        return;
    for (CRenderItem* parent : *parents)
        parent->m_children.PushBack(list->NewItem(parent->m_world, camera, this, m_effect->m_value, parent->m_color));
}

void CShatterNode::Draw(CRender* render)
{
    m_buffers.DrawTriangles(render, int(m_triangles.size()), TrianglesPerBatch, [&](void* memory, int first, int n) {
        auto* out = static_cast<SVertexPNTC*>(memory);
        for (int i = first; i < first + n; ++i) {
            const STriangle& tri = m_triangles[size_t(i)];
            for (const SCorner& c : tri.corner)
                *out++ = SVertexPNTC{{c.position[0], c.position[1], c.position[2]},
                                     {tri.normal[0], tri.normal[1], tri.normal[2]},
                                     {c.u, c.v},
                                     0xFFFFFFFFu};
        }
    });
}
