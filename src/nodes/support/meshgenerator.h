#pragma once

#include "scene/node.h"
#include "scene/pdmesh.h"

class CPortFloat;
class CPortInt;
class CPortMesh;
class CPortVector;
struct SMeshPlacement;
template <class TOwner>
class TPorts;

// The common part of every mesh node: its own CPDMesh goes out through the
// "Mesh" output, and a change of any input marks that output changed so the
// consumer regenerates the chain.
class CMeshGeneratorNode : public CNode, public CPDMesh
{
public:
    // Its rows in a node's port table: Inherited<CCubeNode>(Ports()).
    static TPorts<CMeshGeneratorNode> Ports();
    void Update(float time, CSceneContext* context) override;

protected:
    // Port values within the port's range, whatever a connection delivered.
    static int Clamped(const CPortInt* port);
    static float Clamped(const CPortFloat* port);
    // The mesh of the node on `port` generated into `into`, emptied first;
    // false without a connected node or when it fails.
    static bool GenerateInto(const CPortMesh* port, CPDMesh& into);
    // The placement given by position, rotation (degrees) and scale ports.
    static SMeshPlacement Placement(const CPortVector* pos, const CPortVector* rot, const CPortVector* scale);

    CPortMesh* m_meshOut = nullptr;
};
