#pragma once

#include <cstdint>

class CRenderData;

// A vertex buffer of the device. Lock discards the old contents: a caller
// writes every vertex it will draw, each time. The render hands buffers out
// owned; one must die while its device's context is current.
class CVertexBuffer
{
public:
    CVertexBuffer(CRenderData* owner, int count, int flags, int format)
        : m_count(count), m_flags(flags), m_format(format), m_owner(owner)
    {
    }
    virtual ~CVertexBuffer() = default;
    CVertexBuffer(const CVertexBuffer&) = delete;
    CVertexBuffer& operator=(const CVertexBuffer&) = delete;

    virtual void* Lock() = 0;
    virtual void Unlock() = 0;

    int32_t m_count;
    int32_t m_flags;
    int32_t m_format;
    CRenderData* m_owner;
};

// An index buffer; indices are 16 bits wide up to MaxShortIndexCount of them,
// else 32 bits.
class CIndexBuffer
{
public:
    CIndexBuffer(CRenderData* owner, int count, int flags) : m_count(count), m_flags(flags), m_owner(owner) {}
    virtual ~CIndexBuffer() = default;
    CIndexBuffer(const CIndexBuffer&) = delete;
    CIndexBuffer& operator=(const CIndexBuffer&) = delete;

    virtual void* Lock() = 0;
    virtual void Unlock() = 0;

    int32_t m_count;
    int32_t m_flags;
    CRenderData* m_owner;
};
