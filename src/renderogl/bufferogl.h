#pragma once

#include "render/vertexbuffer.h"
#include "renderogl/globjects.h"

// Vertex and index buffers on GL buffer objects. Lock discards the old
// contents through glBufferData with no data, then maps write-only.
class CVertexBufferOGL : public CVertexBuffer
{
public:
    CVertexBufferOGL(CRenderData* owner, int count, int flags, int format);
    ~CVertexBufferOGL() override;
    void* Lock() override;
    void Unlock() override;

    int m_stride;
    CGLBuffer m_buffer;
    void* m_mapped = nullptr;
};

class CIndexBufferOGL : public CIndexBuffer
{
public:
    CIndexBufferOGL(CRenderData* owner, int count, int flags);
    ~CIndexBufferOGL() override;
    void* Lock() override;
    void Unlock() override;

    GLenum IndexType() const;

    CGLBuffer m_buffer;
    void* m_mapped = nullptr;
    int m_size;
};
