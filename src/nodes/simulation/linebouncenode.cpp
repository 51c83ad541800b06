#include "nodes/simulation/linebouncenode.h"

#include "app/random.h"
#include "nodes/support/playfield.h"
#include "ports/types/dataports.h"
#include "render/fastmath.h"
#include "render/rendertypes.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

template <>
CNodeDeclaration DeclareNode<CLineBounceNode>()
{
    using C = CLineBounceNode;
    return {
        In(&C::m_effect, "Effect", "Effect"),
        Out(&C::m_objectOut, "Object", "Object"),
        In(&C::m_color, "Color", "Color of the line", {{0.0f, 1.0f, 0.0f, 1.0f}}),
        In(&C::m_pointSpeed, "PointSpeed",
           "Movement speed of each point. The point speed will be updated at each bounce", {1.0f, 0.001f, 0.0f, 10.0f}),
        In(&C::m_numObjects, "NumObjects", "Number of objects", {2, 1, 1000}),
        In(&C::m_numPointsPerObj, "NumPointsPerObj", "Number of lines in each object", {5, 2, 100}),
        In(&C::m_numTrails, "NumTrails", "Number of trails that will be left by the objects", {5, 0, 1000}),
        In(&C::m_width, "Width", "Width of space", {1.0f, 0.01f, 0.0f, 100000.0f}),
        In(&C::m_height, "Height", "Height of space", {1.0f, 0.01f, 0.0f, 100000.0f}),
        In(&C::m_depth, "Depth", "Depth of space", {0.0f, 0.01f, 0.0f, 100000.0f}),
        In(&C::m_adjustForAspect, "AdjustForAspect", "Adjust the width and height depending on the screen aspect",
           true),
    };
}

void CLineBounceNode::Scatter(float width, float height, float depth)
{
    m_objects = std::clamp(m_numObjects->m_value, 1, 1000);
    m_pointsPerObject = std::clamp(m_numPointsPerObj->m_value, 2, MaxPoints);
    m_points.resize(size_t(m_objects) * MaxPoints);
    const float speed = m_pointSpeed->m_value;
    for (int o = 0; o < m_objects; ++o) {
        for (int k = 0; k < m_pointsPerObject; ++k) {
            SPoint& p = Point(o, k);
            for (float& x : p.position)
                x = g_random.NextSigned();
            // Spread over the box's own shape, so that a flat box gets no
            // motion across it.
            const SVec3 u = RandomUnitVector(g_random);
            SVec3 d{width * u.x, height * u.y, depth * u.z};
            const float length = std::sqrt(Dot(d, d));
            d = length > 0.0f ? d * (speed / length) : SVec3{};
            p.velocity[0] = d.x;
            p.velocity[1] = d.y;
            p.velocity[2] = d.z;
        }
    }
}

void CLineBounceNode::Move(float dt)
{
    const float speed = m_pointSpeed->m_value;
    for (int o = 0; o < m_objects; ++o) {
        for (int k = 0; k < m_pointsPerObject; ++k) {
            SPoint& p = Point(o, k);
            bool bounced = false;
            for (int a = 0; a < 3; ++a) {
                if ((p.position[a] > 1.0f && p.velocity[a] > 0.0f) ||
                    (p.position[a] < -1.0f && p.velocity[a] < 0.0f)) {
                    p.velocity[a] = -p.velocity[a];
                    bounced = true;
                }
            }
            if (bounced) {
                // A bounce takes up a changed PointSpeed.
                const float length = std::sqrt(p.velocity[0] * p.velocity[0] + p.velocity[1] * p.velocity[1] +
                                                p.velocity[2] * p.velocity[2]);
                if (length > 0.0f)
                    for (float& v : p.velocity)
                        v *= speed / length;
            }
            for (int a = 0; a < 3; ++a)
                p.position[a] += p.velocity[a] * dt;
        }
    }
}

void CLineBounceNode::FillLines(float width, float height, float depth)
{
    const int n = m_pointsPerObject;
    // Two points make one line; more make a closed loop.
    const int perObject = n > 2 ? n : n - 1;
    m_lines.Resize(m_objects * perObject);
    const auto& c = m_color->m_value;
    const uint32_t color = PackColor(c[0], c[1], c[2], c[3]);
    const float sx = width * 0.5f, sy = height * 0.5f, sz = depth * 0.5f;
    const auto end = [&](const SPoint& p) {
        return CRenderLines::SEnd{p.position[0] * sx, p.position[1] * sy, p.position[2] * sz, color};
    };
    int line = 0;
    for (int o = 0; o < m_objects; ++o)
        for (int k = 0; k < perObject; ++k)
            *m_lines.GetLine(line++) = {end(Point(o, (k + 1) % n)), end(Point(o, k))};
}

void CLineBounceNode::Update(float time, CSceneContext* context)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);
    const float aspect = context ? context->m_aspect : 1.0f;
    const SFieldSize field =
        AdjustForAspect(m_width->m_value, m_height->m_value, m_adjustForAspect->m_value, aspect);
    const float depth = m_depth->m_value;
    // NumTrails draws nothing of its own; a change of it starts the lines
    // afresh as a change of the box does.
    if (aspect != m_lastAspect || m_points.empty() || m_numObjects->m_changed || m_numPointsPerObj->m_changed ||
        m_numTrails->m_changed || m_width->m_changed || m_height->m_changed || m_depth->m_changed ||
        m_adjustForAspect->m_changed) {
        m_lastAspect = aspect;
        Scatter(field.width, field.height, depth);
    }
    Move(context ? context->m_deltaTime : 0.0f);
    FillLines(field.width, field.height, depth);
}

bool CLineBounceNode::RestoreDevice(CRender* render)
{
    return m_lines.RestoreDevice(render);
}

void CLineBounceNode::InvalidateDevice(CRender* render)
{
    m_lines.InvalidateDevice(render);
}

void CLineBounceNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    m_lines.AddToRenderList(list, parents, camera, m_effect->m_value);
}
