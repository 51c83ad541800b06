#pragma once

#include "scene/scenesnapshot.h"

#include <QByteArray>

// The two JPEG pictures that a scene container holds beside the XML: a view
// for the scene library and a small preview.
class CSceneImages
{
public:
    static constexpr int SceneWidth = 640;
    static constexpr int SceneHeight = 360;
    static constexpr int SceneQuality = 80;
    static constexpr int PreviewWidth = 160;
    static constexpr int PreviewHeight = 90;
    static constexpr int PreviewQuality = 93;

    // Scales the picture (ignoring its aspect) and encodes both images.
    // False, with a log line, when the picture is malformed or JPEG can't be
    // written on this system.
    bool Make(const CSceneSnapshot& picture);

    QByteArray m_sceneJpg;
    QByteArray m_previewJpg;
};
