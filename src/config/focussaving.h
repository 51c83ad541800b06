#pragma once

#include <QMetaObject>

class CConfigViewModel;
class QGuiApplication;

// Whatever the user changed reaches the disk each time the application
// loses the focus: the active playlist is committed and the settings saved.
QMetaObject::Connection SaveWhenFocusLeaves(QGuiApplication& application, CConfigViewModel& root);
