#include "nodes/simulation/galaxynode.h"

#include "app/random.h"
#include "scene/nodedeclaration.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kTwoPi = 6.2831855f;
// Every star has this colour; the Color port is not read.
constexpr float kStarColor[4] = {0.5f, 0.6f, 0.9f, 1.0f};

} // namespace

template <>
CNodeDeclaration DeclareNode<CGalaxyNode>()
{
    using C = CGalaxyNode;
    return {
        In(&C::m_effect, "Effect", "Effect"),
        In(&C::m_numStars, "NumStars", "Number of stars", {10000, 0, 1000000}),
        In(&C::m_galaxyRadius, "GalaxyRadius", "Radius of galaxy", {1.0f, 0.1f, -100000.0f, 100000.0f}),
        In(&C::m_speed, "Speed", "Speed of stars", {0.002f, 0.001f, -10000.0f, 10000.0f}),
        In(&C::m_ellipseRatio, "EllipseRatio", "Ellipse ratio", {0.85f, 0.001f, -10000.0f, 10000.0f}),
        In(&C::m_twisting, "Twisting", "Twisting factor", {8.0f, 0.001f, -10000.0f, 10000.0f}),
        In(&C::m_color, "Color", "Color of particle", {{0.8f, 0.9f, 1.0f, 1.0f}}),
        In(&C::m_size, "Size", "The size of the stars when created", {0.1f, 0.1f, 0.0f, 10000.0f}),
        In(&C::m_sizeVar, "SizeVar", "The size of the stars when created variance", {0.1f, 0.1f, -10000.0f, 10000.0f}),
        Out(&C::m_object, "Object", "Object"),
    };
}

void CGalaxyNode::MakeStars(int count)
{
    const float radius = m_galaxyRadius->m_value;
    m_stars.resize(size_t(count));
    for (SStar& star : m_stars) {
        star.angle = g_random.NextUnit() * kTwoPi;
        star.radius = g_random.NextUnit() * (radius - 1.0f) + 1.0f;
        std::copy_n(kStarColor, 4, star.color);
    }
    if (count > m_points.GetCapacity() || m_points.GetPrimitive() != CRenderPoints::Texture) {
        m_points.SetPrimitive(CRenderPoints::Texture, count);
        m_deviceDirty = 0xFFFFFFFFu;
    }
}

void CGalaxyNode::Update(float time, CSceneContext*)
{
    m_object->m_value = this;
    UpdateInPorts(time);
    if (!m_made || m_numStars->m_changed) {
        m_made = true;
        MakeStars(std::max(0, m_numStars->m_value));
    }
    const float speed = m_speed->m_value, ratio = m_ellipseRatio->m_value;
    const float radius = m_galaxyRadius->m_value;
    const float twist = radius != 0.0f ? m_twisting->m_value / radius : 0.0f;
    const float size = m_size->m_value;
    const uint32_t color = PackColor(kStarColor[0], kStarColor[1], kStarColor[2], kStarColor[3]);
    const auto records = m_points.Records<CRenderPoints::SSized>();
    for (size_t i = 0; i < m_stars.size(); ++i) {
        SStar& star = m_stars[i];
        // Advances by frame, not by time.
        star.angle += speed;
        const float r = star.radius;
        const float a = std::sin(star.angle) * r, b = std::cos(star.angle) * r * ratio;
        const float c = r * twist;
        const float sc = std::sin(c), cc = std::cos(c);
        records[i] = {a * sc + b * cc, a * cc - b * sc, 0.0f, color, size, size, size};
    }
}

bool CGalaxyNode::RestoreDevice(CRender* render)
{
    return m_points.RestoreDevice(render);
}

void CGalaxyNode::InvalidateDevice(CRender* render)
{
    m_points.InvalidateDevice(render);
}

void CGalaxyNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (!m_stars.empty())
        m_points.AddToRenderList(list, parents, camera, m_effect->m_value, nullptr, int(m_stars.size()));
}
