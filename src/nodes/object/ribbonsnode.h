#pragma once

#include "expression/expressioncontext.h"
#include "render/matrix.h"
#include "render/rendervolumelines.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <array>
#include <cstdint>
#include <vector>

class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;
class CPortString;

// Ribbons whose heads an expression moves: each evaluation adds a new head
// point to every ribbon, and the oldest point drops off its tail.
class CRibbonsNode : public CNode, public CPDObject
{
public:
    bool Init() override;
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    const CRenderVolumeLines& GetLines() const { return m_lines; }

private:
    friend CNodeDeclaration DeclareNode<CRibbonsNode>();

    struct SPoint
    {
        SVec3 position;
        uint32_t color = 0;
        float width = 0.0f;
    };

    void MakeStore(int ribbons, int points);
    void Pass(CSceneContext* context);
    void FillLines();

    CPortInt* m_numRibbons = nullptr;
    CPortInt* m_numPoints = nullptr;
    CPortFloat* m_evaluationsPerSec = nullptr;
    std::array<CPortFloat*, 5> m_inputs{};
    CPortInt* m_randomSeed = nullptr;
    CPortString* m_expression = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortObject* m_objectOut = nullptr;

    CExpressionContext m_expressionContext;
    enum EVariable
    {
        V_In1, V_In2, V_In3, V_In4, V_In5, V_DeltaTime, V_SceneTime, V_Perm, V_PermRand, V_RibbonNr, V_NumRibbons,
        V_Time, V_Aspect, V_PosX, V_PosY, V_PosZ, V_Width, V_ColR, V_ColG, V_ColB, V_ColA, V_Count
    };
    std::array<double, V_Count> m_variables{};

    // One ring of m_ringSize points a ribbon; all rings share a count and a
    // head, as every pass adds a point to each.
    std::vector<SPoint> m_points;
    int m_ribbonCount = 0;
    int m_ringSize = 0;
    int m_ringCount = 0;
    int m_head = 0;
    float m_accumulator = 0.0f;
    CRenderVolumeLines m_lines;
};
