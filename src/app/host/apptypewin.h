#pragma once

#include "app/host/frameloop.h"
#include "render/render.h"
#include "scene/runinfo.h"

#include <memory>
#include <string>

class CCfg;
class CFrameRecorder;
class CSoundAnalyzer;

// The host of the engine, whatever the platform: owns the configuration and
// the render, holds the kind of run, and drives everything from one polling
// loop on one thread. `makeRender` gives it the render when Init runs.
class CAppTypeWin : public CFrameLoop
{
public:
    CAppTypeWin(CUserApp3d* app, RenderFactory makeRender, CClock& clock = CClock::System());
    ~CAppTypeWin() override;
    CAppTypeWin(const CAppTypeWin&) = delete;
    CAppTypeWin& operator=(const CAppTypeWin&) = delete;

    // Configuration, render and monitors; false leaves no working render and
    // the loop must not start. The configuration front end gets only the
    // configuration.
    virtual bool Init();
    // The windows of the window mode and the context on them.
    bool CreateWindows();
    // Asks the loop to close the windows and end.
    virtual void ShutdownApp();
    void RunApp();
    // The kind of run, as the director and its scenes are to see it.
    SRunInfo RunInfo() const { return {m_appType, m_windowMode, m_config.get()}; }

    EWindowMode m_windowMode = EWindowMode::FullScreen;
    bool m_postQuit = true;
    bool m_paused = false;
    // Ends the run by itself after this many frames; 0 runs until closed.
    int32_t m_maxFrames = 0;
    // Window mode 5 writes its frames here; without one it only draws.
    CFrameRecorder* m_recorder = nullptr;
    // Seconds of simulated time at which recording starts and how long it
    // lasts; negative values take the defaults (15 and 60, or 0 and 217 for
    // a song).
    float m_recordStart = -1.0f;
    float m_recordLength = -1.0f;
    // Frames per second of simulated time in a recording run.
    float m_recordFps = 30.0f;
    CUserApp3d* m_userApp;
    std::string m_configPath;
    std::unique_ptr<CCfg> m_config;
    std::unique_ptr<CRender> m_render;
    // The engine's one sound object; reached through g_soundAnalyzer.
    std::unique_ptr<CSoundAnalyzer> m_sound;

protected:
    void UpdateApp(float deltaTime) override;
    void RenderFrame() override;

private:
    // What WM_CLOSE and WM_DESTROY did: the render lets go of the windows.
    void CloseWindows();
    void StartRecording();
    // One frame of a recording run: time is simulated, not read from a clock.
    void RecordStep();

    RenderFactory m_makeRender;
    bool m_quit = false;
    bool m_recording = false;
    double m_recordTime = 0.0;
};

// The one host of the process.
extern CAppTypeWin* g_appTypeWin;
