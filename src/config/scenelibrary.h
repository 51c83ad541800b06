#pragma once

#include <QList>
#include <QString>

class CConfigViewModel;
class CPlaylistViewModel;
class CSceneViewModel;
class CTagViewModel;
class QObject;

// The library the front end shows, read once at start. Every object made
// here is a child of `owner`, which keeps it to the end of the process.
namespace SceneLibrary {

// The ".lmc" files under "[userpath]scenes", then those of
// "[apppath]scenes" that aren't hidden, in library order: standalone
// scenes first, then backgrounds, foregrounds, postprocessing, transitions,
// each kind by name.
QList<CSceneViewModel*> ScanScenes(QObject* owner);
void SortScenes(QList<CSceneViewModel*>& scenes);

// The user's playlists by name; an empty folder is first filled with the
// installed ones. Playlists with layered entries aren't offered.
QList<CPlaylistViewModel*> ReadPlaylists(QObject* owner);

// How many scenes carry each word, kind labels and "User" included, most
// used first.
QList<CTagViewModel*> CountTags(const QList<CSceneViewModel*>& scenes, QObject* owner);

// All of the above handed to the root view model, whose children the
// objects become; the playlist to run becomes the active playlist.
void Load(CConfigViewModel& root);

// Copies a scene package into "[userpath]scenes/Imported" as "<base>.lmc",
// keeping a file already there. False when the file to import is missing.
bool ImportScene(const QString& file);

} // namespace SceneLibrary
