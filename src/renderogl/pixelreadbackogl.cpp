#include "renderogl/pixelreadbackogl.h"

#include <cstring>

CPixelReadbackOGL::~CPixelReadbackOGL()
{
    Release();
}

bool CPixelReadbackOGL::Start(int width, int height)
{
    if (m_queued == Slots || width <= 0 || height <= 0)
        return false;
    SSlot& slot = m_slots[(m_oldest + m_queued) % Slots];
    if (!slot.m_buffer.Id())
        slot.m_buffer = TGLObject<SGLBufferTraits>();
    const size_t bytes = size_t(width) * size_t(height) * 3;
    glBindBuffer(GL_PIXEL_PACK_BUFFER, slot.m_buffer.Id());
    if (slot.m_capacity < bytes) {
        glBufferData(GL_PIXEL_PACK_BUFFER, GLsizeiptr(bytes), nullptr, GL_STREAM_READ);
        slot.m_capacity = bytes;
    }
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, width, height, GL_BGR, GL_UNSIGNED_BYTE, nullptr);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    slot.m_fence = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    slot.m_width = width;
    slot.m_height = height;
    ++m_queued;
    return true;
}

bool CPixelReadbackOGL::Finish(std::vector<uint8_t>& pixels)
{
    if (m_queued == 0)
        return false;
    SSlot& slot = m_slots[m_oldest];
    m_oldest = (m_oldest + 1) % Slots;
    --m_queued;
    if (slot.m_fence) {
        glClientWaitSync(slot.m_fence, GL_SYNC_FLUSH_COMMANDS_BIT, GL_TIMEOUT_IGNORED);
        glDeleteSync(slot.m_fence);
        slot.m_fence = nullptr;
    }
    const size_t bytes = size_t(slot.m_width) * size_t(slot.m_height) * 3;
    glBindBuffer(GL_PIXEL_PACK_BUFFER, slot.m_buffer.Id());
    const void* mapped = glMapBufferRange(GL_PIXEL_PACK_BUFFER, 0, GLsizeiptr(bytes), GL_MAP_READ_BIT);
    const bool read = mapped != nullptr;
    if (read) {
        pixels.resize(bytes);
        std::memcpy(pixels.data(), mapped, bytes);
        glUnmapBuffer(GL_PIXEL_PACK_BUFFER);
    }
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    return read;
}

void CPixelReadbackOGL::Release()
{
    for (SSlot& slot : m_slots) {
        if (slot.m_fence)
            glDeleteSync(slot.m_fence);
        slot = SSlot();
    }
    m_oldest = 0;
    m_queued = 0;
}
