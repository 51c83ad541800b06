#include "nodes/render/renderrectnode.h"

#include "app/check.h"
#include "app/log.h"
#include "render/matrix.h"
#include "render/render.h"
#include "scene/effectpasses.h"
#include "scene/nodedeclaration.h"
#include "scene/renderlist.h"

#include <cmath>
#include <cstring>

namespace {

template <class TIndex>
void FillIndices(void* memory, int width, int height)
{
    auto* out = static_cast<TIndex*>(memory);
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            const TIndex a = TIndex(j * (width + 1) + i);
            const TIndex b = TIndex(a + width + 1);
            // Counter-clockwise as seen, so that the rectangle faces the
            // camera and stays when back faces are culled: the triangles
            // a, b + 1, b and b + 1, a, a + 1 with their first two corners
            // swapped, which llvmpipe fills exactly as it filled those.
            *out++ = TIndex(b + 1);
            *out++ = a;
            *out++ = b;
            *out++ = a;
            *out++ = TIndex(b + 1);
            *out++ = TIndex(a + 1);
        }
    }
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CRenderRectNode>()
{
    return {
        In(&CRenderRectNode::m_renderIn, "Render", "Previous step of the render chain"),
        In(&CRenderRectNode::m_tesselateW, "TesselateW", "Columns of quads the rectangle is made of", {1, 1, 100000}),
        In(&CRenderRectNode::m_tesselateH, "TesselateH", "Rows of quads the rectangle is made of", {1, 1, 100000}),
        In(&CRenderRectNode::m_effect, "Effect", "Effect the rectangle is drawn with"),
        Out(&CRenderRectNode::m_renderOut, "Render", "This step of the render chain"),
    };
}

CRenderRectNode::~CRenderRectNode()
{
    // A node deleted without InvalidateDevice still gives its buffers back.
    for (SDeviceObjects& objects : dObjs)
        ReleaseBuffers(objects);
}

void CRenderRectNode::Update(float time, CSceneContext*)
{
    m_renderOut->m_value = this;
    UpdateInPorts(time);
    if (m_tesselateW->m_changed || m_tesselateH->m_changed)
        m_deviceDirty = 0xFFFFFFFFu;
}

void CRenderRectNode::ReleaseBuffers(SDeviceObjects& objects)
{
    objects = SDeviceObjects{};
}

bool CRenderRectNode::RestoreDevice(CRender* render)
{
    SDeviceObjects* objects = &dObjs[size_t(render->GetDeviceIndex())];
    long W = std::max(1, m_tesselateW->m_value);
    long H = std::max(1, m_tesselateH->m_value);
    if (W * H > MaxCells) {
        const double shrink = std::sqrt(double(MaxCells) / double(W * H));
        Log("RenderRect \"%s\" of %ld x %ld cells is drawn with fewer cells", m_name.c_str(), W, H);
        W = std::max(1L, long(double(W) * shrink));
        H = std::max(1L, long(double(H) * shrink));
        while (W * H > MaxCells)
            W > H ? --W : --H;
    }
    const int vertexCount = int((W + 1) * (H + 1));
    const int indexCount = int(6 * W * H);

    for (std::unique_ptr<CVertexBuffer>* buffer : {&objects->m_VertexBuffer, &objects->m_VertexBufferUpsideDown}) {
        if (*buffer && (*buffer)->m_count < vertexCount)
            buffer->reset();
    }
    // A buffer's index width follows its size, so a 16-bit buffer cannot
    // take 32-bit indices even when it is long enough.
    if (objects->m_IndexBuffer && (objects->m_IndexBuffer->m_count < indexCount ||
                                   IndexWidth(objects->m_IndexBuffer->m_count) != IndexWidth(indexCount))) {
        objects->m_IndexBuffer.reset();
    }
    objects->m_triangles = 0;
    if (!objects->m_VertexBuffer)
        CHECK_FAILURE(!(objects->m_VertexBuffer = render->CreateVertexBuffer(vertexCount, 0, VBF_PNTBTC)));
    if (!objects->m_VertexBufferUpsideDown)
        CHECK_FAILURE(!(objects->m_VertexBufferUpsideDown = render->CreateVertexBuffer(vertexCount, 0, VBF_PNTBTC)));
    if (!objects->m_IndexBuffer)
        CHECK_FAILURE(!(objects->m_IndexBuffer = render->CreateIndexBuffer(indexCount, 0)));
    if (!FillVertices(objects->m_VertexBuffer.get(), W, H, false) ||
        !FillVertices(objects->m_VertexBufferUpsideDown.get(), W, H, true))
        return false;

    void* indices = objects->m_IndexBuffer->Lock();
    if (!indices)
        return false;
    if (IndexWidth(objects->m_IndexBuffer->m_count) == 2)
        FillIndices<uint16_t>(indices, int(W), int(H));
    else
        FillIndices<uint32_t>(indices, int(W), int(H));
    objects->m_IndexBuffer->Unlock();
    objects->m_triangles = int(2 * W * H);
    return true;
}

bool CRenderRectNode::FillVertices(CVertexBuffer* buffer, long W, long H, bool upsideDown)
{
    auto* vertices = static_cast<SVertexPNTBTC*>(buffer->Lock());
    if (!vertices)
        return false;
    // Steps are added up row by row and column by column, in float.
    const float stepX = 2.0f / float(W), stepY = 2.0f / float(H);
    const float stepU = 1.0f / float(W), stepV = 1.0f / float(H);
    const float ySign = upsideDown ? -1.0f : 1.0f;
    float y = 1.0f, v = 1.0f;
    for (long j = 0; j <= H; ++j) {
        float x = -1.0f, u = 0.0f;
        for (long i = 0; i <= W; ++i) {
            *vertices++ =
                SVertexPNTBTC{{x, y * ySign, 0.0f}, 0xFFFFFFFFu, {u, v}, {0, 0, -1}, {1, 0, 0}, {0, ySign, 0}, 0};
            x += stepX;
            u += stepU;
        }
        y -= stepY;
        v -= stepV;
    }
    buffer->Unlock();
    return true;
}

void CRenderRectNode::InvalidateDevice(CRender* render)
{
    ReleaseBuffers(dObjs[size_t(render->GetDeviceIndex())]);
}

void CRenderRectNode::BuildRenderList(CRenderList* list, CRenderItemList* parents, CCamera* camera)
{
    list->AddChainStep(this, m_renderIn->GetConnectedNode(), parents, camera);
}

void CRenderRectNode::Render(CRender* render)
{
    if (CPDRender* upstream = m_renderIn->m_value)
        upstream->Render(render);
    CPDEffect* effect = m_effect->m_value;
    const SDeviceObjects& objects = dObjs[size_t(render->GetDeviceIndex())];
    if (!effect || !objects.m_VertexBuffer || !objects.m_IndexBuffer || objects.m_triangles == 0)
        return;
    const bool intoTarget = render->GetRenderData() && render->GetRenderData()->m_boundFramebuffer != 0;
    CVertexBuffer* vertices = intoTarget ? objects.m_VertexBufferUpsideDown.get() : objects.m_VertexBuffer.get();
    // A program that passes positions through draws the mirrored grid
    // upright in the target. One that goes through the world matrix gets the
    // mirror undone there, so that the camera's flipped projection shows the
    // rectangle as it shows every object drawn into the target.
    CMatrix world = MatrixIdentity();
    if (intoTarget)
        world[5] = -1.0f;
    DrawEachPass(effect, render, world, [&] {
        render->SetVertexBuffer(vertices);
        render->SetIndexBuffer(objects.m_IndexBuffer.get());
        render->DrawIndexedPrimitive(PT_Triangles, 0, objects.m_triangles, 0);
    });
}
