#include "nodes/simulation/fluid2dnode.h"

#include "app/log.h"
#include "app/random.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

template <>
CNodeDeclaration DeclareNode<CFluid2dNode>()
{
    using C = CFluid2dNode;
    return {
        In(&C::m_effect, "Effect", "Effect"),
        In(&C::m_gridCellsX, "GridCellsX", "Number of grid cells along x axis", {100, 5, 10000000}),
        In(&C::m_gridCellsY, "GridCellsY", "Number of grid cells along y axis", {100, 5, 10000000}),
        In(&C::m_numParticles, "NumParticles", "Amount of particles", {10000, 0, 10000000}),
        In(&C::m_color, "Color", "Color of particle", {{0.5f, 0.6f, 1.0f, 1.0f}}),
        In(&C::m_gravity, "Gravity", "Direction and strength of gravity", {{0, -0.03f, 0}, 0.1f, 10000.0f}),
        In(&C::m_particleSize, "ParticleSize", "Size of particle", {0.01f, 0.01f, 0.0f, 10000.0f}),
        In(&C::m_primType, "PrimType", "Type of primitive",
           {2, 0, 4, {{0, "Point"}, {1, "Line"}, {2, "Texture"}, {3, "Axis texture"}, {4, "Object"}}}),
        In(&C::m_adjustForAspect, "AdjustForAspect", "Adjust the width and height depending on the screen aspect",
           true),
        In(&C::m_objectIn, "Object", "Object that will be used as particle if PrimType is set to Object"),
        Out(&C::m_objectOut, "Object", "Object"),
    };
}

void CFluid2dNode::Update(float time, CSceneContext* context)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);
    m_accumulator += context ? context->m_deltaTime : 0.0f;
    if (m_accumulator < StepLength)
        return;
    m_accumulator -= StepLength;
    // After a stall the backlog is dropped rather than caught up.
    if (m_accumulator > 0.5f)
        m_accumulator = 0.0f;

    int width = m_gridCellsX->m_value, height = m_gridCellsY->m_value;
    int wanted = m_numParticles->m_value;
    if ((width > MaxGridCells || height > MaxGridCells || wanted > MaxParticles) && !m_capReported) {
        m_capReported = true;
        Log("Fluid2d \"%s\": %d x %d cells and %d particles are limited to %d x %d and %d", m_name.c_str(), width,
            height, wanted, MaxGridCells, MaxGridCells, MaxParticles);
    }
    width = std::clamp(width, 5, MaxGridCells);
    height = std::clamp(height, 5, MaxGridCells);
    wanted = std::clamp(wanted, 0, MaxParticles);
    const size_t cells = size_t(width) * size_t(height);
    if (cells > m_grid.size() || width != m_width) {
        // A new row length moves every node: start from a clean grid.
        m_grid.assign(std::max(cells, m_grid.size()), SGridNode{});
        m_active.clear();
        m_width = width;
    }
    if (wanted > m_count)
        Spawn(wanted, width, height);
    // Each particle touches nine nodes at most: with room for all of them
    // the active list never grows within a step.
    m_active.reserve(std::min(cells, 9 * size_t(m_count)));

    Step(width, height);

    const int primitive = m_primType->m_value;
    if (primitive != m_batcherPrimitive || m_count > m_points.GetCapacity()) {
        m_batcherPrimitive = primitive;
        m_points.SetPrimitive(primitive, m_count);
        m_deviceDirty = 0xFFFFFFFFu;
    }
    FillBatcher(width, height, context ? context->m_aspect : 1.0f);
}

void CFluid2dNode::Spawn(int count, int width, int height)
{
    if (size_t(count) > m_particles.size())
        m_particles.resize(size_t(count));
    m_count = count;
    const float gx = float(width), gy = float(height);
    for (int i = 0; i < count; ++i) {
        SParticle& p = m_particles[size_t(i)];
        p = SParticle{};
        p.material = &m_material;
        p.x = g_random.NextUnit() * (gx - 4.0f) * 0.40000004f + 2.0f / gx + (gx - 4.0f) * 0.3f;
        p.y = g_random.NextUnit() * (gy - 4.0f) * 0.40000004f + 2.0f / gy + (gy - 4.0f) * 0.3f;
    }
}

void CFluid2dNode::Step(int width, int height)
{
    ++m_steps;
    for (SGridNode* node : m_active)
        *node = SGridNode{};
    m_active.clear();
    Weights(width, height);
    Scatter();
    Forces(width, height);
    Velocities();
    Move(width, height);
}

void CFluid2dNode::Weights(int width, int height)
{
    // Quadratic B-spline weights of the three nodes from trunc(x - 0.5) on,
    // and their derivatives.
    const auto weights = [](float at, int& base, float w[3], float g[3]) {
        base = int(at - 0.5f);
        const float x0 = float(base) - at;
        w[0] = 0.5f * x0 * x0 + 1.5f * x0 + 1.125f;
        g[0] = x0 + 1.5f;
        const float x1 = x0 + 1.0f;
        w[1] = 0.75f - x1 * x1;
        g[1] = -2.0f * x1;
        const float x2 = x1 + 1.0f;
        w[2] = 0.5f * x2 * x2 - 1.5f * x2 + 1.125f;
        g[2] = x2 - 1.5f;
    };
    for (int n = 0; n < m_count; ++n) {
        SParticle& p = m_particles[size_t(n)];
        // Only a smaller grid than the last step's can leave one outside.
        p.x = std::clamp(p.x, 1.0f, float(width) - 2.0f);
        p.y = std::clamp(p.y, 1.0f, float(height) - 2.0f);
        weights(p.x, p.cx, p.px, p.gx);
        weights(p.y, p.cy, p.py, p.gy);
    }
}

void CFluid2dNode::Scatter()
{
    for (int n = 0; n < m_count; ++n) {
        const SParticle& p = m_particles[size_t(n)];
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                SGridNode& node = Node(p.cx + j, p.cy + i);
                const float phi = p.px[j] * p.py[i];
                node.mass += phi * p.material->mass;
                node.d += phi;
                node.gx += p.gx[j] * p.py[i];
                node.gy += p.px[j] * p.gy[i];
                if (!node.active) {
                    node.active = true;
                    m_active.push_back(&node);
                }
            }
        }
    }
}

void CFluid2dNode::Forces(int width, int height)
{
    for (int n = 0; n < m_count; ++n) {
        const SParticle& p = m_particles[size_t(n)];
        // Density between the four nodes around the particle, by a bicubic
        // patch through their densities and density gradients.
        const int cx = int(p.x), cy = int(p.y);
        const SGridNode& a = Node(cx, cy);
        const SGridNode& b = Node(cx + 1, cy);
        const SGridNode& c = Node(cx, cy + 1);
        const SGridNode& e = Node(cx + 1, cy + 1);
        const float u = p.x - float(cx), v = p.y - float(cy);
        const float dx = b.d - a.d, dy = c.d - a.d;
        const float C20 = 3.0f * dx - b.gx - 2.0f * a.gx, C30 = b.gx - 2.0f * dx + a.gx;
        const float C02 = 3.0f * dy - c.gy - 2.0f * a.gy, C03 = c.gy - 2.0f * dy + a.gy;
        const float s1 = a.gy + a.d + C02 + C03, s2 = a.gx + a.d + C20 + C30;
        const float C21 = 3.0f * e.d - 2.0f * c.gx - e.gx - 3.0f * s1 - C20;
        const float C31 = c.gx - 2.0f * e.d + e.gx + 2.0f * s1 - C30;
        const float C12 = 3.0f * e.d - 2.0f * b.gy - e.gy - 3.0f * s2 - C02;
        const float C13 = b.gy - 2.0f * e.d + e.gy + 2.0f * s2 - C03;
        const float C11 = c.gx - C13 - C12 - a.gx;
        const float u2 = u * u, u3 = u2 * u, v2 = v * v, v3 = v2 * v;
        const float density = a.d + u * a.gx + v * a.gy + u2 * C20 + v2 * C02 + u3 * C30 + v3 * C03 + u2 * v * C21 +
                              u3 * v * C31 + u * v2 * C12 + u * v3 * C13 + u * v * C11;
        const float pressure = std::min(density - 1.0f, 2.0f);

        const float mass = p.material->mass;
        const float gx = float(width), gy = float(height);
        float fx = 0.0f, fy = 0.0f;
        if (p.x < 4.0f)
            fx = (4.0f - p.x) * mass;
        else if (p.x > gx - 5.0f)
            fx = (gx - 5.0f - p.x) * mass;
        if (p.y < 4.0f)
            fy = (4.0f - p.y) * mass;
        else if (p.y > gy - 5.0f)
            fy = (gy - 5.0f - p.y) * mass;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                SGridNode& node = Node(p.cx + j, p.cy + i);
                const float phi = p.px[j] * p.py[i];
                node.ax += phi * fx - p.gx[j] * p.py[i] * pressure;
                node.ay += phi * fy - p.px[j] * p.gy[i] * pressure;
            }
        }
    }
    const auto& g = m_gravity->m_value;
    for (SGridNode* node : m_active) {
        if (node->mass > 0.0f) {
            node->ax = node->ax / node->mass + g[0];
            node->ay = node->ay / node->mass + g[1];
        }
    }
}

void CFluid2dNode::Velocities()
{
    for (int n = 0; n < m_count; ++n) {
        SParticle& p = m_particles[size_t(n)];
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                const SGridNode& node = Node(p.cx + j, p.cy + i);
                const float phi = p.px[j] * p.py[i];
                p.u += phi * node.ax;
                p.v += phi * node.ay;
            }
        }
        const float mass = p.material->mass;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                SGridNode& node = Node(p.cx + j, p.cy + i);
                const float phi = p.px[j] * p.py[i];
                node.u += mass * p.u * phi;
                node.v += mass * p.v * phi;
            }
        }
    }
    for (SGridNode* node : m_active) {
        if (node->mass > 0.0f) {
            node->u /= node->mass;
            node->v /= node->mass;
        }
    }
}

void CFluid2dNode::Move(int width, int height)
{
    const float gx = float(width), gy = float(height);
    // A particle stays within 0.01 of the border cell it is pushed back to,
    // so its weights never reach past the grid.
    const auto wall = [](float& x, float& u, float high) {
        x = x > high ? high - g_random.NextUnit() * 0.01f : 1.0f + g_random.NextUnit() * 0.01f;
        u = 0.0f;
    };
    for (int n = 0; n < m_count; ++n) {
        SParticle& p = m_particles[size_t(n)];
        float gu = 0.0f, gv = 0.0f;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                const SGridNode& node = Node(p.cx + j, p.cy + i);
                const float phi = p.px[j] * p.py[i];
                gu += phi * node.u;
                gv += phi * node.v;
            }
        }
        p.x += gu;
        p.y += gv;
        p.u = gu;
        p.v = gv;
        // Also catches NaN, which compares false both ways.
        if (!(p.x >= 1.0f && p.x <= gx - 2.0f))
            wall(p.x, p.u, gx - 2.0f);
        if (!(p.y >= 1.0f && p.y <= gy - 2.0f))
            wall(p.y, p.v, gy - 2.0f);
    }
}

void CFluid2dNode::FillBatcher(int width, int height, float aspect)
{
    if (m_count == 0 || m_points.GetCapacity() < m_count)
        return;
    const float gx = float(width), gy = float(height);
    float sx = 1.0f / (gx - 4.0f), sy = 1.0f / (gy - 4.0f);
    if (m_adjustForAspect->m_value && aspect > 0.0f) {
        if (aspect > 1.0f)
            sx *= aspect;
        else
            sy /= aspect;
    }
    const auto& c = m_color->m_value;
    const uint32_t color = PackColor(c[0], c[1], c[2], c[3]);
    const float size = m_particleSize->m_value;
    switch (m_points.GetPrimitive()) {
    case CRenderPoints::Point: {
        const auto records = m_points.Records<CRenderPoints::SPoint>();
        for (int n = 0; n < m_count; ++n) {
            const SParticle& p = m_particles[size_t(n)];
            records[size_t(n)] = {(p.x - gx * 0.5f) * sx, (p.y - gy * 0.5f) * sy, 0.0f, color};
        }
        break;
    }
    case CRenderPoints::Line: {
        const auto records = m_points.Records<CRenderPoints::SPoint>();
        for (int n = 0; n < m_count; ++n) {
            const SParticle& p = m_particles[size_t(n)];
            records[2 * size_t(n)] = {(p.x - gx * 0.5f) * sx, (p.y - gy * 0.5f) * sy, 0.0f, color};
            records[2 * size_t(n) + 1] = {(p.x - p.u - gx * 0.5f) * sx, (p.y - p.v - gy * 0.5f) * sy, 0.0f, color};
        }
        break;
    }
    case CRenderPoints::Texture:
    case CRenderPoints::AxisTexture:
    case CRenderPoints::Object: {
        const auto records = m_points.Records<CRenderPoints::SSized>();
        for (int n = 0; n < m_count; ++n) {
            const SParticle& p = m_particles[size_t(n)];
            records[size_t(n)] = {(p.x - gx * 0.5f) * sx, (p.y - gy * 0.5f) * sy, 0.0f, color, size, size, size};
        }
        break;
    }
    default: break;
    }
}

bool CFluid2dNode::RestoreDevice(CRender* render)
{
    return m_points.RestoreDevice(render);
}

void CFluid2dNode::InvalidateDevice(CRender* render)
{
    m_points.InvalidateDevice(render);
}

void CFluid2dNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    if (m_count == 0)
        return;
    CNode* object = m_objectIn->m_value ? m_objectIn->GetConnectedNode() : nullptr;
    m_points.AddToRenderList(list, parents, camera, m_effect->m_value, object, m_count);
}
