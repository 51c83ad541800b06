#pragma once

#include <SDL.h>

#include <string>

// The one OpenGL context, made current on the window it was created for.
// Owns the SDL video subsystem reference, the window it was created with when
// it made its own, and the context.
class CGLContext
{
public:
    CGLContext() = default;
    ~CGLContext();
    CGLContext(const CGLContext&) = delete;
    CGLContext& operator=(const CGLContext&) = delete;

    // Makes a hidden window of the given size and a context on it; for
    // headless runs and tests (SDL_VIDEODRIVER=offscreen gives EGL without a
    // display). Logs and answers false on failure.
    bool CreateHeadless(int width, int height);
    // A context on a window of the caller's, which keeps owning the window.
    bool CreateForWindow(SDL_Window* window);
    bool MakeCurrent(SDL_Window* window);

    SDL_Window* GetWindow() const { return m_window; }
    SDL_GLContext Get() const { return m_context; }

    // Loads the entry points; true when OpenGL 2.0 and everything the
    // renderer calls are present. Logs what is missing.
    static bool LoadEntryPoints();
    // "vendor, renderer, version" of the current context.
    static std::string DeviceText();

private:
    bool InitVideo();

    bool m_videoInit = false;
    bool m_ownsWindow = false;
    SDL_Window* m_window = nullptr;
    SDL_GLContext m_context = nullptr;
};
