#include "nodes/object/particlesnode.h"

#include "app/improvednoise.h"
#include "app/random.h"
#include "render/camera.h"
#include "render/fastmath.h"
#include "scene/nodedeclaration.h"
#include "scene/renderlist.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kTwoPi = 6.2831855f;
constexpr float kNearZero = 1e-05f;

SVec3 ToVec(const CPortVector::Xyz& v)
{
    return {v[0], v[1], v[2]};
}

// A row vector times the rotation part of m.
SVec3 Rotate(const SVec3& v, const CMatrix& m)
{
    return {v.x * m[0] + v.y * m[4] + v.z * m[8], v.x * m[1] + v.y * m[5] + v.z * m[9],
            v.x * m[2] + v.y * m[6] + v.z * m[10]};
}

CMatrix EulerDegrees(const SVec3& angles)
{
    return MatrixRotation(angles.x * DegreesToRadians, angles.y * DegreesToRadians, angles.z * DegreesToRadians);
}

SVec3 UniformDirection()
{
    const float z = g_random.NextSigned();
    const float t = g_random.NextUnit() * kTwoPi;
    const float r = std::sqrt(std::max(0.0f, 1.0f - z * z));
    return {r * std::cos(t), r * std::sin(t), z};
}

// Turns v by the rotation that takes the z axis to the unit vector a, about
// the axis square to both.
SVec3 RotateZTo(const SVec3& a, const SVec3& v)
{
    const float c = a.z;
    const SVec3 axis{-a.y, a.x, 0.0f}; // z × a
    const float s = std::sqrt(axis.x * axis.x + axis.y * axis.y);
    if (s < kNearZero)
        return v * c;
    const SVec3 k = axis * (1.0f / s);
    const SVec3 kv = Cross(k, v);
    return v * c + kv * s + k * (Dot(k, v) * (1.0f - c));
}

bool NearZero(float v)
{
    return std::fabs(v) < kNearZero;
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CParticlesNode>()
{
    using C = CParticlesNode;
    return {
        In(&C::m_effect, "Effect", "Effect the particles are drawn with"),
        In(&C::m_trailEffect, "TrailEffect", "Effect the trails are drawn with"),
        In(&C::m_objectIn, "Object", "Object drawn for each particle when PrimType is Object"),
        In(&C::m_particlesPerSec, "ParticlesPerSec", "Particles emitted a second", {10, 0, 1000000}),
        In(&C::m_trailsSegments, "TrailsSegments", "Segments of each particle's trail; 0 draws no trails", {0, 0, 1000}),
        In(&C::m_trailsSegmentsPerSec, "TrailsSegmentsPerSec", "Trail segments added a second", {30.0f, 0.1f, 0.0f, 1000.0f}),
        In(&C::m_velocityFromMotion, "VelocityFromMotion", "Share of the emitter's own velocity that new particles take",
           {0.0f, 0.1f, -100000.0f, 100000.0f}),
        In(&C::m_speed, "Speed", "Speed of a new particle", {1.0f, 0.1f, -100000.0f, 100000.0f}),
        In(&C::m_speedVar, "SpeedVar", "Random variation of the speed", {0.0f, 0.1f, -100000.0f, 100000.0f}),
        In(&C::m_directionMode, "DirectionMode", "How new particles are launched",
           {2, 1, 4, {{1, "Uniform"}, {2, "Directional"}, {3, "Bi-Directional"}, {4, "Outwards"}}}),
        In(&C::m_direction, "Direction", "Rotation of the launch axis in degrees", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_speedDamping, "SpeedDamping", "Air drag", {0.0f, 0.001f, 0.0f, 1000.0f}),
        In(&C::m_spreadMin, "SpreadMin", "Inner angle of the launch cone in degrees", {0.0f, 1.0f, 0.0f, 360.0f}),
        In(&C::m_spreadMax, "SpreadMax", "Outer angle of the launch cone in degrees", {10.0f, 1.0f, 0.0f, 360.0f}),
        In(&C::m_timeToLive, "TimeToLive", "Life of a particle in seconds", {3.0f, 0.1f, 0.0f, 10000.0f}),
        In(&C::m_timeToLiveVar, "TimeToLiveVar", "Random variation of the life", {1.0f, 0.1f, -10000.0f, 10000.0f}),
        In(&C::m_colorBase, "ColorBase", "Colour given at birth", {{0, 0, 0, 0}}),
        In(&C::m_colorBaseVar, "ColorBaseVar", "Random variation of the colour at birth", {{0, 0, 0, 0}}),
        In(&C::m_color, "Color", "(Local) Colour over the life, added to the colour at birth", {{0.7f, 0.8f, 0.9f, 1.0f}}),
        In(&C::m_alphaAsLife, "AlphaAsLife", "Alpha is the part of its life a particle has lived", false),
        In(&C::m_size, "Size", "Size at birth", {0.01f, 0.1f, 0.0f, 10000.0f}),
        In(&C::m_sizeVar, "SizeVar", "Random variation of the size at birth", {0.01f, 0.1f, -10000.0f, 10000.0f}),
        In(&C::m_sizeLocal, "SizeLocal", "(Local) Size over the life, added to the size at birth",
           {0.0f, 0.01f, 0.0f, 10000.0f}),
        In(&C::m_emitterType, "EmitterType", "Shape particles are born in",
           {1, 1, 4, {{1, "Sphere"}, {2, "Cube"}, {3, "Cylinder"}}}),
        In(&C::m_emitterPos, "EmitterPos", "(Local) Position of the emitter, on the node's own time",
           {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_emitterRot, "EmitterRot", "(Local) Rotation of the emitter in degrees, on the node's own time",
           {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_emitterWidth, "EmitterWidth", "Width of a Cube emitter", {1.0f, 0.01f, 0.0f, 10000.0f}),
        In(&C::m_emitterHeight, "EmitterHeight", "Height of a Cube emitter", {1.0f, 0.01f, 0.0f, 10000.0f}),
        In(&C::m_emitterDepth, "EmitterDepth", "Depth of a Cube emitter", {1.0f, 0.01f, 0.0f, 10000.0f}),
        In(&C::m_emitterRadius, "EmitterRadius", "Radius of a Sphere emitter", {1.0f, 0.01f, 0.0f, 10000.0f}),
        In(&C::m_scaleByAspect, "ScaleByAspect", "Stretch the emitter with the aspect of the screen", false),
        In(&C::m_floor, "Floor", "Particles bounce off the plane y = 0", false),
        In(&C::m_flowField, "FlowField", "Particles drift in a swirling field of noise", false),
        In(&C::m_flowFieldScale, "FlowFieldScale", "Spatial frequency of the flow field", {0.1f, 1.0f, 0.01f, 10000.0f}),
        In(&C::m_flowFieldVelStrength, "FlowFieldVelStrength", "How strongly the flow field pushes the particles",
           {1.0f, 0.01f, 0.0f, 10000.0f}),
        In(&C::m_flowFieldSizeStrength, "FlowFieldSizeStrength", "How much the flow field changes the particles' size",
           {0.0f, 0.01f, 0.0f, 10000.0f}),
        In(&C::m_flowFieldOffset, "FlowFieldOffset", "Moves the flow field; animate it to let the field change",
           {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_primType, "PrimType", "What is drawn for each particle",
           {2, 0, 4, {{0, "Point"}, {1, "Line"}, {2, "Texture"}, {3, "Axis texture"}, {4, "Object"}}}),
        In(&C::m_gravity, "Gravity", "Acceleration of every particle", {{0, -9.8f, 0}, 0.1f, 10000.0f}),
        In(&C::m_normalDir, "NormalDir", "Normals of the quads: 0 face the camera, 1 point out of the centre",
           {0.5f, 0.001f, 0.0f, 100.0f}),
        In(&C::m_timeScale, "TimeScale", "Speed of time for this system", {1.0f, 0.001f, 0.0f, 100.0f}),
        Out(&C::m_objectOut, "Object", "The particle system"),
    };
}

bool CParticlesNode::Init()
{
    m_freeCount = int(m_pool.size());
    m_cursor = 0;
    m_liveCount = 0;
    m_emitAccumulator = 0.0f;
    m_trailAccumulator = 0.0f;
    m_rearm = true;
    return true;
}

void CParticlesNode::FrameFinished()
{
    m_rearm = true;
}

void CParticlesNode::Update(float time, CSceneContext* context)
{
    m_objectOut->m_value = this;
    // One step per step of the scene: a second pull in the same step does
    // nothing. Warm-up steps come several to a frame, so the scene's clock
    // re-arms as well as the end of a frame.
    if (!m_rearm && context && context->m_time == m_lastSceneTime)
        return;
    m_rearm = false;
    m_lastSceneTime = context ? context->m_time : m_lastSceneTime;

    UpdateInPorts(time);
    const float d = m_timeScale->m_value * (context ? context->m_deltaTime : 0.0f);
    m_clock += d;
    m_emitAccumulator += d;

    float ax = 1.0f, ay = 1.0f;
    if (m_scaleByAspect->m_value && context) {
        const float a = context->m_aspect;
        if (a > 1.0f)
            ax = a;
        else if (a > 0.0f)
            ay = 1.0f / a;
    }

    const int perSec = std::max(0, m_particlesPerSec->m_value);
    const int n = int(m_emitAccumulator * float(perSec));
    if (m_freeCount < n)
        GrowPool(n);
    if (int(m_rings.size()) != int(m_pool.size()) || m_ringCapacity != std::max(0, m_trailsSegments->m_value)) {
        m_ringCapacity = std::max(0, m_trailsSegments->m_value);
        m_rings.assign(m_pool.size(), SRing{});
        m_segments.assign(m_pool.size() * size_t(m_ringCapacity), SSegment{});
    }

    m_points.m_roundness = m_normalDir->m_value;
    m_previousEmitterPosition = m_emitterPosition;
    m_previousEmitterRotation = m_emitterRotation;
    m_emitterPos->Update(m_clock);
    m_emitterRot->Update(m_clock);
    m_emitterPosition = ToVec(m_emitterPos->m_value);
    m_emitterRotation = ToVec(m_emitterRot->m_value);

    if (n > 0) {
        m_emitAccumulator = 0.0f;
        Emit(n, d, ax, ay);
    }
    Simulate(d);

    if (m_primType->m_value != m_batcherPrimitive || int(m_pool.size()) > m_points.GetCapacity()) {
        m_batcherPrimitive = m_primType->m_value;
        m_points.SetPrimitive(m_batcherPrimitive, int(m_pool.size()));
        m_deviceDirty = 0xFFFFFFFFu;
    }
    if (m_liveCount > 0 && !(context && context->m_warmingUp))
        FillBatcher();
    if (m_ringCapacity > 0) {
        UpdateTrails(d);
        CCamera fallback;
        m_trails.BuildQuads(context && context->m_camera ? *context->m_camera : fallback);
    }
}

void CParticlesNode::GrowPool(int wanted)
{
    const float perSec = float(std::max(0, m_particlesPerSec->m_value));
    const float life = std::max(m_timeToLive->m_value + m_timeToLiveVar->m_value, 1.0f);
    const float extra = std::max(perSec * life, float(wanted));
    const size_t size = size_t(float(m_pool.size()) + extra);
    m_freeCount += int(size - m_pool.size());
    m_pool.resize(size);
}

SVec3 CParticlesNode::EmitterOffset(float ax, float ay)
{
    switch (m_emitterType->m_value) {
    case Sphere: {
        const float radius = m_emitterRadius->m_value;
        if (radius == 0.0f)
            return {};
        return UniformDirection() * (g_random.NextUnit() * radius);
    }
    case Cube: {
        const float w = m_emitterWidth->m_value * ax, h = m_emitterHeight->m_value * ay;
        const float depth = m_emitterDepth->m_value;
        const bool hasW = !NearZero(w), hasH = !NearZero(h), hasD = !NearZero(depth);
        if (hasW && !hasH && !hasD)
            return {g_random.NextSigned() * w * 0.5f, 0, 0};
        if (hasH && !hasW && !hasD)
            return {0, g_random.NextSigned() * h * 0.5f, 0};
        if (hasD && !hasW && !hasH)
            return {0, 0, g_random.NextSigned() * depth * 0.5f};
        const float x = g_random.NextSigned() * w * 0.5f;
        const float y = g_random.NextSigned() * h * 0.5f;
        return {x, y, g_random.NextSigned() * depth * 0.5f};
    }
    default: return {}; // a cylinder emits from its centre
    }
}

SVec3 CParticlesNode::LaunchVelocity(float speed, const SVec3& position, const SVec3& motion, const CMatrix& rotation)
{
    const int mode = m_directionMode->m_value;
    const bool uniform =
        mode == Uniform || (NearZero(m_spreadMin->m_value) && m_spreadMax->m_value >= 179.99998f);
    if (uniform)
        return Rotate(UniformDirection() * speed, rotation) + motion;
    if (mode == Outwards)
        return FastNormalize(position - m_emitterPosition) * speed + motion;

    const SVec3 axis = Rotate({0, 1, 0}, EulerDegrees(ToVec(m_direction->m_value)));
    const auto limited = [](float degrees) { return std::clamp(degrees * DegreesToRadians, 0.0f, 3.1415927f); };
    const float c0 = std::cos(limited(m_spreadMin->m_value)), c1 = std::cos(limited(m_spreadMax->m_value));
    const float theta = std::acos(std::clamp(g_random.NextRange(c0, c1), -1.0f, 1.0f));
    const float phi = g_random.NextUnit() * kTwoPi;
    const SVec3 u = RotateZTo(axis, {std::sin(phi) * std::sin(theta), std::cos(phi) * std::sin(theta), std::cos(theta)});
    SVec3 v = u * speed + motion;
    if (mode == BiDirectional && g_random.NextInt(2) != 0)
        v = motion - u * speed;
    // Unlike the other modes the emitter's motion turns with it here.
    return Rotate(v, rotation);
}

void CParticlesNode::Emit(int n, float d, float ax, float ay)
{
    const CMatrix rotation = EulerDegrees(m_emitterRotation);
    const SVec3 motion = d > 0.0f ? (m_emitterPosition - m_previousEmitterPosition) * (m_velocityFromMotion->m_value / d)
                                  : SVec3{};
    const auto& colorBase = m_colorBase->m_value;
    const auto& colorVar = m_colorBaseVar->m_value;
    const int size = int(m_pool.size());
    for (int k = 1; k <= n; ++k) {
        // The next dead record from the cursor on, wrapping once.
        int index = -1;
        for (int step = 0; step < size; ++step) {
            const int i = (m_cursor + step) % size;
            if (!m_pool[size_t(i)].alive) {
                index = i;
                break;
            }
        }
        if (index < 0)
            return;
        m_cursor = (index + 1) % size;
        SParticle& p = m_pool[size_t(index)];
        p.age = 0.0f;
        p.alive = true;
        --m_freeCount;

        const float speed = g_random.NextSigned() * m_speedVar->m_value + m_speed->m_value;
        const SVec3 q = Rotate(EmitterOffset(ax, ay), rotation);
        for (size_t c = 0; c < 4; ++c)
            p.baseColor[c] = colorBase[c] + g_random.NextSigned() * colorVar[c];
        // Spread over the emitter's path in this step, not in one clump.
        const float fraction = float(k) / float(n);
        const SVec3 from = m_previousEmitterPosition + q, to = m_emitterPosition + q;
        p.position = from + (to - from) * fraction;
        p.previousPosition = p.position;
        p.velocity = LaunchVelocity(speed, p.position, motion, rotation);
        p.lifetime = g_random.NextSigned() * m_timeToLiveVar->m_value + m_timeToLive->m_value;
        p.baseSize = g_random.NextSigned() * m_sizeVar->m_value + m_size->m_value;
        p.size = p.baseSize;
        p.color = p.baseColor;
        p.previousColor = p.baseColor;
    }
}

SVec3 CParticlesNode::FlowForce(const SVec3& p) const
{
    // The curl of a vector potential whose three components are one noise
    // field read at offsets of 10 apart, by central differences.
    const float s = m_flowFieldScale->m_value;
    const SVec3 o = ToVec(m_flowFieldOffset->m_value);
    const float X = o.x + s * p.x, Y = o.y + s * p.y, Z = o.z + s * p.z;
    constexpr float e = 0.001f;
    const auto N = ImprovedNoise3;
    const float cx = (N(X, Y + e, Z + 10) - N(X, Y - e, Z + 10) - N(X, Y + 10, Z + e) + N(X, Y + 10, Z - e)) / 0.002f;
    const float cy = (N(X + 10, Y, Z + e) - N(X + 10, Y, Z - e) - N(X + e, Y, Z + 10) + N(X - e, Y, Z + 10)) / 0.002f;
    const float cz = (N(X + e, Y + 10, Z) - N(X - e, Y + 10, Z) - N(X + 10, Y + e, Z) + N(X + 10, Y - e, Z)) / 0.002f;
    return SVec3{cx, cy, cz} * m_flowFieldVelStrength->m_value;
}

void CParticlesNode::Simulate(float d)
{
    const SVec3 gravity = ToVec(m_gravity->m_value);
    const float damping = m_speedDamping->m_value;
    const bool flow = m_flowField->m_value;
    const float sizeStrength = m_flowFieldSizeStrength->m_value;
    const bool bounce = m_floor->m_value;
    const bool alphaAsLife = m_alphaAsLife->m_value;
    // "Local" ports see the particle's life as their time; unconnected ones
    // hold the same value for every particle.
    const bool sizeLocal = !m_sizeLocal->m_connections.empty();
    const bool colorLocal = !m_color->m_connections.empty();
    m_liveCount = 0;
    for (SParticle& p : m_pool) {
        if (!p.alive)
            continue;
        p.age += d;
        if (p.age >= p.lifetime) {
            p.alive = false;
            ++m_freeCount;
            continue;
        }
        ++m_liveCount;
        const float l = p.age / p.lifetime;
        p.previousColor = p.color;
        p.previousPosition = p.position;
        if (sizeLocal)
            m_sizeLocal->Update(l);
        p.size = p.baseSize + m_sizeLocal->m_value;
        if (colorLocal)
            m_color->Update(l);
        for (size_t c = 0; c < 4; ++c)
            p.color[c] = p.baseColor[c] + m_color->m_value[c];
        if (alphaAsLife)
            p.color[3] = l;

        SVec3 force = gravity;
        if (flow) {
            force = force + FlowForce(p.position);
            if (sizeStrength != 0.0f) {
                const float s = m_flowFieldScale->m_value;
                const SVec3 o = ToVec(m_flowFieldOffset->m_value);
                p.size += sizeStrength * ImprovedNoise3(o.x + s * p.position.x, o.y + s * p.position.y,
                                                        o.z + s * p.position.z);
            }
        }
        p.velocity = p.velocity + force * d;
        p.velocity = p.velocity - p.velocity * (damping * d);
        p.position = p.position + p.velocity * d;
        if (bounce && p.position.y < 0.0f) {
            p.position.y = 0.0f;
            if (p.velocity.y < 0.0f) {
                p.velocity.y = -p.velocity.y;
                p.velocity = p.velocity * 0.7f;
            }
        }
    }
}

void CParticlesNode::FillBatcher()
{
    const auto pack = [](const std::array<float, 4>& c) { return PackColor(c[0], c[1], c[2], c[3]); };
    const int primitive = m_points.GetPrimitive();
    size_t i = 0;
    switch (primitive) {
    case CRenderPoints::Point: {
        const auto records = m_points.Records<CRenderPoints::SPoint>();
        for (const SParticle& p : m_pool)
            if (p.alive)
                records[i++] = {p.position.x, p.position.y, p.position.z, pack(p.color)};
        break;
    }
    case CRenderPoints::Line: {
        const auto records = m_points.Records<CRenderPoints::SPoint>();
        for (const SParticle& p : m_pool) {
            if (!p.alive)
                continue;
            records[i++] = {p.position.x, p.position.y, p.position.z, pack(p.color)};
            records[i++] = {p.previousPosition.x, p.previousPosition.y, p.previousPosition.z, pack(p.previousColor)};
        }
        break;
    }
    case CRenderPoints::Texture:
    case CRenderPoints::AxisTexture:
    case CRenderPoints::Object: {
        const auto records = m_points.Records<CRenderPoints::SSized>();
        for (const SParticle& p : m_pool)
            if (p.alive)
                records[i++] = {p.position.x, p.position.y, p.position.z, pack(p.color), p.size, p.size, p.size};
        break;
    }
    default: break;
    }
}

void CParticlesNode::UpdateTrails(float d)
{
    m_trailAccumulator += d;
    const float perSec = m_trailsSegmentsPerSec->m_value;
    bool advance = false;
    if (perSec > 0.0f && m_trailAccumulator * perSec >= 1.0f) {
        advance = true;
        m_trailAccumulator -= 1.0f / perSec;
        // Far behind, as after a stall: start afresh rather than catch up.
        if (m_trailAccumulator * perSec >= 5.0f)
            m_trailAccumulator = 0.0f;
    }
    const int capacity = m_ringCapacity;
    m_trails.Reset();
    for (size_t r = 0; r < m_pool.size(); ++r) {
        const SParticle& p = m_pool[r];
        SRing& ring = m_rings[r];
        if (!p.alive) {
            ring = SRing{};
            continue;
        }
        if (advance || ring.count == 0) {
            ring.head = (ring.head + 1) % capacity;
            ring.count = std::min(ring.count + 1, capacity);
        }
        SSegment* segments = &m_segments[r * size_t(capacity)];
        segments[ring.head] = {p.position, PackColor(p.color[0], p.color[1], p.color[2], p.color[3]), p.size};
        if (ring.count < 2)
            continue;
        // Newest first, v running from 0 at the particle to 1 at the tail.
        CRenderVolumeLines::SVertex* out = m_trails.AddPolyline(ring.count);
        const float step = 1.0f / float(ring.count - 1);
        for (int k = 0; k < ring.count; ++k) {
            const SSegment& s = segments[(ring.head - k + capacity) % capacity];
            out[k] = {s.position.x, s.position.y, s.position.z, s.color, s.size, float(k) * step};
        }
    }
}

bool CParticlesNode::RestoreDevice(CRender* render)
{
    const bool points = m_points.RestoreDevice(render);
    return m_trails.RestoreDevice(render) && points;
}

void CParticlesNode::InvalidateDevice(CRender* render)
{
    m_points.InvalidateDevice(render);
    m_trails.InvalidateDevice(render);
}

void CParticlesNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (m_liveCount > 0) {
        CNode* object = m_objectIn->m_value ? m_objectIn->GetConnectedNode() : nullptr;
        m_points.AddToRenderList(list, parents, camera, m_effect->m_value, object, m_liveCount);
    }
    if (m_ringCapacity > 0 && m_trails.GetQuadCount() > 0)
        m_trails.AddToRenderList(list, parents, camera, m_trailEffect->m_value);
}
