#pragma once

#include <cstdint>
#include <functional>
#include <vector>

class CRender;

// The pictures of a recording read back one frame late: the copy of a frame
// runs while the next one is drawn, and each picture is handed on once its
// bytes are here. All calls come from the drawing thread.
class CFrameReadback
{
public:
    // Takes a picture's bytes (BGR, bottom row first); the vector may be
    // swapped for storage to reuse. False stops the hand-over.
    using Take = std::function<bool(std::vector<uint8_t>&)>;

    explicit CFrameReadback(CRender* render) : m_render(render) {}

    // Queues the first window's picture and hands on those that are due.
    // False when the picture cannot be read or `take` refused one.
    bool Read(const Take& take);
    // Hands on every queued picture, at the end of a recording.
    bool Drain(const Take& take);
    // Drops what is queued, after a failure.
    void Discard();

private:
    // Pictures in flight before the oldest is fetched.
    static constexpr int InFlight = 1;

    bool HandOn(int keep, const Take& take);

    CRender* m_render;
    std::vector<uint8_t> m_pixels;
};
