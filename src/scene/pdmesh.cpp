#include "scene/pdmesh.h"

bool CPDMesh::MeshRestoreDevice(CRender* render)
{
    return MeshCreateDevice(render);
}

void CPDMesh::MeshInvalidateDevice(CRender*)
{
}

// Holds no mesh data yet, so there are no buffers to build.
bool CPDMesh::MeshCreateDevice(CRender*)
{
    return true;
}

bool CPDMesh::MeshResetDevice(CRender* render)
{
    return MeshRestoreDevice(render);
}

bool CPDMesh::GenerateMesh(CPDMesh*)
{
    return true;
}
