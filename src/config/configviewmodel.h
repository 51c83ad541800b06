#pragma once

#include "config/objectlistmodel.h"
#include "config/playlistviewmodel.h"
#include "config/scenesfilterviewmodel.h"
#include "config/sceneviewmodel.h"
#include "config/tagviewmodel.h"

#include <QList>
#include <QObject>
#include <QQmlListProperty>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <functional>

class CCfg;

// The root of what the QML interface sees: the settings, the scene library
// with its filter, the playlists and the tags.
class CConfigViewModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool randNextScene READ randNextScene WRITE setRandNextScene NOTIFY randNextSceneChanged)
    Q_PROPERTY(float transitionTime READ transitionTime WRITE setTransitionTime NOTIFY transitionTimeChanged)
    Q_PROPERTY(float transitionFromScale READ transitionFromScale WRITE setTransitionFromScale NOTIFY
                   transitionFromScaleChanged)
    Q_PROPERTY(float transitionToScale READ transitionToScale WRITE setTransitionToScale NOTIFY
                   transitionToScaleChanged)
    Q_PROPERTY(float renderTargetSize READ renderTargetSize WRITE setRenderTargetSize NOTIFY
                   renderTargetSizeChanged)
    Q_PROPERTY(int renderTargetWidth READ renderTargetWidth WRITE setRenderTargetWidth NOTIFY
                   renderTargetWidthChanged)
    Q_PROPERTY(int renderTargetHeight READ renderTargetHeight WRITE setRenderTargetHeight NOTIFY
                   renderTargetHeightChanged)
    Q_PROPERTY(float minSceneTime READ minSceneTime WRITE setMinSceneTime NOTIFY minSceneTimeChanged)
    Q_PROPERTY(float maxSceneTime READ maxSceneTime WRITE setMaxSceneTime NOTIFY maxSceneTimeChanged)
    Q_PROPERTY(float postProcessingProbability READ postProcessingProbability WRITE setPostProcessingProbability
                   NOTIFY postProcessingProbabilityChanged)
    Q_PROPERTY(float maxSoundCaptureSilence READ maxSoundCaptureSilence WRITE setMaxSoundCaptureSilence NOTIFY
                   maxSoundCaptureSilenceChanged)
    Q_PROPERTY(bool captureSound READ captureSound WRITE setCaptureSound NOTIFY captureSoundChanged)
    Q_PROPERTY(bool checkForNewVersion READ checkForNewVersion WRITE setCheckForNewVersion NOTIFY
                   checkForNewVersionChanged)
    Q_PROPERTY(bool sendUsageStats READ sendUsageStats WRITE setSendUsageStats NOTIFY sendUsageStatsChanged)
    Q_PROPERTY(int scenesSelected READ scenesSelected NOTIFY scenesSelectedChanged)
    Q_PROPERTY(CSceneViewModel* activeScene READ activeScene WRITE setActiveScene NOTIFY activeSceneChanged)
    Q_PROPERTY(CPlaylistViewModel* activePlaylist READ activePlaylist WRITE setActivePlaylist NOTIFY
                   activePlaylistChanged)
    Q_PROPERTY(QString playlistToRun READ playlistToRun WRITE setPlaylistToRun NOTIFY playlistToRunChanged)
    Q_PROPERTY(CScenesFilterViewModel* filteredScenes READ filteredScenes CONSTANT)
    Q_PROPERTY(QObjectListModel* allScenes READ allScenes CONSTANT)
    Q_PROPERTY(QQmlListProperty<CPlaylistViewModel> playlists READ playlists NOTIFY playlistsChanged)
    Q_PROPERTY(QQmlListProperty<CTagViewModel> tags READ tags NOTIFY tagsChanged)
    // The capture source by its sound server name; empty is what the default
    // output plays.
    Q_PROPERTY(QString audioSource READ audioSource WRITE setAudioSource NOTIFY audioSourceChanged)

public:
    // Ranges the settings are held to, whatever QML or a hand-edited file asks.
    static constexpr float MaxSceneSeconds = 3600.0f;
    static constexpr float MaxTransitionSeconds = 60.0f;
    static constexpr float MaxScalePercent = 100.0f;
    static constexpr float MinRenderPercent = 10.0f;
    static constexpr float MaxRenderPercent = 200.0f;
    static constexpr int MaxRenderPixels = 16384;

    // Starts a program detached, with arguments and a working directory.
    using ProcessStarter = std::function<void(const QString&, const QStringList&, const QString&)>;

    CConfigViewModel(CCfg* configuration, const QString& configPath, QObject* parent = nullptr);

    bool randNextScene() const;
    void setRandNextScene(bool value);
    float transitionTime() const;
    void setTransitionTime(float value);
    float transitionFromScale() const;
    void setTransitionFromScale(float value);
    float transitionToScale() const;
    void setTransitionToScale(float value);
    float renderTargetSize() const;
    void setRenderTargetSize(float value);
    int renderTargetWidth() const;
    void setRenderTargetWidth(int value);
    int renderTargetHeight() const;
    void setRenderTargetHeight(int value);
    float minSceneTime() const;
    void setMinSceneTime(float value);
    float maxSceneTime() const;
    void setMaxSceneTime(float value);
    float postProcessingProbability() const;
    void setPostProcessingProbability(float value);
    float maxSoundCaptureSilence() const;
    void setMaxSoundCaptureSilence(float value);
    bool captureSound() const;
    void setCaptureSound(bool value);
    bool checkForNewVersion() const;
    void setCheckForNewVersion(bool value);
    bool sendUsageStats() const;
    void setSendUsageStats(bool value);
    int scenesSelected() const;
    CSceneViewModel* activeScene() const { return m_activeScene; }
    void setActiveScene(CSceneViewModel* scene);
    CPlaylistViewModel* activePlaylist() const { return m_activePlaylist; }
    void setActivePlaylist(CPlaylistViewModel* playlist);
    QString playlistToRun() const;
    void setPlaylistToRun(const QString& path);
    CScenesFilterViewModel* filteredScenes() const { return m_filter; }
    QObjectListModel* allScenes() const { return m_allScenes; }
    QQmlListProperty<CPlaylistViewModel> playlists();
    QQmlListProperty<CTagViewModel> tags();
    QString audioSource() const;
    void setAudioSource(const QString& source);

    // Handed over by start-up; the view model keeps the lists, not the objects.
    void setAllScenes(QObjectListModel* scenes);
    void setPlaylistList(const QList<CPlaylistViewModel*>& playlists);
    void setTagList(const QList<CTagViewModel*>& tags);
    const QList<CPlaylistViewModel*>& playlistList() const { return m_playlists; }
    const QList<CTagViewModel*>& tagList() const { return m_tags; }

    void CommitActivePlaylist();
    bool SaveConfiguration() const;
    // Tests and the platform set how previews and runs start.
    void setProcessStarter(ProcessStarter starter) { m_startProcess = std::move(starter); }
    void setAudioSourceLister(std::function<QVariantList()> lister) { m_listAudioSources = std::move(lister); }

    Q_INVOKABLE void searchScenes(const QString& filter);
    Q_INVOKABLE void selectTag(const QString& tag, bool selected);
    Q_INVOKABLE void addTag(const QString& tag);
    Q_INVOKABLE void removeTag(const QString& tag);
    Q_INVOKABLE void relicensingPossible(bool value);
    Q_INVOKABLE void addPlaylist(const QString& name);
    Q_INVOKABLE void deletePlaylist(const QString& name);
    Q_INVOKABLE void previewSelectedScene();
    Q_INVOKABLE void selectAllScenes();
    Q_INVOKABLE void deselectAllScenes();
    Q_INVOKABLE void toggleAllScenes();
    // Commits the active playlist and writes the configuration.
    Q_INVOKABLE void save();
    // Saves, then starts the visualizer on the playlist to run.
    Q_INVOKABLE void startVisualizer();
    // Each source as {name, description}; what the default output plays first.
    Q_INVOKABLE QVariantList audioSources() const;

Q_SIGNALS:
    void randNextSceneChanged();
    void transitionTimeChanged();
    void minSceneTimeChanged();
    void maxSceneTimeChanged();
    void postProcessingProbabilityChanged();
    void maxSoundCaptureSilenceChanged();
    void captureSoundChanged();
    void checkForNewVersionChanged();
    void sendUsageStatsChanged();
    void transitionFromScaleChanged();
    void transitionToScaleChanged();
    void renderTargetSizeChanged();
    void renderTargetWidthChanged();
    void renderTargetHeightChanged();
    void scenesChanged();
    void activePlaylistChanged();
    void playlistToRunChanged();
    void playlistsChanged();
    void activeSceneChanged();
    void tagsChanged();
    void scenesSelectedChanged();
    void audioSourceChanged();

private:
    enum class ESelect
    {
        Set,
        Clear,
        Toggle,
    };
    void SelectVisibleScenes(ESelect how);
    void Recount();
    QList<CSceneViewModel*> SelectedScenes() const;
    bool IsPlaylistToRun(const QString& path) const;
    void OnPlaylistRenamed(const QString& oldPath, const QString& newPath);
    void StartLumora(const QStringList& arguments);

    CCfg* m_config;
    QString m_configPath;
    QObjectListModel* m_allScenes;
    CScenesFilterViewModel* m_filter;
    CSceneViewModel* m_activeScene = nullptr;
    CPlaylistViewModel* m_activePlaylist = nullptr;
    QList<CTagViewModel*> m_tags;
    QList<CPlaylistViewModel*> m_playlists;
    ProcessStarter m_startProcess;
    std::function<QVariantList()> m_listAudioSources;
};
