#pragma once

#include "nodes/support/metaballsurface.h"
#include "nodes/support/trianglebuffers.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <span>
#include <vector>

class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;

// Balls that wander towards random targets inside the cube -1..1, drawn as
// the surface of their summed field. The surface is extracted at draw time,
// once per draw, straight into the rotating buffers.
class CMetaballsNode : public CNode, public CPDObject
{
public:
    static constexpr float MinThreshold = 20.0f;

    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;
    void Draw(CRender* render) override;

    std::span<const SMetaball> GetBalls() const { return m_balls; }
    std::span<SMetaball> GetBalls() { return m_balls; }
    // The threshold the surface is drawn at.
    float GetThreshold() const;
    // Writes the surface of the balls as they stand, as Draw does.
    void ExtractSurface(CMetaballSink& sink);
    const CMetaballSurface& GetSurface() const { return m_surface; }

private:
    friend CNodeDeclaration DeclareNode<CMetaballsNode>();

    void Resize(int count);
    void Move(SMetaball& ball, float d, float speed) const;

    CPortInt* m_numBalls = nullptr;
    CPortInt* m_gridSize = nullptr;
    CPortFloat* m_threshold = nullptr;
    CPortFloat* m_speed = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortObject* m_object = nullptr;

    std::vector<SMetaball> m_balls;
    CMetaballSurface m_surface;
    CTriangleBuffers m_buffers;
    bool m_gridCapReported = false;
};
