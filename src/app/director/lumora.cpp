#include "app/director/lumora.h"

#include "app/cfg.h"
#include "app/crashnotes.h"
#include "app/director/playlist.h"
#include "app/host/clock.h"
#include "app/log.h"
#include "app/paths.h"
#include "app/random.h"
#include "app/runinfo.h"
#include "app/stoprequest.h"
#include "app/textutil.h"
#include "app/trace.h"
#include "ports/port.h"
#include "render/fxmanager.h"
#include "render/render.h"
#include "render/rendertarget.h"
#include "render/texture.h"
#include "render/texturemanager.h"
#include "scene/node.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"
#include "scene/scenelayered.h"
#include "scene/scenetransition.h"
#include "sound/soundanalyzer.h"

#include <QXmlStreamReader>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <spawn.h>
#include <unistd.h>

extern char** environ;

CLumora* CLumora::s_instance = nullptr;

namespace {

constexpr const char* kFxaaEffect = "nodedata/scenefxaa.cgfx";

// Moves the element `item` of `from` to the end of `to`.
template <class TList>
void MoveTo(TList& from, size_t index, TList& to)
{
    to.push_back(std::move(from[index]));
    from.erase(from.begin() + std::ptrdiff_t(index));
}

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

template <class TList>
size_t IndexOf(const TList& list, const CSceneBase* scene)
{
    for (size_t i = 0; i < list.size(); ++i)
        if (list[i].get() == scene)
            return i;
    return list.size();
}

} // namespace

CLumora::CLumora(const CCfg& config, CClock& clock)
    : m_config(config), m_clock(clock), m_nodeFactory(CNodeFactory::Get())
{
    s_instance = this;
    m_nodeFactory->Init();
    m_autoGotoNextScene = config.AutoGotoNextScene;
    m_randomizeScene = config.RandomizeScene;
}

CLumora::~CLumora()
{
    Free();
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
    ResetSceneTimers();
    if (g_soundAnalyzer) {
        g_soundAnalyzer->m_captureEnabled = m_config.CaptureSound;
        g_soundAnalyzer->m_maxSilence = m_config.MaxSilenceTime;
        g_soundAnalyzer->m_songPath = m_config.SongFile;
        g_soundAnalyzer->m_captureSource = m_config.AudioSource;
    }
    return true;
}

void CLumora::Free()
{
    if (m_active && m_render)
        m_active->InvalidateDevice(m_render);
    m_active = nullptr;
    m_transitions.clear();
    m_standalone.clear();
    m_backgrounds.clear();
    m_foregrounds.clear();
    m_postprocessings.clear();
    m_standaloneUsed.clear();
    m_backgroundsUsed.clear();
    m_foregroundsUsed.clear();
    m_postprocessingsUsed.clear();
    m_layeredPool.clear();
    m_layeredMade.clear();
    UpdateRunInfo();
}

void CLumora::UpdateRunInfo() const
{
    g_runInfo.m_directorWithoutLayers = m_backgrounds.empty() && m_foregrounds.empty() &&
                                        m_postprocessings.empty() && m_backgroundsUsed.empty() &&
                                        m_foregroundsUsed.empty() && m_postprocessingsUsed.empty();
}

// ---- Which scene plays ----

int32_t CLumora::GetSceneCount() const
{
    return int32_t(std::count_if(m_standalone.begin(), m_standalone.end(),
                                 [](const auto& scene) { return scene->m_kind == CSceneBase::Kind_Scene; }));
}

std::string CLumora::GetSceneName(int32_t index) const
{
    const CSceneBase* found = nullptr;
    for (const auto& scene : m_standalone) {
        if (scene->m_kind != CSceneBase::Kind_Scene)
            continue;
        found = scene.get();
        if (index-- == 0)
            break;
    }
    return found ? found->GetName() : std::string();
}

void CLumora::ActivateScene(int32_t index)
{
    ActivateAnotherScene(Pick_Index, index, true);
}

void CLumora::NextScene()
{
    ActivateAnotherScene(m_randomizeScene ? Pick_Random : Pick_Next, 0, true);
}

void CLumora::PrevScene()
{
    // In random play "previous" is one more random scene.
    ActivateAnotherScene(m_randomizeScene ? Pick_Random : Pick_Previous, 0, true);
}

void CLumora::SetAutoGoto(bool automatic, bool next)
{
    if (next)
        ActivateAnotherScene(Pick_Random, 0, true);
    if (automatic != m_autoGotoNextScene) {
        m_autoGotoNextScene = automatic;
        m_randomizeScene = automatic;
        if (automatic && !next)
            ActivateAnotherScene(Pick_Random, 0, true);
    }
}

void CLumora::ForceRestoreActive()
{
    if (m_active)
        m_active->ForceRestore();
}

bool CLumora::ShowConfig()
{
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    const std::filesystem::path directory =
        length > 0 ? std::filesystem::path(std::string(self, size_t(length))).parent_path() : std::filesystem::path(".");
    const std::string program = (directory / "lumora-config").string();
    if (access(program.c_str(), X_OK) != 0) {
        Error("Failed to launch the configuration: \"%s\" is not there", program.c_str());
        return false;
    }
    char* argv[] = {const_cast<char*>(program.c_str()), nullptr};
    pid_t pid = 0;
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // Its own process group, so that it outlives this one undisturbed.
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    const int result = posix_spawn(&pid, program.c_str(), nullptr, &attributes, argv, environ);
    posix_spawnattr_destroy(&attributes);
    if (result != 0) {
        Error("Failed to launch the configuration \"%s\"", program.c_str());
        return false;
    }
    Log("Started the configuration \"%s\"", program.c_str());
    if (m_requestClose)
        m_requestClose();
    return true;
}

bool CLumora::AutomaticSwitching() const
{
    const int mode = m_windowMode;
    const bool player = m_appType >= 7 && m_appType <= 9;
    return mode == 5 || (m_autoGotoNextScene && mode >= 1 && mode <= 3) || (mode == 4 && player);
}

void CLumora::ResetSceneTimers()
{
    m_sceneFrames = 0;
    m_sceneSeconds = 0.0f;
    m_sceneStartMs = NowMs();
}

template <class TList>
CSceneBase* CLumora::PickScene(const char* name, TList& available, TList& used)
{
    if (available.empty())
        return nullptr;
    const size_t i = std::min(available.size() - 1, size_t(float(available.size()) * g_random.NextUnit()));
    Log("*** Picked %s scene %ld/%ld used: %ld", name, long(i), long(available.size()), long(used.size()));
    CSceneBase* scene = available[i].get();
    MoveTo(available, i, used);
    if (available.empty()) {
        // A new cycle: the scene just played may come up again at once.
        for (auto& entry : used)
            available.push_back(std::move(entry));
        used.clear();
    }
    return scene;
}

CSceneBase* CLumora::ActivateAnotherScene(int32_t type, int32_t index, bool useTransition)
{
    const double startMs = NowMs();
    ResetSceneTimers();
    const float minRun = float(m_config.MinRunTime), maxRun = float(m_config.MaxRunTime);
    m_scheduled = minRun + (maxRun - minRun) * g_random.NextUnit();
    if (m_standalone.empty() && m_backgrounds.empty() && m_foregrounds.empty())
        return nullptr;

    // A switch while a transition runs ends that transition at once, so that
    // the next one starts from the scene now coming in and no transition ever
    // becomes its own outgoing scene.
    FinishTransition();

    CSceneBase* scene = nullptr;
    if (type == Pick_Random) {
        const size_t total = m_standalone.size() + m_backgrounds.size() + m_foregrounds.size();
        const size_t i = size_t(float(total) * g_random.NextUnit());
        if (i < m_standalone.size()) {
            scene = PickScene("standalone", m_standalone, m_standaloneUsed);
        } else {
            CSceneLayered* layered = nullptr;
            if (!m_layeredPool.empty()) {
                layered = m_layeredPool.back();
                m_layeredPool.pop_back();
            } else {
                m_layeredMade.push_back(std::make_unique<CSceneLayered>());
                layered = m_layeredMade.back().get();
                layered->m_pooled = true;
            }
            layered->m_background = static_cast<CScene*>(PickScene("background", m_backgrounds, m_backgroundsUsed));
            layered->m_foreground = static_cast<CScene*>(PickScene("foreground", m_foregrounds, m_foregroundsUsed));
            layered->m_postprocessing = nullptr;
            if (!(g_random.NextUnit() > m_config.PostProcessingProbability))
                layered->m_postprocessing =
                    static_cast<CScene*>(PickScene("postprocessing", m_postprocessings, m_postprocessingsUsed));
            layered->Prepare();
            scene = layered;
        }
    } else {
        if (m_standalone.empty())
            return nullptr; // only layers: nothing to go through in order
        const int32_t count = int32_t(m_standalone.size());
        if (type == Pick_Next)
            m_sequentialIndex = (m_sequentialIndex + 1) % count;
        else if (type == Pick_Previous)
            m_sequentialIndex = m_sequentialIndex <= 0 ? count - 1 : m_sequentialIndex - 1;
        else
            m_sequentialIndex = std::clamp(index, 0, count - 1);
        m_sequentialIndex = std::clamp(m_sequentialIndex, 0, count - 1);
        scene = m_standalone[size_t(m_sequentialIndex)].get();
    }
    if (!scene)
        return nullptr;
    if (scene->m_runTime > 0.0f)
        m_scheduled = scene->m_runTime;

    CSceneBase* result = scene;
    if (useTransition && !(m_active && m_active->GetId() == scene->GetId())) {
        if (!PrepareForDrawing(scene)) {
            // A scene that cannot be drawn is left out and another is tried.
            Drop(scene);
            return PlayableCount() > 0 ? ActivateAnotherScene(type == Pick_Index ? Pick_Next : type, 0, true) : nullptr;
        }
        if (m_transitions.empty()) {
            SetActiveScene(scene);
            Update(0.0f);
        } else {
            size_t t = 0;
            if (m_windowMode == 5) {
                m_transitionIndex = (m_transitionIndex + 1) % int32_t(m_transitions.size());
                t = size_t(m_transitionIndex);
            } else {
                t = size_t(g_random.NextInt(int(m_transitions.size())));
                t = std::min(t, m_transitions.size() - 1);
            }
            CSceneTransition* transition = m_transitions[t].get();
            transition->m_from = m_active;
            transition->m_to = scene;
            transition->m_nextRunTime = m_scheduled;
            transition->Prepare();
            m_scheduled = 1.0f;
            SetActiveScene(transition);
            result = transition;
        }
    }

    const double tookMs = NowMs() - startMs;
    const long minutes = long(m_config.Time) / 60, seconds = long(m_config.Time) % 60;
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
    const bool toPlain = !scene || scene->m_kind != CSceneBase::Kind_Transition;
    if (old && toPlain)
        old->Restart();
    if (old && toPlain) {
        if (scene && scene->m_kind == CSceneBase::Kind_Layered && old->m_kind == CSceneBase::Kind_Transition)
            static_cast<CSceneTransition*>(old)->ReleaseOutgoing(m_render);
        else
            old->InvalidateDevice(m_render);
    }
    if (old && old->m_pooled)
        m_layeredPool.push_back(static_cast<CSceneLayered*>(old));
    m_active = scene;
    NoteForCrashReport(scene);
    // Coming from a transition, the scene already has its resources.
    if (scene && (!old || old->m_kind != CSceneBase::Kind_Transition))
        scene->ForceRestore();
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

void CLumora::Drop(CSceneBase* scene)
{
    for (BaseList* list : {&m_standalone, &m_standaloneUsed}) {
        const size_t i = IndexOf(*list, scene);
        if (i < list->size()) {
            list->erase(list->begin() + std::ptrdiff_t(i));
            if (m_sequentialIndex >= int32_t(m_standalone.size()))
                m_sequentialIndex = 0;
            return;
        }
    }
    // A layered scene of the director's own: its layers stay in their lists,
    // the scene goes back to the pool.
    if (scene->m_pooled)
        m_layeredPool.push_back(static_cast<CSceneLayered*>(scene));
}

// ---- Frames ----

void CLumora::Update(float deltaTime)
{
    m_sceneSeconds += deltaTime;
    // A media player's own context brings its own sound.
    if (g_soundAnalyzer && !(m_appType >= 7 && m_appType <= 9))
        g_soundAnalyzer->Update(deltaTime);
    if (AutomaticSwitching()) {
        ++m_sceneFrames;
        const float elapsed =
            m_windowMode == 5 ? m_sceneSeconds : float((NowMs() - m_sceneStartMs) / 1000.0);
        if (!(elapsed > m_scheduled)) {
            // Fewer than 25 frames in the first 5 seconds: the scene is too slow.
            if (m_sceneFrames < 25 && elapsed > 5.0f && m_windowMode != 3) {
                Log("Scene too slow. Switching to new scene. %f fps", double(m_sceneFrames) / elapsed);
                ActivateAnotherScene(m_randomizeScene ? Pick_Random : Pick_Next, 0, true);
            }
        } else if (m_active && m_active->m_kind == CSceneBase::Kind_Transition) {
            auto* transition = static_cast<CSceneTransition*>(m_active);
            const float done = transition->m_transition ? transition->m_transition->m_elapsed : m_scheduled;
            if (done >= m_scheduled) {
                Log("Transition done %f", double(done));
                m_scheduled = transition->m_nextRunTime;
                ResetSceneTimers();
                FinishTransition();
            }
        } else {
            ActivateAnotherScene(m_randomizeScene && m_windowMode != 5 ? Pick_Random : Pick_Next, 0, true);
        }
    }
    if (m_active && m_render) {
        const SRect kept = m_render->m_virtualRect;
        if (m_windowMode != 1)
            ApplyRenderTargetSize(m_render);
        m_active->Update(deltaTime, m_render);
        m_render->m_virtualRect = kept;
    } else if (m_active) {
        m_active->Update(deltaTime, nullptr);
    }
}

void CLumora::ApplyRenderTargetSize(CRender* render) const
{
    const double W = m_config.RenderTargetWidth, H = m_config.RenderTargetHeight;
    double width = W, height = H;
    if (m_config.RenderTargetRelative) {
        const double w = render->m_virtualRect.Width(), h = render->m_virtualRect.Height();
        // A small window is never scaled down.
        if (w < 800 && h < 600 && (W < 1.0 || H < 1.0))
            return;
        width = w * W;
        height = h * H;
    }
    render->m_virtualRect = SRect{0, 0, std::max(1, int(width)), std::max(1, int(height))};
}

void CLumora::Draw(CRender* render)
{
    if (!m_active) {
        const float black[4] = {0, 0, 0, 0};
        render->Clear(black, 1.0f, CF_Color | CF_Depth);
        return;
    }
    if (!m_fxaaEffect && !m_fxaaMissingReported)
        RestoreDevice(render);
    if (!m_fxaaEffect) {
        // Without the final pass the scene is drawn straight to the window.
        const float black[4] = {0, 0, 0, 1};
        render->Clear(black, 1.0f, CF_Color | CF_Depth);
        m_active->Draw(render);
        return;
    }

    const SRect kept = render->m_virtualRect;
    if (m_windowMode != 1)
        ApplyRenderTargetSize(render);
    const int width = render->m_virtualRect.Width(), height = render->m_virtualRect.Height();
    CTextureManager* textures = render->GetRenderData() ? render->GetRenderData()->GetTextureManager() : nullptr;
    std::shared_ptr<CRenderTarget> target =
        textures ? textures->GetRenderTarget(width, height, TF_A8R8G8B8, TF_D24S8, "LumoraDraw") : nullptr;
    if (target) {
        CCamera camera;
        camera.m_fov = 60.0f;
        camera.m_near = 0.0f;
        camera.m_far = 100.0f;
        camera.m_projection = CCamera::Orthographic;
        render->SetCamera(camera);
        target->Bind(render);
        // A pooled target holds whatever its last user drew.
        const float black[4] = {0, 0, 0, 1};
        render->Clear(black, 1.0f, CF_Color | CF_Depth);
        m_active->Draw(render);
        target->Unbind();

        const float size[4] = {float(width), float(height), 1.0f / float(width), 1.0f / float(height)};
        m_tex1size.SetVector4(size);
        std::shared_ptr<CTexture> picture = target->GetColorTexture();
        m_fxaaEffect->SetTexture(m_srcSampler, picture);
        if (CRenderStateManager* states = render->GetStateManager()) {
            states->m_states.m_srcBlend = 1;
            states->m_states.m_dstBlend = 0;
            states->m_states.m_flags &= ~(RS_DepthTest | RS_DepthWrite | RS_AlphaTest);
            states->m_states.m_cullMode = 0;
        }
        const bool intoTarget = render->GetRenderData()->m_boundFramebuffer != 0;
        const std::array<float, 4> section =
            intoTarget ? std::array<float, 4>{0, 0, 1, 1} : render->GetCurrentSection();
        m_tex1transform.SetVector4(section.data());
        render->SetViewport(0, 0, 1, 1);
        m_fxaaPass.SetState();
        m_fxaaEffect->UpdateParameters(render);
        render->DrawFullScreenQuad();
        m_fxaaPass.ResetState();
        m_fxaaEffect->SetTexture(m_srcSampler, nullptr);
    }
    render->m_virtualRect = kept;
}

void CLumora::FrameFinished()
{
    if (m_active)
        m_active->FrameFinished();
}

bool CLumora::RestoreDevice(CRender* render)
{
    if (!m_active || !render)
        return true;
    if (!m_fxaaEffect && !m_fxaaMissingReported) {
        CFxManager* effects = render->GetRenderData() ? render->GetRenderData()->GetFxManager() : nullptr;
        m_fxaaEffect = effects ? effects->LoadEffect(kFxaaEffect, true) : nullptr;
        if (m_fxaaEffect)
            m_fxaaTechnique.reset(m_fxaaEffect->GetBestTechnique());
        if (m_fxaaTechnique)
            m_fxaaPass = m_fxaaTechnique->GetPass("MainPass");
        if (!m_fxaaEffect || !m_fxaaTechnique || !m_fxaaPass.IsValid()) {
            m_fxaaMissingReported = true;
            m_fxaaTechnique.reset();
            m_fxaaEffect = nullptr;
            Error("The final pass \"%s\" could not be loaded; scenes are drawn without it", kFxaaEffect);
        } else {
            m_srcSampler = m_fxaaEffect->GetParam("gSrcSampler");
            m_tex1size = m_fxaaEffect->GetParam("tex1size");
            m_tex1transform = m_fxaaEffect->GetParam("tex1transform");
        }
    }
    return m_active->RestoreDevice(render);
}

void CLumora::InvalidateDevice(CRender* render)
{
    // The effect itself belongs to the effect manager's cache.
    m_fxaaTechnique.reset();
    m_fxaaPass = CFxPass();
    m_fxaaEffect = nullptr;
    m_srcSampler = m_tex1size = m_tex1transform = CFxParam();
    if (!render)
        return;
    // Every scene, not only the active one: the scene a transition brings
    // keeps its objects while it plays, and a scene prepared for a switch
    // holds some before it shows. None may outlive the device.
    for (const auto& scene : m_standalone)
        scene->InvalidateDevice(render);
    for (const auto& scene : m_standaloneUsed)
        scene->InvalidateDevice(render);
    for (const SceneList* list : {&m_backgrounds, &m_foregrounds, &m_postprocessings, &m_backgroundsUsed,
                                  &m_foregroundsUsed, &m_postprocessingsUsed})
        for (const auto& scene : *list)
            scene->InvalidateDevice(render);
    for (const auto& transition : m_transitions)
        if (transition->m_transition)
            transition->m_transition->InvalidateDevice(render);
}

// ---- From playlist to scenes ----

CScene* CLumora::LoadSceneFile(const std::string& path)
{
    auto* scene = new CScene;
    scene->Load(path, true);
    return scene;
}

bool CLumora::PlayOnly(std::unique_ptr<CScene> scene)
{
    Free();
    m_standalone.push_back(std::move(scene));
    return ActivateOnly();
}

bool CLumora::PlayOnly(std::array<std::unique_ptr<CScene>, 3> layers)
{
    Free();
    AddLayeredScene(std::move(layers));
    return ActivateOnly();
}

bool CLumora::ActivateOnly()
{
    m_sequentialIndex = 0;
    CSceneBase* only = ActivateAnotherScene(Pick_Index, 0, false);
    if (!only || !PrepareForDrawing(only)) {
        Free();
        return false;
    }
    SetActiveScene(only);
    return true;
}

bool CLumora::LoadScene(const std::string& path)
{
    m_standalone.emplace_back(LoadSceneFile(path));
    return true;
}

CSceneBase* CLumora::FindSceneByFile(const std::string& name) const
{
    for (const auto& scene : m_standalone)
        if (scene->GetFileName() == name)
            return scene.get();
    return nullptr;
}

bool CLumora::DeleteScene(const std::string& name)
{
    CSceneBase* scene = FindSceneByFile(name);
    if (!scene)
        return Error("Delete failed. Unable to find '%s'", name.c_str());
    if (scene == m_active)
        SetActiveScene(nullptr);
    const size_t i = IndexOf(m_standalone, scene);
    std::unique_ptr<CSceneBase> owned = std::move(m_standalone[i]);
    m_standalone.erase(m_standalone.begin() + std::ptrdiff_t(i));
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

    for (const auto& entry : playlist.m_transitions) {
        auto transition = std::make_unique<CSceneTransition>();
        transition->m_transition = std::make_unique<CScene>();
        transition->m_transition->m_fileName = entry->m_fileName;
        transition->m_transition->m_runTime = entry->m_runTime;
        transition->m_runTime = entry->m_runTime;
        m_transitions.push_back(std::move(transition));
    }
    const auto newScene = [](const std::string& file, float runTime, int32_t type) {
        auto scene = std::make_unique<CScene>();
        scene->m_fileName = file;
        scene->m_runTime = runTime;
        scene->m_sceneType = type;
        return scene;
    };
    for (const auto& entry : playlist.m_scenes) {
        const std::string& file = entry->m_fileName;
        if (file.find(';') == std::string::npos) {
            m_standalone.push_back(newScene(file, entry->m_runTime, 0));
            continue;
        }
        std::vector<std::string> parts;
        size_t start = 0;
        for (size_t at; (at = file.find(';', start)) != std::string::npos; start = at + 1)
            parts.push_back(file.substr(start, at - start));
        parts.push_back(file.substr(start));
        if (parts.size() < 3)
            return Error("Invalid layered scene file '%s'", file.c_str());
        auto layered = std::make_unique<CSceneLayered>();
        layered->m_runTime = entry->m_runTime;
        m_backgrounds.push_back(newScene(parts[0], 0.0f, CScene::SceneType_Background));
        layered->m_background = m_backgrounds.back().get();
        if (!parts[1].empty()) {
            m_foregrounds.push_back(newScene(parts[1], 0.0f, CScene::SceneType_Foreground));
            layered->m_foreground = m_foregrounds.back().get();
        }
        if (!parts[2].empty()) {
            m_postprocessings.push_back(newScene(parts[2], 0.0f, CScene::SceneType_PostProcessing));
            layered->m_postprocessing = m_postprocessings.back().get();
        }
        m_standalone.push_back(std::move(layered));
    }
    for (const auto& entry : playlist.m_backgrounds)
        m_backgrounds.push_back(newScene(entry->m_fileName, entry->m_runTime, CScene::SceneType_Background));
    for (const auto& entry : playlist.m_foregrounds)
        m_foregrounds.push_back(newScene(entry->m_fileName, entry->m_runTime, CScene::SceneType_Foreground));
    for (const auto& entry : playlist.m_postprocessings)
        m_postprocessings.push_back(newScene(entry->m_fileName, entry->m_runTime, CScene::SceneType_PostProcessing));

    if (!LoadExternal()) {
        // Whatever was read goes; the run ends before any scene plays.
        Free();
        Log("Loading stopped by signal %d", StopSignal());
        return true;
    }
    Log("Scene count. Standalone: %ld Background: %ld Foreground: %ld Postprocessing: %ld Transition: %ld",
        long(m_standalone.size()), long(m_backgrounds.size()), long(m_foregrounds.size()),
        long(m_postprocessings.size()), long(m_transitions.size()));
    PrepareLayeredScenes();
    if (!hasLayers) {
        for (const auto& scene : m_standalone)
            if (scene->m_kind == CSceneBase::Kind_Layered)
                scene->Prepare();
    }
    UpdateRunInfo();

    m_sequentialIndex = 0;
    m_transitionIndex = -1;
    m_active = nullptr;
    // The first scene starts without a transition; one that cannot be drawn
    // gives way to the next.
    while (!m_standalone.empty() && !m_active && !StopRequested()) {
        const int32_t type = m_randomizeScene && m_windowMode != 5 ? Pick_Random : Pick_Index;
        CSceneBase* first = ActivateAnotherScene(type, 0, false);
        if (!first)
            break;
        if (!PrepareForDrawing(first)) {
            Drop(first);
            continue;
        }
        SetActiveScene(first);
    }
    Log("Time to load playlist: %f ms", NowMs() - startMs);
    return true;
}

bool CLumora::LoadExternal()
{
    // A scene that doesn't load leaves its list; a layered scene forgets the
    // layer, and goes too when no layer is left. A long playlist takes a
    // while, so a stop request is looked at before each scene.
    const auto failed = [](CScene& scene) {
        const std::string file = scene.GetFileName();
        return !scene.Load(file, true) || scene.m_readFailed;
    };
    std::vector<const CScene*> gone;
    for (SceneList* list : {&m_backgrounds, &m_foregrounds, &m_postprocessings}) {
        for (auto it = list->begin(); it != list->end();) {
            if (StopRequested())
                return false;
            if (failed(**it)) {
                Error("Scene '%s' could not be loaded and is left out of the playlist", (*it)->GetFileName().c_str());
                gone.push_back(it->get());
                it = list->erase(it);
            } else {
                ++it;
            }
        }
    }
    for (auto it = m_standalone.begin(); it != m_standalone.end();) {
        if (StopRequested())
            return false;
        bool drop = false;
        if ((*it)->m_kind == CSceneBase::Kind_Layered) {
            auto* layered = static_cast<CSceneLayered*>(it->get());
            for (CScene** layer : {&layered->m_background, &layered->m_foreground, &layered->m_postprocessing})
                if (std::find(gone.begin(), gone.end(), *layer) != gone.end())
                    *layer = nullptr;
            drop = !layered->m_background && !layered->m_foreground;
        } else {
            drop = failed(static_cast<CScene&>(**it));
        }
        if (drop)
            Error("Scene '%s' could not be loaded and is left out of the playlist", (*it)->GetFileName().c_str());
        it = drop ? m_standalone.erase(it) : it + 1;
    }
    for (auto it = m_transitions.begin(); it != m_transitions.end();) {
        if (StopRequested())
            return false;
        if (failed(*(*it)->m_transition)) {
            Error("Transition '%s' could not be loaded and is left out of the playlist",
                  (*it)->m_transition->GetFileName().c_str());
            it = m_transitions.erase(it);
        } else {
            ++it;
        }
    }
    return true;
}

void CLumora::PrepareLayeredScenes()
{
    for (const auto& scene : m_foregrounds) {
        if (scene->m_root)
            StripClearNodes(*scene, scene->m_root);
    }
}

bool CLumora::StripClearNodes(CScene& scene, CNode* node)
{
    if (std::string_view(node->GetTypeName()) == "Clear") {
        scene.RemoveNode(node->m_name);
        return true;
    }
    // A foreground may have been written to play alone; it must not wipe
    // what the background drew.
    for (size_t i = 0; i < node->m_inPorts.size(); ++i) {
        CPort* port = node->m_inPorts[i].get();
        if (port->m_type != PT_Render || port->m_connections.empty())
            continue;
        if (StripClearNodes(scene, port->m_connections[0]->m_node))
            i = size_t(-1);
    }
    return false;
}

CSceneLayered* CLumora::CreateLayeredScene(const std::string& text)
{
    std::array<std::string, 3> parts;
    // Parts left out at the end are empty.
    for (std::string padded = text; !CPlaylist::SplitLayered(padded, parts);)
        padded += ';';
    std::array<std::unique_ptr<CScene>, 3> layers;
    for (size_t i = 0; i < parts.size(); ++i)
        if (!parts[i].empty())
            layers[i].reset(LoadSceneFile(ExpandPath(WithSlashes(parts[i]))));
    return AddLayeredScene(std::move(layers));
}

CSceneLayered* CLumora::AddLayeredScene(std::array<std::unique_ptr<CScene>, 3> layers)
{
    auto layered = std::make_unique<CSceneLayered>();
    const auto add = [](std::unique_ptr<CScene>& layer, int32_t type, SceneList& list) -> CScene* {
        if (!layer)
            return nullptr;
        layer->m_sceneType = type;
        list.push_back(std::move(layer));
        return list.back().get();
    };
    layered->m_background = add(layers[0], CScene::SceneType_Background, m_backgrounds);
    layered->m_foreground = add(layers[1], CScene::SceneType_Foreground, m_foregrounds);
    layered->m_postprocessing = add(layers[2], CScene::SceneType_PostProcessing, m_postprocessings);
    PrepareLayeredScenes();
    layered->Prepare();
    UpdateRunInfo();
    m_standalone.push_back(std::move(layered));
    return static_cast<CSceneLayered*>(m_standalone.back().get());
}
