#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

class CPlaylist;
class CScene;
class CScenePool;

// Turns the entries of a playlist into scenes of the pool: plain scenes,
// layered entries split into their layers, the three lists of layers, and
// transitions. The scenes get their file names and run times; loading them
// is the pool's.
class CPlaylistScenes
{
public:
    // Makes an empty scene that knows the run it plays in.
    using SceneMaker = std::function<std::unique_ptr<CScene>()>;

    CPlaylistScenes(CScenePool& pool, SceneMaker newScene);

    // False, with a log line, at a layered entry of fewer than three parts;
    // the entries before it are in the pool.
    bool Add(const CPlaylist& playlist);
    // The loaded layers of "background;foreground;postprocessing", with
    // slashes and path macros of the parts resolved. Parts left out at the
    // end, and empty parts, are no layer.
    std::array<std::unique_ptr<CScene>, 3> LoadLayers(const std::string& text) const;

private:
    std::unique_ptr<CScene> NewScene(const std::string& file, float runTime, int32_t type) const;

    CScenePool& m_pool;
    SceneMaker m_newScene;
};
