#include "configfixture.h"

#include "app/cfg.h"
#include "app/director/playlist.h"
#include "config/configviewmodel.h"
#include "config/scenelibrary.h"

#include <QFile>
#include <QMetaProperty>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <functional>

namespace {

struct SSettingRow
{
    const char* property;
    QVariant written;
    double read;
    std::function<bool(const CCfg&)> stored;
};

QStringList Names(const QList<CSceneViewModel*>& scenes)
{
    QStringList names;
    for (const CSceneViewModel* scene : scenes)
        names << scene->name();
    return names;
}

QStringList VisibleNames(const CScenesFilterViewModel& filter)
{
    QStringList names;
    for (int row = 0; row < filter.rowCount(); ++row)
        names << filter.sceneAt(row)->name();
    return names;
}

// Five scenes: three of the user's, two installed, of four kinds.
class ConfigViewModel : public ::testing::Test, public CConfigFixture
{
protected:
    void SetUp() override
    {
        MakeScene(UserPath("scenes/Aurora.lmc"), 0, {"calm"});
        MakeScene(AppPath("scenes/Bolt.lmc"), CScene::SceneType_Background, {"fast"}, false);
        MakeScene(UserPath("scenes/Comet.lmc"), CScene::SceneType_PostProcessing, {"Official", "fast"});
        MakeScene(AppPath("scenes/Dawn.lmc"), CScene::SceneType_Transition);
        MakeScene(UserPath("scenes/more/Ember.lmc"), 0);
        m_scenes = SceneLibrary::ScanScenes(&m_owner);
        auto* model = new QObjectListModel(&m_owner);
        model->setObjectList({m_scenes.begin(), m_scenes.end()});
        m_vm.setAllScenes(model);
        m_vm.setTagList(SceneLibrary::CountTags(m_scenes, &m_owner));
        m_vm.setProcessStarter([this](const QString& program, const QStringList& arguments, const QString&) {
            m_started << program << arguments;
        });
    }

    CSceneViewModel* Scene(const QString& name) const
    {
        for (CSceneViewModel* scene : m_scenes) {
            if (scene->name() == name)
                return scene;
        }
        return nullptr;
    }

    QStringList Selected() const
    {
        QStringList names;
        for (const CSceneViewModel* scene : m_scenes) {
            if (scene->selected())
                names << scene->name();
        }
        return names;
    }

    QObject m_owner;
    CCfg m_config;
    CConfigViewModel m_vm{&m_config, QString::fromStdString(g_paths.m_configPath)};
    QList<CSceneViewModel*> m_scenes;
    QStringList m_started;
};

} // namespace

TEST_F(ConfigViewModel, SettersEmitOnlyOnChangeAndStoreConvertedAndClampedValues)
{
    const SSettingRow rows[] = {
        {"randNextScene", false, 0, [](const CCfg& c) { return !c.RandomizeScene; }},
        {"transitionTime", 7.5, 7.5, [](const CCfg& c) { return c.Time == 7.5f; }},
        {"transitionTime", 1000, 60, [](const CCfg& c) { return c.Time == 60.0f; }},
        {"transitionFromScale", 80, 80, [](const CCfg& c) { return qFuzzyCompare(c.SceneFromScale, 0.8f); }},
        {"transitionToScale", 25, 25, [](const CCfg& c) { return qFuzzyCompare(c.SceneToScale, 0.25f); }},
        {"transitionToScale", -3, 0, [](const CCfg& c) { return c.SceneToScale == 0.0f; }},
        {"renderTargetSize", 50, 50,
         [](const CCfg& c) { return c.RenderTargetWidth == 0.5 && c.RenderTargetHeight == 0.5; }},
        {"renderTargetSize", 1, 10, [](const CCfg& c) { return qFuzzyCompare(c.RenderTargetHeight, 0.1); }},
        {"renderTargetWidth", 1280, 1280, [](const CCfg& c) { return c.RenderTargetWidth == 1280.0; }},
        {"renderTargetHeight", 99999, 16384, [](const CCfg& c) { return c.RenderTargetHeight == 16384.0; }},
        {"minSceneTime", 12.9, 12, [](const CCfg& c) { return c.MinRunTime == 12; }},
        {"maxSceneTime", -5, 0, [](const CCfg& c) { return c.MaxRunTime == 0; }},
        {"postProcessingProbability", 45, 45,
         [](const CCfg& c) { return qFuzzyCompare(c.PostProcessingProbability, 0.45f); }},
        {"postProcessingProbability", 150, 100, [](const CCfg& c) { return c.PostProcessingProbability == 1.0f; }},
        {"maxSoundCaptureSilence", 4.7, 4, [](const CCfg& c) { return c.MaxSilenceTime == 4; }},
        {"captureSound", false, 0, [](const CCfg& c) { return !c.CaptureSound; }},
        {"checkForNewVersion", true, 1, [](const CCfg& c) { return c.CheckForNewVersion; }},
        {"sendUsageStats", true, 1, [](const CCfg& c) { return c.SendAnonymousUsageInfo; }},
    };
    for (const SSettingRow& row : rows) {
        SCOPED_TRACE(std::string(row.property) + " = " + row.written.toString().toStdString());
        m_config = CCfg();
        const QMetaObject* meta = m_vm.metaObject();
        const QMetaProperty property = meta->property(meta->indexOfProperty(row.property));
        ASSERT_TRUE(property.isValid());
        QSignalSpy spy(&m_vm, property.notifySignal());
        QSignalSpy heightSpy(&m_vm, &CConfigViewModel::renderTargetHeightChanged);
        ASSERT_TRUE(property.write(&m_vm, row.written));
        EXPECT_EQ(spy.count(), 1);
        EXPECT_NEAR(property.read(&m_vm).toDouble(), row.read, 1e-4);
        EXPECT_TRUE(row.stored(m_config));
        property.write(&m_vm, row.written);
        EXPECT_EQ(spy.count(), 1) << "a second write of the same value emitted again";
        if (std::string_view(row.property) != "renderTargetHeight") {
            EXPECT_EQ(heightSpy.count(), 0);
        }
    }
}

TEST_F(ConfigViewModel, SettingsOutOfRangeInTheFileAreHeldToTheirRange)
{
    CCfg config;
    config.Time = 500.0f;
    config.PostProcessingProbability = -2.0f;
    config.MaxRunTime = 100000;
    const CCfg unchanged = config;
    CConfigViewModel vm(&config, {});
    EXPECT_EQ(vm.transitionTime(), CConfigViewModel::MaxTransitionSeconds);
    EXPECT_EQ(vm.postProcessingProbability(), 0.0f);
    EXPECT_EQ(vm.maxSceneTime(), CConfigViewModel::MaxSceneSeconds);
    EXPECT_EQ(config.MinRunTime, unchanged.MinRunTime);
    EXPECT_EQ(config.SceneFromScale, unchanged.SceneFromScale);
}

TEST_F(ConfigViewModel, FilterPassesScenesByWordsOriginKindLicenceAndSearchText)
{
    struct SRow
    {
        QStringList words;
        QString search;
        QStringList visible;
    };
    const SRow rows[] = {
        {{}, {}, {"Aurora", "Ember", "Bolt", "Comet", "Dawn"}},
        {{"User"}, {}, {"Aurora", "Ember", "Comet"}},
        // A user scene passes "Official" only by carrying it as a tag.
        {{"Official"}, {}, {"Bolt", "Comet", "Dawn"}},
        {{"norelicensing"}, {}, {"Bolt"}},
        {{"fast"}, {}, {"Bolt", "Comet"}},
        {{"Background"}, {}, {"Bolt"}},
        {{"User", "fast"}, {}, {"Comet"}},
        {{}, "AW", {"Dawn"}},
        {{}, "o", {"Aurora", "Bolt", "Comet"}},
        {{"fast"}, "co", {"Comet"}},
    };
    CScenesFilterViewModel& filter = *m_vm.filteredScenes();
    for (const SRow& row : rows) {
        SCOPED_TRACE((row.words.join(u',') + u'|' + row.search).toStdString());
        filter.setWords(row.words);
        m_vm.searchScenes(row.search);
        EXPECT_EQ(VisibleNames(filter), row.visible);
    }
    EXPECT_EQ(filter.data(filter.index(0, 0), Qt::DisplayRole).toInt(), 1);
    // The origin narrows beside the words.
    filter.setOrigin("User");
    EXPECT_EQ(VisibleNames(filter), QStringList{"Comet"});
    filter.setOrigin("Official");
    filter.setWords({});
    m_vm.searchScenes({});
    EXPECT_EQ(VisibleNames(filter), (QStringList{"Bolt", "Comet", "Dawn"}));
}

TEST_F(ConfigViewModel, SelectTagKeepsOneWordAndSignalsEachTagThatChanged)
{
    CTagViewModel* background = nullptr;
    for (CTagViewModel* tag : m_vm.tagList()) {
        if (tag->name() == u"Background")
            background = tag;
    }
    ASSERT_NE(background, nullptr);
    QSignalSpy spy(background, &CTagViewModel::selectedChanged);
    m_vm.selectTag("Background", true);
    EXPECT_EQ(VisibleNames(*m_vm.filteredScenes()), QStringList{"Bolt"});
    m_vm.selectTag("User", true);
    EXPECT_EQ(m_vm.filteredScenes()->words(), QStringList{"User"});
    EXPECT_EQ(spy.count(), 2);
    m_vm.selectTag("User", false);
    EXPECT_TRUE(m_vm.filteredScenes()->words().isEmpty());
}

TEST_F(ConfigViewModel, PlaylistSelectionCommitsByKindAndRoundTripsThroughTheFile)
{
    QSignalSpy runSpy(&m_vm, &CConfigViewModel::playlistToRunChanged);
    m_vm.selectAllScenes();
    EXPECT_TRUE(Selected().isEmpty()) << "without an active playlist nothing is selected";

    m_vm.addPlaylist("Mine");
    CPlaylistViewModel* mine = m_vm.activePlaylist();
    ASSERT_NE(mine, nullptr);
    EXPECT_EQ(mine->filepath(), UserPath("playlists/Mine.lmp"));
    EXPECT_TRUE(QFile::exists(mine->filepath()));
    EXPECT_FALSE(mine->broken());
    EXPECT_EQ(m_vm.playlistToRun(), mine->filepath());
    EXPECT_EQ(runSpy.count(), 1);

    // Only what the filter shows is selected.
    m_vm.searchScenes("o");
    m_vm.selectAllScenes();
    EXPECT_EQ(Selected(), (QStringList{"Aurora", "Bolt", "Comet"}));
    EXPECT_EQ(mine->scenesSelected(), 3);
    m_vm.searchScenes({});
    m_vm.toggleAllScenes();
    EXPECT_EQ(Selected(), (QStringList{"Ember", "Dawn"}));
    Scene("Aurora")->setSelected(true);
    Scene("Comet")->setSelected(true);
    Scene("Bolt")->setSelected(true);
    EXPECT_EQ(mine->scenesSelected(), 5);
    m_vm.save();
    EXPECT_EQ(Names(mine->sceneList()), (QStringList{"Aurora", "Ember", "Bolt", "Comet", "Dawn"}));

    // Reordered within the file; then a scene goes.
    mine->moveScene(1, 0);
    Scene("Dawn")->setSelected(false);
    m_vm.save();
    EXPECT_EQ(Names(mine->sceneList()), (QStringList{"Ember", "Aurora", "Bolt", "Comet"}));
    CPlaylist file;
    ASSERT_TRUE(file.Load(mine->filepath().toStdString()));
    ASSERT_EQ(file.m_scenes.size(), 2u);
    EXPECT_EQ(ExpandPath(file.m_scenes[0]->m_fileName), UserPath("scenes/more/Ember.lmc").toStdString());
    ASSERT_EQ(file.m_backgrounds.size(), 1u);
    ASSERT_EQ(file.m_postprocessings.size(), 1u);
    EXPECT_TRUE(file.m_transitions.empty());
    EXPECT_EQ(ExpandPath(file.m_backgrounds[0]->m_fileName), AppPath("scenes/Bolt.lmc").toStdString());

    // Another playlist takes its scenes from the file; switching back
    // restores the first selection.
    m_vm.addPlaylist("Mine");
    EXPECT_EQ(m_vm.activePlaylist()->name(), "Mine 1");
    EXPECT_TRUE(Selected().isEmpty());
    m_vm.addPlaylist("Mine");
    EXPECT_EQ(m_vm.activePlaylist()->name(), "Mine 2");
    m_vm.setActivePlaylist(mine);
    EXPECT_EQ(Selected(), (QStringList{"Aurora", "Ember", "Bolt", "Comet"}));

    // A rename moves the file and the playlist to run with it.
    mine->setName("Favourites");
    EXPECT_TRUE(QFile::exists(UserPath("playlists/Favourites.lmp")));
    EXPECT_FALSE(QFile::exists(UserPath("playlists/Mine.lmp")));

    m_vm.deletePlaylist("Favourites");
    EXPECT_EQ(m_vm.activePlaylist()->name(), "Mine 1");
    EXPECT_EQ(m_vm.playlistToRun(), UserPath("playlists/Mine 1.lmp"));
    EXPECT_FALSE(QFile::exists(UserPath("playlists/Favourites.lmp")));
    m_vm.deletePlaylist("Mine 1");
    m_vm.deletePlaylist("Mine 2");
    EXPECT_EQ(m_vm.activePlaylist(), nullptr);
    EXPECT_TRUE(m_vm.playlistToRun().isEmpty());
    EXPECT_EQ(m_vm.playlistList().size(), 0);
}

TEST_F(ConfigViewModel, PreviewSavesTheSettingsAndStartsLumoraOnTheSceneOrOverTheSpecialBackground)
{
    m_vm.previewSelectedScene();
    EXPECT_TRUE(m_started.isEmpty()) << "no active scene, no preview";
    m_vm.setActiveScene(Scene("Aurora"));
    m_vm.previewSelectedScene();
    EXPECT_TRUE(QFile::exists(QString::fromStdString(g_paths.m_configPath)));
    ASSERT_EQ(m_started.size(), 3);
    EXPECT_TRUE(m_started[0].endsWith("/lumora"));
    EXPECT_EQ(m_started.mid(1), (QStringList{"-f", UserPath("scenes/Aurora.lmc")}));
    m_started.clear();
    m_vm.setActiveScene(Scene("Comet"));
    m_vm.previewSelectedScene();
    EXPECT_EQ(m_started.mid(1), (QStringList{"-f", "[apppath]scenes/special/PostprocessingBackground.lmc;;" +
                                                        UserPath("scenes/Comet.lmc")}));
}
