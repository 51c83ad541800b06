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

// A shader object of one stage; deleted with its owner.
class CGLShader
{
public:
    explicit CGLShader(GLenum type) : m_id(glCreateShader(type)) {}
    ~CGLShader()
    {
        if (m_id)
            glDeleteShader(m_id);
    }
    CGLShader(CGLShader&& other) noexcept : m_id(std::exchange(other.m_id, 0)) {}
    CGLShader& operator=(CGLShader&& other) noexcept
    {
        if (this != &other) {
            if (m_id)
                glDeleteShader(m_id);
            m_id = std::exchange(other.m_id, 0);
        }
        return *this;
    }
    CGLShader(const CGLShader&) = delete;
    CGLShader& operator=(const CGLShader&) = delete;

    GLuint Id() const { return m_id; }

private:
    GLuint m_id = 0;
};

// A program object name; 0 until Create().
class CGLProgramName
{
public:
    CGLProgramName() = default;
    ~CGLProgramName() { Reset(); }
    CGLProgramName(CGLProgramName&& other) noexcept : m_id(std::exchange(other.m_id, 0)) {}
    CGLProgramName& operator=(CGLProgramName&& other) noexcept
    {
        if (this != &other) {
            Reset();
            m_id = std::exchange(other.m_id, 0);
        }
        return *this;
    }
    CGLProgramName(const CGLProgramName&) = delete;
    CGLProgramName& operator=(const CGLProgramName&) = delete;

    void Create()
    {
        Reset();
        m_id = glCreateProgram();
    }
    void Reset()
    {
        if (m_id)
            glDeleteProgram(m_id);
        m_id = 0;
    }
    GLuint Id() const { return m_id; }

private:
    GLuint m_id = 0;
};
