#pragma once

#include "app/regularfile.h"
#include "scene/scene.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class QXmlStreamReader;
class QXmlStreamWriter;

// Which scenes a run plays, in which roles, and through which transitions.
// An entry is a scene that is never loaded: only its m_fileName, m_id and
// m_runTime mean anything. A file name is one path or a layered entry,
// "background;foreground;postprocessing", whose last two parts may be empty.
class CPlaylist
{
public:
    using Entries = std::vector<std::unique_ptr<CScene>>;

    // A larger file is refused unread: no real playlist comes near it.
    static constexpr int64_t MaxFileSize = FileLimit::Playlist;

    // Paths may use "\" and the "[apppath]"/"[userpath]" macros. Entries read
    // are appended to the lists. A file that breaks off keeps what came before
    // the fault and still counts as read.
    bool Load(std::string_view path);
    // The old file stays as it was unless the whole new one was written.
    bool Save(std::string_view path) const;
    // False, with nothing read, when the root isn't "Lumora".
    bool Deserialize(QXmlStreamReader& reader);
    bool Serialize(QXmlStreamWriter& writer) const;

    // Appends an entry to one of the lists and notes whether it is layered.
    CScene& Add(Entries& list, std::string_view fileName, std::string_view id = {},
                float runTime = 0.0f);

    static bool IsLayered(std::string_view fileName) { return fileName.find(';') != std::string_view::npos; }
    // The background, foreground and postprocessing parts of a layered
    // entry, split at its first two ";"; an empty part means no such layer.
    // False when the entry has fewer than two separators.
    static bool SplitLayered(std::string_view fileName, std::array<std::string, 3>& parts);

    std::string m_activeSceneFile;
    Entries m_transitions;
    Entries m_scenes;
    Entries m_backgrounds;
    Entries m_foregrounds;
    Entries m_postprocessings;
    // Some entry of some list is layered.
    bool m_hasLayered = false;
};
