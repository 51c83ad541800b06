#pragma once

#include "render/renderbatcher.h"

#include <memory>
#include <vector>

// Straws of grass, each a curved strip from its root through a middle point
// to its top, expanded at draw time into 2S + 2 vertices for S segments.
// How straws grow and move belongs to their owner.
class CRenderGrass : public CRenderBatcher
{
public:
    // 29 floats.
    struct SStraw
    {
        float p0[3]; // below the root
        float p1[3]; // root
        float p2[3]; // middle
        float prev2[3];
        float p3[3]; // top
        float prev3[3];
        // The unit pair (cos a, -sin a) and a 0: the direction the strip's
        // width lies in.
        float side[3];
        float baseWidth;
        float length;
        float lengthSquared;
        float doubleLengthSquared;
        float color[4];
    };
    static_assert(sizeof(SStraw) == 29 * sizeof(float));

    using CGroup = std::vector<SStraw>;

    // Segments of a straw's strip; a change needs RestoreDevice again.
    int m_segments = 3;
    float m_topWidthFactor = 0.0f;

    // A new group that lives as long as the batcher.
    CGroup* AddGroup();
    int GetGroupCount() const { return int(m_groups.size()); }
    CGroup* GetGroup(int index) { return m_groups[size_t(index)].get(); }

    // Straws per vertex buffer for `segments`, 0 without any.
    static int StrawsPerBuffer(int segments);

    bool RestoreDevice(CRender* render) override;
    void AddToRenderList(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect);
    void Draw(CRender* render) override;

private:
    void WriteStraw(SVertexPNTBTC* out, const SStraw& straw) const;

    std::vector<std::unique_ptr<CGroup>> m_groups;
    int m_bufferSegments = 0;
};
