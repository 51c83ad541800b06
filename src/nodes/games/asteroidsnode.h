#pragma once

#include "render/renderlines.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <array>
#include <vector>

class CPortBool;
class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;

// A ship that aims at and shoots rocks on its own; a level ends by time or
// when the field is empty, and the next starts at once. Drawn as lines in a
// field from (0, 0) to (W, H) that the drawing centres on the origin.
class CAsteroidsNode : public CNode, public CPDObject
{
public:
    static constexpr int Segments = 30;
    static constexpr int BulletSlots = 10;
    static constexpr int MaxSlots = 100000;

    struct SShip
    {
        float x = 0.0f, y = 0.0f;
        float vx = 0.0f, vy = 0.0f;
        float idle = 0.0f;
        float angle = 0.0f; // degrees; the nose points along -(sin, cos)
        float radius = 0.01f;
        float cooldown = 0.0f;
    };
    struct SBullet
    {
        bool alive = false;
        float x = 0.0f, y = 0.0f;
        float previousX = 0.0f, previousY = 0.0f;
        float vx = 0.0f, vy = 0.0f;
    };
    enum class EKind
    {
        Large,
        Small,
    };
    enum class EState
    {
        Free,
        Flying,
        Exploding,
    };
    struct SSegment
    {
        float x1 = 0.0f, y1 = 0.0f, x2 = 0.0f, y2 = 0.0f; // about the centre
        float vx = 0.0f, vy = 0.0f;
        float spin = 0.0f; // degrees a second, once exploding
    };
    struct SAsteroid
    {
        EKind kind = EKind::Large;
        EState state = EState::Free;
        float x = 0.0f, y = 0.0f;
        float angle = 0.0f, spin = 0.0f;
        float radius = 0.0f;
        float timer = 0.0f;
        std::array<SSegment, Segments> outline{};
        float vx = 0.0f, vy = 0.0f;
    };

    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    int GetSlotCount() const { return int(m_slots.size()); }
    const SAsteroid& GetAsteroid(int i) const { return m_slots[size_t(i)]; }
    const SShip& GetShip() const { return m_ship; }
    const SBullet& GetBullet(int i) const { return m_bullets[size_t(i)]; }
    float GetFieldWidth() const { return m_fieldWidth; }
    float GetFieldHeight() const { return m_fieldHeight; }
    // Levels started since the node was made.
    int GetLevelCount() const { return m_levels; }
    const CRenderLines& GetLines() const { return m_lines; }

private:
    friend CNodeDeclaration DeclareNode<CAsteroidsNode>();

    void AllocateSlots();
    void ResetLevel();
    void MakeAsteroid(SAsteroid& rock, EKind kind) const;
    void Jump();
    void Aim(float dt);
    void MoveBullets(float dt);
    void MoveAsteroids(float dt);
    void Collide();
    void Explode(SAsteroid& rock);
    void FillLines();

    CPortFloat* m_width = nullptr;
    CPortFloat* m_height = nullptr;
    CPortInt* m_numAsteroids = nullptr;
    CPortInt* m_numFragments = nullptr;
    CPortFloat* m_levelTimePort = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortColor* m_shipCol = nullptr;
    CPortColor* m_bulletCol = nullptr;
    CPortColor* m_asteroidCol = nullptr;
    CPortBool* m_adjustForAspect = nullptr;
    CPortObject* m_objectOut = nullptr;

    SShip m_ship;
    std::array<SBullet, BulletSlots> m_bullets{};
    std::vector<SAsteroid> m_slots;
    float m_levelTime = 0.0f;
    float m_lastStepTime = -1.0f;
    float m_fieldWidth = 1.0f, m_fieldHeight = 1.0f;
    float m_lastAspect = 0.0f;
    int m_levels = 0;
    CRenderLines m_lines;
};
