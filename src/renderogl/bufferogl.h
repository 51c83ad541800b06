#pragma once

#include "render/vertexbuffer.h"
#include "renderogl/globjects.h"

// Vertex and index buffers on GL buffer objects. Lock discards the old
// contents through glBufferData with no data, then maps write-only.
class CVertexBufferOGL : public CVertexBuffer
{
public:
    CVertexBufferOGL(CRenderData* owner, int count, int flags, int format);
    void* Lock() override;
    void Unlock() override;
    void Release() override;

    int m_stride;
    CGLBuffer m_buffer;
    void* m_mapped = nullptr;

private:
    ~CVertexBufferOGL() override = default;
};

class CIndexBufferOGL : public CIndexBuffer
{
public:
    CIndexBufferOGL(CRenderData* owner, int count, int flags);
    void* Lock() override;
    void Unlock() override;
    void Release() override;

    GLenum IndexType() const;

    CGLBuffer m_buffer;
    void* m_mapped = nullptr;
    int m_size;

private:
    ~CIndexBufferOGL() override = default;
};
