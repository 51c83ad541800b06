#pragma once

#include "render/matrix.h"
#include "render/renderquads.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <utility>
#include <vector>

class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;

// Lines with both ends on an ellipse, born at a steady rate, each turning its
// ends about their own axes until its life is over. Lines live in a pool, so
// birth and death only flip a flag.
class CLinesNode : public CNode, public CPDObject
{
public:
    static constexpr int MaxLines = 100000;
    static constexpr int MaxSections = 1024;
    static constexpr int MaxQuads = 1 << 20;

    struct SLine
    {
        bool alive = false;
        SVec3 a, b;
        float baseColor[4] = {};
        float color[4] = {};
        float age = 0.0f;
        float life = 0.0f;
        float baseThickness = 0.0f;
        float thickness = 0.0f;
        SVec3 axisA, axisB;
        float speedA = 0.0f;
        float speedB = 0.0f;
    };

    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    int GetAliveCount() const { return m_alive; }
    int GetPoolSize() const { return int(m_pool.size()); }
    const SLine& GetLine(int i) const { return m_pool[size_t(i)]; }
    const CRenderQuads& GetQuads() const { return m_quads; }

private:
    friend CNodeDeclaration DeclareNode<CLinesNode>();

    void Spawn(int count);
    SLine* TakeFree();
    SVec3 Fit(const SVec3& p) const;
    void Age(float dt);
    std::pair<int, int> Sections();
    // Logs, once, that a limit holds the lines back.
    void Report(const char* what);

    CPortFloat* m_width = nullptr;
    CPortFloat* m_height = nullptr;
    CPortInt* m_numSectionsWidth = nullptr;
    CPortInt* m_numSectionsHeight = nullptr;
    CPortInt* m_repeatTexU = nullptr;
    CPortInt* m_repeatTexV = nullptr;
    CPortFloat* m_thickness = nullptr;
    CPortFloat* m_localThickness = nullptr;
    CPortColor* m_color = nullptr;
    CPortColor* m_localColor = nullptr;
    CPortFloat* m_linesPerSec = nullptr;
    CPortFloat* m_lineLifeTime = nullptr;
    CPortFloat* m_rotationSpeed = nullptr;
    CPortFloat* m_rotationSpeedVar = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortObject* m_objectOut = nullptr;

    std::vector<SLine> m_pool;
    int m_free = 0;
    int m_searchStart = 0;
    int m_alive = 0;
    int m_drawn = 0;
    bool m_limitReported = false;
    float m_accumulator = 0.0f;
    CRenderQuads m_quads;
};
