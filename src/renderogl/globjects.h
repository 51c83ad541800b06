#pragma once

#include <GL/glew.h>

#include <utility>

// Asks for a GL object that starts without a name.
struct SGLEmpty
{
};
inline constexpr SGLEmpty GLEmpty{};

// A GL object name owned by one object: generated with it, deleted with it,
// moved, never copied. The context must be current when it dies. Traits give
// the Gen and Delete calls, which GLEW only resolves at run time.
template <class Traits>
class TGLObject
{
public:
    TGLObject() : m_id(Traits::Create()) {}
    explicit TGLObject(SGLEmpty) {}
    ~TGLObject() { Reset(); }
    TGLObject(TGLObject&& other) noexcept : m_id(std::exchange(other.m_id, 0)) {}
    TGLObject& operator=(TGLObject&& other) noexcept
    {
        if (this != &other) {
            Reset();
            m_id = std::exchange(other.m_id, 0);
        }
        return *this;
    }
    TGLObject(const TGLObject&) = delete;
    TGLObject& operator=(const TGLObject&) = delete;

    GLuint Id() const { return m_id; }
    // Deletes the name now rather than with the owner.
    void Reset()
    {
        if (m_id)
            Traits::Destroy(m_id);
        m_id = 0;
    }

private:
    GLuint m_id = 0;
};

struct SGLBufferTraits
{
    static GLuint Create()
    {
        GLuint id = 0;
        glGenBuffers(1, &id);
        return id;
    }
    static void Destroy(GLuint id) { glDeleteBuffers(1, &id); }
};

struct SGLTextureTraits
{
    static GLuint Create()
    {
        GLuint id = 0;
        glGenTextures(1, &id);
        return id;
    }
    static void Destroy(GLuint id) { glDeleteTextures(1, &id); }
};

struct SGLFramebufferTraits
{
    static GLuint Create()
    {
        GLuint id = 0;
        glGenFramebuffersEXT(1, &id);
        return id;
    }
    static void Destroy(GLuint id) { glDeleteFramebuffersEXT(1, &id); }
};

struct SGLRenderbufferTraits
{
    static GLuint Create()
    {
        GLuint id = 0;
        glGenRenderbuffersEXT(1, &id);
        return id;
    }
    static void Destroy(GLuint id) { glDeleteRenderbuffersEXT(1, &id); }
};

using CGLBuffer = TGLObject<SGLBufferTraits>;
using CGLTexture = TGLObject<SGLTextureTraits>;
using CGLFramebuffer = TGLObject<SGLFramebufferTraits>;
using CGLRenderbuffer = TGLObject<SGLRenderbufferTraits>;

template <GLenum Stage>
struct SGLShaderTraits
{
    static GLuint Create() { return glCreateShader(Stage); }
    static void Destroy(GLuint id) { glDeleteShader(id); }
};

struct SGLProgramTraits
{
    static GLuint Create() { return glCreateProgram(); }
    static void Destroy(GLuint id) { glDeleteProgram(id); }
};

template <GLenum Stage>
using TGLShader = TGLObject<SGLShaderTraits<Stage>>;
using CGLProgramName = TGLObject<SGLProgramTraits>;
