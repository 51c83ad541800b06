#include "app/host/apptypewin.h"

#include "app/host/framerecorder.h"

#include "app/cfg.h"
#include "app/log.h"
#include "app/paths.h"
#include "app/stoprequest.h"
#include "app/trace.h"
#include "render/userapp3d.h"
#include "services/stats.h"
#include "sound/soundanalyzer.h"

CAppTypeWin* g_appTypeWin = nullptr;

CAppTypeWin::CAppTypeWin(CUserApp3d* app, RenderFactory makeRender, CClock& clock)
    : CFrameLoop(clock), m_userApp(app), m_config(std::make_unique<CCfg>()),
      m_sound(std::make_unique<CSoundAnalyzer>()), m_makeRender(std::move(makeRender))
{
    m_configPath = g_paths.m_configPath;
    g_appTypeWin = this;
    g_soundAnalyzer = m_sound.get();
}

CAppTypeWin::~CAppTypeWin()
{
    m_render.reset();
    m_config.reset();
    if (g_soundAnalyzer == m_sound.get())
        g_soundAnalyzer = nullptr;
    m_sound.reset();
    if (g_appTypeWin == this)
        g_appTypeWin = nullptr;
}

bool CAppTypeWin::Init()
{
    TRACE("CAppTypeWin::Init");
    // A missing or broken file leaves the defaults, which is fine for a run.
    m_config->Load(m_configPath);
    // The front end edits settings and draws nothing: its previews run in
    // the visualizer's own process.
    if (m_appType == EAppType::ConfigFrontEnd)
        return true;
    m_render = m_makeRender ? m_makeRender(m_userApp) : nullptr;
    if (!m_render)
        return Error("No render to draw with");
    m_render->m_appType = m_appType;
    m_render->m_windowMode = m_windowMode;
    if (!m_render->CheckSupport() || !m_render->Init(true)) {
        m_render.reset();
        return Error("Unable to initialize OpenGL!");
    }
    CStats& stats = CStats::Instance();
    stats.m_send = m_config->SendAnonymousUsageInfo;
    stats.m_appType = m_appType;
    stats.m_windowMode = m_windowMode;
    // Later entries override earlier ones; entries naming a monitor that is
    // gone match nothing and are ignored.
    for (CMonitor& monitor : m_render->m_monitors) {
        for (const CCfgScreen& screen : m_config->Screens) {
            if (screen.Id != monitor.m_deviceName)
                continue;
            monitor.m_leaveBlack = screen.LeaveBlack;
            monitor.m_section = SSection{screen.SectionX, screen.SectionY, screen.SectionWidth,
                                         screen.SectionHeight};
        }
        Log("Actual setup screen \"%s\" LeaveBlack:%d SectionToRender:%g,%g,%g,%g", monitor.m_deviceName.c_str(),
            monitor.m_leaveBlack ? 1 : 0, monitor.m_section.x, monitor.m_section.y, monitor.m_section.width,
            monitor.m_section.height);
    }
    return true;
}

bool CAppTypeWin::CreateWindows()
{
    if (!m_render)
        return false;
    if (!m_render->CreateScreen(m_windowMode, true))
        return false;
    const bool ready = m_render->Initialize3DEnvironment();
    CStats& stats = CStats::Instance();
    stats.m_openGl = m_render->m_deviceText;
    stats.m_desktopSize = m_render->m_desktopText;
    stats.m_virtualSize = m_render->m_virtualText;
    stats.m_numMonitors = int32_t(m_render->m_monitors.size());
    return ready;
}

void CAppTypeWin::ShutdownApp()
{
    CloseWindows();
}

void CAppTypeWin::CloseWindows()
{
    if (m_quit)
        return;
    Log("Received WM_CLOSE");
    if (m_render)
        m_render->Cleanup3DEnvironment();
    Log("Received WM_DESTROY. Do postquit %ld", long(m_postQuit));
    if (m_postQuit)
        m_quit = true;
}

void CAppTypeWin::UpdateApp(float deltaTime)
{
    // The analysis scales its smoothing by the frame rate.
    m_sound->m_fps = m_fps;
    if (m_userApp)
        m_userApp->Update(deltaTime);
}

void CAppTypeWin::RenderFrame()
{
    if (m_render)
        m_render->Render3DEnvironment(false);
}

void CAppTypeWin::RunApp()
{
    m_timer.Init();
    Log("Max fps set to %ld", long(m_maxFps));
    if (m_userApp)
        m_userApp->Update(0.0001f);
    if (m_windowMode == WK_Record)
        StartRecording();
    Log("** Entering main message loop ** ");
    while (!m_quit) {
        if (StopRequested()) {
            Log("Stop requested by signal %d", StopSignal());
            CloseWindows();
            break;
        }
        // Every waiting event goes first; a frame runs only on an empty queue.
        const EWindowEvent event = m_render ? m_render->PollEvent() : EWindowEvent::None;
        if (event == EWindowEvent::Close || event == EWindowEvent::Escape) {
            CloseWindows();
            continue;
        }
        if (event == EWindowEvent::Pause) {
            m_paused = !m_paused;
            Log(m_paused ? "Paused" : "Resumed");
            continue;
        }
        if (event == EWindowEvent::Next || event == EWindowEvent::Previous) {
            if (m_userApp)
                event == EWindowEvent::Next ? m_userApp->NextScene() : m_userApp->PrevScene();
            continue;
        }
        if (event != EWindowEvent::None)
            continue;
        if (m_paused) {
            if (m_render)
                m_render->Render3DEnvironment(true);
            m_timer.Clock().Sleep(10);
            continue;
        }
        if (m_windowMode == WK_Record) {
            RecordStep();
        } else {
            Frame();
            if (m_maxFrames > 0 && m_frameCount >= m_maxFrames)
                ShutdownApp();
        }
    }
    if (m_recording && m_recorder)
        m_recorder->StopMovie();
    m_recording = false;
    Log("** Exiting main message loop ** ");
}

void CAppTypeWin::StartRecording()
{
    const bool song = !m_config->SongFile.empty();
    if (m_recordStart < 0.0f)
        m_recordStart = song ? 0.0f : 15.0f;
    if (m_recordLength < 0.0f)
        m_recordLength = song ? 217.0f : 60.0f;
    m_recordTime = 0.0;
    const std::string path = m_config->MovieFile.empty() ? std::string("movie.avi") : m_config->MovieFile;
    if (!m_recorder) {
        Log("Recording run without a recorder: frames are drawn, not written");
        return;
    }
    m_recording = m_recorder->StartMovie(path);
    if (!m_recording) {
        Error("Recording could not start: \"%s\"", path.c_str());
        ShutdownApp();
    }
}

void CAppTypeWin::RecordStep()
{
    m_fps = m_recordFps > 0.0f ? m_recordFps : 30.0f;
    const float step = 1.0f / m_fps;
    m_frameIntervalMs = 0;
    m_engineTime += step;
    UpdateApp(step);
    m_recordTime += 1.0 / m_fps;
    RenderFrame();
    if (m_recordTime >= m_recordStart && m_recording)
        m_recorder->WriteFrame(static_cast<int>(m_fps + 0.5f));
    ++m_frameCount;
    // A frame budget ends the run exactly, where summed time could be off by one.
    const bool budgetSpent = m_maxFrames > 0 && m_frameCount >= m_maxFrames;
    if (budgetSpent || m_recordTime > double(m_recordStart) + m_recordLength) {
        if (m_recording)
            m_recorder->StopMovie();
        m_recording = false;
        ShutdownApp();
    }
}
