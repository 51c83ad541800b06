#pragma once

#include <cstdint>

class CRender;

// A mesh published through a Mesh port. A chain of mesh nodes is generated
// from its consuming end into the consumer's mesh; the device buffers are
// remade when m_meshDeviceDirty has the device's bit.
class CPDMesh
{
public:
    virtual ~CPDMesh() = default;
    virtual bool MeshRestoreDevice(CRender* render);
    virtual void MeshInvalidateDevice(CRender* render);
    virtual bool MeshCreateDevice(CRender* render);
    virtual bool MeshResetDevice(CRender* render);
    // Writes this node's mesh into `target`.
    virtual bool GenerateMesh(CPDMesh* target);

    bool m_meshDirty = false;
    uint32_t m_meshDeviceDirty = 0xFFFFFFFFu;
};
