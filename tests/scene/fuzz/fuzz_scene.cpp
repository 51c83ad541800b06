// libFuzzer entry: any bytes, read as an ".lms" file, as an ".lmc" container
// or straight as scene XML, must load or fail without a fault. What loaded
// must come back the same from its own written form.

#include "support/scenefuzzinput.h"
#include "../scenenodes.h"

#include <QDir>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

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
    if (!SceneInputLoadsAndRoundTrips(data, size, WorkDir()))
        std::abort();
    return 0;
}
