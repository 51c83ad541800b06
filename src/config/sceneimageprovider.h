#pragma once

#include <QQuickImageProvider>

// Serves the pictures inside scene containers to QML as
// "image://lmscene/<container path>#<entry name>".
class CSceneImageProvider : public QQuickImageProvider
{
public:
    static constexpr QSize PlaceholderSize{160, 90};

    CSceneImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

    // An archive that can't be opened or an entry that isn't there gives the
    // placeholder, so that QML always has something to show.
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
    static QImage Placeholder();
};
