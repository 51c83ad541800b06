#include "nodes/object/delayedtransformnode.h"

#include "ports/types/dataports.h"
#include "ports/types/portcolor.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portvector.h"
#include "render/fastmath.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float NoDelay = 1e-05f;

SVec3 Vec(const std::array<float, 3>& v)
{
    return {v[0], v[1], v[2]};
}

SVec3 Mix(const SVec3& a, const SVec3& b, float t)
{
    return a + (b - a) * t;
}

SColor4 Mix(const SColor4& a, const SColor4& b, float t)
{
    SColor4 out;
    for (size_t c = 0; c < 4; ++c)
        out[c] = a[c] + (b[c] - a[c]) * t;
    return out;
}

template <class T>
void SetAll(T& track, const decltype(track.current)& value)
{
    track.current = track.start = track.target = value;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CDelayedTransformNode>()
{
    using C = CDelayedTransformNode;
    return {
        In(&C::m_objectIn, "Object", "Object"),
        Out(&C::m_objectOut, "Object", "Object"),
        In(&C::m_numObjects, "NumObjects", "Number of objects", {5, 1, 1000}),
        In(&C::m_delay, "Delay", "Delay before moving current transform to the next object",
           {0.5f, 0.01f, 0.0f, 100000.0f}),
        In(&C::m_posDelta, "PosDelta", "Position change between each object", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_rotDelta, "RotDelta", "Rotation rotation change between each object", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_scaleDelta, "ScaleDelta", "How much to scale each object relative to the last object",
           {{0.1f, 0.1f, 0.1f}, 0.1f, 10000.0f}),
        In(&C::m_delayedPosDelta, "DelayedPosDelta", "Delayed position", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_delayedRotDelta, "DelayedRotDelta", "Delayed rotation", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_delayedScaleDelta, "DelayedScaleDelta", "How much to scale each object relative to the last object",
           {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_color, "Color", "The color of the center object", {{1, 1, 1, 1}}),
    };
}

void CDelayedTransformNode::Shift()
{
    for (size_t i = m_slots.size(); i-- > 1;) {
        SSlot& slot = m_slots[i];
        const SSlot& before = m_slots[i - 1];
        slot.position.start = slot.position.current;
        slot.scale.start = slot.scale.current;
        slot.rotation.start = slot.rotation.current;
        slot.color.start = slot.color.current;
        slot.position.target = before.position.target;
        slot.scale.target = before.scale.target;
        slot.rotation.target = before.rotation.target;
        slot.color.target = before.color.target;
    }
}

void CDelayedTransformNode::Update(float time, CSceneContext* context)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);
    const size_t count = size_t(std::max(1, m_numObjects->m_value));
    const float delay = m_delay->m_value;
    const bool noDelay = std::fabs(delay) <= NoDelay;

    if (m_slots.empty())
        m_slots.resize(1);
    m_timer += context ? context->m_deltaTime : 0.0f;
    if (m_timer > delay) {
        m_timer -= delay;
        if (m_timer > 1.0f || noDelay)
            m_timer = 0.0f;
        m_timer = std::min(m_timer, std::max(delay, 0.0f));
        Shift();
    }

    SSlot& head = m_slots[0];
    const auto& rot = m_delayedRotDelta->m_value;
    SetAll(head.position, Vec(m_delayedPosDelta->m_value));
    SetAll(head.scale, Vec(m_delayedScaleDelta->m_value));
    SetAll(head.rotation, QuaternionFromEuler(rot[0], rot[1], rot[2]));
    SetAll(head.color, SColor4(m_color->m_value));
    if (count != m_slots.size()) {
        m_slots.resize(count);
        for (SSlot& slot : m_slots)
            slot = head;
    }

    const float t = noDelay ? 0.0f : m_timer / delay;
    m_worlds.resize(count);
    m_colors.resize(count);
    for (size_t i = 0; i < count; ++i) {
        SSlot& s = m_slots[i];
        s.position.current = Mix(s.position.start, s.position.target, t);
        s.scale.current = Mix(s.scale.start, s.scale.target, t);
        s.color.current = Mix(s.color.start, s.color.target, t);
        s.rotation.current = QuaternionSlerp(s.rotation.start, s.rotation.target, t);

        const float n = float(i);
        const auto& r = m_rotDelta->m_value;
        const SQuaternion q = QuaternionMultiply(s.rotation.current, QuaternionFromEuler(r[0] * n, r[1] * n, r[2] * n));
        CMatrix world = QuaternionMatrix(q);
        const SVec3 scale = SVec3{1, 1, 1} + s.scale.current + Vec(m_scaleDelta->m_value) * n;
        const SVec3 position = s.position.current + Vec(m_posDelta->m_value) * n;
        const float scales[3] = {scale.x, scale.y, scale.z};
        for (size_t row = 0; row < 3; ++row)
            for (size_t column = 0; column < 3; ++column)
                world[row * 4 + column] *= scales[row];
        world[12] = position.x;
        world[13] = position.y;
        world[14] = position.z;
        m_worlds[i] = world;
        m_colors[i] = s.color.current;
    }
}

void CDelayedTransformNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    PlaceCopies(list, parents, camera, m_objectIn->GetConnectedNode(), m_worlds, m_colors);
}
