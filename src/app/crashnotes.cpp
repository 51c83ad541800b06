#include "app/crashnotes.h"

#include <algorithm>
#include <atomic>

constinit SCrashNotes g_crashNotes;

void SCrashNotes::SetSceneFile(std::string_view file)
{
    // While the text changes its first character is the terminator: a
    // signal in between reads no name rather than a mix of two.
    m_sceneFile[0] = '\0';
    if (file.empty())
        return;
    const size_t length = std::min(file.size(), MaxText - 1);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    std::copy(file.begin() + 1, file.begin() + std::ptrdiff_t(length), m_sceneFile + 1);
    m_sceneFile[length] = '\0';
    std::atomic_signal_fence(std::memory_order_seq_cst);
    m_sceneFile[0] = file[0];
}
