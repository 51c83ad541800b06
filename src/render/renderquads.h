#pragma once

#include "render/renderbatcher.h"

#include <cstdint>
#include <vector>

// Quads prepared by their owner (ribbons, bars), copied to the card as they
// stand.
class CRenderQuads : public CRenderBatcher
{
public:
    int m_RenderBufferQuads = 500;

    // Sets the count and makes room for it; the array never shrinks.
    void Resize(int quads);
    int GetCount() const { return m_count; }
    SQuad* GetQuads() { return m_quads.data(); }
    const SQuad* GetQuads() const { return m_quads.data(); }

    // Writes a flat strip from `a` to `b` at `destination`, split into
    // `across` by `along` quads (one quad when both are below 2), and
    // answers the address behind the last quad written.
    static SQuad* AddRibbon(SQuad* destination, const SVec3& a, const SVec3& b, float width, uint32_t color,
                            int across, int along, float repeatU, float repeatV);

    bool RestoreDevice(CRender* render) override;
    // Draws `count` quads, or all when it is not above 0.
    void AddToRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect,
                         int count = 0);
    void Draw(CRender* render) override;
    // Draws the first `count` quads, or all, at once: for an owner that is
    // a step of the render chain and draws in its own passes.
    void DrawNow(CRender* render, int count = 0);

private:
    std::vector<SQuad> m_quads;
    int m_count = 0;
    int m_drawCount = 0;
};
