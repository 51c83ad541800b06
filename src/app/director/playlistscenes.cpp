#include "app/director/playlistscenes.h"

#include "app/director/playlist.h"
#include "app/director/scenepool.h"
#include "app/log.h"
#include "app/paths.h"
#include "app/textutil.h"
#include "scene/scene.h"
#include "scene/scenelayered.h"
#include "scene/scenetransition.h"

#include <algorithm>
#include <vector>

namespace {

std::vector<std::string> SplitAtSemicolons(const std::string& text)
{
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t at; (at = text.find(';', start)) != std::string::npos; start = at + 1)
        parts.push_back(text.substr(start, at - start));
    parts.push_back(text.substr(start));
    return parts;
}

} // namespace

CPlaylistScenes::CPlaylistScenes(CScenePool& pool, SceneMaker newScene) : m_pool(pool), m_newScene(std::move(newScene))
{
}

std::unique_ptr<CScene> CPlaylistScenes::NewScene(const std::string& file, float runTime, int32_t type) const
{
    std::unique_ptr<CScene> scene = m_newScene();
    scene->m_fileName = file;
    scene->m_runTime = runTime;
    scene->m_sceneType = type;
    return scene;
}

bool CPlaylistScenes::Add(const CPlaylist& playlist)
{
    for (const auto& entry : playlist.m_transitions) {
        auto transition = std::make_unique<CSceneTransition>();
        transition->m_transition = NewScene(entry->m_fileName, entry->m_runTime, 0);
        transition->m_runTime = entry->m_runTime;
        m_pool.AddTransition(std::move(transition));
    }
    for (const auto& entry : playlist.m_scenes) {
        const std::string& file = entry->m_fileName;
        if (file.find(';') == std::string::npos) {
            m_pool.AddStandalone(NewScene(file, entry->m_runTime, 0));
            continue;
        }
        const std::vector<std::string> parts = SplitAtSemicolons(file);
        if (parts.size() < 3)
            return Error("Invalid layered scene file '%s'", file.c_str());
        auto layered = std::make_unique<CSceneLayered>();
        layered->m_runTime = entry->m_runTime;
        layered->m_background =
            m_pool.AddLayer(CScene::SceneType_Background, NewScene(parts[0], 0.0f, CScene::SceneType_Background));
        if (!parts[1].empty())
            layered->m_foreground = m_pool.AddLayer(CScene::SceneType_Foreground,
                                                    NewScene(parts[1], 0.0f, CScene::SceneType_Foreground));
        if (!parts[2].empty())
            layered->m_postprocessing = m_pool.AddLayer(
                CScene::SceneType_PostProcessing, NewScene(parts[2], 0.0f, CScene::SceneType_PostProcessing));
        m_pool.AddStandalone(std::move(layered));
    }
    // Loading puts the stored scene type in place of this one; the list a
    // layer is in says what it is.
    const auto addLayers = [this](const CPlaylist::Entries& entries, int32_t type) {
        for (const auto& entry : entries)
            m_pool.AddLayer(type, NewScene(entry->m_fileName, entry->m_runTime, type));
    };
    addLayers(playlist.m_backgrounds, CScene::SceneType_Background);
    addLayers(playlist.m_foregrounds, CScene::SceneType_Foreground);
    addLayers(playlist.m_postprocessings, CScene::SceneType_PostProcessing);
    return true;
}

std::array<std::unique_ptr<CScene>, 3> CPlaylistScenes::LoadLayers(const std::string& text) const
{
    std::array<std::string, 3> parts;
    for (std::string padded = text; !CPlaylist::SplitLayered(padded, parts);)
        padded += ';';
    std::array<std::unique_ptr<CScene>, 3> layers;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (parts[i].empty())
            continue;
        // A scene that doesn't load is an empty scene.
        layers[i] = m_newScene();
        layers[i]->Load(ExpandPath(WithSlashes(parts[i])), true);
    }
    return layers;
}
