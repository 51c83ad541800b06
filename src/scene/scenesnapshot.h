#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

// A picture of a scene as the render reads it back from a target: rows of
// 24-bit pixels in blue, green, red order, top row first, without padding.
struct CSceneSnapshot
{
    int m_width = 0;
    int m_height = 0;
    std::vector<uint8_t> m_bgr;

    bool IsValid() const
    {
        return m_width > 0 && m_height > 0 &&
               m_bgr.size() == static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height) * 3u;
    }
};

class CScene;

// Renders the scene for the pictures of its container. Returns false when no
// picture can be had.
using SceneSnapshotSource = std::function<bool(CScene& scene, CSceneSnapshot& picture)>;
