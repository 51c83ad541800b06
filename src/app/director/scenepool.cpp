#include "app/director/scenepool.h"

#include "app/log.h"
#include "app/random.h"
#include "app/stoprequest.h"
#include "ports/port.h"
#include "scene/node.h"
#include "scene/scene.h"
#include "scene/scenelayered.h"
#include "scene/scenetransition.h"

#include <algorithm>
#include <string_view>

namespace {

// Moves the element `index` of `from` to the end of `to`.
template <class TList>
void MoveTo(TList& from, size_t index, TList& to)
{
    to.push_back(std::move(from[index]));
    from.erase(from.begin() + std::ptrdiff_t(index));
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

CScenePool::CScenePool() = default;

CScenePool::~CScenePool() = default;

void CScenePool::Free()
{
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
}

// ---- Filling ----

void CScenePool::AddStandalone(std::unique_ptr<CSceneBase> scene)
{
    m_standalone.push_back(std::move(scene));
}

CScenePool::SceneList* CScenePool::LayerList(int32_t type)
{
    switch (type) {
    case CScene::SceneType_Background:
        return &m_backgrounds;
    case CScene::SceneType_Foreground:
        return &m_foregrounds;
    case CScene::SceneType_PostProcessing:
        return &m_postprocessings;
    default:
        return nullptr;
    }
}

CScene* CScenePool::AddLayer(int32_t type, std::unique_ptr<CScene> scene)
{
    SceneList* list = LayerList(type);
    if (!scene || !list)
        return nullptr;
    scene->m_sceneType = type;
    list->push_back(std::move(scene));
    return list->back().get();
}

void CScenePool::AddTransition(std::unique_ptr<CSceneTransition> transition)
{
    m_transitions.push_back(std::move(transition));
}

CSceneLayered* CScenePool::AddLayeredScene(std::array<std::unique_ptr<CScene>, 3> layers)
{
    auto layered = std::make_unique<CSceneLayered>();
    layered->m_background = AddLayer(CScene::SceneType_Background, std::move(layers[0]));
    layered->m_foreground = AddLayer(CScene::SceneType_Foreground, std::move(layers[1]));
    layered->m_postprocessing = AddLayer(CScene::SceneType_PostProcessing, std::move(layers[2]));
    PrepareLayeredScenes();
    layered->Prepare();
    CSceneLayered* added = layered.get();
    m_standalone.push_back(std::move(layered));
    return added;
}

bool CScenePool::LoadExternal()
{
    // A long playlist takes a while, so a stop request is looked at before
    // each scene.
    const auto failed = [](CScene& scene) {
        const std::string file = scene.GetFileName();
        return !scene.Load(file, true) || scene.ReadFailed();
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

void CScenePool::PrepareLayeredScenes()
{
    for (const auto& scene : m_foregrounds) {
        if (scene->GetRoot())
            StripClearNodes(*scene, scene->GetRoot());
    }
}

bool CScenePool::StripClearNodes(CScene& scene, CNode* node)
{
    if (std::string_view(node->GetTypeName()) == "Clear") {
        scene.RemoveNode(node->m_name);
        return true;
    }
    for (size_t i = 0; i < node->m_inPorts.size(); ++i) {
        CPort* port = node->m_inPorts[i].get();
        if (port->m_type != PT_Render || port->m_connections.empty())
            continue;
        // The chain changed: its ports are looked at again from the first.
        if (StripClearNodes(scene, port->m_connections[0]->m_node))
            i = size_t(-1);
    }
    return false;
}

void CScenePool::PrepareLayeredEntries()
{
    for (const auto& scene : m_standalone)
        if (scene->m_kind == CSceneBase::Kind_Layered)
            scene->Prepare();
}

void CScenePool::ResetOrder()
{
    m_sequentialIndex = 0;
    m_transitionIndex = -1;
}

// ---- Picking ----

bool CScenePool::IsEmpty() const
{
    return m_standalone.empty() && m_backgrounds.empty() && m_foregrounds.empty();
}

template <class TList>
CSceneBase* CScenePool::PickScene(const char* name, TList& available, TList& used)
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

CSceneLayered* CScenePool::MakeLayered(float postProcessingProbability)
{
    CSceneLayered* layered = nullptr;
    if (!m_layeredPool.empty()) {
        layered = m_layeredPool.back();
        m_layeredPool.pop_back();
    } else {
        m_layeredMade.push_back(std::make_unique<CSceneLayered>());
        layered = m_layeredMade.back().get();
        layered->m_pooled = true;
    }
    // Layers are combined at random: the lists of good and bad scenes are
    // not asked.
    layered->m_background = static_cast<CScene*>(PickScene("background", m_backgrounds, m_backgroundsUsed));
    layered->m_foreground = static_cast<CScene*>(PickScene("foreground", m_foregrounds, m_foregroundsUsed));
    layered->m_postprocessing = nullptr;
    if (!(g_random.NextUnit() > postProcessingProbability))
        layered->m_postprocessing =
            static_cast<CScene*>(PickScene("postprocessing", m_postprocessings, m_postprocessingsUsed));
    layered->Prepare();
    return layered;
}

CSceneBase* CScenePool::Pick(int32_t type, int32_t index, float postProcessingProbability)
{
    if (type == Pick_Random) {
        // The odds of a layered scene follow from the lengths of the lists.
        const size_t total = m_standalone.size() + m_backgrounds.size() + m_foregrounds.size();
        const size_t i = size_t(float(total) * g_random.NextUnit());
        if (i < m_standalone.size())
            return PickScene("standalone", m_standalone, m_standaloneUsed);
        return MakeLayered(postProcessingProbability);
    }
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
    return m_standalone[size_t(m_sequentialIndex)].get();
}

CSceneTransition* CScenePool::PickTransition(bool inOrder)
{
    if (m_transitions.empty())
        return nullptr;
    size_t t = 0;
    if (inOrder) {
        m_transitionIndex = (m_transitionIndex + 1) % int32_t(m_transitions.size());
        t = size_t(m_transitionIndex);
    } else {
        t = size_t(g_random.NextInt(int(m_transitions.size())));
        t = std::min(t, m_transitions.size() - 1);
    }
    return m_transitions[t].get();
}

void CScenePool::GiveBack(CSceneBase* scene)
{
    if (scene && scene->m_pooled)
        m_layeredPool.push_back(static_cast<CSceneLayered*>(scene));
}

void CScenePool::Drop(CSceneBase* scene)
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
    // A layered scene of the pool's own: its layers stay in their lists,
    // the scene goes back to wait.
    GiveBack(scene);
}

std::unique_ptr<CSceneBase> CScenePool::Remove(CSceneBase* scene)
{
    for (BaseList* list : {&m_standalone, &m_standaloneUsed}) {
        const size_t i = IndexOf(*list, scene);
        if (i == list->size())
            continue;
        std::unique_ptr<CSceneBase> owned = std::move((*list)[i]);
        list->erase(list->begin() + std::ptrdiff_t(i));
        return owned;
    }
    return nullptr;
}

std::vector<CSceneBase*> CScenePool::PlayableScenes() const
{
    std::vector<CSceneBase*> scenes;
    for (const BaseList* list : {&m_standalone, &m_standaloneUsed}) {
        for (const auto& scene : *list)
            scenes.push_back(scene.get());
    }
    return scenes;
}

void CScenePool::InvalidateDevice(CRender* render)
{
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

// ---- Looking up ----

int32_t CScenePool::GetSceneCount() const
{
    return int32_t(std::count_if(m_standalone.begin(), m_standalone.end(),
                                 [](const auto& scene) { return scene->m_kind == CSceneBase::Kind_Scene; }));
}

std::string CScenePool::GetSceneName(int32_t index) const
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

CSceneBase* CScenePool::FindSceneByFile(const std::string& name) const
{
    for (const auto& scene : m_standalone)
        if (scene->GetFileName() == name)
            return scene.get();
    return nullptr;
}

bool CScenePool::HasLayerScenes() const
{
    return !(m_backgrounds.empty() && m_foregrounds.empty() && m_postprocessings.empty() &&
             m_backgroundsUsed.empty() && m_foregroundsUsed.empty() && m_postprocessingsUsed.empty());
}

void CScenePool::LogCounts() const
{
    Log("Scene count. Standalone: %ld Background: %ld Foreground: %ld Postprocessing: %ld Transition: %ld",
        long(m_standalone.size()), long(m_backgrounds.size()), long(m_foregrounds.size()),
        long(m_postprocessings.size()), long(m_transitions.size()));
}
