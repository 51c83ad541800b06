#include "renderogl/glcontext.h"

#include "app/log.h"
#include "app/trace.h"

#include <GL/glew.h>

#include <cstdio>

namespace {

constexpr const char* MinimumVersionMessage =
    "This program needs a graphics card with drivers that supports at least OpenGL 2.0\n\n"
    "You probably only need to update your graphics card driver.\n"
    "Please go to you graphics card vendors web site and download the latest drivers.\n\n"
    "You might also be able to download the drivers using windows update.\n"
    "Start windows update and see if you can download any update relating to 'Display'";

} // namespace

CGLContext::~CGLContext()
{
    if (m_context)
        SDL_GL_DeleteContext(m_context);
    if (m_ownsWindow && m_window)
        SDL_DestroyWindow(m_window);
    if (m_videoInit)
        SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

bool CGLContext::InitVideo()
{
    if (m_videoInit)
        return true;
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0)
        return Error("SDL video init failed: %s", SDL_GetError());
    m_videoInit = true;
    return true;
}

bool CGLContext::CreateHeadless(int width, int height)
{
    TRACE("CGLContext::CreateHeadless");
    if (!InitVideo())
        return false;
    m_window = SDL_CreateWindow("Lumora", SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, width, height,
                                SDL_WINDOW_OPENGL | SDL_WINDOW_HIDDEN);
    if (!m_window)
        return Error("Unable to create window: %s", SDL_GetError());
    m_ownsWindow = true;
    return CreateForWindow(m_window);
}

bool CGLContext::CreateForWindow(SDL_Window* window)
{
    if (!InitVideo())
        return false;
    m_window = window;
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 2);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 1);
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
    SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24);
    SDL_GL_SetAttribute(SDL_GL_STENCIL_SIZE, 8);
    m_context = SDL_GL_CreateContext(window);
    if (!m_context)
        return Error("Context creation failed: %s", SDL_GetError());
    Log("OGLInfo : %s", DeviceText().c_str());
    return LoadEntryPoints();
}

std::string CGLContext::DeviceText()
{
    const auto text = [](GLenum name) {
        const auto* value = reinterpret_cast<const char*>(glGetString(name));
        return std::string(value ? value : "");
    };
    return text(GL_VENDOR) + ", " + text(GL_RENDERER) + ", " + text(GL_VERSION);
}

bool CGLContext::MakeCurrent(SDL_Window* window)
{
    return SDL_GL_MakeCurrent(window, m_context) == 0;
}

bool CGLContext::LoadEntryPoints()
{
    glewExperimental = GL_TRUE;
    const GLenum result = glewInit();
    // On EGL without an X display GLEW answers GLEW_ERROR_NO_GLX_DISPLAY
    // although every GL entry point has loaded; the checks below decide.
    if (result != GLEW_OK && result != GLEW_ERROR_NO_GLX_DISPLAY)
        return Error("Failed to init Glew %s", reinterpret_cast<const char*>(glewGetErrorString(result)));
    // GLEW's version flags follow the loaded entry points when
    // glewExperimental is on, so the context's own version decides.
    const char* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    int major = 0, minor = 0;
    if (!version || sscanf(version, "%d.%d", &major, &minor) != 2 || major < 2)
        return Error("%s", MinimumVersionMessage);
    if (!GLEW_EXT_framebuffer_object && !GLEW_ARB_framebuffer_object)
        return Error("OpenGL framebuffer objects are not supported");
    struct SEntry
    {
        const char* name;
        const void* address;
    };
    const SEntry needed[] = {
        {"glGenBuffers", reinterpret_cast<const void*>(glGenBuffers)},
        {"glMapBuffer", reinterpret_cast<const void*>(glMapBuffer)},
        {"glVertexAttribPointer", reinterpret_cast<const void*>(glVertexAttribPointer)},
        {"glDrawElementsInstanced", reinterpret_cast<const void*>(glDrawElementsInstanced)},
        {"glGenFramebuffersEXT", reinterpret_cast<const void*>(glGenFramebuffersEXT)},
        {"glGenerateMipmapEXT", reinterpret_cast<const void*>(glGenerateMipmapEXT)},
        {"glGenRenderbuffersEXT", reinterpret_cast<const void*>(glGenRenderbuffersEXT)},
        {"glFramebufferTexture2DEXT", reinterpret_cast<const void*>(glFramebufferTexture2DEXT)},
        {"glTexImage3D", reinterpret_cast<const void*>(glTexImage3D)},
    };
    for (const SEntry& entry : needed)
        if (!entry.address)
            return Error("OpenGL entry point %s is missing", entry.name);
    return true;
}
