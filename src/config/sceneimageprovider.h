#pragma once

#include <QQuickImageProvider>

// Serves the pictures inside scene containers to QML as
// "image://lmscene/<container path>#<entry name>".
class CSceneImageProvider : public QQuickImageProvider
{
public:
    CSceneImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}

    // An archive that can't be opened or an entry that isn't there gives an
    // empty image.
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};
