#include "config/playlistviewmodel.h"

#include "app/paths.h"
#include "app/textutil.h"
#include "config/notifyingsetter.h"
#include "config/objectlistmodel.h"
#include "config/sceneviewmodel.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <utility>

namespace {

// Entries are compared as the files they name, whatever macro or slash
// form the playlist wrote them in.
QString EntryFile(const CScene& entry)
{
    return QString::fromStdString(ExpandPath(WithSlashes(entry.m_fileName)));
}

bool SameFile(const QString& a, const QString& b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

// The lists in the order their scenes are resolved, with their kinds.
std::array<std::pair<CPlaylist::Entries*, ESceneKind>, 5> ListsByKind(CPlaylist& playlist)
{
    return {{{&playlist.m_scenes, ESceneKind::Standalone},
             {&playlist.m_backgrounds, ESceneKind::Background},
             {&playlist.m_foregrounds, ESceneKind::Foreground},
             {&playlist.m_postprocessings, ESceneKind::Postprocessing},
             {&playlist.m_transitions, ESceneKind::Transition}}};
}

bool Matches(CScene& entry, const CSceneViewModel& scene)
{
    const std::string id = scene.scene().GetId();
    if (!entry.m_id.empty() && !id.empty())
        return entry.m_id == id;
    if (!SameFile(EntryFile(entry), scene.filepath()))
        return false;
    if (entry.m_id.empty())
        entry.m_id = id;
    return true;
}

// Brings one list in line with the scenes of its kind; true if it changed.
bool AlignList(CPlaylist& playlist, CPlaylist::Entries& list, ESceneKind kind,
               const QList<CSceneViewModel*>& scenes)
{
    bool changed = false;
    std::vector<bool> marked(list.size(), false);
    for (const CSceneViewModel* scene : scenes) {
        if (scene->kind() != kind)
            continue;
        size_t i = 0;
        while (i < list.size() && !SameFile(EntryFile(*list[i]), scene->filepath()))
            ++i;
        if (i == list.size()) {
            // Stored with the path macros, so the playlist moves with the data.
            playlist.Add(list, CompressPath(QFile::encodeName(scene->filepath()).toStdString()),
                         scene->scene().GetId());
            marked.push_back(false);
            changed = true;
        }
        marked[i] = true;
    }
    for (size_t i = list.size(); i-- > 0;) {
        if (!marked[i]) {
            list.erase(list.begin() + std::ptrdiff_t(i));
            changed = true;
        }
    }
    return changed;
}

} // namespace

QString UserPlaylistPath(const QString& name)
{
    return QString::fromStdString(ExpandPath("[userpath]playlists/")) + name + QStringLiteral(".lmp");
}

CPlaylistViewModel::CPlaylistViewModel(const QString& path, const QString& name, QObject* parent)
    : QObject(parent), m_filepath(path), m_name(name)
{
    // A new playlist has no file yet.
    if (path.isEmpty() || !QFile::exists(path))
        return;
    if (!m_playlist.Load(QFile::encodeName(path).toStdString()))
        m_loadError = tr("The playlist file \"%1\" can't be read.").arg(path);
    for (auto [list, kind] : ListsByKind(m_playlist))
        m_scenesSelected += int32_t(list->size());
}

void CPlaylistViewModel::setName(const QString& name)
{
    if (name == m_name)
        return;
    const QString oldPath = m_filepath;
    m_name = name;
    m_filepath = UserPlaylistPath(name);
    QFile::rename(oldPath, m_filepath);
    Q_EMIT renamed(oldPath, m_filepath);
    Q_EMIT nameChanged();
}

void CPlaylistViewModel::setSelected(bool selected)
{
    SetAndNotify(m_selected, selected, this, &CPlaylistViewModel::selectedChanged);
}

void CPlaylistViewModel::setScenesSelected(int count)
{
    SetAndNotify(m_scenesSelected, count, this, &CPlaylistViewModel::scenesSelectedChanged);
}

QQmlListProperty<CSceneViewModel> CPlaylistViewModel::scenes()
{
    return QQmlListProperty<CSceneViewModel>(this, &m_scenes);
}

void CPlaylistViewModel::ResolveScenes(const QObjectListModel& allScenes)
{
    if (m_resolved)
        return;
    m_resolved = true;
    for (auto [list, kind] : ListsByKind(m_playlist)) {
        for (const std::unique_ptr<CScene>& entry : *list) {
            for (QObject* object : allScenes.objectList()) {
                auto* scene = qobject_cast<CSceneViewModel*>(object);
                if (scene && Matches(*entry, *scene)) {
                    m_scenes << scene;
                    break;
                }
            }
        }
    }
    Q_EMIT scenesChanged();
}

void CPlaylistViewModel::Commit(const QList<CSceneViewModel*>& selected)
{
    m_scenes = selected;
    bool changed = false;
    for (auto [list, kind] : ListsByKind(m_playlist))
        changed = AlignList(m_playlist, *list, kind, m_scenes) || changed;
    // Entries that stayed keep their place, so the list shows the file's order.
    OrderScenesAsEntries();
    Q_EMIT scenesChanged();
    if (changed)
        Save();
}

void CPlaylistViewModel::OrderScenesAsEntries()
{
    QList<CSceneViewModel*> ordered;
    for (auto [list, kind] : ListsByKind(m_playlist)) {
        for (const std::unique_ptr<CScene>& entry : *list) {
            const QString file = EntryFile(*entry);
            for (CSceneViewModel* scene : std::as_const(m_scenes)) {
                if (scene->kind() == kind && SameFile(file, scene->filepath()) && !ordered.contains(scene)) {
                    ordered << scene;
                    break;
                }
            }
        }
    }
    m_scenes = ordered;
}

void CPlaylistViewModel::moveScene(int from, int to)
{
    if (from < 0 || to < 0 || from >= m_scenes.size() || to >= m_scenes.size() || from == to)
        return;
    m_scenes.move(from, to);
    // Each list takes the order its scenes now have among all.
    for (auto [list, kind] : ListsByKind(m_playlist)) {
        const auto position = [this](const std::unique_ptr<CScene>& entry) {
            const QString file = EntryFile(*entry);
            for (qsizetype i = 0; i < m_scenes.size(); ++i) {
                if (SameFile(file, m_scenes[i]->filepath()))
                    return i;
            }
            return m_scenes.size();
        };
        std::stable_sort(list->begin(), list->end(),
                         [&position](const auto& a, const auto& b) { return position(a) < position(b); });
    }
    Q_EMIT scenesChanged();
    Save();
}

bool CPlaylistViewModel::Save() const
{
    return m_playlist.Save(QFile::encodeName(m_filepath).toStdString());
}
