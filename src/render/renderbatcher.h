#pragma once

#include "render/render.h"
#include "scene/pdobject.h"

#include <algorithm>
#include <array>
#include <memory>
#include <span>

class CCamera;
class CPDEffect;
class CRenderItemList;
class CRenderList;

// One quad as four VBF_PNTBTC vertices: left and right at its start, left
// and right at its end.
struct SQuad
{
    SVertexPNTBTC v[4];
};
static_assert(sizeof(SQuad) == 256);

// What every primitive batcher shares: a drawable whose owner fills a CPU
// array during the update, and which streams that array at draw time through
// three dynamic vertex buffers in turn, so that a chunk never waits for the
// card to finish reading the chunk before it.
class CRenderBatcher : public CPDObject
{
public:
    static constexpr int BufferCount = 3;

    struct SDeviceObjects
    {
        std::array<std::unique_ptr<CVertexBuffer>, BufferCount> m_VertexBuffer;
        std::unique_ptr<CIndexBuffer> m_IndexBuffer;
    };
    std::array<SDeviceObjects, 1> dObjs;

    virtual bool RestoreDevice(CRender* render) = 0;
    void InvalidateDevice(CRender* render);

    // The vertex buffer the next chunk goes to, 0 to 2.
    int GetNextBuffer() const { return m_nextBuffer; }

protected:
    SDeviceObjects& Objects(CRender* render) { return dObjs[size_t(render->GetDeviceIndex())]; }

    // One item below each parent with the parent's world and colour, drawn
    // by this batcher with `effect`; nothing without an effect.
    void AddItems(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect);

    // Makes the three vertex buffers of `count` vertices each; the check
    // message quotes `text`.
    bool CreateVertexBuffers(CRender* render, int count, int format, const char* text, const char* file, long line);

    // Streams `total` records in chunks of up to `perChunk`: `fill(vertices,
    // first, n)` writes the vertices of records first..first+n-1 into the
    // locked buffer and `draw(n)` draws them, each chunk in the next buffer.
    template <class TFill, class TDraw>
    void Stream(CRender* render, int total, int perChunk, TFill&& fill, TDraw&& draw)
    {
        SDeviceObjects& objects = Objects(render);
        for (int first = 0; first < total; first += perChunk) {
            CVertexBuffer* buffer = objects.m_VertexBuffer[size_t(m_nextBuffer)].get();
            if (!buffer)
                return;
            m_nextBuffer = (m_nextBuffer + 1) % BufferCount;
            const int n = std::min(perChunk, total - first);
            void* vertices = buffer->Lock();
            if (!vertices)
                continue;
            fill(vertices, first, n);
            buffer->Unlock();
            render->SetVertexBuffer(buffer);
            draw(n);
        }
    }

    // Prepared quads go by one block copy a chunk, as a strip through the
    // quad index buffer.
    void DrawQuads(CRender* render, std::span<const SQuad> quads, int perChunk);
    // The vertex buffers of 4 * `quads` vertices and the quad index buffer;
    // failures are told as in the caller's `file`.
    bool CreateQuadBuffers(CRender* render, int quads, bool swapMiddle, const char* file, long line);

    int m_nextBuffer = 0;
};

// Fills an index buffer of `quads` quads, four vertices each, as one
// triangle strip with degenerate joins: quad q with k = 4q + 3 has k-3, k-2,
// k-1, k, k, k+1, or k-3, k-1, k-2, k, k, k+1 with `swapMiddle`.
bool FillQuadStripIndices(CIndexBuffer* buffer, int quads, bool swapMiddle);

// CreateVertexBuffers with the check message naming the call as written.
#define LUMORA_CREATE_BATCH_BUFFERS(render, count, format)                                              \
    CreateVertexBuffers(render, count, format,                                                           \
                        "!(dObjs->m_VertexBuffer[i] = render->CreateVertexBuffer(" #count ", VBF_DYNAMIC, " #format "))", \
                        __FILE__, __LINE__)

// CreateQuadBuffers for m_RenderBufferQuads quads.
#define LUMORA_CREATE_QUAD_BUFFERS(render, swapMiddle) \
    CreateQuadBuffers(render, m_RenderBufferQuads, swapMiddle, __FILE__, __LINE__)
