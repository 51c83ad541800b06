#include "nodes/simulation/starfieldnode.h"

#include "app/random.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

namespace {

SVectorValues AtLeast(SVectorValues values, float minimum)
{
    values.min = {minimum, minimum, minimum};
    return values;
}

uint32_t Pack(const float c[4])
{
    return PackColor(c[0], c[1], c[2], c[3]);
}

// Back into the cube from the far side; true if it had left it.
bool Wrap(float& v)
{
    if (v > 1.0f) {
        v = float(std::fmod(2.0, double(v) - 1.0)) - 1.0f;
        return true;
    }
    if (v < -1.0f) {
        v = float(std::fmod(2.0, double(v) + 1.0)) + 1.0f;
        return true;
    }
    return false;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CStarfieldNode>()
{
    using C = CStarfieldNode;
    const std::vector<SChoice> primitives = {
        {0, "Point"}, {1, "Line"}, {2, "Texture"}, {3, "Axis texture"}, {4, "Object"}};
    return {
        In(&C::m_effect, "Effect", "Effect"),
        In(&C::m_objectIn, "Object", "Object"),
        In(&C::m_numStars, "NumStars", "Number of stars", {5000, 0, 10000}),
        In(&C::m_dir, "Dir", "Star movement dir", {{0, 0, 0.25f}, 0.01f, 10000.0f}),
        In(&C::m_camRot, "CamRot", "Camera rotation", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_spaceSize, "SpaceSize", "Size of space", AtLeast({{2, 2, 10}, 0.1f, 10000.0f}, 0.001f)),
        In(&C::m_startColMin, "StartColMin", "Star start color (Min)", {{0, 0, 0, 0}}),
        In(&C::m_startColMax, "StartColMax", "Star start color (Max)", {{0, 0, 0, 0}}),
        In(&C::m_endColMin, "EndColMin", "Star end color (Min)", {{1, 1, 1, 1}}),
        In(&C::m_endColMax, "EndColMax", "Star end color (Max)", {{1, 1, 1, 1}}),
        In(&C::m_starSize, "StarSize", "Size of a single star (Used for all but point and line modes)",
           AtLeast({{0.01f, 0.01f, 0.01f}, 0.01f, 10000.0f}, 0.001f)),
        In(&C::m_primType, "PrimType", "Type of primitive", {1, 0, 4, primitives}),
        Out(&C::m_objectOut, "Object", "Object"),
    };
}

void CStarfieldNode::NewColors(SStar& star) const
{
    const auto& s0 = m_startColMin->m_value;
    const auto& s1 = m_startColMax->m_value;
    const auto& e0 = m_endColMin->m_value;
    const auto& e1 = m_endColMax->m_value;
    for (size_t c = 0; c < 4; ++c)
        star.startColor[c] = s0[c] + (s1[c] - s0[c]) * g_random.NextUnit();
    for (size_t c = 0; c < 4; ++c)
        star.endColor[c] = e0[c] + (e1[c] - e0[c]) * g_random.NextUnit();
}

void CStarfieldNode::Update(float time, CSceneContext* context)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);
    const int wanted = std::clamp(m_numStars->m_value, 0, 10000);
    if (wanted >= int(m_stars.size())) {
        const size_t old = m_stars.size();
        m_stars.resize(size_t(wanted) + 100);
        for (size_t i = old; i < m_stars.size(); ++i) {
            SStar& star = m_stars[i];
            for (float& p : star.position)
                p = g_random.NextSigned();
            NewColors(star);
            std::copy_n(star.startColor, 4, star.color);
            std::copy_n(star.startColor, 4, star.lastColor);
        }
    }
    const int primitive = m_primType->m_value;
    if (primitive != m_batcherPrimitive || wanted != m_count) {
        m_batcherPrimitive = primitive;
        m_points.SetPrimitive(primitive, wanted);
        m_deviceDirty = 0xFFFFFFFFu;
    }
    m_count = wanted;

    const auto& dir = m_dir->m_value;
    const float d = context ? context->m_deltaTime : 0.0f;
    for (int i = 0; i < m_count; ++i) {
        SStar& star = m_stars[size_t(i)];
        std::copy_n(star.color, 4, star.lastColor);
        bool wrapped = false;
        for (float& p : star.position)
            wrapped |= Wrap(p);
        if (wrapped)
            NewColors(star);
        float length2 = 0.0f;
        for (size_t k = 0; k < 3; ++k) {
            star.position[k] -= dir[k] * d;
            length2 += star.position[k] * star.position[k];
        }
        const float near = 1.0f - std::min(std::sqrt(length2), 1.0f);
        for (size_t c = 0; c < 4; ++c)
            star.color[c] = star.startColor[c] + (star.endColor[c] - star.startColor[c]) * near;
    }
    FillBatcher();
}

void CStarfieldNode::FillBatcher()
{
    if (m_points.GetCapacity() < m_count)
        return;
    const auto& space = m_spaceSize->m_value;
    const auto& dir = m_dir->m_value;
    const auto& size = m_starSize->m_value;
    switch (m_points.GetPrimitive()) {
    case CRenderPoints::Point: {
        const auto records = m_points.Records<CRenderPoints::SPoint>();
        for (int i = 0; i < m_count; ++i) {
            const SStar& s = m_stars[size_t(i)];
            records[size_t(i)] = {s.position[0] * space[0], s.position[1] * space[1], s.position[2] * space[2],
                                  Pack(s.color)};
        }
        break;
    }
    case CRenderPoints::Line: {
        // A streak back along the flight, fading from last frame's colour.
        const auto records = m_points.Records<CRenderPoints::SPoint>();
        for (int i = 0; i < m_count; ++i) {
            const SStar& s = m_stars[size_t(i)];
            records[2 * size_t(i)] = {s.position[0] * space[0], s.position[1] * space[1], s.position[2] * space[2],
                                      Pack(s.color)};
            records[2 * size_t(i) + 1] = {(s.position[0] + dir[0] * 0.01f) * space[0],
                                          (s.position[1] + dir[1] * 0.01f) * space[1],
                                          (s.position[2] + dir[2] * 0.01f) * space[2], Pack(s.lastColor)};
        }
        break;
    }
    case CRenderPoints::Texture:
    case CRenderPoints::AxisTexture:
    case CRenderPoints::Object: {
        const auto records = m_points.Records<CRenderPoints::SSized>();
        for (int i = 0; i < m_count; ++i) {
            const SStar& s = m_stars[size_t(i)];
            records[size_t(i)] = {s.position[0] * space[0], s.position[1] * space[1], s.position[2] * space[2],
                                  Pack(s.color), size[0] * 0.5f, size[1] * 0.5f, size[2] * 0.5f};
        }
        break;
    }
    default: break;
    }
}

bool CStarfieldNode::RestoreDevice(CRender* render)
{
    return m_points.RestoreDevice(render);
}

void CStarfieldNode::InvalidateDevice(CRender* render)
{
    m_points.InvalidateDevice(render);
}

void CStarfieldNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (m_count == 0)
        return;
    CNode* object = m_objectIn->m_value ? m_objectIn->GetConnectedNode() : nullptr;
    m_points.AddToRenderList(list, parents, camera, m_effect->m_value, object, m_count);
}
