#pragma once

#include "render/renderlines.h"
#include "scene/node.h"
#include "scene/pdobject.h"

class CPortEffect;

// The common part of nodes that draw a graph of values as lines (Bars,
// Oscilloscope): the lines' batcher, drawn with the effect of one port.
class CLinesObjectNode : public CNode, public CPDObject
{
public:
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    const CRenderLines& GetLines() const { return m_lines; }

protected:
    // The port whose effect draws the lines; set by the derived node's table.
    virtual CPortEffect* LineEffect() const = 0;

    CRenderLines m_lines;
};
