#include "nodes/simulation/grassnode.h"

#include "app/random.h"
#include "ports/types/dataports.h"
#include "render/fastmath.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <cmath>

namespace {

SVec3 Vec(const float* v)
{
    return {v[0], v[1], v[2]};
}

template <class TArray>
SVec3 Vec(const TArray& v)
{
    return {v[0], v[1], v[2]};
}

void Store(float* out, const SVec3& v)
{
    out[0] = v.x;
    out[1] = v.y;
    out[2] = v.z;
}

// The pull of a distance constraint of rest length² r along d.
float ConstraintPull(const SVec3& d, float r)
{
    return r / (Dot(d, d) + r) - 0.5f;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CGrassNode>()
{
    using C = CGrassNode;
    return {
        In(&C::m_mesh, "Mesh", "Mesh that will be used to decide where to create the straws"),
        In(&C::m_effect, "Effect", "Effect to apply"),
        In(&C::m_width, "Width", "Straws base width", {0.02f, 0.001f, -10000.0f, 10000.0f}),
        In(&C::m_widthVar, "WidthVar", "Straws base width variance", {0.04f, 0.001f, -10000.0f, 10000.0f}),
        In(&C::m_gravity, "Gravity", "Gravity", {{0, -4, 0}, 0.1f, 10000.0f}),
        In(&C::m_topWidthFactor, "TopWidthFactor", "Straw top width relative to it's base width",
           {0.0f, 0.001f, -10000.0f, 10000.0f}),
        In(&C::m_windDir, "WindDir", "Global wind direction", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_lWindDirVar, "LWindDirVar", "Local wind direction variance", {{5, 2.5f, 5}, 0.1f, 10000.0f}),
        In(&C::m_strength, "Strength", "Strength of 1st constraint", {1.0f, 0.001f, 0.0f, 10.0f}),
        In(&C::m_strength2, "Strength2", "Strength of 2nd constraint", {0.5f, 0.001f, 0.0f, 10.0f}),
        In(&C::m_height, "Height", "Base height of each straw", {0.25f, 0.001f, -10000.0f, 10000.0f}),
        In(&C::m_heightVar, "HeightVar", "Height variance of each straw", {0.75f, 0.001f, -10000.0f, 10000.0f}),
        In(&C::m_segments, "Segments", "Number of segments", {3, 2, 100}),
        In(&C::m_color, "Color", "Color of the grass", {{0.4f, 0.9f, 0.6f, 1.0f}}),
        Out(&C::m_object, "Object", "Object"),
    };
}

bool CGrassNode::Init()
{
    m_sphereCentre = {0, 0, 0};
    m_sphereRadius = 1.0f;
    return true;
}

std::span<const CRenderGrass::SStraw> CGrassNode::GetStraws() const
{
    if (!m_group)
        return {};
    return *m_group;
}

void CGrassNode::Update(float time, CSceneContext* context)
{
    m_object->m_value = this;
    UpdateInPorts(time);
    m_gravityValue = Vec(m_gravity->m_value);
    m_wind = Vec(m_windDir->m_value);
    m_windVar = Vec(m_lWindDirVar->m_value);
    m_s1 = m_strength->m_value;
    m_s2 = m_strength2->m_value;
    m_grass.m_topWidthFactor = m_topWidthFactor->m_value;
    m_grass.m_segments = std::clamp(m_segments->m_value, 2, 100);

    const bool shape = m_mesh->m_changed || m_width->m_changed || m_widthVar->m_changed ||
                       m_topWidthFactor->m_changed || m_height->m_changed || m_heightVar->m_changed ||
                       m_color->m_changed;
    if ((shape || !m_group) && m_mesh->m_value) {
        Build();
        m_deviceDirty = 0xFFFFFFFFu;
    } else if (m_segments->m_changed) {
        m_deviceDirty = 0xFFFFFFFFu;
    }
    Simulate(context ? context->m_deltaTime : 0.0f);
}

void CGrassNode::Build()
{
    // The generators of the chain write straight into our copy, so the
    // straws need not wait for the scene to generate its meshes.
    m_meshCopy.m_mesh.Clear();
    m_mesh->m_value->GenerateMesh(&m_meshCopy);
    if (!m_group)
        m_group = m_grass.AddGroup();
    const auto& vertices = m_meshCopy.m_mesh.m_vertices;
    m_group->resize(vertices.size());
    const auto& c = m_color->m_value;
    for (size_t i = 0; i < vertices.size(); ++i) {
        CRenderGrass::SStraw& s = (*m_group)[i];
        const SVec3 p = Vec(vertices[i].position), n = Vec(vertices[i].normal);
        const float L = g_random.NextUnit() * m_heightVar->m_value + m_height->m_value;
        s.baseWidth = g_random.NextUnit() * m_widthVar->m_value + m_width->m_value;
        const float a = g_random.NextUnit() * 6.2831855f;
        s.side[0] = std::cos(a);
        s.side[1] = -std::sin(a);
        s.side[2] = 0.0f;
        Store(s.p0, p - n * L);
        Store(s.p1, p);
        Store(s.p2, p + n * L);
        Store(s.prev2, p + n * L);
        Store(s.p3, p + n * (2.0f * L));
        // Nudged so that the straws do not all swing in step.
        Store(s.prev3, p + n * (2.0f * L) + SVec3{g_random.NextSigned() * 0.02f, 0.0f, g_random.NextSigned() * 0.02f});
        s.length = L;
        s.lengthSquared = L * L;
        s.doubleLengthSquared = 4.0f * L * L;
        for (size_t k = 0; k < 4; ++k)
            s.color[k] = c[k];
    }
}

void CGrassNode::Simulate(float t)
{
    if (!m_group)
        return;
    const float t2 = t * t;
    const float s1 = m_s1, s2 = m_s2;
    const float r2 = m_sphereRadius * m_sphereRadius;
    const auto outside = [&](SVec3 p) {
        const SVec3 d = p - m_sphereCentre;
        const float d2 = Dot(d, d);
        if (d2 < r2 && d2 > 0.0f)
            p = m_sphereCentre + d * (m_sphereRadius / std::sqrt(d2));
        return p;
    };
    for (CRenderGrass::SStraw& s : *m_group) {
        const SVec3 w{g_random.NextSigned(), g_random.NextSigned(), g_random.NextSigned()};
        const SVec3 p0 = Vec(s.p0), p1 = Vec(s.p1);
        SVec3 p2 = Vec(s.p2), p3 = Vec(s.p3);
        const SVec3 next2 = p2 * 1.99f - Vec(s.prev2) * 0.99f + m_gravityValue * t2;
        const SVec3 windForce{w.x * m_windVar.x, w.y * m_windVar.y, w.z * m_windVar.z};
        const SVec3 next3 = p3 * 1.99f - Vec(s.prev3) * 0.99f + (m_gravityValue + m_wind + windForce) * t2;
        Store(s.prev2, p2);
        Store(s.prev3, p3);
        p2 = next2;
        p3 = next3;

        SVec3 d = p1 - p2;
        p2 = p2 - d * (ConstraintPull(d, s.lengthSquared) * s1 * 2.0f);
        d = p0 - p2;
        p2 = p2 - d * (ConstraintPull(d, s.doubleLengthSquared) * s2 * 2.0f);
        d = p2 - p3;
        const float k = ConstraintPull(d, s.lengthSquared) * s1;
        p2 = p2 + d * k;
        p3 = p3 - d * k;
        d = p1 - p3;
        p3 = p3 - d * (ConstraintPull(d, s.doubleLengthSquared) * s2 * 2.0f);

        Store(s.p2, outside(p2));
        Store(s.p3, outside(p3));
    }
}

bool CGrassNode::RestoreDevice(CRender* render)
{
    return m_grass.RestoreDevice(render);
}

void CGrassNode::InvalidateDevice(CRender* render)
{
    m_grass.InvalidateDevice(render);
}

void CGrassNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (m_group && !m_group->empty())
        m_grass.AddToRenderList(list, parents, camera, m_effect->m_value);
}
