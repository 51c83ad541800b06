#include "scene/sceneimages.h"

#include "app/log.h"

#include <QBuffer>
#include <QImage>

namespace {

QByteArray EncodeJpeg(const QImage& image, int quality)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "JPG", quality))
        return {};
    return bytes;
}

} // namespace

bool CSceneImages::Make(const CSceneSnapshot& picture)
{
    m_sceneJpg.clear();
    m_previewJpg.clear();
    if (!picture.IsValid())
        return Error("Scene picture of %dx%d pixels with %zu bytes is malformed", picture.m_width,
                     picture.m_height, picture.m_bgr.size());

    // Wraps the pixels without a copy; BGR888 reads them in their own order.
    const QImage source(picture.m_bgr.data(), picture.m_width, picture.m_height, picture.m_width * 3,
                        QImage::Format_BGR888);
    const QImage scene =
        source.scaled(SceneWidth, SceneHeight, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const QImage preview =
        scene.scaled(PreviewWidth, PreviewHeight, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    m_sceneJpg = EncodeJpeg(scene, SceneQuality);
    m_previewJpg = EncodeJpeg(preview, PreviewQuality);
    if (m_sceneJpg.isEmpty() || m_previewJpg.isEmpty()) {
        m_sceneJpg.clear();
        m_previewJpg.clear();
        return Error("Unable to write JPEG images: the image format plugin is missing");
    }
    return true;
}
