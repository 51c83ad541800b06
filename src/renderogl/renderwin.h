#pragma once

#include "render/monitor.h"
#include "render/render.h"
#include "render/userapp3d.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

struct SDL_Window;
union SDL_Event;
class CGLContext;

// One created output window.
struct CRenderWindow
{
    CMonitor* m_monitor = nullptr; // full screen only
    bool m_fullScreen = false;
    SSection m_section;
    SDL_Window* m_window = nullptr;
};

// The output layer of the render on SDL: monitors, windows, the one shared
// context, and a frame over all windows.
class CRenderWin : public CRender
{
public:
    explicit CRenderWin(CUserApp3d* app);
    ~CRenderWin() override;

    bool CheckSupport() override { return true; }
    // Starts video, reads the desktop and, when asked, the monitors.
    bool Init(bool enumerateMonitors) override;
    bool CreateScreen(EWindowMode kind, bool visible) override;
    void DestroyScreen();
    bool Initialize3DEnvironment() override;
    bool Render3DEnvironment(bool clearOnly) override;
    void Cleanup3DEnvironment() override;
    int GetWindowCount() const override { return static_cast<int>(m_windows.size()); }
    bool SwitchToRenderWindow(int index) override;
    const CMonitor* GetWindowMonitor(int index) const override
    {
        return index >= 0 && index < GetWindowCount() ? m_windows[size_t(index)].m_monitor : nullptr;
    }
    void RefreshScreens();
    EWindowEvent PollEvent() override;
    // Window events of our own windows: a resize moves the rectangles.
    int HandleMessage(const SDL_Event& event);
    std::array<float, 4> GetCurrentSection() const override;
    // True for a window that gets pictures: ours and not left black.
    bool IsRenderWindow(SDL_Window* window) const;
    // False when video started without a screen: no display server answered
    // and SDL fell back to drawing into memory, which nobody sees. A driver
    // chosen through SDL_VIDEODRIVER counts as a display. Known after Init.
    bool HasDisplay() const override { return m_hasDisplay; }
    void SetSwapInterval(int interval) override;

    std::vector<CRenderWindow> m_windows;
    int m_currentWindow = -1;
    std::string m_baseTitle;
    float m_fpsFigure = 0.0f;

protected:
    bool InitOpenGL(SDL_Window* window);
    // Device objects made once the context exists.
    virtual bool CreateDeviceObjects() { return true; }
    virtual void ReleaseDeviceObjects() {}

private:
    void EnumerateMonitors();
    void UpdateFps();
    bool CreateOneWindow(const char* title, const SRect& rect, bool visible, bool fullScreen, CMonitor* monitor);

    std::unique_ptr<CGLContext> m_context;
    bool m_videoInit = false;
    bool m_hasDisplay = true;
    int m_frames = 0;
    std::chrono::steady_clock::time_point m_fpsStart;
};
