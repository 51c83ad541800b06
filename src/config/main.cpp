// lumora-config: the configuration front end. It imports a scene package if
// asked, reads the scene library, the playlists and the settings, and shows
// them in a Qt Quick window; previews start the visualizer.

#include "app/cfg.h"
#include "app/host/apptypewin.h"
#include "app/log.h"
#include "app/paths.h"
#include "app/qtmessages.h"
#include "app/stoprequest.h"
#include "app/trace.h"
#include "config/configapp.h"
#include "config/configviewmodel.h"
#include "config/focussaving.h"
#include "config/qmltypes.h"
#include "config/qtquick2applicationviewer.h"
#include "config/scenelibrary.h"
#include "config/singleinstance.h"
#include "nodes/nodetypes.h"
#include "platform/audiosources.h"
#include "platform/crashhandler.h"
#include "scene/nodefactory.h"
#include "services/stats.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QMessageBox>
#include <QQuickWindow>
#include <QResource>
#include <QTimer>

#include <cstdio>
#include <memory>

namespace {

// Without a screen nobody could close a box: the text goes to stderr only.
void ShowMessage(const QString& text)
{
    fprintf(stderr, "lumora-config: %s\n", qPrintable(text));
    Error("%s", qPrintable(text));
    const QString platform = QGuiApplication::platformName();
    if (platform != u"offscreen" && platform != u"minimal")
        QMessageBox::warning(nullptr, QStringLiteral("Lumora"), text);
}

QVariantList ListSources()
{
    std::vector<CAudioSource> sources;
    QVariantList list;
    if (!ListAudioSources(sources, std::chrono::milliseconds(1500)))
        return list;
    for (const CAudioSource& source : sources) {
        list << QVariantMap{{QStringLiteral("name"), QString::fromStdString(source.Name)},
                            {QStringLiteral("description"), QString::fromStdString(source.Description)},
                            {QStringLiteral("monitor"), source.Monitor}};
    }
    return list;
}

void BringToFront(QQuickWindow* window)
{
    if (!window)
        return;
    if (window->visibility() == QWindow::Minimized)
        window->showMaximized();
    window->raise();
    window->requestActivate();
}

} // namespace

int main(int argc, char** argv)
{
    CCrashHandler crashHandler("");
    InstallQtMessageHandler();
    // An interface in a resource file beside the program replaces the one
    // built in.
    if (QFile::exists(QStringLiteral("Lumora.Config.rcc")))
        QResource::registerResource(QStringLiteral("Lumora.Config.rcc"));

    QApplication application(argc, argv);
    InstallStopSignals();
    // SIGINT and SIGTERM end the run the normal way, settings saved.
    QTimer stopPoll;
    QObject::connect(&stopPoll, &QTimer::timeout, &application, [] {
        if (StopRequested())
            QCoreApplication::quit();
    });
    stopPoll.start(200);
    QCommandLineParser parser;
    parser.addHelpOption();
    const QCommandLineOption import(QStringLiteral("i"),
                                    QStringLiteral(".lmd file to import into the user scenes directory"),
                                    QStringLiteral("file"));
    parser.addOption(import);
    parser.process(application);

    g_paths.Setup();
    crashHandler.SetDirectory(g_paths.m_userPath);
    TRACE_LOG("main");

    auto configApp = std::make_unique<CConfigApp>();
    auto host = std::make_unique<CAppTypeWin>(configApp.get(), RenderFactory{});
    CConfigViewModel* root = nullptr;
    QObject::connect(&application, &QCoreApplication::aboutToQuit, [&] {
        TRACE_LOG("aboutToQuit");
        if (root) {
            root->CommitActivePlaylist();
            root->SaveConfiguration();
        }
        CStats::Instance().Exit();
    });

    CSingleInstance instance(QString::fromStdString(g_paths.m_userPath));
    const QString importFile = parser.value(import);
    if (!importFile.isEmpty() && !SceneLibrary::ImportScene(importFile)) {
        ShowMessage(QStringLiteral("Unable to find the \"%1\" file to import").arg(importFile));
        return 0;
    }
    // The running front end finds an imported scene at its next start.
    if (instance.RaiseRunning()) {
        Log("Another lumora-config runs; it was asked to come to the front");
        return 0;
    }
    instance.Listen();

    host->m_appType = EAppType::ConfigFrontEnd;
    host->Init();
    CCfg& config = *host->m_config;
    CStats& stats = CStats::Instance();
    stats.m_send = config.SendAnonymousUsageInfo;
    stats.m_appType = EAppType::ConfigFrontEnd;
    stats.Init();
    if (config.Playlist.empty())
        config.Playlist = ExpandPath("[apppath]playlists/Default.lmp");

    // Tag changes read whole scenes, which needs the node types.
    CNodeFactory* factory = CNodeFactory::Get();
    factory->Init(NodeTypes());

    RegisterConfigQmlTypes();
    auto viewModel = std::make_unique<CConfigViewModel>(&config, QString::fromStdString(host->m_configPath));
    viewModel->setAudioSourceLister(ListSources);
    root = viewModel.get();
    SaveWhenFocusLeaves(application, *root);
    SetQmlRootViewModel(root);
    SceneLibrary::Load(*root);

    int result = 0;
    {
        QtQuick2ApplicationViewer viewer;
        viewer.setMainQmlFile(QStringLiteral("qrc:/qml/Main.qml"));
        QObject::connect(&instance, &CSingleInstance::raiseRequested, [&viewer] { BringToFront(viewer.window()); });
        if (viewer.window())
            viewer.window()->showMaximized();
        result = application.exec();
        viewer.DeleteWindow();
    }
    root = nullptr;
    viewModel.reset();
    factory->Release();
    host.reset();
    configApp.reset();
    Log("lumora-config stopped with exit code %d", result);
    return result;
}
