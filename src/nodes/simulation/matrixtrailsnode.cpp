#include "nodes/simulation/matrixtrailsnode.h"

#include "app/random.h"
#include "nodes/support/playfield.h"
#include "ports/types/dataports.h"
#include "render/rendertypes.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

template <>
CNodeDeclaration DeclareNode<CMatrixTrailsNode>()
{
    using C = CMatrixTrailsNode;
    return {
        In(&C::m_effect, "Effect", "Effect"),
        Out(&C::m_objectOut, "Object", "Object"),
        In(&C::m_charDelay, "CharDelay", "Time to wait before we add a new char", {0.03f, 0.01f, 0.0f, 10000.0f}),
        In(&C::m_fadeSpeed, "FadeSpeed", "How quickly the trails will fade away", {1.2f, 0.01f, 0.0f, 10000.0f}),
        In(&C::m_numColumns, "NumColumns", "Number of columns", {50, 1, 100}),
        In(&C::m_numRows, "NumRows", "Number of rows", {40, 1, 100}),
        In(&C::m_charCol, "CharCol", "Color of the trails", {{0.0f, 1.0f, 0.0f, 1.0f}}),
        In(&C::m_numChars, "NumChars", "Number of characters in the font texture", {32, 1, 10000}),
        In(&C::m_charWidthTex, "CharWidthTex", "The width of a character", {0.125f, 0.01f, 0.0f, 1.0f}),
        In(&C::m_charHeightTex, "CharHeightTex", "The height of a character", {0.1015625f, 0.01f, 0.0f, 1.0f}),
        In(&C::m_width, "Width", "Width of object", {1.0f, 0.001f, 0.001f, 10000.0f}),
        In(&C::m_height, "Height", "Height of object", {1.0f, 0.001f, 0.001f, 10000.0f}),
        In(&C::m_adjustForAspect, "AdjustForAspect", "Adjust the width and height depending on the screen aspect",
           true),
    };
}

const CMatrixTrailsNode::SCell& CMatrixTrailsNode::GetCell(int column, int row) const
{
    return m_cells[size_t(m_columns[size_t(column)].firstCell + row)];
}

void CMatrixTrailsNode::Rebuild(int columns, int rows)
{
    m_rows = rows;
    m_columns.assign(size_t(columns), SColumn{});
    m_cells.assign(size_t(columns) * size_t(rows), SCell{});
    for (int i = 0; i < columns; ++i) {
        SColumn& column = m_columns[size_t(i)];
        column.firstCell = i * rows;
        column.localTime = float(i) / float(columns);
        m_charDelay->Update(column.localTime);
        column.delay = m_charDelay->m_value;
        column.timer = column.delay;
        m_fadeSpeed->Update(column.localTime);
        column.fade = m_fadeSpeed->m_value;
        // Columns start out of step with each other.
        const int steps = int(g_random.NextUnit() * float(rows));
        for (int s = 0; s < steps; ++s)
            Step(column, column.delay);
    }
    m_quads.Resize(columns * rows);
    m_deviceDirty = 0xFFFFFFFFu;
}

void CMatrixTrailsNode::Step(SColumn& column, float dt)
{
    SCell* cells = &m_cells[size_t(column.firstCell)];
    for (int r = 0; r < m_rows; ++r)
        cells[r].brightness = std::clamp(cells[r].brightness - dt * column.fade, 0.0f, 1.0f);

    column.timer -= dt;
    // After a long stall the column picks up again without writing out the
    // whole backlog.
    if (column.timer < -1.0f)
        column.timer = -g_random.NextUnit() * column.delay;
    const int chars = std::max(1, m_numChars->m_value);
    for (int k = 0; k < m_rows && column.timer <= 0.0f; ++k) {
        column.timer += column.delay;
        const int old = cells[column.cursor].character;
        if (++column.cursor >= m_rows) {
            column.cursor = 0;
            m_charDelay->Update(column.localTime);
            column.delay = m_charDelay->m_value;
            m_fadeSpeed->Update(column.localTime);
            column.fade = m_fadeSpeed->m_value;
        }
        // NextUnit may round up to 1: keep the character inside the texture.
        const auto draw = [&] { return std::min(int(g_random.NextUnit() * float(chars)), chars - 1); };
        int character = draw();
        if (column.cursor != 0 && chars > 1)
            while (character == old)
                character = draw();
        cells[column.cursor].character = character;
        cells[column.cursor].brightness = 1.0f;
    }
}

void CMatrixTrailsNode::FillQuads(float width, float height)
{
    const int columns = int(m_columns.size());
    m_quads.Resize(columns * m_rows);
    SQuad* quad = m_quads.GetQuads();
    const float cw = width / float(columns), ch = height / float(m_rows);
    const float tw = m_charWidthTex->m_value, th = m_charHeightTex->m_value;
    const int perRow = tw > 0.0f ? std::max(1, int(1.0f / tw)) : 1;
    const auto& col = m_charCol->m_value;
    const uint32_t head = PackColor(0.8f, 1.0f, 0.9f, 1.0f);
    float x = -width * 0.5f;
    for (const SColumn& column : m_columns) {
        float y = height * 0.5f - ch;
        for (int r = 0; r < m_rows; ++r, y -= ch) {
            const SCell& cell = m_cells[size_t(column.firstCell + r)];
            const int c = cell.character;
            const float u = float(c % perRow) * tw, v = float(c / perRow) * th;
            const float k = cell.brightness;
            uint32_t color = r == column.cursor ? head : PackColor(col[0] * k, col[1] * k, col[2] * k, 1.0f);
            if (c == 0)
                color = 0;
            const auto vertex = [&](float px, float py, float tu, float tv) {
                return SVertexPNTBTC{{px, py, 0.0f}, color, {tu, tv}, {0, 0, -1}, {1, 0, 0}, {0, -1, 0}, 0};
            };
            // The texture runs against x, so each character shows mirrored.
            *quad++ = SQuad{{vertex(x, y, u + tw, v), vertex(x + cw, y, u, v), vertex(x, y + ch, u + tw, v + th),
                             vertex(x + cw, y + ch, u, v + th)}};
        }
        x += cw;
    }
}

void CMatrixTrailsNode::Update(float time, CSceneContext* context)
{
    m_objectOut->m_value = this;
    UpdateInPorts(time);
    const float aspect = context ? context->m_aspect : 1.0f;
    const bool adjust = m_adjustForAspect->m_value;
    const SFieldSize field = AdjustForAspect(m_width->m_value, m_height->m_value, adjust, aspect);

    if (aspect != m_lastAspect || m_numColumns->m_changed || m_numRows->m_changed || m_adjustForAspect->m_changed ||
        m_columns.empty()) {
        m_lastAspect = aspect;
        // More columns on a wide window, more rows on a tall one, so that
        // the characters keep their shape.
        int columns = std::clamp(m_numColumns->m_value, 1, 100);
        int rows = std::clamp(m_numRows->m_value, 1, 100);
        if (adjust && aspect > 1.0f)
            columns = std::max(1, int(float(columns) * aspect));
        else if (adjust && aspect > 0.0f)
            rows = std::max(1, int(float(rows) / aspect));
        Rebuild(columns, rows);
    }
    const float dt = context ? context->m_deltaTime : 0.0f;
    for (SColumn& column : m_columns)
        Step(column, dt);
    FillQuads(field.width, field.height);
}

bool CMatrixTrailsNode::RestoreDevice(CRender* render)
{
    return m_quads.RestoreDevice(render);
}

void CMatrixTrailsNode::InvalidateDevice(CRender* render)
{
    m_quads.InvalidateDevice(render);
}

void CMatrixTrailsNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    m_quads.AddToRenderList(list, parents, camera, m_effect->m_value);
}
