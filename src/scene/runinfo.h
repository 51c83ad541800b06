#pragma once

#include "render/runmode.h"

class CCfg;

// What kind of run this is, for scene and node code that behaves
// differently in a preview or needs a setting. The host owns the run's
// values; the director hands them to its scenes, whose context carries them
// to every node.
struct SRunInfo
{
    EAppType m_appType = EAppType::Visualizer;
    EWindowMode m_windowMode = EWindowMode::FullScreen;
    // The run's configuration; null until the host has one.
    const CCfg* m_config = nullptr;
    // A director plays and has no background, foreground or postprocessing
    // scenes at all: transitions then show example scenes in place of them.
    bool m_directorWithoutLayers = false;

    // An editor's preview of one scene.
    bool IsEditor() const { return m_appType == EAppType::Editor; }
    // The values of a scene that runs outside any host, as in tools and tests.
    static const SRunInfo& Standalone();
};
