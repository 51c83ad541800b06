#include "config/qmltypes.h"

#include "config/configviewmodel.h"

#include <QQmlEngine>

namespace {

CConfigViewModel* g_root = nullptr;

} // namespace

void SetQmlRootViewModel(CConfigViewModel* root)
{
    g_root = root;
}

void RegisterConfigQmlTypes()
{
    constexpr const char* uri = "Lumora";
    qmlRegisterSingletonType<CConfigViewModel>(uri, 1, 0, "ConfigViewModel", [](QQmlEngine*, QJSEngine*) -> QObject* {
        // The view model outlives every engine; QML must not delete it.
        QQmlEngine::setObjectOwnership(g_root, QQmlEngine::CppOwnership);
        return g_root;
    });
    qmlRegisterType<CSceneViewModel>(uri, 1, 0, "SceneViewModel");
    qmlRegisterType<CPlaylistViewModel>(uri, 1, 0, "PlaylistViewModel");
    qmlRegisterType<CTagViewModel>(uri, 1, 0, "TagViewModel");
    qmlRegisterType<CScenesFilterViewModel>(uri, 1, 0, "ScenesFilterViewModel");
    qmlRegisterType<QObjectListModel>(uri, 1, 0, "ObjectListModel");
}
