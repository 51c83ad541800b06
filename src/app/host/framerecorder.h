#pragma once

#include <string>

// Where a recording run puts its frames: a movie file, or numbered pictures.
// The host drives it on simulated time; the render's pixels are the
// recorder's business.
class CFrameRecorder
{
public:
    virtual ~CFrameRecorder() = default;
    // False when nothing can be written; the run then ends at once.
    virtual bool StartMovie(const std::string& path) = 0;
    // `frameRate` is the run's frame rate as a whole number.
    virtual void WriteFrame(int frameRate) = 0;
    virtual void StopMovie() = 0;
};
