#include "nodes/simulation/linesnode.h"

#include "app/log.h"
#include "app/random.h"
#include "nodes/support/playfield.h"
#include "ports/types/dataports.h"
#include "render/fastmath.h"
#include "render/rendertypes.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

namespace {

// v turned by `radians` about the unit axis k (Rodrigues).
SVec3 RotateAbout(const SVec3& v, const SVec3& k, float radians)
{
    const float c = std::cos(radians), s = std::sin(radians);
    return v * c + Cross(k, v) * s + k * (Dot(k, v) * (1.0f - c));
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CLinesNode>()
{
    using C = CLinesNode;
    return {
        In(&C::m_width, "Width", "Width of drawing area", {1.0f, 0.01f, 0.0001f, 100000.0f}),
        In(&C::m_height, "Height", "Height of drawing area", {1.0f, 0.01f, 0.0001f, 100000.0f}),
        In(&C::m_numSectionsWidth, "NumSectionsWidth",
           "Number of subdivisions we should do along the width of the line. Usefull when applying a vertex shaders",
           {1, 1, 10000}),
        In(&C::m_numSectionsHeight, "NumSectionsHeight",
           "Number of subdivisions we should do along the height of the line. Usefull when applying a vertex shaders",
           {1, 1, 10000}),
        In(&C::m_repeatTexU, "RepeatTexU", "How many times we should repeat the texture U over the line", {1, 0, 1000}),
        In(&C::m_repeatTexV, "RepeatTexV", "How many times we should repeat the texture V over the line", {1, 0, 1000}),
        In(&C::m_thickness, "Thickness", "Thickness of the lines. Set when line is created",
           {0.01f, 0.01f, 1e-05f, 10000.0f}),
        In(&C::m_localThickness, "LocalThickness", "Thickness to add to the base thickness. (Local)",
           {0.0f, 0.01f, 1e-05f, 10000.0f}),
        In(&C::m_color, "Color", "Color of the lines", {{0.8f, 0.9f, 1.0f, 1.0f}}),
        In(&C::m_localColor, "LocalColor", "Color of the lines (Local)", {{1.0f, 1.0f, 1.0f, 1.0f}}),
        In(&C::m_linesPerSec, "LinesPerSec", "Number of lines to add per second", {1.0f, 0.1f, 0.0f, 10000.0f}),
        In(&C::m_lineLifeTime, "LineLifeTime", "How long time line should live. Set when line is created",
           {1.0f, 0.1f, 0.0f, 10000.0f}),
        In(&C::m_rotationSpeed, "RotationSpeed", "The speed of the line rotation", {0.0f, 0.1f, -10000.0f, 10000.0f}),
        In(&C::m_rotationSpeedVar, "RotationSpeedVar", "The speed of the line rotation variance",
           {0.1f, 0.1f, -10000.0f, 10000.0f}),
        In(&C::m_effect, "Effect", "Effect"),
        Out(&C::m_objectOut, "Object", "Object"),
    };
}

// Puts a direction on the ellipse of the drawing area.
SVec3 CLinesNode::Fit(const SVec3& p) const
{
    const float hw = m_width->m_value * 0.5f, hh = m_height->m_value * 0.5f;
    const float length = std::sqrt(p.x * hw * p.x * hw + p.y * hh * p.y * hh);
    if (length <= 0.0f)
        return {hw, 0.0f, 0.0f};
    return {p.x * hw * hw / length, p.y * hh * hh / length, 0.0f};
}

CLinesNode::SLine* CLinesNode::TakeFree()
{
    const int size = int(m_pool.size());
    for (int pass = 0; pass < 2; ++pass) {
        for (int i = pass == 0 ? m_searchStart : 0; i < size; ++i) {
            if (!m_pool[size_t(i)].alive) {
                m_searchStart = i + 1 < size ? i + 1 : 0;
                return &m_pool[size_t(i)];
            }
        }
    }
    return nullptr;
}

void CLinesNode::Spawn(int count)
{
    const float speedVar = m_rotationSpeedVar->m_value, speed = m_rotationSpeed->m_value;
    for (int n = 0; n < count; ++n) {
        SLine* line = TakeFree();
        if (!line)
            return;
        line->alive = true;
        --m_free;
        line->life = m_lineLifeTime->m_value;
        line->baseThickness = line->thickness = m_thickness->m_value;
        std::copy_n(m_color->m_value.begin(), 4, line->baseColor);
        std::copy_n(m_color->m_value.begin(), 4, line->color);
        line->age = 0.0f;
        const SVec3 s = RandomUnitVector(g_random);
        const SVec3 q = RandomUnitVector(g_random);
        // A rotation by twice h, up to 90 degrees either way.
        const float h = (g_random.NextUnit() * 180.0f * 0.5f - 45.0f) * DegreesToRadians;
        const SVec3 e = RotateAbout(s, q, 2.0f * h);
        line->axisA = RandomUnitVector(g_random);
        line->axisB = RandomUnitVector(g_random);
        line->speedA = g_random.NextSigned() * speedVar + speed;
        line->speedB = g_random.NextSigned() * speedVar + speed;
        line->a = Fit(s);
        line->b = Fit(e);
    }
}

void CLinesNode::Age(float dt)
{
    // Unconnected local ports hold one value for every line.
    const bool localThickness = !m_localThickness->m_connections.empty();
    const bool localColor = !m_localColor->m_connections.empty();
    m_alive = 0;
    for (SLine& line : m_pool) {
        if (!line.alive)
            continue;
        line.age += dt;
        if (line.age >= line.life) {
            line.alive = false;
            ++m_free;
            continue;
        }
        ++m_alive;
        const float t = line.age / line.life;
        if (localThickness)
            m_localThickness->Update(t);
        line.thickness = m_localThickness->m_value + line.baseThickness;
        if (localColor)
            m_localColor->Update(t);
        for (size_t c = 0; c < 4; ++c)
            line.color[c] = line.baseColor[c] * m_localColor->m_value[c];
        line.a = Fit(RotateAbout(line.a, line.axisA, line.speedA * dt * DegreesToRadians));
        line.b = Fit(RotateAbout(line.b, line.axisB, line.speedB * dt * DegreesToRadians));
    }
}

void CLinesNode::Update(float time, CSceneContext* context)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);
    const float dt = context ? context->m_deltaTime : 0.0f;

    const float rate = std::trunc(m_linesPerSec->m_value);
    if (rate <= 0.0f) {
        // Below one line a second nothing is made, and nothing piles up for
        // later either.
        m_accumulator = 0.0f;
    } else {
        m_accumulator += dt;
    }
    const int count = int(std::min(rate * m_accumulator, float(MaxLines)));

    bool grew = false;
    if (m_free < count && int(m_pool.size()) < MaxLines) {
        const int more = std::min(int(std::max(2.0f * rate, 2.0f * float(count))), MaxLines - int(m_pool.size()));
        m_searchStart = int(m_pool.size());
        m_pool.resize(m_pool.size() + size_t(more));
        m_free += more;
        grew = true;
        if (int(m_pool.size()) == MaxLines)
            Report("lines");
    }
    const auto [across, along] = Sections();
    const int sections = across * along;
    const int wanted = int(std::min<long>(long(sections) * long(m_pool.size()), MaxQuads));
    if ((grew || m_numSectionsWidth->m_changed || m_numSectionsHeight->m_changed) && wanted > m_quads.GetCount())
        m_quads.Resize(wanted);

    if (count > 0) {
        // Each line made takes its interval off the accumulator, so the
        // rate holds at any frame rate and the pool stays near rate * life.
        m_accumulator -= float(count) / rate;
        Spawn(count);
    }
    Age(dt);

    // Only as many lines as the quads hold are drawn.
    const int drawable = m_quads.GetCount() / sections;
    if (m_alive > drawable)
        Report("quads");
    m_drawn = std::min(m_alive, drawable);
    SQuad* quad = m_quads.GetQuads();
    const float repeatU = float(m_repeatTexU->m_value), repeatV = float(m_repeatTexV->m_value);
    int drawn = 0;
    for (const SLine& line : m_pool) {
        if (drawn == m_drawn)
            break;
        if (!line.alive)
            continue;
        const uint32_t color = PackColor(line.color[0], line.color[1], line.color[2], line.color[3]);
        quad = CRenderQuads::AddRibbon(quad, line.a, line.b, line.thickness, color, across, along, repeatU, repeatV);
        ++drawn;
    }
}

std::pair<int, int> CLinesNode::Sections()
{
    // A million quads a line would want gigabytes: each axis is held to
    // MaxSections.
    const int across = std::clamp(m_numSectionsWidth->m_value, 1, MaxSections);
    const int along = std::clamp(m_numSectionsHeight->m_value, 1, MaxSections);
    if (across != std::max(1, m_numSectionsWidth->m_value) || along != std::max(1, m_numSectionsHeight->m_value))
        Report("sections");
    return {across, along};
}

void CLinesNode::Report(const char* what)
{
    if (m_limitReported)
        return;
    m_limitReported = true;
    Log("Lines \"%s\": too many %s; up to %d lines of up to %d x %d sections in %d quads are drawn", m_name.c_str(),
        what, MaxLines, MaxSections, MaxSections, MaxQuads);
}

bool CLinesNode::RestoreDevice(CRender* render)
{
    return m_quads.RestoreDevice(render);
}

void CLinesNode::InvalidateDevice(CRender* render)
{
    m_quads.InvalidateDevice(render);
}

void CLinesNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    const auto [across, along] = Sections();
    if (m_effect->m_value && m_drawn > 0)
        m_quads.AddToRenderList(list, parents, camera, m_effect->m_value, across * along * m_drawn);
}
