#include "app/director/lumora.h"

#include "app/cfg.h"
#include "app/crashnotes.h"
#include "app/director/editorcommands.h"
#include "app/director/playlist.h"
#include "app/director/playlistscenes.h"
#include "app/host/clock.h"
#include "app/log.h"
#include "app/paths.h"
#include "app/random.h"
#include "app/stoprequest.h"
#include "app/textutil.h"
#include "app/trace.h"
#include "nodes/nodetypes.h"
#include "platform/configlauncher.h"
#include "render/render.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"
#include "scene/scenelayered.h"
#include "scene/scenetransition.h"
#include "services/scriptengine.h"
#include "services/stats.h"
#include "sound/soundanalyzer.h"

#include <QXmlStreamReader>

#include <algorithm>

CLumora* CLumora::s_instance = nullptr;

namespace {

// A crash report names what was playing.
void NoteForCrashReport(const CSceneBase* scene)
{
    std::string text = scene ? scene->GetFileName() : std::string();
    if (scene && scene->m_kind == CSceneBase::Kind_Transition) {
        const auto* transition = static_cast<const CSceneTransition*>(scene);
        text += " (transition from '" + (transition->m_from ? transition->m_from->GetFileName() : std::string()) +
                "' to '" + (transition->m_to ? transition->m_to->GetFileName() : std::string()) + "')";
    }
    g_crashNotes.SetSceneFile(text);
}

} // namespace

CLumora::CLumora(const CCfg& config, CClock& clock)
    : m_config(config), m_clock(clock), m_nodeFactory(CNodeFactory::Get()), m_scriptEngine(CScriptEngine::Get())
{
    s_instance = this;
    m_nodeFactory->Init(NodeTypes());
    RegisterEditorCommands(*m_scriptEngine, *this);
    m_autoGotoNextScene = config.AutoGotoNextScene;
    m_randomizeScene = config.RandomizeScene;
    m_run.m_config = &config;
}

CLumora::~CLumora()
{
    Free();
    CStats::Instance().Exit();
    m_scriptEngine->RemoveCommands(this);
    m_scriptEngine->Release();
    m_nodeFactory->Release();
    if (s_instance == this)
        s_instance = nullptr;
}

double CLumora::NowMs() const
{
    const int64_t frequency = m_clock.Frequency();
    if (frequency > 0)
        return double(m_clock.Counter()) * 1000.0 / double(frequency);
    return double(m_clock.Milliseconds());
}

bool CLumora::Init()
{
    TRACE_LOG("CLumora::Init");
    m_active = nullptr;
    Free();
    CStats::Instance().Init();
    ResetSceneTimers();
    if (g_soundAnalyzer) {
        const CCfg& config = m_config;
        g_soundAnalyzer->m_captureEnabled = config.CaptureSound;
        g_soundAnalyzer->m_maxSilence = config.MaxSilenceTime;
        g_soundAnalyzer->m_songPath = config.SongFile;
        g_soundAnalyzer->m_captureSource = config.AudioSource;
    }
    return true;
}

void CLumora::Free()
{
    if (m_active && m_render)
        m_active->InvalidateDevice(m_render);
    m_active = nullptr;
    m_upcoming.Clear();
    m_pool.Free();
    UpdateRunInfo();
}

void CLumora::UpdateRunInfo()
{
    m_run.m_directorWithoutLayers = !m_pool.HasLayerScenes();
}

std::unique_ptr<CScene> CLumora::NewScene() const
{
    auto scene = std::make_unique<CScene>();
    scene->SetRunInfo(m_run);
    return scene;
}

// ---- Which scene plays ----

int32_t CLumora::GetSceneCount() const
{
    return m_pool.GetSceneCount();
}

std::string CLumora::GetSceneName(int32_t index) const
{
    return m_pool.GetSceneName(index);
}

void CLumora::ActivateScene(int32_t index)
{
    ActivateAnotherScene(CScenePool::Pick_Index, index, true);
}

void CLumora::NextScene()
{
    ActivateAnotherScene(m_randomizeScene ? CScenePool::Pick_Random : CScenePool::Pick_Next, 0, true);
}

void CLumora::PrevScene()
{
    // In random play "previous" is one more random scene.
    ActivateAnotherScene(m_randomizeScene ? CScenePool::Pick_Random : CScenePool::Pick_Previous, 0, true);
}

void CLumora::SetAutoGoto(bool automatic, bool next)
{
    if (next)
        ActivateAnotherScene(CScenePool::Pick_Random, 0, true);
    if (automatic != m_autoGotoNextScene) {
        m_autoGotoNextScene = automatic;
        m_randomizeScene = automatic;
        if (automatic && !next)
            ActivateAnotherScene(CScenePool::Pick_Random, 0, true);
    }
}

void CLumora::ForceRestoreActive()
{
    if (m_active)
        m_active->ForceRestore();
}

bool CLumora::ShowConfig()
{
    if (!LaunchConfigProgram(m_configProgramDir))
        return false;
    if (m_requestClose)
        m_requestClose();
    return true;
}

bool CLumora::AutomaticSwitching() const
{
    switch (m_run.m_windowMode) {
    case EWindowMode::Record:
        return true;
    case EWindowMode::Preview:
    case EWindowMode::FullScreen:
    case EWindowMode::Window:
        return m_autoGotoNextScene;
    case EWindowMode::Child:
        return IsPlayerPlugin(m_run.m_appType);
    default:
        return false;
    }
}

int32_t CLumora::AutomaticPick() const
{
    const bool recording = m_run.m_windowMode == EWindowMode::Record;
    return m_randomizeScene && !recording ? CScenePool::Pick_Random : CScenePool::Pick_Next;
}

void CLumora::ResetSceneTimers()
{
    m_sceneFrames = 0;
    m_sceneSeconds = 0.0f;
    m_sceneStartMs = NowMs();
}

CSceneBase* CLumora::ActivateAnotherScene(int32_t type, int32_t index, bool useTransition)
{
    const double startMs = NowMs();
    ResetSceneTimers();
    const CCfg& config = m_config;
    const float minRun = float(config.MinRunTime), maxRun = float(config.MaxRunTime);
    m_scheduled = minRun + (maxRun - minRun) * g_random.NextUnit();
    if (m_pool.IsEmpty())
        return nullptr;

    // A switch while a transition runs ends that transition at once, so that
    // the next one starts from the scene now coming in and no transition ever
    // becomes its own outgoing scene.
    FinishTransition();

    CSceneBase* scene = m_upcoming.TakeScene(type);
    CSceneTransition* upcomingTransition = scene ? m_upcoming.TakeTransition() : nullptr;
    if (!scene)
        scene = m_pool.Pick(type, index, config.PostProcessingProbability);
    if (!scene)
        return nullptr;
    if (scene->m_runTime > 0.0f)
        m_scheduled = scene->m_runTime;

    CSceneBase* result = scene;
    if (useTransition && !(m_active && m_active->GetId() == scene->GetId())) {
        if (!PrepareForDrawing(scene)) {
            // A scene that cannot be drawn is left out and another is tried.
            m_pool.Drop(scene);
            m_upcoming.Forget(scene);
            const int32_t retry = type == CScenePool::Pick_Index ? CScenePool::Pick_Next : type;
            return PlayableCount() > 0 ? ActivateAnotherScene(retry, 0, true) : nullptr;
        }
        // A recording takes the transitions in turn.
        CSceneTransition* transition =
            upcomingTransition ? upcomingTransition
                               : m_pool.PickTransition(m_run.m_windowMode == EWindowMode::Record);
        if (transition) {
            transition->m_from = m_active;
            transition->m_to = scene;
            transition->m_nextRunTime = m_scheduled;
            transition->Prepare();
            m_scheduled = 1.0f;
            SetActiveScene(transition);
            result = transition;
        } else {
            SetActiveScene(scene);
            Update(0.0f);
        }
    }

    if (AutomaticSwitching() && m_render)
        m_upcoming.Pick(m_pool, AutomaticPick(), m_run.m_windowMode == EWindowMode::Record,
                        config.PostProcessingProbability);

    const double tookMs = NowMs() - startMs;
    const long minutes = long(config.Time) / 60, seconds = long(config.Time) % 60;
    if (result->m_kind == CSceneBase::Kind_Transition) {
        const auto* transition = static_cast<CSceneTransition*>(result);
        Log("{%.3f} Transition '%s' then new scene '%s'. Next scene in %ldm %lds", tookMs,
            transition->GetFileName().c_str(), transition->m_to->GetFileName().c_str(), minutes, seconds);
    } else {
        const long scheduled = long(m_scheduled);
        Log("{%.3f} New scene: '%s'. Next scene in %ldm %lds", tookMs, result->GetFileName().c_str(), scheduled / 60,
            scheduled % 60);
    }
    return result;
}

void CLumora::FinishTransition()
{
    if (m_active && m_active->m_kind == CSceneBase::Kind_Transition)
        SetActiveScene(static_cast<CSceneTransition*>(m_active)->m_to);
}

void CLumora::SetActiveScene(CSceneBase* scene)
{
    CSceneBase* old = m_active;
    if (old && scene && old->GetId() == scene->GetId())
        return;
    CStats& stats = CStats::Instance();
    stats.SceneEnd();
    const bool toPlain = !scene || scene->m_kind != CSceneBase::Kind_Transition;
    if (old && toPlain)
        old->Restart();
    if (old && toPlain) {
        if (scene && scene->m_kind == CSceneBase::Kind_Layered && old->m_kind == CSceneBase::Kind_Transition)
            static_cast<CSceneTransition*>(old)->ReleaseOutgoing(m_render);
        else
            old->InvalidateDevice(m_render);
    }
    if (old)
        m_pool.GiveBack(old);
    m_active = scene;
    NoteForCrashReport(scene);
    // Coming from a transition, the scene already has its resources.
    if (scene && (!old || old->m_kind != CSceneBase::Kind_Transition))
        scene->ForceRestore();
    if (scene)
        stats.SceneStart(CompressPath(WithSlashes(scene->GetFileName())), !toPlain);
}

bool CLumora::PrepareForDrawing(CSceneBase* scene)
{
    if (!m_render || !scene)
        return true;
    // The costly part of a switch (effect compilation) happens here, before
    // the scene is shown; what it makes is kept for the scene's first frames.
    // A step of no time first, as a scene gets when it becomes active: some
    // effects are written for the textures that their inputs only publish
    // once pulled.
    scene->Update(0.0f, m_render);
    if (scene->RestoreDevice(m_render))
        return true;
    scene->InvalidateDevice(m_render);
    Error("Scene '%s' cannot be drawn on this device and is left out of play", scene->GetFileName().c_str());
    return false;
}

// ---- Frames ----

void CLumora::Update(float deltaTime)
{
    m_sceneSeconds += deltaTime;
    CStats::Instance().AddSceneTime(deltaTime);
    // A media player's own context brings its own sound.
    if (g_soundAnalyzer && !IsPlayerPlugin(m_run.m_appType))
        g_soundAnalyzer->Update(deltaTime);
    if (AutomaticSwitching()) {
        ++m_sceneFrames;
        const bool recording = m_run.m_windowMode == EWindowMode::Record;
        const float elapsed = recording ? m_sceneSeconds : float((NowMs() - m_sceneStartMs) / 1000.0);
        // Not in the first second of a scene, nor in its transition, which
        // are the moments a stall would show most.
        m_warmDue = !m_upcoming.IsWarm() && m_active && m_active->m_kind != CSceneBase::Kind_Transition &&
                    elapsed >= std::min(1.0f, 0.5f * m_scheduled) && elapsed < m_scheduled;
        if (!(elapsed > m_scheduled)) {
            // Fewer than 25 frames in the first 5 seconds: the scene is too slow.
            if (m_sceneFrames < 25 && elapsed > 5.0f && m_run.m_windowMode != EWindowMode::Window) {
                Log("Scene too slow. Switching to new scene. %f fps", double(m_sceneFrames) / elapsed);
                ActivateAnotherScene(m_randomizeScene ? CScenePool::Pick_Random : CScenePool::Pick_Next, 0, true);
            }
        } else if (m_active && m_active->m_kind == CSceneBase::Kind_Transition) {
            auto* transition = static_cast<CSceneTransition*>(m_active);
            const float done = transition->m_transition ? transition->m_transition->GetElapsed() : m_scheduled;
            if (done >= m_scheduled) {
                Log("Transition done %f", double(done));
                m_scheduled = transition->m_nextRunTime;
                ResetSceneTimers();
                FinishTransition();
            }
        } else {
            ActivateAnotherScene(AutomaticPick(), 0, true);
        }
    }
    // Commands of an editor run between two scene updates.
    m_scriptEngine->Run(m_commandBudgetMs);
    if (m_active && m_render) {
        const SRect kept = m_render->m_virtualRect;
        m_render->m_virtualRect = RenderTargetRect(*m_render);
        m_active->Update(deltaTime, m_render);
        m_render->m_virtualRect = kept;
    } else if (m_active) {
        m_active->Update(deltaTime, nullptr);
    }
}

SRect CLumora::RenderTargetRect(const CRender& render) const
{
    // The screensaver dialog's preview shows the picture at its own size.
    if (m_run.m_windowMode == EWindowMode::Preview)
        return render.m_virtualRect;
    const CCfg& config = m_config;
    const double W = config.RenderTargetWidth, H = config.RenderTargetHeight;
    double width = W, height = H;
    if (config.RenderTargetRelative) {
        const double w = render.m_virtualRect.Width(), h = render.m_virtualRect.Height();
        // A small window is never scaled down.
        if (w < 800 && h < 600 && (W < 1.0 || H < 1.0))
            return render.m_virtualRect;
        width = w * W;
        height = h * H;
    }
    return SRect{0, 0, std::max(1, int(width)), std::max(1, int(height))};
}

void CLumora::Draw(CRender* render)
{
    if (!m_active) {
        const float black[4] = {0, 0, 0, 0};
        render->Clear(black, 1.0f, CF_Color | CF_Depth);
        return;
    }
    if (!m_finalPass.IsLoaded() && !m_finalPass.HasFailed())
        RestoreDevice(render);
    if (!m_finalPass.IsLoaded()) {
        // Without the final pass the scene is drawn straight to the window.
        const float black[4] = {0, 0, 0, 1};
        render->Clear(black, 1.0f, CF_Color | CF_Depth);
        m_active->Draw(render);
        return;
    }
    m_finalPass.Draw(render, *m_active, RenderTargetRect(*render));
    if (m_warmDue) {
        m_warmDue = false;
        m_upcoming.Warm(render, m_finalPass, m_pool, m_active, [this](CSceneBase* scene) { return PrepareForDrawing(scene); });
    }
}

void CLumora::FrameFinished()
{
    if (m_active)
        m_active->FrameFinished();
    CStats::Instance().FrameFinished();
    if (m_scriptEngine->IsCollected())
        m_profiler.FrameFinished(NowMs() / 1000.0, *m_scriptEngine);
    else
        m_profiler = CProfiler();
}

bool CLumora::RestoreDevice(CRender* render)
{
    if (!m_active || !render)
        return true;
    m_finalPass.RestoreDevice(render);
    return m_active->RestoreDevice(render);
}

void CLumora::InvalidateDevice(CRender* render)
{
    m_finalPass.InvalidateDevice();
    if (render)
        m_pool.InvalidateDevice(render);
}

// ---- From playlist to scenes ----

CScene* CLumora::LoadSceneFile(const std::string& path)
{
    std::unique_ptr<CScene> scene = NewScene();
    scene->Load(path, true);
    return scene.release();
}

bool CLumora::PlayOnly(std::unique_ptr<CScene> scene)
{
    Free();
    m_pool.AddStandalone(std::move(scene));
    return ActivateOnly();
}

bool CLumora::PlayOnly(std::array<std::unique_ptr<CScene>, 3> layers)
{
    Free();
    m_pool.AddLayeredScene(std::move(layers));
    UpdateRunInfo();
    return ActivateOnly();
}

bool CLumora::ActivateOnly()
{
    m_pool.ResetOrder();
    CSceneBase* only = ActivateAnotherScene(CScenePool::Pick_Index, 0, false);
    if (!only || !PrepareForDrawing(only)) {
        Free();
        return false;
    }
    SetActiveScene(only);
    return true;
}

bool CLumora::LoadScene(const std::string& path)
{
    m_pool.AddStandalone(std::unique_ptr<CScene>(LoadSceneFile(path)));
    return true;
}

CSceneBase* CLumora::FindSceneByFile(const std::string& name) const
{
    return m_pool.FindSceneByFile(name);
}

bool CLumora::DeleteScene(const std::string& name)
{
    CSceneBase* scene = FindSceneByFile(name);
    if (!scene)
        return Error("Delete failed. Unable to find '%s'", name.c_str());
    return RemoveScene(scene);
}

void CLumora::AddCommands(std::string_view text)
{
    m_scriptEngine->AddCommands(text);
}

void CLumora::AddScene(std::unique_ptr<CSceneBase> scene)
{
    m_pool.AddStandalone(std::move(scene));
    UpdateRunInfo();
}

bool CLumora::RemoveScene(CSceneBase* scene)
{
    if (scene == m_active)
        SetActiveScene(nullptr);
    m_upcoming.Forget(scene);
    std::unique_ptr<CSceneBase> owned = m_pool.Remove(scene);
    if (!owned)
        return false;
    if (m_render)
        owned->InvalidateDevice(m_render);
    return true;
}

bool CLumora::DeserializeProject(QXmlStreamReader& reader)
{
    CPlaylist playlist;
    if (!playlist.Deserialize(reader))
        return Error("The text is no playlist");
    return DeserializeProject(playlist);
}

bool CLumora::DeserializeProject(const CPlaylist& playlist)
{
    TRACE_LOG("CLumora::DeserializeProject");
    const double startMs = NowMs();
    Log("Wanted playlist scene: '%s'", playlist.m_activeSceneFile.c_str());
    const bool hasLayers =
        !playlist.m_backgrounds.empty() || !playlist.m_foregrounds.empty() || !playlist.m_postprocessings.empty();

    CPlaylistScenes entries(m_pool, [this] { return NewScene(); });
    if (!entries.Add(playlist))
        return false;
    if (!m_pool.LoadExternal()) {
        // Whatever was read goes; the run ends before any scene plays.
        Free();
        Log("Loading stopped by signal %d", StopSignal());
        return true;
    }
    m_pool.LogCounts();
    m_pool.PrepareLayeredScenes();
    // Layered entries of a playlist with layer lists of its own play
    // without their postprocessing drawn.
    if (!hasLayers)
        m_pool.PrepareLayeredEntries();
    UpdateRunInfo();

    m_pool.ResetOrder();
    m_active = nullptr;
    // The first scene starts without a transition; one that cannot be drawn
    // gives way to the next.
    const bool random = m_randomizeScene && m_run.m_windowMode != EWindowMode::Record;
    while (m_pool.HasPlayable() && !m_active && !StopRequested()) {
        CSceneBase* first = ActivateAnotherScene(random ? CScenePool::Pick_Random : CScenePool::Pick_Index, 0, false);
        if (!first)
            break;
        if (!PrepareForDrawing(first)) {
            m_pool.Drop(first);
            continue;
        }
        SetActiveScene(first);
    }
    Log("Time to load playlist: %f ms", NowMs() - startMs);
    return true;
}

CSceneLayered* CLumora::CreateLayeredScene(const std::string& text)
{
    CPlaylistScenes entries(m_pool, [this] { return NewScene(); });
    CSceneLayered* layered = m_pool.AddLayeredScene(entries.LoadLayers(text));
    UpdateRunInfo();
    return layered;
}
