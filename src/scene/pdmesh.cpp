#include "scene/pdmesh.h"

#include "render/render.h"

CPDMesh::~CPDMesh() = default;

bool CPDMesh::MeshRestoreDevice(CRender* render)
{
    return MeshCreateDevice(render);
}

void CPDMesh::MeshInvalidateDevice(CRender* render)
{
    if (!render)
        return;
    dObjs[size_t(render->GetDeviceIndex())] = SDeviceObjects{};
}

// The buffers are built from the mesh model's data; a mesh without data has
// nothing to build and draws nothing.
bool CPDMesh::MeshCreateDevice(CRender*)
{
    return true;
}

bool CPDMesh::MeshResetDevice(CRender* render)
{
    return MeshRestoreDevice(render);
}

void CPDMesh::Draw(CRender* render, int)
{
    if (!render)
        return;
    const SDeviceObjects& objects = dObjs[size_t(render->GetDeviceIndex())];
    if (!objects.m_vertexBuffer || !objects.m_indexBuffer)
        return;
    render->SetVertexBuffer(objects.m_vertexBuffer.get());
    render->SetIndexBuffer(objects.m_indexBuffer.get());
    render->DrawIndexedPrimitive(PT_Triangles, 0, objects.m_indexCount / 3, 0);
}

bool CPDMesh::GenerateMesh(CPDMesh*)
{
    return true;
}
