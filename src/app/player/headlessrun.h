#pragma once

#include "render/render.h"

#include <cstdint>
#include <string>
#include <string_view>

// A run without a window: a scene or playlist is played on simulated time and
// every frame is written as a picture, as fast as the machine allows.
struct SHeadlessOptions
{
    std::string m_scenePath;
    std::string m_outDirectory;
    // A movie file in place of the pictures, and the encoder it is made with
    // (empty: H.264); the song, if any, becomes its sound track.
    std::string m_moviePath;
    std::string m_encoder;
    int m_width = 1280;
    int m_height = 720;
    float m_fps = 30.0f;
    float m_seconds = 10.0f;
    // The sound the run hears. Without a song a headless run hears nothing,
    // so that the same command gives the same pictures.
    std::string m_songPath;
    bool m_seeded = false;
    uint32_t m_seed = 0;
    // Frames done, frames per second and time left on one terminal line.
    bool m_showProgress = false;
};

// The number of frames a run of these options writes.
int HeadlessFrameCount(const SHeadlessOptions& options);

// "WxH" with both sides from 1 to 16384.
bool ParseFrameSize(std::string_view text, int& width, int& height);

// Runs the whole headless recording. Prints one summary line to stdout, or
// the reason it failed to stderr. The result is the exit code of the
// process: 0 done, 1 the scene or playlist is missing, broken or has nothing
// that can play, 3 no OpenGL,
// 4 no window, 5 the pictures or the movie could not be written.
int RunHeadless(const SHeadlessOptions& options, const RenderFactory& makeRender);
