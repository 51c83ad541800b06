#pragma once

#include <chrono>
#include <string>
#include <vector>

// A PulseAudio source a user can name as the capture source.
struct CAudioSource
{
    std::string Name;
    std::string Description;
    // The monitor of an output: what the computer plays, not a microphone.
    bool Monitor = false;
};

// Asks the sound server for its sources, waiting at most `timeout`. False,
// after a log line, when there is no server to ask.
bool ListAudioSources(std::vector<CAudioSource>& sources,
                      std::chrono::milliseconds timeout = std::chrono::seconds(3));

// Lets the engine's sound object make PulseAudio capture and FFmpeg song
// decoders. Called once at start-up by each program that plays sound.
void RegisterSoundSources();
