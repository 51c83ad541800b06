#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct AVAudioFifo;
struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;
struct AVStream;
struct SwsContext;
class CFfmpegSongDecoder;

// A movie file written with FFmpeg: one video stream of a whole frame rate
// (H.264 through libx264 unless another encoder is named) and, with a song,
// the song as an AAC track cut to the length of the pictures. The container
// follows the file's extension. The file is written under a temporary name
// beside the final one and renamed by Finish, so that a movie that did not
// finish never looks like a whole one.
class CFfmpegMovieEncoder
{
public:
    struct SOptions
    {
        std::string m_path;
        int m_width = 0;
        int m_height = 0;
        int m_frameRate = 30;
        // An FFmpeg encoder name; empty takes libx264.
        std::string m_encoder;
        // Empty for a movie without sound.
        std::string m_songPath;
    };

    CFfmpegMovieEncoder();
    ~CFfmpegMovieEncoder();
    CFfmpegMovieEncoder(const CFfmpegMovieEncoder&) = delete;
    CFfmpegMovieEncoder& operator=(const CFfmpegMovieEncoder&) = delete;

    // False with `error` set for the user: no container for the extension,
    // no such encoder, a size the encoder refuses, a file that can't be made.
    bool Open(const SOptions& options, std::string& error);
    // One picture: rows of blue, green, red bytes, the bottom row first, as
    // OpenGL reads them. The song follows up to the pictures' time.
    bool AddFrame(const uint8_t* bgrBottomUp, std::string& error);
    // Flushes, writes the trailer and gives the file its name.
    bool Finish(std::string& error);
    // Closes and deletes the unfinished file.
    void Abandon();

    int64_t BytesWritten() const;
    int FramesWritten() const { return int(m_videoFrames); }

private:
    bool OpenVideo(const SOptions& options, std::string& error);
    bool OpenAudio(const std::string& songPath, std::string& error);
    // Encodes `frame` (null flushes) and writes the packets.
    bool Encode(AVCodecContext* codec, AVStream* stream, AVFrame* frame, std::string& error);
    // Song samples into the audio encoder until it is at `seconds`.
    bool FeedAudio(double seconds, bool last, std::string& error);
    void Close();

    std::string m_path;
    std::string m_partialPath;
    AVFormatContext* m_format = nullptr;
    AVCodecContext* m_video = nullptr;
    AVCodecContext* m_audio = nullptr;
    AVStream* m_videoStream = nullptr;
    AVStream* m_audioStream = nullptr;
    AVFrame* m_picture = nullptr;
    AVFrame* m_sound = nullptr;
    AVPacket* m_packet = nullptr;
    SwsContext* m_scaler = nullptr;
    AVAudioFifo* m_fifo = nullptr;
    std::unique_ptr<CFfmpegSongDecoder> m_song;
    bool m_songEnded = false;
    int m_width = 0;
    int m_height = 0;
    int m_frameRate = 30;
    int64_t m_videoFrames = 0;
    int64_t m_audioSamples = 0;
    bool m_headerWritten = false;
};
