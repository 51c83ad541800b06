#pragma once

#include "app/host/framerecorder.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class CRender;

// Writes the frames of a recording run as numbered PNG pictures,
// "frame-00001.png" onwards, into one directory. The pixels are read back
// from the first window after it was drawn.
class CPictureSequenceWriter : public CFrameRecorder
{
public:
    explicit CPictureSequenceWriter(CRender* render);

    // `path` is the directory; it is made if missing. False when it cannot
    // be made or written to.
    bool StartMovie(const std::string& path) override;
    void WriteFrame(int frameRate) override;
    void StopMovie() override;

    // The file name of picture `number`, counted from 1.
    static std::string FrameName(int number);

    int FramesWritten() const { return m_framesWritten; }
    // False once a picture could not be written; the rest are skipped.
    bool IsGood() const { return m_good; }
    // Called after each picture with the number written so far.
    std::function<void(int)> m_onFrame;

private:
    CRender* m_render;
    std::string m_directory;
    std::vector<uint8_t> m_pixels;
    int m_framesWritten = 0;
    bool m_good = false;
};
