#include "nodes/games/asteroidsnode.h"

#include "app/log.h"
#include "app/random.h"
#include "nodes/support/playfield.h"
#include "ports/types/dataports.h"
#include "render/fastmath.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

namespace {

// The ship's outline, nose toward -y.
constexpr float kShipShape[4][4] = {
    {0.0f, -0.01f, 0.01f, 0.01f},
    {0.01f, 0.01f, 0.0f, 0.005f},
    {0.0f, 0.005f, -0.01f, 0.01f},
    {-0.01f, 0.01f, 0.0f, -0.01f},
};

// (x, y) turned by `degrees` the way the game turns everything:
// x' = x cos a + y sin a, y' = y cos a - x sin a.
void Turn(float& x, float& y, float degrees)
{
    const float a = degrees * DegreesToRadians;
    const float c = std::cos(a), s = std::sin(a);
    const float tx = x * c + y * s;
    y = y * c - x * s;
    x = tx;
}

// A velocity of (NextSigned, NextSigned) * scale that is never close to
// standing still.
void DriftVelocity(float scale, float& vx, float& vy)
{
    vx = g_random.NextSigned() * scale;
    vy = g_random.NextSigned() * scale;
    if (vx * vx + vy * vy < 0.0001f) {
        vx = 0.1f;
        vy = g_random.NextSigned() * 0.1f;
    }
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CAsteroidsNode>()
{
    using C = CAsteroidsNode;
    return {
        In(&C::m_width, "Width", "Width of asteroid field", {1.0f, 0.01f, 0.0001f, 100000.0f}),
        In(&C::m_height, "Height", "Height of asteroid field", {1.0f, 0.01f, 0.0001f, 100000.0f}),
        In(&C::m_numAsteroids, "NumAsteroids", "Number of asteroids", {10, 1, 100000}),
        In(&C::m_numFragments, "NumFragments", "Number of fragments a large asteroid gets split into", {3, 1, 100000}),
        In(&C::m_levelTimePort, "LevelTime", "How long to wait before we reset the whole level (sec)",
           {300.0f, 1.0f, 0.1f, 100000.0f}),
        In(&C::m_effect, "Effect", "Effect"),
        In(&C::m_shipCol, "ShipCol", "Color of the ship", {{1.0f, 1.0f, 1.0f, 1.0f}}),
        In(&C::m_bulletCol, "BulletCol", "Color of the bullets", {{1.0f, 1.0f, 1.0f, 1.0f}}),
        In(&C::m_asteroidCol, "AsteroidCol", "Color of the asteroids", {{1.0f, 1.0f, 1.0f, 1.0f}}),
        In(&C::m_adjustForAspect, "AdjustForAspect", "Adjust the width and height depending on the screen aspect",
           true),
        Out(&C::m_objectOut, "Object", "Object"),
    };
}

void CAsteroidsNode::AllocateSlots()
{
    const long rocks = std::clamp(m_numAsteroids->m_value, 1, 100000);
    const long fragments = std::clamp(m_numFragments->m_value, 1, 100000);
    // The product of two large settings would want gigabytes; far fewer
    // rocks already fill the field.
    const long slots = std::min(rocks * fragments, long(MaxSlots));
    if (slots < rocks * fragments)
        Log("Asteroids \"%s\": %ld asteroids of %ld fragments are too many; %ld slots are used", m_name.c_str(),
            rocks, fragments, slots);
    m_slots.assign(size_t(slots), SAsteroid{});
    // Room for every line there can be, so that no frame grows the batcher.
    m_lines.Resize(Segments * int(slots) + 14);
    m_lines.Resize(0);
}

void CAsteroidsNode::MakeAsteroid(SAsteroid& rock, EKind kind) const
{
    rock.kind = kind;
    rock.angle = g_random.NextUnit() * 360.0f;
    rock.spin = g_random.NextUnit() * 200.0f - 100.0f;
    rock.radius = kind == EKind::Large ? 0.025f + g_random.NextUnit() * 0.01f : 0.015f;
    rock.timer = 0.0f;
    float px[Segments], py[Segments];
    for (int i = 1; i <= Segments; ++i) {
        const float a = float(i) * 12.0f * DegreesToRadians;
        const float r = (g_random.NextUnit() * 0.29999995f + 0.85f) * rock.radius;
        px[i - 1] = r * std::sin(a);
        py[i - 1] = r * std::cos(a);
    }
    // Segment i runs from point i - 1 to point i; the first from the last.
    for (int i = 0; i < Segments; ++i) {
        const int from = (i + Segments - 1) % Segments;
        rock.outline[size_t(i)] = SSegment{px[from], py[from], px[i], py[i], 0.0f, 0.0f, 0.0f};
    }
}

void CAsteroidsNode::ResetLevel()
{
    ++m_levels;
    m_levelTime = 0.0f;
    m_lastStepTime = -1.0f;
    for (SBullet& bullet : m_bullets)
        bullet.alive = false;
    for (SAsteroid& rock : m_slots)
        rock.state = EState::Free;
    const int rocks = std::min(std::clamp(m_numAsteroids->m_value, 1, 100000), int(m_slots.size()));
    for (int i = 0; i < rocks; ++i) {
        SAsteroid& rock = m_slots[size_t(i)];
        MakeAsteroid(rock, EKind::Large);
        rock.x = g_random.NextUnit() * m_fieldWidth;
        rock.y = g_random.NextUnit() * m_fieldHeight;
        DriftVelocity(0.2f, rock.vx, rock.vy);
        rock.state = EState::Flying;
    }
    Jump();
}

void CAsteroidsNode::Jump()
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        const float x = (g_random.NextUnit() * 0.6f + 0.2f) * m_fieldWidth;
        const float y = (g_random.NextUnit() * 0.6f + 0.2f) * m_fieldHeight;
        const bool clear = std::none_of(m_slots.begin(), m_slots.end(), [&](const SAsteroid& rock) {
            const float dx = rock.x - x, dy = rock.y - y;
            return rock.state == EState::Flying && dx * dx + dy * dy < rock.radius * rock.radius;
        });
        if (clear) {
            m_ship.x = x;
            m_ship.y = y;
            return;
        }
    }
    // A crowded field: the centre, even on a rock.
    m_ship.x = m_fieldWidth * 0.5f;
    m_ship.y = m_fieldHeight * 0.5f;
}

void CAsteroidsNode::Aim(float dt)
{
    // Lead each rock by the time a bullet (speed 1) needs to reach it, and
    // aim at the one whose lead point is nearest.
    const SAsteroid* target = nullptr;
    float px = 0.0f, py = 0.0f, best = 0.0f;
    for (const SAsteroid& rock : m_slots) {
        if (rock.state != EState::Flying)
            continue;
        const float d = std::hypot(rock.x - m_ship.x, rock.y - m_ship.y);
        const float x = rock.x + rock.vx * d, y = rock.y + rock.vy * d;
        const float dd = (x - m_ship.x) * (x - m_ship.x) + (y - m_ship.y) * (y - m_ship.y);
        if (!target || dd < best) {
            target = &rock;
            best = dd;
            px = x;
            py = y;
        }
    }
    if (!target)
        return;
    float ex = m_ship.x - px, ey = m_ship.y - py;
    const float length = std::hypot(ex, ey);
    if (length > 0.0f) {
        ex /= length;
        ey /= length;
    }
    const float a = m_ship.angle * DegreesToRadians;
    const float sa = std::sin(a), ca = std::cos(a);
    // f is 1 when the nose points at the lead point; g says which way to turn.
    const float f = ex * sa + ey * ca;
    const float g = ex * ca - ey * sa;
    if (f > 0.0f)
        m_ship.angle += g * 200.0f * dt;
    else
        m_ship.angle += g > 0.0f ? 200.0f * dt : -200.0f * dt;

    if (std::fabs(f - 1.0f) > 0.005f || m_ship.cooldown > 0.0f)
        return;
    m_ship.cooldown = 0.25f;
    if (best >= 0.25f)
        return;
    for (SBullet& bullet : m_bullets) {
        if (bullet.alive)
            continue;
        bullet.alive = true;
        bullet.x = bullet.previousX = m_ship.x - m_ship.radius * sa;
        bullet.y = bullet.previousY = m_ship.y - m_ship.radius * ca;
        bullet.vx = -sa;
        bullet.vy = -ca;
        return;
    }
}

void CAsteroidsNode::MoveBullets(float dt)
{
    for (SBullet& bullet : m_bullets) {
        if (!bullet.alive)
            continue;
        bullet.previousX = bullet.x;
        bullet.previousY = bullet.y;
        bullet.x += bullet.vx * dt;
        bullet.y += bullet.vy * dt;
        if (bullet.x < 0.0f || bullet.y < 0.0f || bullet.x > m_fieldWidth || bullet.y > m_fieldHeight)
            bullet.alive = false;
    }
}

void CAsteroidsNode::MoveAsteroids(float dt)
{
    const float W = m_fieldWidth, H = m_fieldHeight;
    for (SAsteroid& rock : m_slots) {
        if (rock.state == EState::Flying) {
            rock.x += rock.vx * dt;
            rock.y += rock.vy * dt;
            rock.angle += rock.spin * dt;
            // Off one edge by half its radius, on again at the other.
            const float h = rock.radius * 0.5f;
            if (rock.x - h > W)
                rock.x -= W + rock.radius;
            if (rock.x + h < 0.0f)
                rock.x += W + rock.radius;
            if (rock.y - h > H)
                rock.y -= H + rock.radius;
            if (rock.y + h < 0.0f)
                rock.y += H + rock.radius;
        } else if (rock.state == EState::Exploding) {
            rock.timer -= dt;
            if (rock.timer < 0.0f)
                rock.state = EState::Free;
            for (SSegment& s : rock.outline) {
                s.x1 += s.vx * dt;
                s.y1 += s.vy * dt;
                s.x2 += s.vx * dt;
                s.y2 += s.vy * dt;
                const float mx = (s.x1 + s.x2) * 0.5f, my = (s.y1 + s.y2) * 0.5f;
                float ax = s.x1 - mx, ay = s.y1 - my;
                Turn(ax, ay, s.spin * dt);
                s.x1 = mx + ax;
                s.y1 = my + ay;
                s.x2 = mx - ax;
                s.y2 = my - ay;
            }
        }
    }
}

void CAsteroidsNode::Explode(SAsteroid& rock)
{
    rock.state = EState::Exploding;
    rock.timer = 2.0f;
    for (SSegment& s : rock.outline) {
        s.vx = g_random.NextSigned() * 0.15f;
        s.vy = g_random.NextSigned() * 0.15f;
        s.spin = g_random.NextSigned() * 300.0f;
    }
    if (rock.kind != EKind::Large)
        return;
    const int fragments = std::clamp(m_numFragments->m_value, 1, 100000);
    for (int f = 0; f < fragments; ++f) {
        auto free = std::find_if(m_slots.begin(), m_slots.end(),
                                 [](const SAsteroid& slot) { return slot.state == EState::Free; });
        // No slot, no fragment.
        if (free == m_slots.end())
            return;
        MakeAsteroid(*free, EKind::Small);
        free->x = rock.x + g_random.NextSigned() * rock.radius * 0.9f;
        free->y = rock.y + g_random.NextSigned() * rock.radius * 0.9f;
        DriftVelocity(0.15f, free->vx, free->vy);
        free->state = EState::Flying;
    }
}

void CAsteroidsNode::Collide()
{
    // Fragments go into free slots while this walks: they are flying and
    // meet the bullets still alive, as any rock.
    for (size_t i = 0; i < m_slots.size(); ++i) {
        SAsteroid& rock = m_slots[i];
        if (rock.state != EState::Flying)
            continue;
        if (std::hypot(rock.x - m_ship.x, rock.y - m_ship.y) < m_ship.radius + rock.radius)
            Jump();
        for (SBullet& bullet : m_bullets) {
            if (!bullet.alive)
                continue;
            // The point of this frame's flight nearest to the rock's centre.
            const float sx = bullet.x - bullet.previousX, sy = bullet.y - bullet.previousY;
            const float ll = sx * sx + sy * sy;
            float t = ll > 0.0f ? ((rock.x - bullet.previousX) * sx + (rock.y - bullet.previousY) * sy) / ll : 0.0f;
            t = std::clamp(t, 0.0f, 1.0f);
            const float nx = bullet.previousX + sx * t - rock.x, ny = bullet.previousY + sy * t - rock.y;
            if (nx * nx + ny * ny >= rock.radius * rock.radius)
                continue;
            m_ship.idle = 0.0f;
            bullet.alive = false;
            Explode(m_slots[i]);
            break;
        }
    }
}

void CAsteroidsNode::FillLines()
{
    m_lines.Resize(0);
    // The field is drawn centred on the origin.
    const float ox = -m_fieldWidth * 0.5f, oy = -m_fieldHeight * 0.5f;
    const auto add = [&](float x1, float y1, float x2, float y2, const float color[4]) {
        m_lines.AddLine({x1 + ox, y1 + oy, 0.0f}, {x2 + ox, y2 + oy, 0.0f}, color);
    };
    for (const auto& line : kShipShape) {
        float x1 = line[0], y1 = line[1], x2 = line[2], y2 = line[3];
        Turn(x1, y1, m_ship.angle);
        Turn(x2, y2, m_ship.angle);
        add(x1 + m_ship.x, y1 + m_ship.y, x2 + m_ship.x, y2 + m_ship.y, m_shipCol->m_value.data());
    }
    for (const SBullet& bullet : m_bullets)
        if (bullet.alive)
            add(bullet.previousX, bullet.previousY, bullet.x, bullet.y, m_bulletCol->m_value.data());
    for (const SAsteroid& rock : m_slots) {
        if (rock.state == EState::Free)
            continue;
        float color[4];
        std::copy_n(m_asteroidCol->m_value.begin(), 4, color);
        if (rock.state == EState::Exploding)
            color[3] = rock.timer * 0.5f;
        for (const SSegment& s : rock.outline) {
            float x1 = s.x1, y1 = s.y1, x2 = s.x2, y2 = s.y2;
            Turn(x1, y1, rock.angle);
            Turn(x2, y2, rock.angle);
            add(x1 + rock.x, y1 + rock.y, x2 + rock.x, y2 + rock.y, color);
        }
    }
}

void CAsteroidsNode::Update(float, CSceneContext* context)
{
    m_objectOut->m_value = this;
    const float dt = context ? context->m_deltaTime : 0.0f;
    m_levelTime += dt;
    // Ports run on the level's clock.
    const bool changed = UpdateInPorts(m_levelTime);
    if (!changed && m_levelTime == m_lastStepTime)
        return;
    m_lastStepTime = m_levelTime;
    if (m_numAsteroids->m_changed || m_numFragments->m_changed || m_slots.empty())
        AllocateSlots();

    const float aspect = context ? context->m_aspect : 1.0f;
    const SFieldSize field =
        AdjustForAspect(m_width->m_value, m_height->m_value, m_adjustForAspect->m_value, aspect);
    m_fieldWidth = field.width;
    m_fieldHeight = field.height;
    if (aspect != m_lastAspect) {
        m_lastAspect = aspect;
        ResetLevel();
    } else {
        const auto left = std::count_if(m_slots.begin(), m_slots.end(),
                                        [](const SAsteroid& rock) { return rock.state != EState::Free; });
        // The last few rocks take less time: the level hurries to its end.
        if (left < 3)
            m_levelTime += 2.0f * dt;
        if (left == 0 || m_levelTime > m_levelTimePort->m_value)
            ResetLevel();
    }

    m_ship.idle += dt;
    if (m_ship.idle > 10.0f) {
        // Ten seconds without a hit: try elsewhere.
        m_ship.idle = 0.0f;
        Jump();
    }
    Aim(dt);
    m_ship.x += m_ship.vx * dt;
    m_ship.y += m_ship.vy * dt;
    if (m_ship.cooldown > 0.0f)
        m_ship.cooldown -= dt;
    MoveBullets(dt);
    MoveAsteroids(dt);
    Collide();
    FillLines();
}

bool CAsteroidsNode::RestoreDevice(CRender* render)
{
    return m_lines.RestoreDevice(render);
}

void CAsteroidsNode::InvalidateDevice(CRender* render)
{
    m_lines.InvalidateDevice(render);
}

void CAsteroidsNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    m_lines.AddToRenderList(list, parents, camera, m_effect->m_value);
}
