#pragma once

#include "nodes/support/placement.h"
#include "nodes/support/quaternion.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <vector>

class CPortColor;
class CPortFloat;
class CPortInt;
class CPortObject;
class CPortVector;

// Draws a connected object as a chain of copies; a change of the delayed
// ports reaches the first copy at once and travels down the chain one copy
// per Delay.
class CDelayedTransformNode : public CNode, public CPDObject
{
public:
    void Update(float time, CSceneContext* context) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    int GetCount() const { return int(m_worlds.size()); }
    const CMatrix& GetWorld(int slot) const { return m_worlds[size_t(slot)]; }
    const SColor4& GetColor(int slot) const { return m_colors[size_t(slot)]; }

private:
    friend CNodeDeclaration DeclareNode<CDelayedTransformNode>();

    // A value held as where it is, where it comes from and where it goes.
    template <class T>
    struct STrack
    {
        T current{}, start{}, target{};
    };
    struct SSlot
    {
        STrack<SVec3> position, scale;
        STrack<SQuaternion> rotation;
        STrack<SColor4> color;
    };

    void Shift();

    CPortObject* m_objectIn = nullptr;
    CPortObject* m_objectOut = nullptr;
    CPortInt* m_numObjects = nullptr;
    CPortFloat* m_delay = nullptr;
    CPortVector* m_posDelta = nullptr;
    CPortVector* m_rotDelta = nullptr;
    CPortVector* m_scaleDelta = nullptr;
    CPortVector* m_delayedPosDelta = nullptr;
    CPortVector* m_delayedRotDelta = nullptr;
    CPortVector* m_delayedScaleDelta = nullptr;
    CPortColor* m_color = nullptr;

    std::vector<SSlot> m_slots;
    float m_timer = 0.0f;
    std::vector<CMatrix> m_worlds;
    std::vector<SColor4> m_colors;
};
