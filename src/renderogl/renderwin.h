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

// Window kinds, the argument of CreateScreen; the same numbers as the host's
// window modes 1 to 6.
enum
{
    WK_Preview = 1,
    WK_FullScreen = 2,
    WK_Window = 3,
    WK_Child = 4,
    WK_Record = 5,
    WK_Screenshot = 6,
};

// One created output window.
struct CRenderWindow
{
    CMonitor* m_monitor = nullptr; // full screen only
    bool m_fullScreen = false;
    SSection m_section;
    SDL_Window* m_window = nullptr;
};

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

// The output layer of the render on SDL: monitors, windows, the one shared
// context, and a frame over all windows.
class CRenderWin : public CRender
{
public:
    explicit CRenderWin(CUserApp3d* app);
    ~CRenderWin() override;

    bool CheckSupport() { return true; }
    // Starts video, reads the desktop and, when asked, the monitors.
    bool Init(bool enumerateMonitors);
    bool CreateScreen(int kind, bool visible);
    void DestroyScreen();
    bool Initialize3DEnvironment();
    bool Render3DEnvironment(bool clearOnly);
    void Cleanup3DEnvironment();
    bool SwitchToRenderWindow(int index);
    void RefreshScreens();
    // Takes the next waiting window event, None when the queue is empty.
    EWindowEvent PollEvent();
    // Window events of our own windows: a resize moves the rectangles.
    int HandleMessage(const SDL_Event& event);
    std::array<float, 4> GetCurrentSection() const override;
    // True for a window that gets pictures: ours and not left black.
    bool IsRenderWindow(SDL_Window* window) const;
    // False when video started without a screen: no display server answered
    // and SDL fell back to drawing into memory, which nobody sees. A driver
    // chosen through SDL_VIDEODRIVER counts as a display. Known after Init.
    bool HasDisplay() const { return m_hasDisplay; }

    std::vector<CMonitor> m_monitors;
    std::vector<CRenderWindow> m_windows;
    int m_currentWindow = -1;
    int m_appType = 0;
    int m_windowMode = WK_FullScreen;
    std::string m_baseTitle;
    // Size of the window of a recording run, which is the size of its frames.
    int m_recordWidth = 1920;
    int m_recordHeight = 1080;
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
