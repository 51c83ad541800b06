#include "renderogl/bufferogl.h"

#include "app/log.h"
#include "render/rendertypes.h"

namespace {

GLenum Usage(int flags)
{
    return (flags & VBF_DYNAMIC) ? GL_DYNAMIC_DRAW : GL_STATIC_DRAW;
}

void* MapDiscarding(GLenum target, GLuint id, int size, int flags)
{
    glBindBuffer(target, id);
    glBufferData(target, size, nullptr, Usage(flags));
    return glMapBuffer(target, GL_WRITE_ONLY);
}

void UnmapAndUnbind(GLenum target, GLuint id, void*& mapped)
{
    mapped = nullptr;
    glBindBuffer(target, id);
    // The contents are lost (a mode switch, for one); the next Lock rewrites them.
    if (glUnmapBuffer(target) == GL_FALSE)
        Error("glUnmapBuffer returned false");
    glBindBuffer(target, 0);
}

} // namespace

CVertexBufferOGL::CVertexBufferOGL(CRenderData* owner, int count, int flags, int format)
    : CVertexBuffer(owner, count, flags, format), m_stride(GetVertexFormat(format).stride)
{
    glBindBuffer(GL_ARRAY_BUFFER, m_buffer.Id());
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(count) * m_stride, nullptr, Usage(flags));
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

void* CVertexBufferOGL::Lock()
{
    m_mapped = MapDiscarding(GL_ARRAY_BUFFER, m_buffer.Id(), m_count * m_stride, m_flags);
    return m_mapped;
}

void CVertexBufferOGL::Unlock()
{
    UnmapAndUnbind(GL_ARRAY_BUFFER, m_buffer.Id(), m_mapped);
}

CVertexBufferOGL::~CVertexBufferOGL()
{
    if (m_mapped)
        Unlock();
}

CIndexBufferOGL::CIndexBufferOGL(CRenderData* owner, int count, int flags)
    : CIndexBuffer(owner, count, flags), m_size(count * IndexWidth(count))
{
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, m_buffer.Id());
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, m_size, nullptr, Usage(flags));
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
}

GLenum CIndexBufferOGL::IndexType() const
{
    return IndexWidth(m_count) == 2 ? GL_UNSIGNED_SHORT : GL_UNSIGNED_INT;
}

void* CIndexBufferOGL::Lock()
{
    m_mapped = MapDiscarding(GL_ELEMENT_ARRAY_BUFFER, m_buffer.Id(), m_size, m_flags);
    return m_mapped;
}

void CIndexBufferOGL::Unlock()
{
    UnmapAndUnbind(GL_ELEMENT_ARRAY_BUFFER, m_buffer.Id(), m_mapped);
}

CIndexBufferOGL::~CIndexBufferOGL()
{
    if (m_mapped)
        Unlock();
}
