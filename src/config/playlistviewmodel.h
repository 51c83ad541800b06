#pragma once

#include "app/director/playlist.h"

#include <QList>
#include <QObject>
#include <QQmlListProperty>
#include <QString>

#include <cstdint>

class CSceneViewModel;
class QObjectListModel;

// One playlist file. While it is the active playlist, its scenes are the
// scenes selected in the library; committing writes that selection back.
class CPlaylistViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(bool selected READ selected WRITE setSelected NOTIFY selectedChanged)
    Q_PROPERTY(bool readOnly READ readOnly NOTIFY readOnlyChanged)
    Q_PROPERTY(int scenesSelected READ scenesSelected WRITE setScenesSelected NOTIFY scenesSelectedChanged)
    // Follows a rename, so it notifies with the name.
    Q_PROPERTY(QString filepath READ filepath NOTIFY nameChanged)
    Q_PROPERTY(QQmlListProperty<CSceneViewModel> scenes READ scenes NOTIFY scenesChanged)
    // A file that could not be read is still listed, marked, with why.
    Q_PROPERTY(bool broken READ broken CONSTANT)
    Q_PROPERTY(QString loadError READ loadError CONSTANT)

public:
    explicit CPlaylistViewModel(QObject* parent = nullptr) : CPlaylistViewModel({}, {}, parent) {}
    // Loads the file when a path is given.
    CPlaylistViewModel(const QString& path, const QString& name, QObject* parent = nullptr);

    const QString& name() const { return m_name; }
    // Renames the file to "[userpath]playlists/<name>.lmp".
    void setName(const QString& name);
    bool selected() const { return m_selected; }
    void setSelected(bool selected);
    bool readOnly() const { return m_readOnly; }
    int scenesSelected() const { return m_scenesSelected; }
    void setScenesSelected(int count);
    const QString& filepath() const { return m_filepath; }
    QQmlListProperty<CSceneViewModel> scenes();
    const QList<CSceneViewModel*>& sceneList() const { return m_scenes; }
    bool broken() const { return !m_loadError.isEmpty(); }
    const QString& loadError() const { return m_loadError; }
    const CPlaylist& playlist() const { return m_playlist; }

    // The first time only: finds the library's scene for each entry.
    void ResolveScenes(const QObjectListModel& allScenes);
    // Makes the entries those of `selected`, by kind, and saves the file if
    // any list changed.
    void Commit(const QList<CSceneViewModel*>& selected);
    bool Save() const;
    // Moves a scene within the playlist, and its entry within its list, and
    // saves: the order of entries is the order a run without chance plays.
    Q_INVOKABLE void moveScene(int from, int to);

Q_SIGNALS:
    void nameChanged();
    void selectedChanged();
    void readOnlyChanged();
    void scenesSelectedChanged();
    void scenesChanged();
    void renamed(const QString& oldPath, const QString& newPath);

private:
    // `scenes` in the order of the entries, list by list.
    void OrderScenesAsEntries();

    CPlaylist m_playlist;
    QString m_filepath;
    QString m_name;
    QString m_loadError;
    QList<CSceneViewModel*> m_scenes;
    int32_t m_scenesSelected = 0;
    bool m_selected = false;
    bool m_resolved = false;
    bool m_readOnly = false;
};

// The file of the user's playlist of that name.
QString UserPlaylistPath(const QString& name);
