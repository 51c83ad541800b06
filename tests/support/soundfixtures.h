#pragma once

#include <string>
#include <vector>

// Audio files made with sox at test time: 44100 Hz, the container and codec
// chosen by the file's extension (".wav", ".ogg", ".flac", ...). Each returns
// false when sox failed.
bool MakeTone(const std::string& path, double frequency, double seconds, double amplitude = 0.5, int channels = 2);
bool MakeNoise(const std::string& path, double seconds, double amplitude = 0.5);
bool MakeSilence(const std::string& path, double seconds);
// 10 ms clicks at `bpm` beats a minute, the first at the start.
bool MakeClicks(const std::string& path, double bpm, double seconds);

// Runs a program found on PATH with these arguments (the first is its name)
// and waits for it; true when it ran and exited with 0.
bool RunProgram(const std::vector<std::string>& arguments);
