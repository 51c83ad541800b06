#pragma once

#include "render/renderquads.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <vector>

class CPortBool;
class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;

// Columns of characters from a font texture that write themselves downwards
// and fade, each column at its own pace.
class CMatrixTrailsNode : public CNode, public CPDObject
{
public:
    struct SCell
    {
        float brightness = 1.0f;
        int character = 0;
    };
    struct SColumn
    {
        int firstCell = 0; // into the node's cell array
        float timer = 0.0f;
        float delay = 0.0f;
        int cursor = 0;
        float fade = 0.0f;
        float localTime = 0.0f;
    };

    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    int GetColumnCount() const { return int(m_columns.size()); }
    int GetRowCount() const { return m_rows; }
    const SColumn& GetColumn(int i) const { return m_columns[size_t(i)]; }
    const SCell& GetCell(int column, int row) const;
    const CRenderQuads& GetQuads() const { return m_quads; }

private:
    friend CNodeDeclaration DeclareNode<CMatrixTrailsNode>();

    void Rebuild(int columns, int rows);
    void Step(SColumn& column, float dt);
    void FillQuads(float width, float height);

    CPortEffect* m_effect = nullptr;
    CPortObject* m_objectOut = nullptr;
    CPortFloat* m_charDelay = nullptr;
    CPortFloat* m_fadeSpeed = nullptr;
    CPortInt* m_numColumns = nullptr;
    CPortInt* m_numRows = nullptr;
    CPortColor* m_charCol = nullptr;
    CPortInt* m_numChars = nullptr;
    CPortFloat* m_charWidthTex = nullptr;
    CPortFloat* m_charHeightTex = nullptr;
    CPortFloat* m_width = nullptr;
    CPortFloat* m_height = nullptr;
    CPortBool* m_adjustForAspect = nullptr;

    std::vector<SColumn> m_columns;
    std::vector<SCell> m_cells;
    int m_rows = 0;
    float m_lastAspect = 0.0f;
    CRenderQuads m_quads;
};
