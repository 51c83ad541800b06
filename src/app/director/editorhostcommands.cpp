// The editor's commands on windows, pictures and settings of the run.

#include "app/director/editorcommands.h"

#include "app/director/lumora.h"
#include "app/host/frameloop.h"
#include "app/log.h"
#include "app/paths.h"
#include "render/render.h"
#include "scene/scenebase.h"
#include "services/screenshot.h"
#include "sound/soundanalyzer.h"

#include <cstdlib>
#include <filesystem>

namespace EditorCommands {

namespace {

// The user's pictures folder, as desktops name it, and ours inside it.
std::string ScreenshotFolder()
{
    std::string pictures;
    if (const char* named = getenv("XDG_PICTURES_DIR"); named && *named == '/')
        pictures = named;
    else if (const char* home = getenv("HOME"); home && *home)
        pictures = std::string(home) + "/Pictures";
    else
        pictures = g_paths.m_userPath;
    return pictures + "/Lumora Screenshots";
}

} // namespace

SCommandResult WinCreate(CScriptEngine&, CScriptRequest& request, void*)
{
    // Drawing into a window of another program (SDL_CreateWindowFrom on an
    // X11 id) is not built: the run draws into its own windows only.
    Error("WinCreate: drawing into the editor's window %d is not available; use the visualizer's own window",
          request.Int("ParentHWND"));
    return SCommandResult::Fail("Unable to create window");
}

SCommandResult WinCapture(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    CLumora& director = Director(context);
    CRender* render = director.m_render;
    if (!render || render->GetWindowCount() == 0 || !render->SwitchToRenderWindow(0))
        return SCommandResult::Fail("Failed to save screen capture");
    const std::string folder = ScreenshotFolder();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const CSceneBase* active = director.GetActiveScene();
    // The scene's name is the stem; without a scene the time alone names it.
    const std::string path = folder + "/" + (active ? active->GetName() + ".png" : std::string());
    // The picture is drawn anew into the back buffer, which the last swap
    // left undefined, and read from there.
    director.Draw(render);
    const std::string written = CScreenshot(render).TakeScreenshot(path);
    if (written.empty())
        return SCommandResult::Fail("Failed to save screen capture");
    return Reply(engine, request, "WinCaptured", {{"FileName", written}});
}

SCommandResult ConfigGet(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    const CFrameLoop* loop = Director(context).m_frameLoop;
    request.Begin("Config");
    request.Attribute("AppPath", g_paths.m_appPath);
    request.Attribute("UserPath", g_paths.m_userPath);
    request.Attribute("CaptureSound", g_soundAnalyzer ? g_soundAnalyzer->m_captureEnabled : false);
    request.Attribute("LockFPS", loop ? loop->m_maxFps != 0.0f : false);
    engine.SendAnswer(request);
    return SCommandResult::Done();
}

SCommandResult ConfigSet(CScriptEngine&, CScriptRequest& request, void* context)
{
    CLumora& director = Director(context);
    if (request.Has("CaptureSound") && g_soundAnalyzer)
        g_soundAnalyzer->m_captureEnabled = request.Bool("CaptureSound");
    if (request.Has("LockFPS") && director.m_frameLoop) {
        const bool locked = request.Bool("LockFPS");
        // SetMaxFps also clears the frame time history.
        director.m_frameLoop->SetMaxFps(locked ? 60.0f : 0.0f);
        if (director.m_render)
            director.m_render->SetSwapInterval(locked ? 1 : 0);
    }
    return SCommandResult::Done();
}

SCommandResult RenderInfoGet(CScriptEngine& engine, CScriptRequest& request, void*)
{
    return Reply(engine, request, "RenderInfo", {});
}

} // namespace EditorCommands
