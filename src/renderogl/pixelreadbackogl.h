#pragma once

#include "renderogl/globjects.h"

#include <array>
#include <cstdint>
#include <vector>

// Pictures read back through pixel buffer objects in rotation: the copy of a
// picture runs behind the drawing of the next one, and its bytes are fetched
// only when they are asked for. The context must be current for every call.
class CPixelReadbackOGL
{
public:
    static constexpr int Slots = 3;

    CPixelReadbackOGL() = default;
    ~CPixelReadbackOGL();
    CPixelReadbackOGL(const CPixelReadbackOGL&) = delete;
    CPixelReadbackOGL& operator=(const CPixelReadbackOGL&) = delete;

    // Queues a copy of the bound read buffer's rectangle from (0, 0) as BGR
    // bytes; false when every slot is taken.
    bool Start(int width, int height);
    // The oldest queued picture, bottom row first; false when none is queued.
    bool Finish(std::vector<uint8_t>& pixels);
    int Queued() const { return m_queued; }
    // Gives back the buffers; queued pictures are dropped.
    void Release();

private:
    struct SSlot
    {
        TGLObject<SGLBufferTraits> m_buffer{GLEmpty};
        size_t m_capacity = 0;
        GLsync m_fence = nullptr;
        int m_width = 0;
        int m_height = 0;
    };

    std::array<SSlot, Slots> m_slots;
    int m_oldest = 0;
    int m_queued = 0;
};
