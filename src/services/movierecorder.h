#pragma once

#include "app/host/framerecorder.h"
#include "platform/ffmpegmovieencoder.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class CRender;

// The movie side of a recording run: every frame of the first window goes
// into one movie file, with the song as its sound track if there is one.
class CMovieRecorder : public CFrameRecorder
{
public:
    struct SOptions
    {
        int m_frameRate = 30;
        std::string m_encoder;
        std::string m_songPath;
    };

    CMovieRecorder(CRender* render, SOptions options);

    // `path` is the movie file; its extension chooses the container. False,
    // with the reason in Error(), when it cannot be made.
    bool StartMovie(const std::string& path) override;
    void WriteFrame(int frameRate) override;
    // Finishes the file, also after a run cut short, so that what was
    // recorded plays; a failed movie leaves no file.
    void StopMovie() override;

    int FramesWritten() const { return m_framesWritten; }
    bool IsGood() const { return m_good; }
    bool IsFinished() const { return m_finished; }
    const std::string& GetError() const { return m_error; }
    int64_t BytesWritten() const { return m_bytesWritten; }
    std::function<void(int)> m_onFrame;

private:
    CRender* m_render;
    SOptions m_options;
    CFfmpegMovieEncoder m_encoder;
    std::vector<uint8_t> m_pixels;
    std::string m_error;
    int m_framesWritten = 0;
    int64_t m_bytesWritten = 0;
    bool m_good = false;
    bool m_finished = false;
};
