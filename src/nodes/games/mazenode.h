#pragma once

#include "app/random.h"
#include "render/camera.h"
#include "render/renderquads.h"
#include "scene/node.h"
#include "scene/pdrender.h"

#include <cstdint>
#include <vector>

class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortRender;

// A step of the render chain that walks a first-person camera through a
// generated maze, turning at corners and back at dead ends.
class CMazeNode : public CNode, public CPDRender
{
public:
    // Bits of a cell's byte: a passage to that neighbour.
    enum : uint8_t
    {
        PassageUp = 1,    // y + 1
        PassageDown = 2,  // y - 1
        PassageRight = 4, // x + 1
        PassageLeft = 8,  // x - 1
    };
    struct SCell
    {
        int16_t x = 0, y = 0;
        bool operator==(const SCell&) const = default;
    };
    enum class EWalker
    {
        None,
        Walking,
        Turning,
    };
    static constexpr float CellSize = 5.0f;
    static constexpr float EyeHeight = 2.5f;

    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;
    void Render(CRender* render) override;

    int GetCellsX() const { return m_cellsX; }
    int GetCellsY() const { return m_cellsY; }
    uint8_t GetCell(int x, int y) const { return m_grid[size_t(y * m_cellsX + x)]; }
    int GetWallCount() const { return m_wallCount; }
    SCell GetCurrentCell() const { return m_current; }
    SCell GetNextCell() const { return m_next; }
    EWalker GetWalker() const { return m_walker; }
    const CCamera& GetCamera() const { return m_camera; }

private:
    friend CNodeDeclaration DeclareNode<CMazeNode>();

    bool InGrid(const SCell& c) const { return c.x >= 0 && c.y >= 0 && c.x < m_cellsX && c.y < m_cellsY; }
    uint8_t& At(const SCell& c) { return m_grid[size_t(c.y * m_cellsX + c.x)]; }
    void Generate();
    void BuildWalls();
    void StartWalker();
    SCell Pick(const SCell& previous);
    void Walk();

    CPortRender* m_renderIn = nullptr;
    CPortInt* m_numCellsX = nullptr;
    CPortInt* m_numCellsY = nullptr;
    CPortFloat* m_height = nullptr;
    CPortInt* m_seed = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortRender* m_renderOut = nullptr;

    int m_cellsX = 0, m_cellsY = 0;
    std::vector<uint8_t> m_grid;
    std::vector<SCell> m_stack;
    CRandom m_random;
    CCamera m_camera;
    CRenderQuads m_quads;
    int m_wallCount = 0;
    SCell m_current, m_next;
    EWalker m_walker = EWalker::None;
    float m_progress = 0.0f;
    SVec3 m_direction{0.0f, 0.0f, 1.0f};
};
