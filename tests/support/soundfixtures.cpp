#include "support/soundfixtures.h"

#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

extern char** environ;

namespace {

std::string Number(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.6f", value);
    return text;
}

bool IsPcm(const std::string& path)
{
    const auto dot = path.rfind('.');
    const std::string extension = dot == std::string::npos ? "" : path.substr(dot);
    return extension == ".wav" || extension == ".flac" || extension == ".aiff";
}

// sox writing a synthesised signal; no dither, so files come out the same each run.
bool Sox(const std::string& path, int channels, const std::vector<std::string>& effects)
{
    std::vector<std::string> arguments{"sox", "-D", "-n", "-r", "44100", "-c", std::to_string(channels)};
    if (IsPcm(path))
        arguments.insert(arguments.end(), {"-b", "16"});
    arguments.push_back(path);
    arguments.insert(arguments.end(), effects.begin(), effects.end());
    return RunProgram(arguments);
}

} // namespace

bool RunProgram(const std::vector<std::string>& arguments)
{
    std::vector<char*> argv;
    for (const auto& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawnp(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0)
        return false;
    int status = 0;
    if (waitpid(pid, &status, 0) != pid)
        return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool MakeTone(const std::string& path, double frequency, double seconds, double amplitude, int channels)
{
    return Sox(path, channels, {"synth", Number(seconds), "sine", Number(frequency), "vol", Number(amplitude)});
}

bool MakeNoise(const std::string& path, double seconds, double amplitude)
{
    return Sox(path, 2, {"synth", Number(seconds), "whitenoise", "vol", Number(amplitude)});
}

bool MakeSilence(const std::string& path, double seconds)
{
    return Sox(path, 2, {"trim", "0", Number(seconds)});
}

bool MakeClicks(const std::string& path, double bpm, double seconds)
{
    constexpr double click = 0.01;
    const double beat = 60.0 / bpm;
    const int beats = std::max(1, static_cast<int>(std::ceil(seconds / beat)));
    return Sox(path, 2, {"synth", Number(click), "sine", "1000", "vol", "0.8", "pad", "0", Number(beat - click),
                         "repeat", std::to_string(beats - 1)});
}
