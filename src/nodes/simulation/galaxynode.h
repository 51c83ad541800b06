#pragma once

#include "render/renderpoints.h"
#include "scene/node.h"
#include "scene/pdobject.h"

#include <span>
#include <vector>

class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortObject;

// Stars on ellipses whose tilt grows with their radius, so that the disc
// winds into arms.
class CGalaxyNode : public CNode, public CPDObject
{
public:
    struct SStar
    {
        float angle;
        float radius;
        float color[4];
    };

    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    std::span<const SStar> GetStars() const { return m_stars; }
    CRenderPoints& GetPoints() { return m_points; }

private:
    friend CNodeDeclaration DeclareNode<CGalaxyNode>();

    void MakeStars(int count);

    CPortEffect* m_effect = nullptr;
    CPortInt* m_numStars = nullptr;
    CPortFloat* m_galaxyRadius = nullptr;
    CPortFloat* m_speed = nullptr;
    CPortFloat* m_ellipseRatio = nullptr;
    CPortFloat* m_twisting = nullptr;
    CPortColor* m_color = nullptr;
    CPortFloat* m_size = nullptr;
    CPortFloat* m_sizeVar = nullptr;
    CPortObject* m_object = nullptr;

    std::vector<SStar> m_stars;
    bool m_made = false;
    CRenderPoints m_points;
};
