#include "nodes/support/trianglebuffers.h"

#include "app/check.h"
#include "render/rendertypes.h"

bool CTriangleBuffers::Restore(CRender* render, int format, int size, bool dynamicIndices, const SCheckTexts& texts)
{
    SDeviceObjects& objects = Objects(render);
    objects = SDeviceObjects{};
    m_dynamicIndices = dynamicIndices;
    m_next = 0;
    for (auto& buffer : objects.m_VertexBuffer) {
        if (!(buffer = render->CreateVertexBuffer(size, VBF_DYNAMIC, format))) {
            LogCheckFailure(texts.vertexBuffer, texts.file, texts.line);
            objects = SDeviceObjects{};
            return false;
        }
    }
    const int indexBuffers = dynamicIndices ? BufferCount : 1;
    for (int i = 0; i < indexBuffers; ++i) {
        auto& buffer = objects.m_IndexBuffer[size_t(i)];
        if (!(buffer = render->CreateIndexBuffer(size, dynamicIndices ? IBF_DYNAMIC : 0))) {
            LogCheckFailure(texts.indexBuffer, texts.file, texts.line);
            objects = SDeviceObjects{};
            return false;
        }
    }
    if (dynamicIndices)
        return true;
    // Triangles that share no vertices: index i is vertex i.
    void* memory = objects.m_IndexBuffer[0]->Lock();
    if (!memory) {
        objects = SDeviceObjects{};
        return false;
    }
    for (int i = 0; i < size; ++i) {
        if (IndexWidth(size) == 2)
            static_cast<uint16_t*>(memory)[i] = uint16_t(i);
        else
            static_cast<uint32_t*>(memory)[i] = uint32_t(i);
    }
    objects.m_IndexBuffer[0]->Unlock();
    return true;
}

void CTriangleBuffers::Invalidate(CRender* render)
{
    Objects(render) = SDeviceObjects{};
}

bool CTriangleBuffers::Lock(CRender* render, void** vertices, uint16_t** indices)
{
    SDeviceObjects& objects = Objects(render);
    CVertexBuffer* vb = objects.m_VertexBuffer[size_t(m_next)].get();
    if (!vb || m_locked)
        return false;
    *vertices = vb->Lock();
    if (!*vertices)
        return false;
    if (indices) {
        CIndexBuffer* ib = m_dynamicIndices ? objects.m_IndexBuffer[size_t(m_next)].get() : nullptr;
        *indices = ib ? static_cast<uint16_t*>(ib->Lock()) : nullptr;
        if (!*indices) {
            vb->Unlock();
            return false;
        }
    }
    m_locked = true;
    return true;
}

void CTriangleBuffers::UnlockAndDraw(CRender* render, int indices)
{
    if (!m_locked)
        return;
    m_locked = false;
    SDeviceObjects& objects = Objects(render);
    const size_t i = size_t(m_next);
    CIndexBuffer* ib = objects.m_IndexBuffer[m_dynamicIndices ? i : 0].get();
    objects.m_VertexBuffer[i]->Unlock();
    if (m_dynamicIndices)
        ib->Unlock();
    m_next = (m_next + 1) % BufferCount;
    if (indices < 3)
        return;
    render->SetVertexBuffer(objects.m_VertexBuffer[i].get());
    render->SetIndexBuffer(ib);
    render->DrawIndexedPrimitive(PT_Triangles, 0, indices / 3, 0);
}
