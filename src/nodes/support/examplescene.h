#pragma once

#include <memory>
#include <string_view>

class CScene;
struct SRunInfo;

// A scene that a node shows where only a director could feed it, as in a
// preview. Null when the file can't be read (the scene logs why) or has no
// Screen node to draw from. Null without reading anything when called while
// another example is loading: an example holding the same node type would
// otherwise load itself without end.
std::unique_ptr<CScene> LoadExampleScene(std::string_view path, const SRunInfo& run);
