#pragma once

#include <QString>

#include <cstdint>

// What a scene is for in the library: the first of its kind bits that is set,
// tested as background, foreground, postprocessing, transition; none means a
// scene that plays on its own.
enum class ESceneKind : int32_t
{
    Standalone = 0x100,
    Background = 0x1,
    Foreground = 0x2,
    Postprocessing = 0x4,
    Transition = 0x8,
};

ESceneKind SceneKind(int32_t sceneType);
// "Standalone", "Background", "Foreground", "Postprocessing", "Transition".
QString SceneKindLabel(ESceneKind kind);
// 0 Standalone, 1 Background, 2 Foreground, 3 Postprocessing, 4 Transition:
// also the order of kinds in the library.
int SceneKindIndex(ESceneKind kind);
