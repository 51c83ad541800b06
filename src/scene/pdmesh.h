#pragma once

#include "mesh/mesh.h"

#include <array>
#include <cstdint>
#include <memory>

class CIndexBuffer;
class CRender;
class CVertexBuffer;

// A mesh published through a Mesh port. A chain of mesh nodes is generated
// from its consuming end into the consumer's mesh; the device buffers are
// remade when m_meshDeviceDirty has the device's bit.
class CPDMesh
{
public:
    virtual ~CPDMesh();
    virtual bool MeshRestoreDevice(CRender* render);
    // Releases the buffers of the render's device.
    virtual void MeshInvalidateDevice(CRender* render);
    virtual bool MeshCreateDevice(CRender* render);
    virtual bool MeshResetDevice(CRender* render);
    // Draws the device's buffers as triangles, if both exist.
    virtual void Draw(CRender* render, int index);
    // Writes this node's mesh into `target`.
    virtual bool GenerateMesh(CPDMesh* target);

    CMesh m_mesh;
    bool m_meshDirty = false;
    uint32_t m_meshDeviceDirty = 0xFFFFFFFFu;

    struct SDeviceObjects
    {
        std::unique_ptr<CVertexBuffer> m_vertexBuffer;
        std::unique_ptr<CIndexBuffer> m_indexBuffer;
        int m_indexCount = 0;
    };
    std::array<SDeviceObjects, 1> dObjs;
};
