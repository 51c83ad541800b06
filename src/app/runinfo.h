#pragma once

#include <cstdint>

class CCfg;

// What kind of run this is, for code below the host that behaves
// differently in a preview or needs a setting: the host fills it at start.
struct SRunInfo
{
    int32_t m_appType = 0;
    int32_t m_windowMode = 2;
    // The run's configuration; null until the host has one.
    const CCfg* m_config = nullptr;
    // A director plays and has no background, foreground or postprocessing
    // scenes at all: transitions then show example scenes in place of them.
    bool m_directorWithoutLayers = false;
};

extern SRunInfo g_runInfo;
