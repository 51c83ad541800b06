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
    if (size)
        *size = image.size();
    return image;
}
