#pragma once

#include "scene/nodedeclaration.h"

// The "Selection" port shared by the mesh modifiers: which faces or vertices
// an operation treats, judged by their `select` value.
enum EMeshSelection
{
    MeshSelectNone = 0,
    MeshSelectAll = 1,
    MeshSelectSelected = 2,
    MeshSelectUnselected = 3,
};

inline bool SelectionTakes(int selection, float select)
{
    switch (selection) {
    case MeshSelectAll:
        return true;
    case MeshSelectSelected:
        return select >= 0.5f;
    case MeshSelectUnselected:
        return select < 0.5f;
    default:
        return false;
    }
}

inline SIntValues SelectionValues(int value)
{
    return {value, 0, 3, {{0, "None"}, {1, "All"}, {2, "Selected"}, {3, "Unselected"}}};
}

inline constexpr const char* kSelectionDescription = "What faces to apply the effect to";
