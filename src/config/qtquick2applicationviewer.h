#pragma once

#include <QString>

#include <memory>

class QQmlEngine;
class QQuickWindow;

// Owns the QML engine, the root component and the window it makes.
class QtQuick2ApplicationViewer
{
public:
    QtQuick2ApplicationViewer();
    ~QtQuick2ApplicationViewer();
    QtQuick2ApplicationViewer(const QtQuick2ApplicationViewer&) = delete;
    QtQuick2ApplicationViewer& operator=(const QtQuick2ApplicationViewer&) = delete;

    // Loads the root document, a "qrc:" URL or a file beside the program,
    // which must make a Window.
    void setMainQmlFile(const QString& file);
    QQmlEngine* engine() const { return m_engine.get(); }
    QQuickWindow* window() const { return m_window.get(); }
    // The window goes before the engine it was made by.
    void DeleteWindow() { m_window.reset(); }

private:
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;
};
