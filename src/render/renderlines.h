#pragma once

#include "render/renderbatcher.h"

#include <cstdint>
#include <vector>

// Many coloured line segments, expanded into two vertices each at draw time.
class CRenderLines : public CRenderBatcher
{
public:
    struct SEnd
    {
        float x, y, z;
        uint32_t color;
    };
    // 32 bytes: the segment's end, then its start.
    struct SLine
    {
        SEnd end;
        SEnd start;
    };

    int m_RenderBufferLines = 1000;

    // Makes room for `lines` records and draws that many.
    void Resize(int lines);
    SLine* GetLine(int index) { return &m_lines[size_t(index)]; }
    const SLine* GetLine(int index) const { return &m_lines[size_t(index)]; }
    // Appends a line from `a` to `b` in one colour.
    void AddLine(const SVec3& a, const SVec3& b, const float color[4]);
    int GetCount() const { return m_count; }

    bool RestoreDevice(CRender* render) override;
    void AddToRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect);
    void Draw(CRender* render) override;

private:
    std::vector<SLine> m_lines;
    int m_count = 0;
};
