#pragma once

#include <GL/glew.h>

#include <utility>

// A GL buffer name owned by one object: deleted with it, moved, never copied.
// The context must be current when it dies.
class CGLBuffer
{
public:
    CGLBuffer() { glGenBuffers(1, &m_id); }
    ~CGLBuffer()
    {
        if (m_id)
            glDeleteBuffers(1, &m_id);
    }
    CGLBuffer(CGLBuffer&& other) noexcept : m_id(std::exchange(other.m_id, 0)) {}
    CGLBuffer& operator=(CGLBuffer&& other) noexcept
    {
        if (this != &other) {
            if (m_id)
                glDeleteBuffers(1, &m_id);
            m_id = std::exchange(other.m_id, 0);
        }
        return *this;
    }
    CGLBuffer(const CGLBuffer&) = delete;
    CGLBuffer& operator=(const CGLBuffer&) = delete;

    GLuint Id() const { return m_id; }

private:
    GLuint m_id = 0;
};
