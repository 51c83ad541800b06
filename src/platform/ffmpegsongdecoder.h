#pragma once

#include "sound/songdecoder.h"

#include <vector>

struct AVAudioFifo;
struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct SwrContext;

// Decodes any song file FFmpeg knows to float stereo at 44100 Hz. Output
// passes through a FIFO so that every block but the last is whole, whatever
// size the codec's frames have.
class CFfmpegSongDecoder final : public CSongDecoder
{
public:
    CFfmpegSongDecoder();
    ~CFfmpegSongDecoder() override;
    CFfmpegSongDecoder(const CFfmpegSongDecoder&) = delete;
    CFfmpegSongDecoder& operator=(const CFfmpegSongDecoder&) = delete;

    bool Open(const std::string& path) override;
    int Decode(std::span<float, BlockFloats> block) override;
    double Position() const override { return static_cast<double>(m_framesOut) / SampleRate; }

private:
    void Close();
    bool Fail(const char* what, int error);
    // One step of demuxing and decoding; sets m_ended when nothing more will come.
    void DecodeMore();
    // Resamples a decoded frame, or with null flushes the resampler.
    void Resample(const AVFrame* frame);
    bool ConfigureResampler(const AVFrame& frame);

    std::string m_path;
    AVFormatContext* m_format = nullptr;
    AVCodecContext* m_codec = nullptr;
    SwrContext* m_resampler = nullptr;
    AVPacket* m_packet = nullptr;
    AVFrame* m_frame = nullptr;
    AVAudioFifo* m_fifo = nullptr;
    int m_stream = -1;
    bool m_inputEnded = false;
    bool m_ended = false;
    bool m_reportedBadData = false;
    long long m_framesOut = 0;
    // What the resampler was set up for, to notice a stream that changes.
    int m_inFormat = -1;
    int m_inRate = 0;
    int m_inChannels = 0;
    std::vector<float> m_converted;
};
