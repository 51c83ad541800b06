#pragma once

#include "renderogl/pixelreadbackogl.h"
#include "renderogl/renderwin.h"

// The draw operations of the render on OpenGL. The context must be current
// on the calling thread.
class CRenderOGL : public CRenderWin
{
public:
    explicit CRenderOGL(CUserApp3d* app = nullptr);
    ~CRenderOGL() override;

    // Makes the device objects of the render data once a context exists.
    bool InitDevice();
    // Gives back the render's own device objects and the render data's
    // managers while the context is still current.
    void ReleaseDevice();

    void SetViewport(float x, float y, float width, float height) override;
    std::unique_ptr<CVertexBuffer> CreateVertexBuffer(int count, int flags, int format) override;
    std::unique_ptr<CIndexBuffer> CreateIndexBuffer(int count, int flags) override;
    bool Clear(const float color[4], float depth, int flags) override;
    bool DrawPrimitive(int kind, int first, int primitives) override;
    bool DrawIndexedPrimitive(int kind, int first, int primitives, int instances) override;

    bool ReadPixels(void* buffer) override;
    bool StartReadPixels() override;
    bool FinishReadPixels(std::vector<uint8_t>& pixels) override;
    int QueuedReadPixels() const override { return m_readback.Queued(); }

protected:
    bool CreateDeviceObjects() override { return InitDevice(); }
    void ReleaseDeviceObjects() override { ReleaseDevice(); }

private:
    bool BindVertexAttributes();
    void UnbindVertexAttributes();

    CPixelReadbackOGL m_readback;
};

// The RenderFactory of the executable and of tests that draw for real.
std::unique_ptr<CRender> MakeRenderOGL(CUserApp3d* app);
