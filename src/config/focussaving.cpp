#include "config/focussaving.h"

#include "config/configviewmodel.h"

#include <QGuiApplication>

QMetaObject::Connection SaveWhenFocusLeaves(QGuiApplication& application, CConfigViewModel& root)
{
    return QObject::connect(&application, &QGuiApplication::applicationStateChanged, &root,
                            [&root](Qt::ApplicationState state) {
                                if (state == Qt::ApplicationActive)
                                    return;
                                root.CommitActivePlaylist();
                                root.SaveConfiguration();
                            });
}
