#pragma once

#include "render/render.h"
#include "render/vertexbuffer.h"

#include <cstdint>
#include <vector>

// A render whose buffers live in main memory, so tests can read back what a
// mesh wrote and count how often buffers were made.
class CMemoryRender : public CRender
{
public:
    class CMemoryVertexBuffer : public CVertexBuffer
    {
    public:
        CMemoryVertexBuffer(int count, int format) : CVertexBuffer(nullptr, count, 0, format), m_data(size_t(count)) {}
        void* Lock() override { return m_data.data(); }
        void Unlock() override {}
        std::vector<SVertexPNTBTC> m_data;
    };
    class CMemoryIndexBuffer : public CIndexBuffer
    {
    public:
        explicit CMemoryIndexBuffer(int count)
            : CIndexBuffer(nullptr, count, 0), m_data(size_t(count) * size_t(IndexWidth(count)))
        {
        }
        void* Lock() override { return m_data.data(); }
        void Unlock() override {}
        // The i-th index at the buffer's own width.
        uint32_t At(int i) const
        {
            if (IndexWidth(m_count) == 2)
                return reinterpret_cast<const uint16_t*>(m_data.data())[i];
            return reinterpret_cast<const uint32_t*>(m_data.data())[i];
        }
        std::vector<uint8_t> m_data;
    };

    std::unique_ptr<CVertexBuffer> CreateVertexBuffer(int count, int, int format) override
    {
        ++m_created;
        return std::make_unique<CMemoryVertexBuffer>(count, format);
    }
    std::unique_ptr<CIndexBuffer> CreateIndexBuffer(int count, int) override
    {
        ++m_created;
        return std::make_unique<CMemoryIndexBuffer>(count);
    }
    bool DrawIndexedPrimitive(int, int, int primitives, int instances) override
    {
        m_draws.push_back({primitives, instances});
        return true;
    }

    int m_created = 0;
    struct SDraw
    {
        int primitives, instances;
    };
    std::vector<SDraw> m_draws;
};
