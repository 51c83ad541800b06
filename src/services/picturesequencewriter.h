#pragma once

#include "app/host/framerecorder.h"
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

// Writes the frames of a recording run as numbered PNG pictures,
// "frame-00001.png" onwards, into one directory. The pixels are read back
// from the first window a frame late, and the pictures are compressed on
// worker threads while the next frames are drawn.
class CPictureSequenceWriter : public CFrameRecorder
{
public:
    // `workers` 0 takes one thread per core.
    explicit CPictureSequenceWriter(CRender* render, int workers = 0);
    ~CPictureSequenceWriter() override;

    // `path` is the directory; it is made if missing. False when it cannot
    // be made or written to.
    bool StartMovie(const std::string& path) override;
    void WriteFrame(int frameRate) override;
    // Writes what is still queued and waits for every picture.
    void StopMovie() override;

    // The file name of picture `number`, counted from 1.
    static std::string FrameName(int number);

    // Pictures on disk so far.
    int FramesWritten() const { return m_framesWritten; }
    // False once a picture could not be written; the rest are skipped.
    bool IsGood() const { return m_good && !m_failed; }
    // Called after each frame with the number of pictures written so far.
    std::function<void(int)> m_onFrame;

private:
    struct SPicture
    {
        int m_number = 0;
        std::vector<uint8_t> m_pixels;
    };

    bool Queue(std::vector<uint8_t>& pixels);
    void WritePictures();
    void StopWorkers();
    // Logs the first failure of a worker, from the drawing thread.
    void ReportFailure();

    CRender* m_render;
    CFrameReadback m_readback;
    int m_workerCount;
    std::string m_directory;
    int m_width = 0;
    int m_height = 0;
    int m_framesQueued = 0;
    bool m_good = false;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<SPicture> m_waiting;
    std::vector<std::vector<uint8_t>> m_spare;
    std::vector<std::thread> m_workers;
    bool m_noMorePictures = false;
    std::string m_failedPath;
    std::atomic<bool> m_failed{false};
    bool m_failureReported = false;
    std::atomic<int> m_framesWritten{0};
};
