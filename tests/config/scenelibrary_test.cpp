#include "configfixture.h"

#include "config/playlistviewmodel.h"
#include "config/sceneimageprovider.h"
#include "config/scenelibrary.h"
#include "config/sceneviewmodel.h"
#include "config/tagviewmodel.h"
#include "scene/scene.h"
#include "support/tempdir.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

class Library : public ::testing::Test, public CConfigFixture
{
protected:
    static void Write(const QString& path, const QByteArray& bytes)
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        WriteFile(path.toStdString(), bytes.toStdString());
    }
    static QString PlaylistText(const QString& sceneFile)
    {
        return QStringLiteral("<Lumora><Scenes><Scene File=\"%1\"/></Scenes></Lumora>").arg(sceneFile);
    }

    QObject m_owner;
};

QStringList Describe(const QList<CSceneViewModel*>& scenes)
{
    QStringList text;
    for (const CSceneViewModel* s : scenes)
        text << s->name() + u' ' + s->type() + (s->official() ? " official" : "") + (s->broken() ? " broken" : "");
    return text;
}

} // namespace

TEST_F(Library, ScanListsScenesByKindAndNameKeepsBrokenOnesAndHidesHiddenInstalledOnes)
{
    MakeScene(UserPath("scenes/Hidden.lmc"), CScene::SceneType_Hidden);
    MakeScene(AppPath("scenes/special/Secret.lmc"), CScene::SceneType_Hidden | CScene::SceneType_Background);
    MakeScene(AppPath("scenes/Zeta.lmc"), 0);
    MakeScene(AppPath("scenes/deep/Alpha.lmc"), CScene::SceneType_PostProcessing | CScene::SceneType_Background);
    MakeScene(UserPath("scenes/Mid.lmc"), CScene::SceneType_Transition);
    Write(UserPath("scenes/Broken.lmc"), "not a zip");
    Write(UserPath("scenes/Upper.LMC"), "ignored: the extension is compared with case");

    const QList<CSceneViewModel*> scenes = SceneLibrary::ScanScenes(&m_owner);
    EXPECT_EQ(Describe(scenes), (QStringList{"Broken Standalone broken", "Hidden Standalone", "Zeta Standalone official",
                                            "Alpha Background official", "Mid Transition"}));
    EXPECT_TRUE(scenes[0]->loadError().contains("Broken.lmc"));
}

TEST_F(Library, TagCountsSkipReservedWordsAndCountKindsUsersAndLicences)
{
    MakeScene(UserPath("scenes/A.lmc"), 0, {"calm", "Background"});
    MakeScene(AppPath("scenes/B.lmc"), CScene::SceneType_Background, {"calm", "Official"}, false);
    MakeScene(AppPath("scenes/C.lmc"), CScene::SceneType_Background, {"calm"});

    QStringList counted;
    for (const CTagViewModel* tag : SceneLibrary::CountTags(SceneLibrary::ScanScenes(&m_owner), &m_owner))
        counted << tag->name() + u'=' + QString::number(tag->score());
    EXPECT_EQ(counted,
              (QStringList{"calm=3", "Background=2", "Standalone=1", "User=1", "norelicensing=1"}));
    EXPECT_TRUE(SceneLibrary::CountTags({}, &m_owner).isEmpty());
}

TEST_F(Library, PlaylistsAreCopiedOnFirstStartAndLayeredOnesAreNotOffered)
{
    Write(AppPath("playlists/Default.lmp"), PlaylistText("a.lmc;b.lmc;").toUtf8());
    Write(AppPath("playlists/my.two.lmp"), PlaylistText("[apppath]scenes/Zeta.lmc").toUtf8());
    const QList<CPlaylistViewModel*> first = SceneLibrary::ReadPlaylists(&m_owner);
    ASSERT_EQ(first.size(), 1);
    EXPECT_EQ(first[0]->name(), "my.two");
    EXPECT_EQ(first[0]->filepath(), UserPath("playlists/my.two.lmp"));
    EXPECT_EQ(first[0]->scenesSelected(), 1);
    EXPECT_TRUE(QFile::exists(UserPath("playlists/Default.lmp")));

    // Not copied again while the user has any; an unreadable one is listed, marked.
    QFile::remove(UserPath("playlists/my.two.lmp"));
    Write(UserPath("playlists/Bad.lmp"), "<<<");
    const QList<CPlaylistViewModel*> second = SceneLibrary::ReadPlaylists(&m_owner);
    ASSERT_EQ(second.size(), 1);
    EXPECT_EQ(second[0]->name(), "Bad");
    EXPECT_TRUE(second[0]->broken());
}

TEST_F(Library, ImportCopiesAsContainerAndKeepsAnOlderFile)
{
    CTempDir outside;
    EXPECT_FALSE(SceneLibrary::ImportScene(QString::fromStdString(outside.File("missing.lmd"))));
    const QString package = QString::fromStdString(outside.File("Gift.v2.lmd"));
    WriteFile(package.toStdString(), "first");
    EXPECT_TRUE(SceneLibrary::ImportScene(package));
    WriteFile(package.toStdString(), "second");
    EXPECT_TRUE(SceneLibrary::ImportScene(package));
    EXPECT_EQ(ReadFile(UserPath("scenes/Imported/Gift.v2.lmc").toStdString()), "first");
}

TEST_F(Library, TagChangesRewriteTheFileAndKeepItsPicturesWhichTheProviderServes)
{
    const QString path = UserPath("scenes/Plasma.lmc");
    CopyShippedScene(path);
    CSceneViewModel scene(path, false);
    QSignalSpy spy(&scene, &CSceneViewModel::tagsChanged);
    scene.addTag("calm");
    scene.addTag("night");
    scene.removeTag("night");
    scene.setRelicensingPossible(true);
    EXPECT_EQ(spy.count(), 3);

    CScene reread;
    ASSERT_TRUE(reread.Load(path.toStdString(), true));
    EXPECT_NE(std::find(reread.m_tags.begin(), reread.m_tags.end(), "calm"), reread.m_tags.end());
    EXPECT_EQ(std::find(reread.m_tags.begin(), reread.m_tags.end(), "night"), reread.m_tags.end());
    EXPECT_TRUE(reread.m_relicensingPossible);
    EXPECT_FALSE(reread.m_nodes.empty());

    CSceneImageProvider provider;
    QSize size;
    const QImage picture = provider.requestImage(path + "#scene.jpg", &size, {});
    EXPECT_EQ(size, QSize(640, 360));
    EXPECT_EQ(picture.size(), size);
    EXPECT_EQ(provider.requestImage(path + "#preview.jpg", &size, {}).size(), QSize(160, 90));
    Write(UserPath("scenes/Broken.lmc"), "not a zip");
    const QImage placeholder = CSceneImageProvider::Placeholder();
    EXPECT_EQ(provider.requestImage(UserPath("scenes/Broken.lmc#scene.jpg"), &size, {}), placeholder);
    EXPECT_EQ(provider.requestImage(path + "#missing.jpg", &size, {}), placeholder);
    EXPECT_EQ(size, CSceneImageProvider::PlaceholderSize);
}
