#include "scene/pdmesh.h"

#include "render/render.h"
#include "render/vertexbuffer.h"

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

// The device's buffers are lent to the mesh while it fills them, so one mesh
// serves every device.
bool CPDMesh::MeshCreateDevice(CRender* render)
{
    if (!render)
        return false;
    if (m_mesh.m_clusters.empty() && m_mesh.m_vertices.empty() && m_mesh.m_faces.empty())
        return true;
    SDeviceObjects& objects = dObjs[size_t(render->GetDeviceIndex())];
    m_mesh.m_vertexBuffer = std::move(objects.m_vertexBuffer);
    m_mesh.m_indexBuffer = std::move(objects.m_indexBuffer);
    m_mesh.BuildBuffers(render);
    objects.m_vertexBuffer = std::move(m_mesh.m_vertexBuffer);
    objects.m_indexBuffer = std::move(m_mesh.m_indexBuffer);
    objects.m_indexCount = objects.m_indexBuffer ? objects.m_indexBuffer->m_count : 0;
    return true;
}

bool CPDMesh::MeshResetDevice(CRender* render)
{
    return MeshRestoreDevice(render);
}

void CPDMesh::Draw(CRender* render, int index)
{
    if (!render)
        return;
    const SDeviceObjects& objects = dObjs[size_t(render->GetDeviceIndex())];
    if (!objects.m_vertexBuffer || !objects.m_indexBuffer)
        return;
    render->SetVertexBuffer(objects.m_vertexBuffer.get());
    render->SetIndexBuffer(objects.m_indexBuffer.get());
    render->DrawIndexedPrimitive(PT_Triangles, objects.m_vertexBuffer->m_count, objects.m_indexCount / 3, index);
}

bool CPDMesh::GenerateMesh(CPDMesh*)
{
    return true;
}
