#include "nodes/object/driftcrestnode.h"

#include "ports/types/dataports.h"
#include "render/fastmath.h"
#include "render/rendertypes.h"
#include "scene/nodedeclaration.h"
#include "scene/renderlist.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int MaxObjects = 10000;

SVectorValues Vector(float x, float y, float z)
{
    return {{x, y, z}, 0.1f, 10000.0f};
}

// Rotation from angles in degrees for row vectors: roll about z first, then
// pitch about x, then yaw about y.
CMatrix Rotation(const std::array<float, 3>& degrees)
{
    const float x = degrees[0] * DegreesToRadians, y = degrees[1] * DegreesToRadians,
                z = degrees[2] * DegreesToRadians;
    const float cx = std::cos(x), sx = std::sin(x), cy = std::cos(y), sy = std::sin(y), cz = std::cos(z),
                sz = std::sin(z);
    CMatrix m = MatrixIdentity();
    m[0] = cz * cy + sz * sx * sy;
    m[1] = sz * cx;
    m[2] = sz * sx * cy - cz * sy;
    m[4] = cz * sx * sy - sz * cy;
    m[5] = cz * cx;
    m[6] = sz * sy + cz * sx * cy;
    m[8] = cx * sy;
    m[9] = -sx;
    m[10] = cx * cy;
    return m;
}

SVec3 Row(const CMatrix& m, int row)
{
    return {m[size_t(row * 4)], m[size_t(row * 4 + 1)], m[size_t(row * 4 + 2)]};
}

uint32_t Pack(const std::array<float, 4>& c)
{
    return PackColor(c[0], c[1], c[2], c[3]);
}

float Sum(const std::array<float, 4>& c)
{
    return c[0] + c[1] + c[2] + c[3];
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CDriftcrestNode>()
{
    using C = CDriftcrestNode;
    return {
        In(&C::m_pointEffect, "PointEffect", "Point Effect"),
        In(&C::m_pointObject, "PointObject", "Point Object"),
        In(&C::m_outlineEffect, "OutlineEffect", "Outline Effect"),
        In(&C::m_effect, "Effect", "Effect"),
        In(&C::m_objectIn, "Object", "Object. If not corrected we will use quads using the 'effect' instead"),
        Out(&C::m_objectOut, "Object", "Object"),
        In(&C::m_numObjects, "NumObjects", "Number of objects", {1, 1, MaxObjects}),
        In(&C::m_objectYDelta, "ObjectYDelta", "Distance between each object", {1.0f, 0.001f, -1000.0f, 1000.0f}),
        In(&C::m_centerAxisRot, "CenterAxisRot", "Rotation of the center axis", Vector(0, 0, 0)),
        In(&C::m_objectCAxisRot, "ObjectCAxisRot", "Objects center axis rotation", Vector(0, 0, 0)),
        In(&C::m_objectRot, "ObjectRot", "Objects rotation", Vector(0, 0, 0)),
        In(&C::m_objectScale, "ObjectScale", "Scale of objects", Vector(1, 1, 1)),
        In(&C::m_centerAxisDist, "CenterAxisDist", "Objects distance from center axis", Vector(0, 0, 0)),
        In(&C::m_objectCol, "ObjectCol", "Color of object", {{1.0f, 1.0f, 1.0f, 1.0f}}),
        In(&C::m_pointCol, "PointCol", "Point color", {{0.0f, 0.0f, 0.0f, 0.0f}}),
        In(&C::m_outlineCol, "OutlineCol", "Outline color of the plane", {{0.0f, 0.0f, 0.0f, 0.0f}}),
        In(&C::m_pointSize, "PointSize", "Point size", Vector(1, 1, 1)),
        In(&C::m_objectPivotPos, "ObjectPivotPos", "Pivot position of objects", Vector(0, 0, 0)),
        In(&C::m_primType, "PrimType", "Type of primitive",
           {2, 0, 4, {{0, "Point"}, {2, "Texture"}, {3, "Axis texture"}, {4, "Object"}}}),
    };
}

bool CDriftcrestNode::ObjectConnected() const
{
    return m_objectIn->GetConnectedNode() != nullptr;
}

bool CDriftcrestNode::DrawsOutline() const
{
    return m_outlineSeen && !m_outlineEffect->m_connections.empty();
}

bool CDriftcrestNode::DrawsPoints() const
{
    return m_pointSeen && (!m_pointEffect->m_connections.empty() || !m_pointObject->m_connections.empty());
}

void CDriftcrestNode::TakeSnapshot()
{
    m_current.rotation = m_objectRot->m_value;
    m_current.scale = m_objectScale->m_value;
    m_current.distance = m_centerAxisDist->m_value;
    m_current.pivot = m_objectPivotPos->m_value;
    m_current.objectColor = m_objectCol->m_value;
    m_current.outlineColor = m_outlineCol->m_value;
    m_current.pointColor = m_pointCol->m_value;
    m_current.pointSize = m_pointSize->m_value;
    // Once any frame has shown an outline or points, their batchers stay on
    // even when the colour goes back to nothing.
    if (std::fabs(Sum(m_current.outlineColor)) > 0.001f)
        m_outlineSeen = true;
    if (std::fabs(Sum(m_current.pointColor)) > 0.001f)
        m_pointSeen = true;
}

void CDriftcrestNode::Resize(int count)
{
    while (int(m_states.size()) < count)
        m_states.emplace_back();
    while (int(m_states.size()) > count)
        m_states.pop_back();
    if (!ObjectConnected())
        m_quads.Resize(count);
    m_lines.Resize(4 * count);
    m_deviceDirty = 0xFFFFFFFFu;
}

void CDriftcrestNode::Place()
{
    const CMatrix r0 = Rotation(m_centerAxisRot->m_value);
    const float d = m_objectYDelta->m_value;
    const float n = float(m_states.size());
    const auto& fan = m_objectCAxisRot->m_value;
    int i = 0;
    for (SObjectState& state : m_states) {
        // The fan about the centre follows the port at once, not the
        // delayed snapshot.
        const float k = float(i + 1);
        const CMatrix rc = Rotation({fan[0] * k, fan[1] * k, fan[2] * k});
        const CMatrix rs = Rotation(state.rotation);
        CMatrix scale = MatrixIdentity();
        scale[0] = state.scale[0];
        scale[5] = state.scale[1];
        scale[10] = state.scale[2];
        CMatrix a = MatrixMultiply(scale, rs);
        const SVec3 pivot{state.pivot[0], state.pivot[1], state.pivot[2]};
        const SVec3 p = Row(rs, 0) * pivot.x + Row(rs, 1) * pivot.y + Row(rs, 2) * pivot.z;
        a[12] = state.distance[0] + p.x;
        a[13] = state.distance[1] + p.y + d * float(i) - d * n * 0.5f;
        a[14] = state.distance[2] + p.z;
        state.matrix = MatrixMultiply(a, MatrixMultiply(rc, r0));
        ++i;
    }
}

void CDriftcrestNode::Fill()
{
    const bool quads = !ObjectConnected(), outline = DrawsOutline(), points = DrawsPoints();
    if (quads)
        m_quads.Resize(int(m_states.size()));
    if (outline)
        m_lines.Resize(0);
    const bool sized = m_points.GetPrimitive() != CRenderPoints::Point;
    int q = 0, corner = 0;
    for (const SObjectState& state : m_states) {
        const SVec3 x = Row(state.matrix, 0) * 0.5f, y = Row(state.matrix, 1) * 0.5f, t = Row(state.matrix, 3);
        const SVec3 a = t + y - x, b = t - y - x, c = t - y + x, d = t + y + x;
        if (quads) {
            const uint32_t color = Pack(state.objectColor);
            const auto vertex = [&](const SVec3& p, float u, float v) {
                return SVertexPNTBTC{{p.x, p.y, p.z}, color, {u, v}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, 0};
            };
            m_quads.GetQuads()[q++] =
                SQuad{{vertex(a, 0, 0), vertex(b, 1, 0), vertex(d, 0, 1), vertex(c, 1, 1)}};
        }
        if (outline) {
            m_lines.AddLine(a, b, state.outlineColor.data());
            m_lines.AddLine(b, c, state.outlineColor.data());
            m_lines.AddLine(c, d, state.outlineColor.data());
            m_lines.AddLine(d, a, state.outlineColor.data());
        }
        if (!points)
            continue;
        const uint32_t color = Pack(state.pointColor);
        for (const SVec3& p : {a, b, c, d}) {
            if (sized) {
                const auto& s = state.pointSize;
                m_points.Records<CRenderPoints::SSized>()[size_t(corner++)] = {
                    p.x, p.y, p.z, color, s[0] * 0.5f, s[1] * 0.5f, s[2] * 0.5f};
            } else {
                m_points.Records<CRenderPoints::SPoint>()[size_t(corner++)] = {p.x, p.y, p.z, color};
            }
        }
    }
}

void CDriftcrestNode::Update(float time, CSceneContext*)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);
    TakeSnapshot();
    const int count = std::clamp(m_numObjects->m_value, 1, MaxObjects);
    if (m_numObjects->m_changed || int(m_states.size()) != count)
        Resize(count);
    if (m_numObjects->m_changed || m_primType->m_changed || m_points.GetCapacity() < 4 * count) {
        // Lines are no choice here; a scene that asks for them gets points.
        const int primitive = m_primType->m_value == CRenderPoints::Line ? CRenderPoints::Point
                                                                          : std::clamp(m_primType->m_value, 0, 4);
        m_points.SetPrimitive(primitive, 4 * count);
        m_deviceDirty = 0xFFFFFFFFu;
    }
    if (m_firstRun) {
        m_firstRun = false;
        for (SObjectState& state : m_states)
            state = m_current;
    }
    // The oldest snapshot goes to the front with the ports of this frame.
    m_states.splice(m_states.begin(), m_states, std::prev(m_states.end()));
    m_states.front() = m_current;
    Place();
    Fill();
}

bool CDriftcrestNode::RestoreDevice(CRender* render)
{
    const bool quads = m_quads.RestoreDevice(render);
    const bool lines = m_lines.RestoreDevice(render);
    const bool points = m_points.RestoreDevice(render);
    return quads && lines && points;
}

void CDriftcrestNode::InvalidateDevice(CRender* render)
{
    m_quads.InvalidateDevice(render);
    m_lines.InvalidateDevice(render);
    m_points.InvalidateDevice(render);
}

void CDriftcrestNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (CNode* object = m_objectIn->GetConnectedNode()) {
        // The connected object once per state, placed and tinted by it.
        if (parents) {
            for (CRenderItem* parent : *parents) {
                CRenderItemList children;
                for (const SObjectState& state : m_states) {
                    CRenderItem* item = list->NewItem();
                    item->m_view = camera;
                    item->m_world = MatrixMultiply(state.matrix, parent->m_world);
                    for (size_t c = 0; c < 4; ++c)
                        item->m_color[c] = state.objectColor[c] * parent->m_color[c];
                    children.PushBack(item);
                }
                object->BuildRenderList(list, &children, camera);
                parent->m_children.Splice(children);
            }
        }
    } else if (m_effect->m_value) {
        m_quads.AddToRenderList(list, parents, camera, m_effect->m_value);
    }
    if (DrawsOutline())
        m_lines.AddToRenderList(list, parents, camera, m_outlineEffect->m_value);
    if (DrawsPoints())
        m_points.AddToRenderList(list, parents, camera, m_pointEffect->m_value, m_pointObject->GetConnectedNode(),
                                 4 * int(m_states.size()));
}
