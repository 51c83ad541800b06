#pragma once

#include <memory>
#include <span>
#include <string>

// Decodes a song file to float stereo at 44100 Hz, one block at a time, as
// fast as it is asked: the caller keeps it in step with the engine's clock.
class CSongDecoder
{
public:
    static constexpr int SampleRate = 44100;
    static constexpr int BlockFrames = 576;
    static constexpr int BlockFloats = BlockFrames * 2;

    virtual ~CSongDecoder() = default;

    // False after logging why; a decoder that failed to open decodes nothing.
    virtual bool Open(const std::string& path) = 0;
    // Fills `block` with up to BlockFrames interleaved stereo frames, zeros
    // after the last one, and returns the frames; -1 at the end of the song
    // or when nothing can be decoded.
    virtual int Decode(std::span<float, BlockFloats> block) = 0;
    // Seconds of the song decoded so far.
    virtual double Position() const = 0;
};

using SongDecoderFactory = std::unique_ptr<CSongDecoder> (*)();
// Set by the platform layer at start-up; null where songs can't be decoded.
inline SongDecoderFactory g_songDecoderFactory = nullptr;
