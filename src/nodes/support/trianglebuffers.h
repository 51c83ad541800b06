#pragma once

#include "render/render.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>

// Three dynamic vertex buffers that an object fills in turn with its own
// triangles, so that a batch never waits for the card to read the one before
// it. The index buffers are either three dynamic ones that go with them, or
// one static buffer holding 0, 1, 2, ... for triangle lists that share no
// vertices.
class CTriangleBuffers
{
public:
    static constexpr int BufferCount = 3;

    struct SDeviceObjects
    {
        std::array<std::unique_ptr<CVertexBuffer>, BufferCount> m_VertexBuffer;
        std::array<std::unique_ptr<CIndexBuffer>, BufferCount> m_IndexBuffer;
    };

    // What the check messages of a failed creation quote, and where.
    struct SCheckTexts
    {
        const char* vertexBuffer;
        const char* indexBuffer;
        const char* file;
        long line;
    };

    // Buffers of `size` vertices and `size` indices each; on failure the
    // check message is logged and nothing is kept.
    bool Restore(CRender* render, int format, int size, bool dynamicIndices, const SCheckTexts& texts);
    void Invalidate(CRender* render);
    bool IsReady() const { return m_dObjs[0].m_VertexBuffer[0] != nullptr; }

    // The next pair of dynamic buffers, locked; false when there is none.
    bool Lock(CRender* render, void** vertices, uint16_t** indices);
    // Unlocks the pair of Lock and draws `indices` as a triangle list; the
    // rotation moves on.
    void UnlockAndDraw(CRender* render, int indices);

    // With the static index buffer: `fill(vertices, first, n)` writes the 3n
    // vertices of triangles first..first+n-1, in batches of `perBatch`.
    template <class TFill>
    void DrawTriangles(CRender* render, int triangles, int perBatch, TFill&& fill)
    {
        for (int first = 0; first < triangles; first += perBatch) {
            const int n = std::min(perBatch, triangles - first);
            void* vertices = nullptr;
            if (!Lock(render, &vertices, nullptr))
                return;
            fill(vertices, first, n);
            UnlockAndDraw(render, 3 * n);
        }
    }

private:
    SDeviceObjects& Objects(CRender* render) { return m_dObjs[size_t(render->GetDeviceIndex())]; }

    std::array<SDeviceObjects, 1> m_dObjs;
    bool m_dynamicIndices = false;
    int m_next = 0;
    bool m_locked = false;
};
