// The front end's window under Qt Quick Test: Main.qml from the program's
// resources, with the real view models over a library made from the shipped
// scenes (with their pictures), scenes of the test data and a damaged file.

#include "app/cfg.h"
#include "app/director/playlist.h"
#include "app/paths.h"
#include "config/configviewmodel.h"
#include "config/focussaving.h"
#include "config/qmltypes.h"
#include "config/sceneimageprovider.h"
#include "config/scenelibrary.h"
#include "nodes/nodetypes.h"
#include "scene/nodefactory.h"
#include "scene/scene.h"
#include "support/tempdir.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QGuiApplication>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQuickTest>

#include <algorithm>
#include <memory>

namespace {

void CopyTree(const QString& from, const QString& to)
{
    QDirIterator files(from, {"*.lmc"}, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        const QString target = to + path.mid(from.size());
        QDir().mkpath(QFileInfo(target).absolutePath());
        QFile::copy(path, target);
        QFile::setPermissions(target, QFile::permissions(target) | QFile::WriteOwner);
    }
}

// Older test scenes become user containers, without pictures.
void ConvertTestScene(const QString& name, const QString& userScenes)
{
    CScene scene;
    scene.Load(LUMORA_TEST_SCENES "/" + name.toStdString() + ".lms", true);
    scene.m_tags = {"test"};
    scene.Save((userScenes + u'/' + name + ".lmc").toStdString(), false);
}

} // namespace

// What the QML test asks of C++: pictures of the window and the files behind
// the view models.
class CQuickTestHelper : public QObject
{
    Q_OBJECT
    // The arguments of the last program the window started.
    Q_PROPERTY(QStringList launched MEMBER m_launched)

public:
    QStringList m_launched;

    // `keep`: the picture is the README's, replaced on purpose only.
    Q_INVOKABLE bool grab(QQuickWindow* window, const QString& name, bool keep = false) const
    {
        const QImage picture = window->grabWindow();
        bool saved = picture.save(QStringLiteral(LUMORA_BUILD_DIR "/") + name);
        if (keep && qEnvironmentVariableIntValue("LUMORA_UPDATE_REFERENCE"))
            saved = picture.save(QStringLiteral(LUMORA_SOURCE_DIR "/docs/") + name) && saved;
        return saved && picture.size() == window->size() * window->devicePixelRatio();
    }
    Q_INVOKABLE QStringList tagsInFile(const QString& path) const
    {
        CScene scene;
        QStringList tags;
        if (scene.Load(path.toStdString(), false))
            std::transform(scene.m_tags.begin(), scene.m_tags.end(), std::back_inserter(tags),
                           [](const std::string& tag) { return QString::fromStdString(tag); });
        return tags;
    }
    // As if the user switched to another program.
    Q_INVOKABLE void leaveFocus() const
    {
        Q_EMIT qGuiApp->applicationStateChanged(Qt::ApplicationInactive);
    }
    Q_INVOKABLE QString readFile(const QString& path) const
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
};

class CQuickTestSetup : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void qmlEngineAvailable(QQmlEngine* engine)
    {
        m_factory = CNodeFactory::Get();
        m_factory->Init(NodeTypes());
        g_paths.m_appPath = m_dir.File("app");
        g_paths.m_userPath = m_dir.File("user");
        g_paths.m_configPath = m_dir.File("user/config.xml");
        const QString app = QString::fromStdString(g_paths.m_appPath);
        const QString user = QString::fromStdString(g_paths.m_userPath);
        CopyTree(QStringLiteral(LUMORA_SOURCE_DIR "/data/scenes"), app + "/scenes");
        QDir().mkpath(user + "/scenes");
        for (const char* name : {"beatflash", "meshtorus", "turingbloom"})
            ConvertTestScene(QString::fromLatin1(name), user + "/scenes");
        QFile damaged(user + "/scenes/Damaged.lmc");
        if (damaged.open(QIODevice::WriteOnly))
            damaged.write("not a scene container");
        damaged.close();
        QDir().mkpath(app + "/playlists");
        CPlaylist evening;
        for (const char* scene : {"Plasma", "Tunnel", "Starfield"})
            evening.Add(evening.m_scenes, std::string("[apppath]scenes/") + scene + ".lmc");
        evening.Add(evening.m_transitions, "[apppath]scenes/transitions/Crossfade.lmc");
        evening.Save("[apppath]playlists/Evening.lmp");

        m_config.Playlist = ExpandPath("[userpath]playlists/Evening.lmp");
        RegisterConfigQmlTypes();
        m_root = std::make_unique<CConfigViewModel>(&m_config, QString::fromStdString(g_paths.m_configPath));
        m_root->setProcessStarter([this](const QString& program, const QStringList& arguments, const QString&) {
            m_helper.m_launched = QStringList{program} + arguments;
        });
        SetQmlRootViewModel(m_root.get());
        SaveWhenFocusLeaves(*qGuiApp, *m_root);
        SceneLibrary::Load(*m_root);

        engine->addImageProvider(QStringLiteral("lmscene"), new CSceneImageProvider);
        engine->rootContext()->setContextProperty(QStringLiteral("testHelper"), &m_helper);
        engine->rootContext()->setContextProperty(QStringLiteral("userPath"), user);
    }

    void cleanupTestCase()
    {
        m_root.reset();
        if (m_factory)
            m_factory->Release();
    }

private:
    CTempDir m_dir;
    CCfg m_config;
    CQuickTestHelper m_helper;
    std::unique_ptr<CConfigViewModel> m_root;
    CNodeFactory* m_factory = nullptr;
};

QUICK_TEST_MAIN_WITH_SETUP(lumora_config_qml, CQuickTestSetup)

#include "configquicktest.moc"
