#include "config/configviewmodel.h"

#include "app/cfg.h"
#include "app/paths.h"
#include "config/notifyingsetter.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#include <algorithm>
#include <cmath>

namespace {

// Percent values are stored as fractions; a change below this is no change.
constexpr double PercentEpsilon = 0.00001;

float Clamped(float value, float low, float high)
{
    // NaN from QML becomes the low end rather than poisoning the file.
    return std::isnan(value) ? low : std::clamp(value, low, high);
}

// Sets a fraction shown as a percentage; true when it changed.
template <class T>
bool SetPercent(T& stored, float value, float low, float high)
{
    value = Clamped(value, low, high);
    if (std::abs(double(value) - double(stored) * 100.0) <= PercentEpsilon)
        return false;
    stored = T(double(value) / 100.0);
    return true;
}

// Whole seconds: the setter truncates.
bool SetSeconds(int& stored, float value, float high)
{
    const int seconds = int(std::trunc(Clamped(value, 0.0f, high)));
    if (seconds == stored)
        return false;
    stored = seconds;
    return true;
}

template <class T>
bool SetPlain(T& stored, T value)
{
    if (stored == value)
        return false;
    stored = value;
    return true;
}

QString PlaylistRunPath(const CCfg& config)
{
    return QString::fromStdString(config.Playlist);
}

} // namespace

CConfigViewModel::CConfigViewModel(CCfg* configuration, const QString& configPath, QObject* parent)
    : QObject(parent), m_config(configuration), m_configPath(configPath), m_allScenes(new QObjectListModel(this)),
      m_filter(new CScenesFilterViewModel(this))
{
    m_filter->setSourceModel(m_allScenes);
    m_startProcess = [](const QString& program, const QStringList& arguments, const QString& directory) {
        QProcess::startDetached(program, arguments, directory);
    };
    // A hand-edited file may hold anything: the controls and the next save
    // see values in range. Render sizes are left alone, since whether they
    // are factors or pixels is the file's business.
    setTransitionTime(transitionTime());
    setTransitionFromScale(transitionFromScale());
    setTransitionToScale(transitionToScale());
    setMinSceneTime(minSceneTime());
    setMaxSceneTime(maxSceneTime());
    setPostProcessingProbability(postProcessingProbability());
    setMaxSoundCaptureSilence(maxSoundCaptureSilence());
}

bool CConfigViewModel::randNextScene() const { return m_config->RandomizeScene; }
float CConfigViewModel::transitionTime() const { return m_config->Time; }
float CConfigViewModel::transitionFromScale() const { return m_config->SceneFromScale * 100.0f; }
float CConfigViewModel::transitionToScale() const { return m_config->SceneToScale * 100.0f; }
float CConfigViewModel::renderTargetSize() const { return float(m_config->RenderTargetWidth * 100.0); }
int CConfigViewModel::renderTargetWidth() const { return int(m_config->RenderTargetWidth); }
int CConfigViewModel::renderTargetHeight() const { return int(m_config->RenderTargetHeight); }
float CConfigViewModel::minSceneTime() const { return float(m_config->MinRunTime); }
float CConfigViewModel::maxSceneTime() const { return float(m_config->MaxRunTime); }
float CConfigViewModel::postProcessingProbability() const { return m_config->PostProcessingProbability * 100.0f; }
float CConfigViewModel::maxSoundCaptureSilence() const { return float(m_config->MaxSilenceTime); }
bool CConfigViewModel::captureSound() const { return m_config->CaptureSound; }
bool CConfigViewModel::checkForNewVersion() const { return m_config->CheckForNewVersion; }
bool CConfigViewModel::sendUsageStats() const { return m_config->SendAnonymousUsageInfo; }
QString CConfigViewModel::playlistToRun() const { return PlaylistRunPath(*m_config); }
QString CConfigViewModel::audioSource() const { return QString::fromStdString(m_config->AudioSource); }

void CConfigViewModel::setRandNextScene(bool value)
{
    if (SetPlain(m_config->RandomizeScene, value))
        Q_EMIT randNextSceneChanged();
}

void CConfigViewModel::setTransitionTime(float value)
{
    if (SetPlain(m_config->Time, Clamped(value, 0.0f, MaxTransitionSeconds)))
        Q_EMIT transitionTimeChanged();
}

void CConfigViewModel::setTransitionFromScale(float value)
{
    if (SetPercent(m_config->SceneFromScale, value, 0.0f, MaxScalePercent))
        Q_EMIT transitionFromScaleChanged();
}

void CConfigViewModel::setTransitionToScale(float value)
{
    if (SetPercent(m_config->SceneToScale, value, 0.0f, MaxScalePercent))
        Q_EMIT transitionToScaleChanged();
}

void CConfigViewModel::setRenderTargetSize(float value)
{
    if (!SetPercent(m_config->RenderTargetWidth, value, MinRenderPercent, MaxRenderPercent))
        return;
    m_config->RenderTargetHeight = m_config->RenderTargetWidth;
    Q_EMIT renderTargetSizeChanged();
}

void CConfigViewModel::setRenderTargetWidth(int value)
{
    if (SetPlain(m_config->RenderTargetWidth, double(std::clamp(value, 1, MaxRenderPixels))))
        Q_EMIT renderTargetWidthChanged();
}

void CConfigViewModel::setRenderTargetHeight(int value)
{
    if (SetPlain(m_config->RenderTargetHeight, double(std::clamp(value, 1, MaxRenderPixels))))
        Q_EMIT renderTargetHeightChanged();
}

void CConfigViewModel::setMinSceneTime(float value)
{
    if (SetSeconds(m_config->MinRunTime, value, MaxSceneSeconds))
        Q_EMIT minSceneTimeChanged();
}

void CConfigViewModel::setMaxSceneTime(float value)
{
    if (SetSeconds(m_config->MaxRunTime, value, MaxSceneSeconds))
        Q_EMIT maxSceneTimeChanged();
}

void CConfigViewModel::setPostProcessingProbability(float value)
{
    if (SetPercent(m_config->PostProcessingProbability, value, 0.0f, 100.0f))
        Q_EMIT postProcessingProbabilityChanged();
}

void CConfigViewModel::setMaxSoundCaptureSilence(float value)
{
    if (SetSeconds(m_config->MaxSilenceTime, value, MaxSceneSeconds))
        Q_EMIT maxSoundCaptureSilenceChanged();
}

void CConfigViewModel::setCaptureSound(bool value)
{
    if (SetPlain(m_config->CaptureSound, value))
        Q_EMIT captureSoundChanged();
}

void CConfigViewModel::setCheckForNewVersion(bool value)
{
    if (SetPlain(m_config->CheckForNewVersion, value))
        Q_EMIT checkForNewVersionChanged();
}

void CConfigViewModel::setSendUsageStats(bool value)
{
    if (SetPlain(m_config->SendAnonymousUsageInfo, value))
        Q_EMIT sendUsageStatsChanged();
}

void CConfigViewModel::setPlaylistToRun(const QString& path)
{
    if (SetPlain(m_config->Playlist, path.toStdString()))
        Q_EMIT playlistToRunChanged();
}

void CConfigViewModel::setAudioSource(const QString& source)
{
    if (SetPlain(m_config->AudioSource, source.toStdString()))
        Q_EMIT audioSourceChanged();
}

void CConfigViewModel::setActiveScene(CSceneViewModel* scene)
{
    SetAndNotify(m_activeScene, scene, this, &CConfigViewModel::activeSceneChanged);
}

int CConfigViewModel::scenesSelected() const
{
    return int(SelectedScenes().size());
}

QList<CSceneViewModel*> CConfigViewModel::SelectedScenes() const
{
    QList<CSceneViewModel*> selected;
    for (QObject* object : m_allScenes->objectList()) {
        auto* scene = qobject_cast<CSceneViewModel*>(object);
        if (scene && scene->selected())
            selected << scene;
    }
    return selected;
}

void CConfigViewModel::Recount()
{
    if (m_activePlaylist)
        m_activePlaylist->setScenesSelected(scenesSelected());
}

void CConfigViewModel::setActivePlaylist(CPlaylistViewModel* playlist)
{
    if (playlist == m_activePlaylist)
        return;
    CommitActivePlaylist();
    m_activePlaylist = playlist;
    if (playlist) {
        playlist->ResolveScenes(*m_allScenes);
        const QList<CSceneViewModel*>& chosen = playlist->sceneList();
        for (QObject* object : m_allScenes->objectList()) {
            if (auto* scene = qobject_cast<CSceneViewModel*>(object))
                scene->setSelected(chosen.contains(scene));
        }
    }
    Recount();
    Q_EMIT activePlaylistChanged();
}

void CConfigViewModel::CommitActivePlaylist()
{
    if (m_activePlaylist)
        m_activePlaylist->Commit(SelectedScenes());
}

bool CConfigViewModel::SaveConfiguration() const
{
    return m_config->Save(QFile::encodeName(m_configPath).toStdString());
}

void CConfigViewModel::save()
{
    CommitActivePlaylist();
    SaveConfiguration();
}

namespace {

template <class T>
QQmlListProperty<T> ReadOnlyList(QObject* owner, QList<T*>* list)
{
    // QML may count, read and clear the list; appending does nothing.
    return QQmlListProperty<T>(
        owner, list, [](QQmlListProperty<T>*, T*) {},
        [](QQmlListProperty<T>* p) { return static_cast<QList<T*>*>(p->data)->size(); },
        [](QQmlListProperty<T>* p, qsizetype i) { return static_cast<QList<T*>*>(p->data)->at(i); },
        [](QQmlListProperty<T>* p) { static_cast<QList<T*>*>(p->data)->clear(); });
}

} // namespace

QQmlListProperty<CPlaylistViewModel> CConfigViewModel::playlists()
{
    return ReadOnlyList(this, &m_playlists);
}

QQmlListProperty<CTagViewModel> CConfigViewModel::tags()
{
    return ReadOnlyList(this, &m_tags);
}

void CConfigViewModel::setAllScenes(QObjectListModel* scenes)
{
    // The model start-up made replaces the empty one of the constructor.
    m_allScenes = scenes;
    m_filter->setSourceModel(scenes);
    // A scene ticked in the browser changes the active playlist's count.
    for (QObject* object : scenes->objectList()) {
        if (auto* scene = qobject_cast<CSceneViewModel*>(object))
            connect(scene, &CSceneViewModel::selectedChanged, this, &CConfigViewModel::Recount);
    }
}

bool CConfigViewModel::IsPlaylistToRun(const QString& path) const
{
    return !path.isEmpty() && path == QString::fromStdString(ExpandPath(m_config->Playlist));
}

void CConfigViewModel::setPlaylistList(const QList<CPlaylistViewModel*>& playlists)
{
    m_playlists = playlists;
    for (CPlaylistViewModel* playlist : playlists) {
        connect(playlist, &CPlaylistViewModel::renamed, this, &CConfigViewModel::OnPlaylistRenamed);
        if (IsPlaylistToRun(playlist->filepath()))
            setActivePlaylist(playlist);
    }
    Q_EMIT playlistsChanged();
}

void CConfigViewModel::setTagList(const QList<CTagViewModel*>& tags)
{
    // Given before the interface loads; tagsChanged stays unused.
    m_tags = tags;
}

void CConfigViewModel::OnPlaylistRenamed(const QString& oldPath, const QString& newPath)
{
    if (IsPlaylistToRun(oldPath))
        setPlaylistToRun(newPath);
}

void CConfigViewModel::searchScenes(const QString& filter)
{
    m_filter->setSearchText(filter);
    m_filter->invalidate();
}

void CConfigViewModel::selectTag(const QString& tag, bool selected)
{
    QStringList words;
    for (CTagViewModel* each : m_tags) {
        each->setSelected(each->name() == tag && selected);
        if (each->selected())
            words << each->name();
    }
    m_filter->setWords(words);
    m_filter->invalidate();
}

void CConfigViewModel::addTag(const QString& tag)
{
    for (CSceneViewModel* scene : SelectedScenes())
        scene->addTag(tag);
}

void CConfigViewModel::removeTag(const QString& tag)
{
    for (CSceneViewModel* scene : SelectedScenes())
        scene->removeTag(tag);
}

void CConfigViewModel::relicensingPossible(bool value)
{
    for (CSceneViewModel* scene : SelectedScenes())
        scene->setRelicensingPossible(value);
}

void CConfigViewModel::addPlaylist(const QString& name)
{
    QString unique = name;
    QString path = UserPlaylistPath(unique);
    for (int counter = 1; QFile::exists(path); ++counter) {
        unique = name + u' ' + QString::number(counter);
        path = UserPlaylistPath(unique);
    }
    auto* playlist = new CPlaylistViewModel(path, unique, this);
    QDir().mkpath(QFileInfo(path).absolutePath());
    playlist->Save();
    connect(playlist, &CPlaylistViewModel::renamed, this, &CConfigViewModel::OnPlaylistRenamed);
    m_playlists << playlist;
    Q_EMIT playlistsChanged();
    setPlaylistToRun(path);
    setActivePlaylist(playlist);
}

void CConfigViewModel::deletePlaylist(const QString& name)
{
    const QString path = UserPlaylistPath(name);
    if (!QFile::exists(path))
        return;
    QFile::remove(path);
    const auto found = std::find_if(m_playlists.begin(), m_playlists.end(),
                                    [&name](const CPlaylistViewModel* p) { return p->name() == name; });
    if (found != m_playlists.end())
        m_playlists.erase(found);
    Q_EMIT playlistsChanged();
    if (!m_activePlaylist || m_activePlaylist->filepath() != path)
        return;
    if (!m_playlists.isEmpty()) {
        setPlaylistToRun(m_playlists.front()->filepath());
        // The deleted file must not come back through the commit of the switch.
        m_activePlaylist = nullptr;
        setActivePlaylist(m_playlists.front());
        return;
    }
    setPlaylistToRun({});
    m_activePlaylist = nullptr;
    Recount();
    Q_EMIT activePlaylistChanged();
}

void CConfigViewModel::StartLumora(const QStringList& arguments)
{
    const QString directory = QCoreApplication::applicationDirPath();
    m_startProcess(directory + QStringLiteral("/lumora"), arguments, directory);
}

void CConfigViewModel::previewSelectedScene()
{
    if (!m_activeScene)
        return;
    // The visualizer reads the settings and the playlists from their files.
    CommitActivePlaylist();
    SaveConfiguration();
    QString entry = m_activeScene->filepath();
    // A postprocessing pass needs a picture to work on: a layered entry puts
    // the special background under it.
    if (m_activeScene->kind() == ESceneKind::Postprocessing)
        entry = QStringLiteral("[apppath]scenes/special/PostprocessingBackground.lmc;;") + entry;
    StartLumora({QStringLiteral("-f"), entry});
}

void CConfigViewModel::startVisualizer()
{
    save();
    StartLumora({});
}

QVariantList CConfigViewModel::audioSources() const
{
    return m_listAudioSources ? m_listAudioSources() : QVariantList{};
}

void CConfigViewModel::SelectVisibleScenes(ESelect how)
{
    if (!m_activePlaylist)
        return;
    for (int row = 0; row < m_filter->rowCount(); ++row) {
        CSceneViewModel* scene = m_filter->sceneAt(row);
        if (!scene)
            continue;
        scene->setSelected(how == ESelect::Set ? true : how == ESelect::Clear ? false : !scene->selected());
    }
    Recount();
}

void CConfigViewModel::selectAllScenes() { SelectVisibleScenes(ESelect::Set); }
void CConfigViewModel::deselectAllScenes() { SelectVisibleScenes(ESelect::Clear); }
void CConfigViewModel::toggleAllScenes() { SelectVisibleScenes(ESelect::Toggle); }
