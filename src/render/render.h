#pragma once

#include "render/camera.h"
#include "render/monitor.h"
#include "render/renderdata.h"
#include "render/rendertypes.h"
#include "render/runmode.h"
#include "render/vertexbuffer.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

class CUserApp3d;

// Platform-free form of the window events the host handles.
enum class EWindowEvent
{
    None,
    Close,  // a window's close button, or the process asked to quit
    Escape, // the Escape key
    Pause,  // the Pause or Space key: the loop only clears while paused
    Next,     // Right arrow or N: the next scene
    Previous, // Left arrow or P: the previous scene
    Other,
};

// A pixel rectangle for glViewport-like calls.
struct SViewport
{
    int x = 0, y = 0, width = 0, height = 0;
    bool operator==(const SViewport&) const = default;
};

// The one graphics interface of the engine, shaped like an immediate device:
// a current vertex buffer, index buffer and camera, render states that are
// set first and flushed at draw time. Nodes receive it as an argument and do
// not store it.
class CRender
{
public:
    CRender();
    virtual ~CRender();
    CRender(const CRender&) = delete;
    CRender& operator=(const CRender&) = delete;

    // Index into every per-device array and bit number in the nodes' dirty
    // masks. There is one device, so it is 0.
    int GetDeviceIndex() const { return m_deviceIndex; }

    // Fractions of the current rectangle.
    // The base class has no device: creation fails and draws do nothing.
    virtual void SetViewport(float x, float y, float width, float height);
    virtual CCamera* GetCamera() { return &m_camera; }
    virtual void SetCamera(const CCamera& camera);
    virtual std::unique_ptr<CVertexBuffer> CreateVertexBuffer(int count, int flags, int format);
    virtual bool SetVertexBuffer(CVertexBuffer* buffer);
    virtual std::unique_ptr<CIndexBuffer> CreateIndexBuffer(int count, int flags);
    virtual bool SetIndexBuffer(CIndexBuffer* buffer);
    virtual bool Clear(const float color[4], float depth, int flags);
    // Only the world and view matrices can be set; the projection comes from
    // SetCamera.
    virtual void SetTransform(int kind, const float matrix[16]);
    virtual const float* GetTransform(int kind);
    virtual float GetAspect();
    virtual bool DrawPrimitive(int kind, int first, int primitives);
    virtual bool DrawIndexedPrimitive(int kind, int first, int primitives, int instances);
    virtual bool DrawFullScreenQuad();

    // The part of the whole picture the current window shows: x, y, width,
    // height as fractions. All of it where there are no windows.
    virtual std::array<float, 4> GetCurrentSection() const { return {0, 0, 1, 1}; }

    // The output windows, as the window choice below asks for them. The base
    // class has no screen: it opens nothing.
    virtual bool CheckSupport() { return false; }
    // Starts the window system, reads the desktop and, when asked, the monitors.
    virtual bool Init(bool /*enumerateMonitors*/) { return false; }
    virtual bool CreateScreen(EWindowMode /*kind*/, bool /*visible*/) { return false; }
    virtual bool Initialize3DEnvironment() { return false; }
    // One frame over all windows; with `clearOnly` the application draws nothing.
    virtual bool Render3DEnvironment(bool /*clearOnly*/) { return false; }
    virtual void Cleanup3DEnvironment() {}
    virtual int GetWindowCount() const { return 0; }
    virtual bool SwitchToRenderWindow(int /*index*/) { return false; }
    // The monitor a full-screen window covers; null for every other window.
    virtual const CMonitor* GetWindowMonitor(int /*index*/) const { return nullptr; }
    // Takes the next waiting window event, None when the queue is empty.
    virtual EWindowEvent PollEvent() { return EWindowEvent::None; }
    // False when no display server answered and nobody would see a window.
    // Known after Init.
    virtual bool HasDisplay() const { return false; }
    // The current rectangle as BGR bytes, bottom row first; false without a
    // device.
    virtual bool ReadPixels(void* /*buffer*/) { return false; }
    // Read-back that need not wait for the picture just drawn: StartReadPixels
    // queues a copy of the current rectangle, FinishReadPixels hands out the
    // oldest queued one as ReadPixels would, sized to it. A recorder that
    // keeps two queued draws the next frame while the last one is copied.
    // This form copies at once; devices override it to copy in the background.
    virtual bool StartReadPixels();
    virtual bool FinishReadPixels(std::vector<uint8_t>& pixels);
    virtual int QueuedReadPixels() const { return int(m_queuedPixels.size()); }
    // 1 waits for the display's refresh on each swap, 0 does not; nothing
    // without a context.
    virtual void SetSwapInterval(int /*interval*/) {}

    CRenderData* GetRenderData() { return m_data.get(); }
    CRenderStateManager* GetStateManager() { return m_data ? m_data->GetStateManager() : nullptr; }
    const CMatrix& GetProjection() const { return m_projection; }

    // The pixel rectangle of SetViewport, clamped to the current rectangle.
    static SViewport ViewportPixels(const SRect& current, float x, float y, float width, float height);
    // The six vertices of the full-screen quad in VBF_PNTBTC layout; the
    // upside-down form serves framebuffers, which are drawn flipped in y.
    static void FillQuad(void* vertices, bool upsideDown);

    // The area all output windows together show.
    SRect m_virtualRect;
    // The window or render target now drawn to.
    SRect m_currentRect;
    bool m_failed = false;
    CUserApp3d* m_app = nullptr;

    // The window choice: the kind of run, its window mode and, for a
    // recording, the size of its frames.
    EAppType m_appType = EAppType::Visualizer;
    EWindowMode m_windowMode = WK_FullScreen;
    int m_recordWidth = 1920;
    int m_recordHeight = 1080;
    std::vector<CMonitor> m_monitors;
    // What the device and the desktop are, for the usage statistics:
    // "vendor, renderer, version" once a context exists, "WxHxBits" of the
    // primary desktop and "WxH" of all monitors together after Init.
    std::string m_deviceText;
    std::string m_desktopText;
    std::string m_virtualText;

    struct SDeviceObjects
    {
        std::unique_ptr<CVertexBuffer> m_VertexBuffer;
        std::unique_ptr<CVertexBuffer> m_VertexBufferUpsideDown;
    };
    std::array<SDeviceObjects, 1> dObjs;

protected:
    // Gives back the device objects of the render itself.
    void ReleaseQuad();

    int m_deviceIndex = 0;
    std::unique_ptr<CRenderData> m_data;
    CCamera m_camera;
    CMatrix m_projection = MatrixIdentity();
    CMatrix m_world = MatrixIdentity();
    CMatrix m_view = MatrixIdentity();
    CVertexBuffer* m_currentVertexBuffer = nullptr;
    CIndexBuffer* m_currentIndexBuffer = nullptr;

private:
    std::deque<std::vector<uint8_t>> m_queuedPixels;
};

// Makes the render of a run for its application object: the executable
// chooses the graphics library.
using RenderFactory = std::function<std::unique_ptr<CRender>(CUserApp3d* app)>;

// The bit of a device in a per-device mask.
inline unsigned DeviceBit(int deviceIndex)
{
    return 1u << (deviceIndex & 31);
}
