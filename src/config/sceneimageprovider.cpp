#include "config/sceneimageprovider.h"

#include "scene/scenecontainer.h"

#include <QFile>
#include <QImage>

QImage CSceneImageProvider::requestImage(const QString& id, QSize* size, const QSize&)
{
    const qsizetype hash = id.lastIndexOf(u'#');
    QImage image;
    if (hash > 0) {
        CSceneContainer container;
        QByteArray data;
        if (container.Open(QFile::encodeName(id.left(hash)).toStdString()) && container.Read(id.mid(hash + 1), data))
            image.loadFromData(data, "JPG");
    }
    if (image.isNull())
        image = Placeholder();
    if (size)
        *size = image.size();
    return image;
}

QImage CSceneImageProvider::Placeholder()
{
    // Dark diagonal stripes: plainly no picture of a scene, and no text, so
    // it needs no fonts.
    QImage image(PlaceholderSize, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            line[x] = ((x + y) / 8) % 2 ? qRgb(0x1a, 0x1c, 0x24) : qRgb(0x22, 0x25, 0x2f);
    }
    return image;
}
