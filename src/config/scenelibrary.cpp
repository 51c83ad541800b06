#include "config/scenelibrary.h"

#include "app/log.h"
#include "app/paths.h"
#include "config/configviewmodel.h"
#include "config/playlistviewmodel.h"
#include "config/sceneviewmodel.h"
#include "config/tagviewmodel.h"
#include "scene/scene.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <algorithm>

namespace SceneLibrary {

namespace {

QString Expanded(const char* path)
{
    return QString::fromStdString(ExpandPath(path));
}

void ScanFolder(const QString& folder, bool official, QObject* owner, QList<CSceneViewModel*>& scenes)
{
    QDirIterator files(folder, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        if (!path.endsWith(QStringLiteral(".lmc")))
            continue;
        auto* scene = new CSceneViewModel(path, official, owner);
        // Installed scenes marked hidden are there for the engine, not to be chosen.
        if (official && (scene->sceneType() & CScene::SceneType_Hidden)) {
            delete scene;
            continue;
        }
        scenes << scene;
    }
}

QStringList PlaylistFiles(QDir& folder)
{
    folder.refresh();
    return folder.entryList(QDir::Files);
}

QDir PlaylistFolder(const QString& path)
{
    QDir folder(path, QStringLiteral("*.lmp"), QDir::Name | QDir::IgnoreCase, QDir::Files);
    return folder;
}

} // namespace

void SortScenes(QList<CSceneViewModel*>& scenes)
{
    std::sort(scenes.begin(), scenes.end(), [](const CSceneViewModel* a, const CSceneViewModel* b) {
        const int kindA = a->sceneTypeAsIndex(), kindB = b->sceneTypeAsIndex();
        return kindA != kindB ? kindA < kindB : a->name() < b->name();
    });
}

QList<CSceneViewModel*> ScanScenes(QObject* owner)
{
    QList<CSceneViewModel*> scenes;
    ScanFolder(Expanded("[userpath]scenes"), false, owner, scenes);
    ScanFolder(Expanded("[apppath]scenes"), true, owner, scenes);
    SortScenes(scenes);
    return scenes;
}

QList<CPlaylistViewModel*> ReadPlaylists(QObject* owner)
{
    const QString userFolder = Expanded("[userpath]playlists");
    QDir user = PlaylistFolder(userFolder);
    QDir().mkpath(userFolder);
    QStringList files = PlaylistFiles(user);
    if (files.isEmpty()) {
        QDir installed = PlaylistFolder(Expanded("[apppath]playlists"));
        for (const QString& file : PlaylistFiles(installed))
            QFile::copy(installed.filePath(file), user.filePath(file));
        files = PlaylistFiles(user);
    }
    QList<CPlaylistViewModel*> playlists;
    for (const QString& file : files) {
        auto* playlist = new CPlaylistViewModel(user.filePath(file), file.chopped(4), owner);
        // The front end can't edit layered entries, so it leaves such a
        // playlist alone rather than lose them at the first commit.
        if (playlist->playlist().m_hasLayered) {
            Log("Playlist \"%s\" has layered entries; it isn't offered for editing", qPrintable(file));
            delete playlist;
            continue;
        }
        playlists << playlist;
    }
    return playlists;
}

QList<CTagViewModel*> CountTags(const QList<CSceneViewModel*>& scenes, QObject* owner)
{
    static const QStringList reserved = {"Official",   "User",       "Background", "Foreground",
                                         "Postprocessing", "Transition", "Standalone"};
    QHash<QString, int> counts;
    for (const CSceneViewModel* scene : scenes) {
        for (const QString& tag : scene->tags()) {
            if (!reserved.contains(tag))
                ++counts[tag];
        }
        ++counts[scene->type()];
        if (!scene->official())
            ++counts[QStringLiteral("User")];
        if (!scene->relicensingPossible())
            ++counts[QStringLiteral("norelicensing")];
    }
    QList<CTagViewModel*> tags;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it)
        tags << new CTagViewModel(it.key(), float(it.value()), owner);
    std::sort(tags.begin(), tags.end(),
              [](const CTagViewModel* a, const CTagViewModel* b) {
                  return a->score() != b->score() ? a->score() > b->score() : a->name() < b->name();
              });
    return tags;
}

void Load(CConfigViewModel& root)
{
    const QList<CSceneViewModel*> scenes = ScanScenes(&root);
    auto* model = new QObjectListModel(&root);
    model->setObjectList({scenes.begin(), scenes.end()});
    root.setAllScenes(model);
    root.setPlaylistList(ReadPlaylists(&root));
    root.setTagList(CountTags(scenes, &root));
    Log("Library: %lld scenes, %lld playlists, %lld tags", static_cast<long long>(scenes.size()),
        static_cast<long long>(root.playlistList().size()), static_cast<long long>(root.tagList().size()));
}

bool ImportScene(const QString& file)
{
    const QFileInfo source(file);
    if (!source.exists())
        return false;
    const QString folder = Expanded("[userpath]scenes/Imported");
    QDir().mkpath(folder);
    const QString target = folder + u'/' + source.completeBaseName() + QStringLiteral(".lmc");
    // QFile::copy never overwrites: a scene imported before stays as it was.
    if (!QFile::copy(file, target))
        Log("Import of \"%s\" to \"%s\" made no copy", qPrintable(file), qPrintable(target));
    return true;
}

} // namespace SceneLibrary
