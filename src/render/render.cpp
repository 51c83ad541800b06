#include "render/render.h"

#include "app/check.h"

#include <cstring>

// The check convention with the failing condition as its text: logs it and
// returns false when `failure` holds.
CRender::CRender() = default;

CRender::~CRender() = default;

void CRender::SetViewport(float, float, float, float) {}

std::unique_ptr<CVertexBuffer> CRender::CreateVertexBuffer(int, int, int)
{
    return nullptr;
}

std::unique_ptr<CIndexBuffer> CRender::CreateIndexBuffer(int, int)
{
    return nullptr;
}

bool CRender::StartReadPixels()
{
    std::vector<uint8_t> pixels(size_t(m_currentRect.Width()) * size_t(m_currentRect.Height()) * 3);
    if (!ReadPixels(pixels.data()))
        return false;
    m_queuedPixels.push_back(std::move(pixels));
    return true;
}

bool CRender::FinishReadPixels(std::vector<uint8_t>& pixels)
{
    if (m_queuedPixels.empty())
        return false;
    pixels = std::move(m_queuedPixels.front());
    m_queuedPixels.pop_front();
    return true;
}

bool CRender::Clear(const float*, float, int)
{
    return false;
}

bool CRender::DrawPrimitive(int, int, int)
{
    return false;
}

bool CRender::DrawIndexedPrimitive(int, int, int, int)
{
    return false;
}

void CRender::SetCamera(const CCamera& camera)
{
    m_camera = camera;
    const bool flipped = m_data && m_data->m_boundFramebuffer != 0;
    m_projection = BuildProjection(m_camera, m_currentRect, m_virtualRect, flipped);
    SetTransform(TS_View, m_camera.m_view.data());
}

bool CRender::SetVertexBuffer(CVertexBuffer* buffer)
{
    m_currentVertexBuffer = buffer;
    return true;
}

bool CRender::SetIndexBuffer(CIndexBuffer* buffer)
{
    m_currentIndexBuffer = buffer;
    return true;
}

void CRender::SetTransform(int kind, const float matrix[16])
{
    if (kind == TS_World)
        std::memcpy(m_world.data(), matrix, sizeof(float) * 16);
    else if (kind == TS_View)
        std::memcpy(m_view.data(), matrix, sizeof(float) * 16);
}

const float* CRender::GetTransform(int kind)
{
    return kind == TS_View ? m_view.data() : m_world.data();
}

float CRender::GetAspect()
{
    const int w = m_virtualRect.Width();
    const int h = m_virtualRect.Height();
    if (w == 0 || h == 0)
        return 1.7777778f;
    return static_cast<float>(w) / static_cast<float>(h);
}

SViewport CRender::ViewportPixels(const SRect& current, float x, float y, float width, float height)
{
    const float w = static_cast<float>(current.Width());
    const float h = static_cast<float>(current.Height());
    SViewport v{static_cast<int>(w * x), static_cast<int>(h * y), static_cast<int>(w * width),
                static_cast<int>(h * height)};
    if (v.width + v.x > current.Width())
        v.width = current.Width() - v.x;
    if (v.height + v.y > current.Height())
        v.height = current.Height() - v.y;
    return v;
}

void CRender::FillQuad(void* vertices, bool upsideDown)
{
    struct SCorner
    {
        float x, y, u, v;
    };
    static constexpr SCorner corners[6] = {
        {-1, -1, 0, 1}, {-1, 1, 0, 0}, {1, 1, 1, 0}, {1, 1, 1, 0}, {1, -1, 1, 1}, {-1, -1, 0, 1},
    };
    auto* out = static_cast<SVertexPNTBTC*>(vertices);
    for (int i = 0; i < 6; ++i) {
        const SCorner& c = corners[i];
        out[i] = SVertexPNTBTC{{c.x, c.y, 0}, 0xFFFFFFFFu, {c.u, upsideDown ? 1.0f - c.v : c.v}, {0, 0, -1},
                             {1, 0, 0},     {0, 1, 0},   0};
    }
}

bool CRender::DrawFullScreenQuad()
{
    SDeviceObjects* objects = &dObjs[m_deviceIndex];
    if (!objects->m_VertexBuffer || !objects->m_VertexBufferUpsideDown) {
        ReleaseQuad();
        CHECK_FAILURE(!(objects->m_VertexBuffer = CreateVertexBuffer(6, 0, VBF_PNTBTC)));
        CHECK_FAILURE(!(objects->m_VertexBufferUpsideDown = CreateVertexBuffer(6, 0, VBF_PNTBTC)));
        void* data = objects->m_VertexBuffer->Lock();
        CHECK(data);
        FillQuad(data, false);
        objects->m_VertexBuffer->Unlock();
        data = objects->m_VertexBufferUpsideDown->Lock();
        CHECK(data);
        FillQuad(data, true);
        objects->m_VertexBufferUpsideDown->Unlock();
    }
    const bool flipped = m_data && m_data->m_boundFramebuffer != 0;
    SetVertexBuffer(flipped ? objects->m_VertexBufferUpsideDown.get() : objects->m_VertexBuffer.get());
    return DrawPrimitive(PT_Triangles, 0, 2);
}

void CRender::ReleaseQuad()
{
    for (SDeviceObjects& objs : dObjs) {
        for (std::unique_ptr<CVertexBuffer>* buffer : {&objs.m_VertexBuffer, &objs.m_VertexBufferUpsideDown}) {
            if (buffer->get() == m_currentVertexBuffer)
                m_currentVertexBuffer = nullptr;
            buffer->reset();
        }
    }
}
