#include "nodes/games/mazenode.h"

#include "ports/types/dataports.h"
#include "render/fastmath.h"
#include "render/render.h"
#include "scene/effectpasses.h"
#include "scene/nodedeclaration.h"
#include "scene/renderlist.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr std::array<uint8_t, 4> kDirections{CMazeNode::PassageUp, CMazeNode::PassageDown, CMazeNode::PassageRight,
                                             CMazeNode::PassageLeft};

CMazeNode::SCell Neighbour(const CMazeNode::SCell& c, uint8_t direction)
{
    switch (direction) {
    case CMazeNode::PassageUp:
        return {c.x, int16_t(c.y + 1)};
    case CMazeNode::PassageDown:
        return {c.x, int16_t(c.y - 1)};
    case CMazeNode::PassageRight:
        return {int16_t(c.x + 1), c.y};
    default:
        return {int16_t(c.x - 1), c.y};
    }
}

uint8_t Opposite(uint8_t direction)
{
    switch (direction) {
    case CMazeNode::PassageUp:
        return CMazeNode::PassageDown;
    case CMazeNode::PassageDown:
        return CMazeNode::PassageUp;
    case CMazeNode::PassageRight:
        return CMazeNode::PassageLeft;
    default:
        return CMazeNode::PassageRight;
    }
}

// trunc(NextUnit * n), kept below n where NextUnit rounds up to 1.
int Draw(CRandom& random, int n)
{
    return std::min(int(random.NextUnit() * float(n)), n - 1);
}

std::array<uint8_t, 4> Shuffled(CRandom& random)
{
    std::array<uint8_t, 4> order = kDirections;
    for (int i = 0; i < 4; ++i) {
        const int a = Draw(random, 4);
        const int b = Draw(random, 4);
        std::swap(order[size_t(a)], order[size_t(b)]);
    }
    return order;
}

SVec3 CellCentre(const CMazeNode::SCell& c)
{
    return {float(c.x) * CMazeNode::CellSize, CMazeNode::EyeHeight, float(c.y) * CMazeNode::CellSize};
}

struct SWall
{
    uint8_t bit;
    SVec3 offset, half, normal, tangent, binormal;
};

// A wall stands just inside its cell's edge, facing into the cell.
constexpr SWall kWalls[] = {
    {CMazeNode::PassageUp, {0, 0, 2.45f}, {2.5f, 2.5f, 0}, {0, 0, -1}, {1, 0, 0}, {0, -1, 0}},
    {CMazeNode::PassageDown, {0, 0, -2.45f}, {2.5f, 2.5f, 0}, {0, 0, 1}, {-1, 0, 0}, {0, -1, 0}},
    {CMazeNode::PassageRight, {2.45f, 0, 0}, {0, 2.5f, 2.5f}, {1, 0, 0}, {0, 0, 1}, {0, -1, 0}},
    {CMazeNode::PassageLeft, {-2.45f, 0, 0}, {0, 2.5f, 2.5f}, {-1, 0, 0}, {0, 0, -1}, {0, -1, 0}},
};

} // namespace

template <>
CNodeDeclaration DeclareNode<CMazeNode>()
{
    using C = CMazeNode;
    return {
        In(&C::m_renderIn, "Render", "Render"),
        In(&C::m_numCellsX, "NumCellsX", "Number of cells in the X axis", {20, 5, 1000}),
        In(&C::m_numCellsY, "NumCellsY", "Number of cells in the Y axis", {20, 5, 1000}),
        In(&C::m_height, "Height", "Height of a wall", {1.0f, 0.01f, 0.0001f, 100000.0f}),
        In(&C::m_seed, "Seed", "Seed value to use for the pseudo randomizer", {1, 1, 100000}),
        In(&C::m_effect, "Effect", "Effect"),
        Out(&C::m_renderOut, "Render", "Render"),
    };
}

// Depth first with backtracking: every cell is reached once, so the
// passages form a spanning tree of the grid.
void CMazeNode::Generate()
{
    m_grid.assign(size_t(m_cellsX) * size_t(m_cellsY), 0);
    m_stack.clear();
    m_stack.reserve(m_grid.size());
    const int16_t y = int16_t(Draw(m_random, m_cellsY));
    const int16_t x = int16_t(Draw(m_random, m_cellsX));
    m_stack.push_back({x, y});
    while (!m_stack.empty()) {
        const SCell cell = m_stack.back();
        bool carved = false;
        for (uint8_t direction : Shuffled(m_random)) {
            const SCell next = Neighbour(cell, direction);
            if (!InGrid(next) || At(next) != 0)
                continue;
            At(cell) |= direction;
            At(next) |= Opposite(direction);
            m_stack.push_back(next);
            carved = true;
            break;
        }
        if (!carved)
            m_stack.pop_back();
    }
}

void CMazeNode::BuildWalls()
{
    m_wallCount = 0;
    for (uint8_t cell : m_grid)
        for (const SWall& wall : kWalls)
            m_wallCount += (cell & wall.bit) ? 0 : 1;
    m_quads.Resize(m_wallCount);
    SQuad* quad = m_quads.GetQuads();
    for (int16_t y = 0; y < m_cellsY; ++y) {
        for (int16_t x = 0; x < m_cellsX; ++x) {
            const uint8_t cell = GetCell(x, y);
            for (const SWall& wall : kWalls) {
                if (cell & wall.bit)
                    continue;
                const SVec3 c = CellCentre({x, y}) + wall.offset;
                const SVec3& s = wall.half;
                const auto vertex = [&](float px, float py, float pz, float u, float v) {
                    return SVertexPNTBTC{{px, py, pz},
                                         0xFFFFFFFFu,
                                         {u, v},
                                         {wall.normal.x, wall.normal.y, wall.normal.z},
                                         {wall.tangent.x, wall.tangent.y, wall.tangent.z},
                                         {wall.binormal.x, wall.binormal.y, wall.binormal.z},
                                         0};
                };
                *quad++ = SQuad{{vertex(c.x - s.x, c.y + s.y, c.z - s.z, 0, 0),
                                 vertex(c.x - s.x, c.y - s.y, c.z - s.z, 0, 1),
                                 vertex(c.x + s.x, c.y + s.y, c.z + s.z, 1, 0),
                                 vertex(c.x + s.x, c.y - s.y, c.z + s.z, 1, 1)}};
            }
        }
    }
    m_deviceDirty = 0xFFFFFFFFu;
}

CMazeNode::SCell CMazeNode::Pick(const SCell& previous)
{
    for (uint8_t direction : Shuffled(g_random)) {
        const SCell next = Neighbour(m_current, direction);
        if (next != previous && InGrid(next) && (At(m_current) & direction))
            return next;
    }
    // A dead end: back the way we came.
    return previous;
}

void CMazeNode::StartWalker()
{
    m_current.x = int16_t(Draw(g_random, m_cellsX));
    m_current.y = int16_t(Draw(g_random, m_cellsY));
    m_next = Pick({-1, -1});
    m_progress = 0.0f;
    m_walker = EWalker::Walking;
}

void CMazeNode::Walk()
{
    const SVec3 up{0.0f, 1.0f, 0.0f};
    const SVec3 from = CellCentre(m_current);
    const SVec3 toward = Normalize(CellCentre(m_next) - from);
    if (m_walker == EWalker::Walking) {
        const SVec3 eye = from + (CellCentre(m_next) - from) * m_progress;
        m_camera.LookAt(eye, eye + toward, up);
        if (m_progress < 1.0f)
            return;
        m_progress = 0.0f;
        const SCell previous = m_current;
        m_current = m_next;
        m_next = Pick(previous);
        const SVec3 ahead = Normalize(CellCentre(m_next) - CellCentre(m_current));
        // Corners and dead ends are taken standing, by turning on the spot.
        if (Dot(toward, ahead) < 0.9f) {
            m_direction = toward;
            m_walker = EWalker::Turning;
        }
        return;
    }
    if (m_walker != EWalker::Turning)
        return;
    const SVec3& o = m_direction;
    const float dot = Dot(o, toward);
    float a = dot <= -1.0f ? 180.0f : dot >= 1.0f ? 0.0f : std::acos(dot) * 57.29578f;
    if (Dot({-o.z, 0.0f, o.x}, toward) > 0.0f)
        a = -a;
    const float b = a * m_progress * DegreesToRadians;
    const SVec3 forward{std::cos(b) * o.x + std::sin(b) * o.z, o.y, std::cos(b) * o.z - std::sin(b) * o.x};
    m_camera.LookAt(from, from + forward, up);
    if (m_progress >= 1.0f) {
        m_progress = 0.0f;
        m_walker = EWalker::Walking;
    }
}

void CMazeNode::Update(float time, CSceneContext* context)
{
    m_renderOut->m_value = this;
    UpdateInPorts(time);
    m_random.Seed(uint32_t(m_seed->m_value));
    if (m_numCellsX->m_changed || m_numCellsY->m_changed || m_grid.empty()) {
        m_cellsX = std::clamp(m_numCellsX->m_value, 5, 1000);
        m_cellsY = std::clamp(m_numCellsY->m_value, 5, 1000);
        Generate();
        BuildWalls();
        StartWalker();
    }
    m_camera.m_fov = 60.0f;
    m_camera.m_near = 0.0001f;
    m_camera.m_far = 100.0f;
    m_camera.m_projection = CCamera::Perspective;
    const float dt = context ? context->m_deltaTime : 0.0f;
    m_progress = std::clamp(m_progress + dt * 0.5f, 0.0f, 1.0f);
    Walk();
}

bool CMazeNode::RestoreDevice(CRender* render)
{
    return m_quads.RestoreDevice(render);
}

void CMazeNode::InvalidateDevice(CRender* render)
{
    m_quads.InvalidateDevice(render);
}

void CMazeNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    list->AddChainStep(this, m_renderIn->GetConnectedNode(), parents, camera);
}

void CMazeNode::Render(CRender* render)
{
    if (CPDRender* upstream = m_renderIn->m_value)
        upstream->Render(render);
    CPDEffect* effect = m_effect->m_value;
    if (!effect || m_wallCount == 0)
        return;
    const CCamera saved = *render->GetCamera();
    render->SetCamera(m_camera);
    DrawEachPass(effect, render, [&] { m_quads.DrawNow(render); });
    render->SetCamera(saved);
}
