#include "renderogl/renderwin.h"

#include "app/log.h"
#include "app/trace.h"
#include "renderogl/glcontext.h"

#include <SDL.h>

#include <cstdlib>
#include <cstring>

namespace {

// Without WAYLAND_DISPLAY and XDG_RUNTIME_DIR no compositor can be reached,
// and libwayland says so on stderr each time SDL tries: SDL tries the other
// drivers only.
void LeaveOutUnreachableWayland()
{
    if (getenv("WAYLAND_DISPLAY") || getenv("XDG_RUNTIME_DIR"))
        return;
    std::string drivers;
    for (int i = 0; i < SDL_GetNumVideoDrivers(); ++i) {
        const char* name = SDL_GetVideoDriver(i);
        if (!name || strcmp(name, "wayland") == 0)
            continue;
        if (!drivers.empty())
            drivers += ',';
        drivers += name;
    }
    SDL_SetHint(SDL_HINT_VIDEODRIVER, drivers.c_str());
}

} // namespace

CRenderWin::CRenderWin(CUserApp3d* app)
{
    m_app = app;
    m_baseTitle = (app ? app->GetName() : std::string("Lumora")) + " Visualizer";
}

CRenderWin::~CRenderWin()
{
    Cleanup3DEnvironment();
    m_context.reset();
    if (m_videoInit)
        SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

bool CRenderWin::Init(bool enumerateMonitors)
{
    TRACE("CRenderWin::Init");
    m_fpsFigure = 0.0f;
    m_frames = 0;
    m_fpsStart = std::chrono::steady_clock::now();
    const char* chosen = SDL_GetHint(SDL_HINT_VIDEODRIVER);
    const bool driverChosen = chosen && *chosen;
    if (!m_videoInit) {
        if (!driverChosen)
            LeaveOutUnreachableWayland();
        const int result = SDL_InitSubSystem(SDL_INIT_VIDEO);
        if (!driverChosen)
            SDL_ResetHint(SDL_HINT_VIDEODRIVER);
        if (result != 0)
            return Error("SDL video init failed: %s", SDL_GetError());
        m_videoInit = true;
    }
    const char* driver = SDL_GetCurrentVideoDriver();
    const bool inMemory = driver && (strcmp(driver, "offscreen") == 0 || strcmp(driver, "dummy") == 0);
    m_hasDisplay = driverChosen || !inMemory;
    if (enumerateMonitors)
        EnumerateMonitors();
    SDL_Rect primary{0, 0, 0, 0};
    SDL_GetDisplayBounds(0, &primary);
    SDL_DisplayMode mode{};
    SDL_GetDesktopDisplayMode(0, &mode);
    const long depth = SDL_BITSPERPIXEL(mode.format);
    const SRect virt = VirtualRect(m_monitors);
    const int virtualWidth = m_monitors.empty() ? primary.w : virt.Width();
    const int virtualHeight = m_monitors.empty() ? primary.h : virt.Height();
    Log("Desktop primary: %ldx%ldx%ld Virtual:%ldx%ld", long(primary.w), long(primary.h), depth, long(virtualWidth),
        long(virtualHeight));
    m_desktopText = std::to_string(primary.w) + "x" + std::to_string(primary.h) + "x" + std::to_string(depth);
    m_virtualText = std::to_string(virtualWidth) + "x" + std::to_string(virtualHeight);
    ComputeSections(m_monitors, virtualWidth, virtualHeight);
    for (const CMonitor& m : m_monitors)
        Log("Monitor: \"%s\" \"%s\" \"%s\" Render section: %ld,%ld,%ld,%ld", m.m_deviceName.c_str(),
            m.m_monitorString.c_str(), m.m_deviceString.c_str(), long(m.m_rect.left), long(m.m_rect.top),
            long(m.m_rect.right), long(m.m_rect.bottom));
    return true;
}

void CRenderWin::EnumerateMonitors()
{
    m_monitors.clear();
    const int count = SDL_GetNumVideoDisplays();
    for (int i = 0; i < count; ++i) {
        SDL_Rect bounds;
        if (SDL_GetDisplayBounds(i, &bounds) != 0)
            continue;
        CMonitor m;
        // SDL's display names need not be unique; the index makes them so,
        // and stays the same between runs while the displays do.
        m.m_deviceName = "DISPLAY" + std::to_string(i + 1);
        const char* name = SDL_GetDisplayName(i);
        m.m_monitorString = name ? name : "";
        m.m_deviceString = SDL_GetCurrentVideoDriver() ? SDL_GetCurrentVideoDriver() : "";
        m.m_handle = i + 1;
        m.m_rect = SRect{bounds.x, bounds.y, bounds.x + bounds.w, bounds.y + bounds.h};
        m_monitors.push_back(m);
    }
}

bool CRenderWin::CreateOneWindow(const char* title, const SRect& rect, bool visible, bool fullScreen, CMonitor* monitor)
{
    Uint32 flags = SDL_WINDOW_OPENGL | (visible ? SDL_WINDOW_SHOWN : SDL_WINDOW_HIDDEN);
    if (fullScreen)
        flags |= SDL_WINDOW_BORDERLESS | SDL_WINDOW_ALWAYS_ON_TOP;
    else if (m_windowMode == WK_Window)
        flags |= SDL_WINDOW_RESIZABLE;
    SDL_Window* window = SDL_CreateWindow(title, rect.left, rect.top, rect.Width(), rect.Height(), flags);
    if (!window)
        return false;
    CRenderWindow record;
    record.m_window = window;
    record.m_fullScreen = fullScreen;
    record.m_monitor = monitor;
    if (monitor)
        record.m_section = monitor->m_section;
    m_windows.push_back(record);
    return true;
}

bool CRenderWin::CreateScreen(EWindowMode kind, bool visible)
{
    TRACE("CRenderWin::CreateScreen");
    struct SKind
    {
        const char* log;
        const char* failure;
        SRect rect;
    };
    static const SKind kinds[] = {
        {"Creating window", "Unable to create window", {50, 50, 1330, 770}},
        {"Creating record window", "Unable to create record window", {20, 20, 1940, 1100}},
        {"Creating screenshot window", "Unable to create screenshot window", {50, 50, 1330, 1074}},
    };
    if (kind == WK_FullScreen) {
        int number = 0;
        for (CMonitor& m : m_monitors) {
            ++number;
            if (!m.m_handle)
                continue;
            Log("Creating full screen window. MonitorNr:%ld (%ld %ld %ld x %ld)", long(number), long(m.m_rect.left),
                long(m.m_rect.top), long(m.m_rect.Width()), long(m.m_rect.Height()));
            if (!CreateOneWindow(m_baseTitle.c_str(), m.m_rect, visible, true, &m))
                return Error("Unable to create full window");
        }
    } else if (kind == WK_Window || kind == WK_Record || kind == WK_Screenshot) {
        const SKind& k = kinds[kind == WK_Window ? 0 : kind == WK_Record ? 1 : 2];
        SRect rect = k.rect;
        if (kind == WK_Record)
            rect = SRect{rect.left, rect.top, rect.left + m_recordWidth, rect.top + m_recordHeight};
        Log("%s", k.log);
        if (!CreateOneWindow(m_baseTitle.c_str(), rect, visible, false, nullptr))
            return Error("%s", k.failure);
        m_virtualRect = SRect{0, 0, rect.Width(), rect.Height()};
        m_currentRect = m_virtualRect;
    } else {
        // Embedding into another program's window is not available on this platform yet.
        return Error("Unable to create %s window", kind == WK_Preview ? "preview" : "child");
    }
    Log("Window(s) created. Current %ld,%ld,%ld,%ld.", long(m_currentRect.left), long(m_currentRect.top),
        long(m_currentRect.Width()), long(m_currentRect.Height()));
    return true;
}

void CRenderWin::DestroyScreen()
{
    for (CRenderWindow& w : m_windows)
        if (w.m_window)
            SDL_DestroyWindow(w.m_window);
    m_windows.clear();
    m_currentWindow = -1;
}

bool CRenderWin::InitOpenGL(SDL_Window* window)
{
    m_context = std::make_unique<CGLContext>();
    if (!m_context->CreateForWindow(window)) {
        m_failed = true;
        return false;
    }
    if (!CreateDeviceObjects()) {
        m_failed = true;
        return false;
    }
    m_deviceText = CGLContext::DeviceText();
    SDL_GL_SetSwapInterval(1);
    return true;
}

void CRenderWin::SetSwapInterval(int interval)
{
    if (m_context)
        SDL_GL_SetSwapInterval(interval);
}

bool CRenderWin::Initialize3DEnvironment()
{
    TRACE("CRenderWin::Initialize3DEnvironment");
    if (m_windows.empty())
        return false;
    m_virtualRect = SRect{};
    bool firstJoin = true;
    for (CRenderWindow& w : m_windows) {
        if (w.m_monitor && w.m_monitor->m_leaveBlack)
            continue; // a black window: the context is made on one that shows pictures
        if (!m_context && !InitOpenGL(w.m_window))
            return false;
        if (w.m_fullScreen && w.m_monitor) {
            const SRect& r = w.m_monitor->m_rect;
            if (firstJoin) {
                m_virtualRect = r;
                firstJoin = false;
            } else {
                m_virtualRect = SRect{std::min(m_virtualRect.left, r.left), std::min(m_virtualRect.top, r.top),
                                      std::max(m_virtualRect.right, r.right), std::max(m_virtualRect.bottom, r.bottom)};
            }
        }
    }
    if (!m_context)
        return false;
    SwitchToRenderWindow(0);
    if (m_windows.size() == 1)
        m_virtualRect = m_currentRect;
    Log("Virtual screen size %ld,%ld %ldx%ld", long(m_virtualRect.left), long(m_virtualRect.top),
        long(m_virtualRect.Width()), long(m_virtualRect.Height()));
    for (CRenderWindow& w : m_windows)
        SDL_ShowWindow(w.m_window);
    return true;
}

bool CRenderWin::SwitchToRenderWindow(int index)
{
    if (index < 0 || index >= static_cast<int>(m_windows.size()))
        return false;
    m_currentWindow = index;
    CRenderWindow& w = m_windows[index];
    if (!w.m_fullScreen) {
        int width = 0, height = 0;
        SDL_GL_GetDrawableSize(w.m_window, &width, &height);
        m_currentRect = SRect{0, 0, width, height};
        m_virtualRect = m_currentRect;
    } else if (w.m_monitor) {
        m_currentRect = w.m_monitor->m_rect;
    }
    // One window keeps the context current; only several switch it.
    if (m_windows.size() > 1 && m_context) {
        static bool reported = false;
        if (!m_context->MakeCurrent(w.m_window) && !reported) {
            reported = true;
            Error("Unable to switch to ogl render unit: %lx. First and only error of this type printed", long(index));
        }
    }
    return true;
}

void CRenderWin::UpdateFps()
{
    if (m_windowMode != WK_Window)
        return;
    ++m_frames;
    const auto now = std::chrono::steady_clock::now();
    const double seconds = std::chrono::duration<double>(now - m_fpsStart).count();
    if (seconds <= 1.0)
        return;
    m_fpsFigure = static_cast<float>(m_frames / seconds);
    m_frames = 0;
    m_fpsStart = now;
    if (!m_windows.empty()) {
        const std::string status = m_app ? m_app->GetStatusText() : std::string();
        char title[256];
        snprintf(title, sizeof title, "Lumora v%s - %s", m_app ? m_app->GetVersionText().c_str() : "",
                 status.empty() ? (std::to_string(static_cast<int>(m_fpsFigure + 0.5f)) + " fps").c_str()
                                : status.c_str());
        SDL_SetWindowTitle(m_windows[0].m_window, title);
    }
}

bool CRenderWin::Render3DEnvironment(bool clearOnly)
{
    if (m_windows.empty()) {
        if (m_app)
            m_app->FrameFinished();
        return true;
    }
    UpdateFps();
    for (int index = 0; SwitchToRenderWindow(index); ++index) {
        const CRenderWindow& w = m_windows[index];
        // A window left black is cleared and shown like the others, or it
        // would show whatever the desktop left in it.
        const bool black = w.m_monitor && w.m_monitor->m_leaveBlack;
        if (m_failed || clearOnly || !m_app || black) {
            const float color[4] = {0, 0, 0, 0};
            Clear(color, 1.0f, CF_Color | CF_Depth);
        } else {
            m_app->Draw(this);
        }
    }
    // All windows are drawn first and all swapped afterwards.
    for (const CRenderWindow& w : m_windows)
        SDL_GL_SwapWindow(w.m_window);
    if (m_app)
        m_app->FrameFinished();
    return true;
}

void CRenderWin::Cleanup3DEnvironment()
{
    if (m_context && !m_windows.empty())
        m_context->MakeCurrent(m_windows[0].m_window);
    if (m_context) {
        // The application's nodes give their device objects back before the
        // managers that pool them go.
        if (m_app)
            m_app->InvalidateDevice();
        ReleaseDeviceObjects();
    }
    m_context.reset();
    DestroyScreen();
}

void CRenderWin::RefreshScreens()
{
    for (CMonitor& m : m_monitors) {
        SDL_Rect b;
        if (m.m_handle && SDL_GetDisplayBounds(m.m_handle - 1, &b) == 0)
            m.m_rect = SRect{b.x, b.y, b.x + b.w, b.y + b.h};
    }
    for (CRenderWindow& w : m_windows) {
        if (!w.m_fullScreen || !w.m_window || !w.m_monitor)
            continue;
        const SRect& r = w.m_monitor->m_rect;
        SDL_SetWindowPosition(w.m_window, r.left, r.top);
        SDL_SetWindowSize(w.m_window, std::abs(r.Width()), std::abs(r.Height()));
        Log("SetWindowPos: %ld %ld %ld %ld", long(r.left), long(r.top), long(r.Width()), long(r.Height()));
    }
}

EWindowEvent CRenderWin::PollEvent()
{
    SDL_Event event;
    if (!SDL_PollEvent(&event))
        return EWindowEvent::None;
    switch (event.type) {
    case SDL_QUIT:
        return EWindowEvent::Close;
    case SDL_WINDOWEVENT:
        if (event.window.event == SDL_WINDOWEVENT_CLOSE)
            return EWindowEvent::Close;
        HandleMessage(event);
        return EWindowEvent::Other;
    case SDL_KEYDOWN:
        if (event.key.keysym.sym == SDLK_ESCAPE)
            return EWindowEvent::Escape;
        if ((event.key.keysym.sym == SDLK_PAUSE || event.key.keysym.sym == SDLK_SPACE) && !event.key.repeat)
            return EWindowEvent::Pause;
        if (event.key.keysym.sym == SDLK_RIGHT || event.key.keysym.sym == SDLK_n)
            return EWindowEvent::Next;
        if (event.key.keysym.sym == SDLK_LEFT || event.key.keysym.sym == SDLK_p)
            return EWindowEvent::Previous;
        return EWindowEvent::Other;
    default:
        return EWindowEvent::Other;
    }
}

int CRenderWin::HandleMessage(const SDL_Event& event)
{
    if (event.type != SDL_WINDOWEVENT || event.window.event != SDL_WINDOWEVENT_SIZE_CHANGED)
        return 0;
    for (const CRenderWindow& w : m_windows) {
        if (!w.m_window || SDL_GetWindowID(w.m_window) != event.window.windowID)
            continue;
        // The aspect follows a resized window at once.
        m_currentRect = SRect{0, 0, event.window.data1, event.window.data2};
        if (!w.m_fullScreen)
            m_virtualRect = m_currentRect;
    }
    return 0;
}

bool CRenderWin::IsRenderWindow(SDL_Window* window) const
{
    for (const CRenderWindow& w : m_windows)
        if (window && w.m_window == window)
            return !(w.m_monitor && w.m_monitor->m_leaveBlack);
    return false;
}

std::array<float, 4> CRenderWin::GetCurrentSection() const
{
    if (m_currentWindow < 0 || m_currentWindow >= static_cast<int>(m_windows.size()))
        return CRender::GetCurrentSection();
    const SSection& s = m_windows[size_t(m_currentWindow)].m_section;
    return {float(s.x), float(s.y), float(s.width), float(s.height)};
}
