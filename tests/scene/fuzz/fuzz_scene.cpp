// libFuzzer entry: any bytes, read as an ".lms" file, as an ".lmc" container
// or straight as scene XML, must load or fail without a fault. What loaded
// must come back the same from its own written form.

#include "scene/scene.h"
#include "scenenodes.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

QByteArray Written(CScene& scene)
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    scene.Serialize(&writer, true);
    return xml;
}

const std::string& WorkDir()
{
    static const std::string dir = [] {
        const std::string path = QDir::tempPath().toStdString() + "/lumora-fuzz-scene-" + std::to_string(getpid());
        QDir().mkpath(QString::fromStdString(path));
        return path;
    }();
    return dir;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static CSceneTestTypes types;
    if (size == 0)
        return 0;
    // The first byte picks the way in and whether the graph is read.
    const uint8_t mode = data[0];
    const QByteArray bytes(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));
    const bool loadGraph = (mode & 4) == 0;

    CScene scene;
    switch (mode & 3) {
    case 0:
    case 1: {
        const std::string path = WorkDir() + ((mode & 3) == 0 ? "/input.lms" : "/input.lmc");
        QFile file(QString::fromStdString(path));
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            std::abort();
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
        std::abort();
    const QByteArray again = Written(second);
    CScene third;
    QXmlStreamReader thirdReader(again);
    if (!third.Deserialize(&thirdReader, true) || Written(third) != again)
        std::abort();
    return 0;
}
