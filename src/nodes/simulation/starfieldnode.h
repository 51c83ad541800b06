#pragma once

#include "render/renderpoints.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <span>
#include <vector>

class CPortColor;
class CPortEffect;
class CPortInt;
class CPortObject;
class CPortVector;

// Stars flying through a cube that wraps round, fading from their start
// colour at its edge to their end colour at its centre.
class CStarfieldNode : public CNode, public CPDObject
{
public:
    // 19 floats.
    struct SStar
    {
        float position[3]; // in the cube -1..1
        float color[4];
        float lastColor[4];
        float startColor[4];
        float endColor[4];
    };
    static_assert(sizeof(SStar) == 19 * sizeof(float));

    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    // The stars drawn, the first NumStars of the array.
    std::span<const SStar> GetStars() const { return {m_stars.data(), size_t(m_count)}; }
    CRenderPoints& GetPoints() { return m_points; }

private:
    friend CNodeDeclaration DeclareNode<CStarfieldNode>();

    void NewColors(SStar& star) const;
    void FillBatcher();

    CPortEffect* m_effect = nullptr;
    CPortObject* m_objectIn = nullptr;
    CPortInt* m_numStars = nullptr;
    CPortVector* m_dir = nullptr;
    CPortVector* m_camRot = nullptr;
    CPortVector* m_spaceSize = nullptr;
    CPortColor* m_startColMin = nullptr;
    CPortColor* m_startColMax = nullptr;
    CPortColor* m_endColMin = nullptr;
    CPortColor* m_endColMax = nullptr;
    CPortVector* m_starSize = nullptr;
    CPortInt* m_primType = nullptr;
    CPortObject* m_objectOut = nullptr;

    std::vector<SStar> m_stars;
    int m_count = 0;
    int m_batcherPrimitive = -1;
    CRenderPoints m_points;
};
