#pragma once

#include "render/rendergrass.h"
#include "scene/node.h"
#include "scene/pdmesh.h"
#include "scene/pdobject.h"

#include <span>

class CPortColor;
class CPortEffect;
class CPortFloat;
class CPortInt;
class CPortMesh;
class CPortObject;
class CPortVector;

// A straw on every vertex of a mesh, along its normal: two Verlet points,
// held to the root by stiff and loose constraints, bent by gravity and
// gusts of wind and kept out of a sphere.
class CGrassNode : public CNode, public CPDObject
{
public:
    bool Init() override;
    void Update(float time, CSceneContext* context) override;
    bool RestoreDevice(CRender* render) override;
    void InvalidateDevice(CRender* render) override;
    void BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera) override;

    std::span<const CRenderGrass::SStraw> GetStraws() const;
    const SVec3& GetSphereCentre() const { return m_sphereCentre; }
    float GetSphereRadius() const { return m_sphereRadius; }

private:
    friend CNodeDeclaration DeclareNode<CGrassNode>();

    void Build();
    void Simulate(float t);

    CPortMesh* m_mesh = nullptr;
    CPortEffect* m_effect = nullptr;
    CPortFloat* m_width = nullptr;
    CPortFloat* m_widthVar = nullptr;
    CPortVector* m_gravity = nullptr;
    CPortFloat* m_topWidthFactor = nullptr;
    CPortVector* m_windDir = nullptr;
    CPortVector* m_lWindDirVar = nullptr;
    CPortFloat* m_strength = nullptr;
    CPortFloat* m_strength2 = nullptr;
    CPortFloat* m_height = nullptr;
    CPortFloat* m_heightVar = nullptr;
    CPortInt* m_segments = nullptr;
    CPortColor* m_color = nullptr;
    CPortObject* m_object = nullptr;

    // The settings of the step, read each update.
    SVec3 m_gravityValue, m_wind, m_windVar;
    float m_s1 = 1.0f, m_s2 = 0.5f;
    // What the straws are pushed out of.
    SVec3 m_sphereCentre;
    float m_sphereRadius = 1.0f;

    CPDMesh m_meshCopy;
    CRenderGrass m_grass;
    CRenderGrass::CGroup* m_group = nullptr;
};
