#include "config/qtquick2applicationviewer.h"

#include "config/sceneimageprovider.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QUrl>

namespace {

QString AdjustPath(const QString& file)
{
    if (file.startsWith(QStringLiteral("qrc:")))
        return file;
    const QString folder = QCoreApplication::applicationDirPath();
    for (const QString& candidate : {QStringLiteral("%1/%2").arg(folder, file), QStringLiteral("%1/../%2").arg(folder, file)}) {
        if (QFileInfo::exists(candidate))
            return candidate;
    }
    return file;
}

} // namespace

QtQuick2ApplicationViewer::QtQuick2ApplicationViewer() : m_engine(std::make_unique<QQmlEngine>())
{
    // Modules shipped beside the program come first; the system's stay
    // reachable, since Qt here is the system's.
    m_engine->addImportPath(QCoreApplication::applicationDirPath() + QStringLiteral("/qt"));
    m_engine->addImageProvider(QStringLiteral("lmscene"), new CSceneImageProvider);
}

QtQuick2ApplicationViewer::~QtQuick2ApplicationViewer()
{
    m_window.reset();
    m_engine.reset();
}

void QtQuick2ApplicationViewer::setMainQmlFile(const QString& file)
{
    const QString path = AdjustPath(file);
    QQmlComponent component(m_engine.get());
    QObject::connect(m_engine.get(), &QQmlEngine::quit, QCoreApplication::instance(), &QCoreApplication::quit);
    component.loadUrl(path.startsWith(QStringLiteral("qrc:")) ? QUrl(path) : QUrl::fromLocalFile(path));
    if (!component.isReady())
        qWarning("%s", qPrintable(component.errorString()));
    QObject* root = component.create();
    auto* window = qobject_cast<QQuickWindow*>(root);
    if (!window) {
        delete root;
        qFatal("Error: Root item has to be a Window.");
    }
    m_window.reset(window);
    m_engine->setIncubationController(window->incubationController());
    window->setTitle(QStringLiteral("Lumora v2.0"));
}
