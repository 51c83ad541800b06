#include "render/renderbatcher.h"

#include "app/check.h"
#include "scene/renderlist.h"

#include <cstdint>
#include <cstring>

void CRenderBatcher::InvalidateDevice(CRender* render)
{
    Objects(render) = SDeviceObjects{};
}

void CRenderBatcher::AddItems(CRenderList* list, CRenderItemList* parents, CCamera* view, CPDEffect* effect)
{
    if (!effect || !parents)
        return;
    for (CRenderItem* parent : *parents)
        parent->m_children.PushBack(list->NewItem(parent->m_world, view, this, effect, parent->m_color));
}

bool CRenderBatcher::CreateVertexBuffers(CRender* render, int count, int format, const char* text, const char* file,
                                         long line)
{
    SDeviceObjects& objects = Objects(render);
    for (std::unique_ptr<CVertexBuffer>& buffer : objects.m_VertexBuffer) {
        if (!(buffer = render->CreateVertexBuffer(count, VBF_DYNAMIC, format))) {
            LogCheckFailure(text, file, line);
            return false;
        }
    }
    return true;
}

void CRenderBatcher::DrawQuads(CRender* render, std::span<const SQuad> quads, int perChunk)
{
    render->SetIndexBuffer(Objects(render).m_IndexBuffer.get());
    Stream(
        render, int(quads.size()), perChunk,
        [&](void* out, int first, int n) { std::memcpy(out, &quads[size_t(first)], size_t(n) * sizeof(SQuad)); },
        [&](int n) { render->DrawIndexedPrimitive(PT_TriangleStrip, 4 * n, 6 * n - 2, 0); });
}

bool CRenderBatcher::CreateQuadBuffers(CRender* render, int quads, bool swapMiddle, const char* file, long line)
{
    if (!CreateVertexBuffers(render, 4 * quads, VBF_PNTBTC,
                             "!(dObjs->m_VertexBuffer[i] = render->CreateVertexBuffer(4*m_RenderBufferQuads, "
                             "VBF_DYNAMIC, VBF_PNTBTC))",
                             file, line))
        return false;
    SDeviceObjects& objects = Objects(render);
    if (!(objects.m_IndexBuffer = render->CreateIndexBuffer(6 * quads, 0))) {
        LogCheckFailure("!(dObjs->m_IndexBuffer = render->CreateIndexBuffer(6*m_RenderBufferQuads, 0))", file, line);
        return false;
    }
    return FillQuadStripIndices(objects.m_IndexBuffer.get(), quads, swapMiddle);
}

namespace {

template <class TIndex>
void FillQuadStrip(TIndex* out, int quads, int vertices, bool swapMiddle)
{
    for (int q = 0; q < quads; ++q) {
        const int k = 4 * q + 3;
        *out++ = TIndex(k - 3);
        *out++ = TIndex(swapMiddle ? k - 1 : k - 2);
        *out++ = TIndex(swapMiddle ? k - 2 : k - 1);
        *out++ = TIndex(k);
        *out++ = TIndex(k);
        // The join to the next quad; the very last one repeats k instead, so
        // that a full buffer never names a vertex beyond its end.
        *out++ = TIndex(k + 1 < vertices ? k + 1 : k);
    }
}

} // namespace

bool FillQuadStripIndices(CIndexBuffer* buffer, int quads, bool swapMiddle)
{
    void* memory = buffer->Lock();
    if (!memory)
        return false;
    if (IndexWidth(buffer->m_count) == 2)
        FillQuadStrip(static_cast<uint16_t*>(memory), quads, 4 * quads, swapMiddle);
    else
        FillQuadStrip(static_cast<uint32_t*>(memory), quads, 4 * quads, swapMiddle);
    buffer->Unlock();
    return true;
}
