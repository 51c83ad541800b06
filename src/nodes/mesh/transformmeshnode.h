#pragma once

#include "nodes/support/meshgenerator.h"

class CPortMesh;
class CPortVector;

// Up to five meshes combined into one, all placed by the same transformation.
class CTransformMeshNode : public CMeshGeneratorNode
{
public:
    bool GenerateMesh(CPDMesh* target) override;

private:
    friend CNodeDeclaration DeclareNode<CTransformMeshNode>();

    CPortVector* m_pos = nullptr;
    CPortVector* m_rot = nullptr;
    CPortVector* m_scale = nullptr;
    CPortMesh* m_mesh1 = nullptr;
    CPortMesh* m_mesh2 = nullptr;
    CPortMesh* m_mesh3 = nullptr;
    CPortMesh* m_mesh4 = nullptr;
    CPortMesh* m_mesh5 = nullptr;
};
