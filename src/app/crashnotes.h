#pragma once

#include <cstddef>
#include <string_view>

// What a crash report tells besides the stack, kept in fixed storage so
// that a signal handler can read it without allocating. The frame thread
// writes it; a copy cut short by a crash still ends in a terminator.
struct SCrashNotes
{
    static constexpr size_t MaxText = 1024;

    // The scene now playing, as the director names it; empty before the
    // first.
    void SetSceneFile(std::string_view file);
    const char* SceneFile() const { return m_sceneFile; }

private:
    char m_sceneFile[MaxText] = {};
};

extern SCrashNotes g_crashNotes;
