#include "support/scenefuzzinput.h"

#include "scene/scene.h"

#include <QByteArray>
#include <QFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace {

QByteArray Written(CScene& scene)
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    scene.Serialize(&writer, true);
    return xml;
}

} // namespace

bool SceneInputLoadsAndRoundTrips(const uint8_t* data, size_t size, const std::string& workDir)
{
    if (size == 0)
        return true;
    const uint8_t mode = data[0];
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
    const bool loadGraph = (mode & 4) == 0;

    CScene scene;
    switch (mode & 3) {
    case 0:
    case 1: {
        const std::string path = workDir + ((mode & 3) == 0 ? "/input.lms" : "/input.lmc");
        QFile file(QString::fromStdString(path));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            return false;
        file.close();
        scene.Load(path, loadGraph);
        break;
    }
    default: {
        QXmlStreamReader reader(bytes);
        scene.Deserialize(&reader, loadGraph);
        break;
    }
    }

    // The first writing settles what the reader normalised; from then on the
    // written form must be a fixed point.
    const QByteArray first = Written(scene);
    CScene second;
    QXmlStreamReader secondReader(first);
    if (!second.Deserialize(&secondReader, true))
        return false;
    const QByteArray again = Written(second);
    CScene third;
    QXmlStreamReader thirdReader(again);
    return third.Deserialize(&thirdReader, true) && Written(third) == again;
}
