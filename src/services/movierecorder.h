#pragma once

#include "app/host/framerecorder.h"
#include "platform/ffmpegmovieencoder.h"
#include "services/framereadback.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class CRender;

// The movie side of a recording run: every frame of the first window goes
// into one movie file, with the song as its sound track if there is one.
// Frames are encoded on a thread of their own while the next ones are
// drawn; a few read-back pictures wait between the two.
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
    ~CMovieRecorder() override;

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
    // The movie's size so far, as the encoder thread last saw it.
    int64_t BytesWritten() const { return m_bytesWritten; }
    std::function<void(int)> m_onFrame;

private:
    // Pictures read back and not yet encoded, at most this many.
    static constexpr size_t QueueDepth = 3;

    // Hands a read-back picture to the encoder thread; false once it failed.
    bool Queue(std::vector<uint8_t>& pixels);
    // Ends the recording after a failure and leaves no file.
    void Fail();
    void EncodeFrames();
    // Waits for the encoder thread to take every picture and end.
    void StopEncoding();

    CRender* m_render;
    CFrameReadback m_readback;
    SOptions m_options;
    CFfmpegMovieEncoder m_encoder;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::vector<uint8_t>> m_waiting;
    std::vector<std::vector<uint8_t>> m_spare;
    bool m_noMoreFrames = false;
    bool m_encoderFailed = false;
    std::string m_encoderError;
    std::thread m_thread;
    std::string m_error;
    int m_framesWritten = 0;
    std::atomic<int64_t> m_bytesWritten{0};
    bool m_good = false;
    bool m_finished = false;
};
