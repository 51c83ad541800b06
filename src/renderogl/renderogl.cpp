#include "renderogl/renderogl.h"

#include "app/log.h"

#include "renderogl/bufferogl.h"
#include "renderogl/fxmanagerogl.h"
#include "renderogl/renderstatemanagerogl.h"
#include "renderogl/texturemanagerogl.h"

#include <GL/glew.h>

namespace {

constexpr GLenum s_modes[] = {GL_POINTS, GL_POINTS, GL_LINES, GL_LINE_STRIP, GL_TRIANGLES, GL_TRIANGLE_STRIP, GL_POINTS};

GLenum Mode(int kind)
{
    return (kind >= PT_Points && kind <= PT_PointSprites) ? s_modes[kind] : GL_POINTS;
}

} // namespace

CRenderOGL::CRenderOGL(CUserApp3d* app) : CRenderWin(app)
{
    m_data = std::make_unique<CRenderData>();
}

CRenderOGL::~CRenderOGL()
{
    ReleaseDevice();
}

bool CRenderOGL::InitDevice()
{
    m_data->SetStateManager(std::make_unique<CRenderStateManagerOGL>(m_data.get()));
    m_data->GetStateManager()->Reset();
    m_data->SetTextureManager(std::make_unique<CTextureManagerOGL>(m_data.get()));
    if (!m_data->GetTextureManager()->Init())
        return false;
    m_data->SetNoiseTextures(std::make_unique<CNoiseTextures>());
    if (!m_data->GetNoiseTextures()->Init(*m_data->GetTextureManager()))
        return false;
    m_data->SetFxManager(std::make_unique<CFxManagerOGL>(m_data.get()));
    if (!m_data->GetFxManager()->Init())
        return Error("Failed to init the FxManager");
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    return true;
}

void CRenderOGL::ReleaseDevice()
{
    ReleaseQuad();
    m_readback.Release();
    m_currentVertexBuffer = nullptr;
    m_currentIndexBuffer = nullptr;
    m_data->FreeDeviceObjects();
}

void CRenderOGL::SetViewport(float x, float y, float width, float height)
{
    const SViewport v = ViewportPixels(m_currentRect, x, y, width, height);
    glViewport(v.x, v.y, v.width, v.height);
}

std::unique_ptr<CVertexBuffer> CRenderOGL::CreateVertexBuffer(int count, int flags, int format)
{
    if (count <= 0 || GetVertexFormat(format).stride == 0)
        return nullptr;
    return std::make_unique<CVertexBufferOGL>(m_data.get(), count, flags, format);
}

std::unique_ptr<CIndexBuffer> CRenderOGL::CreateIndexBuffer(int count, int flags)
{
    if (count <= 0)
        return nullptr;
    return std::make_unique<CIndexBufferOGL>(m_data.get(), count, flags);
}

bool CRenderOGL::Clear(const float color[4], float depth, int flags)
{
    GLbitfield mask = GL_STENCIL_BUFFER_BIT;
    if (flags & CF_Color)
        mask |= GL_COLOR_BUFFER_BIT;
    if (flags & CF_Depth) {
        mask |= GL_DEPTH_BUFFER_BIT;
        glClearDepth(depth);
        // A depth mask left off would silently keep the old depth.
        if (CRenderStateManager* states = GetStateManager()) {
            states->m_states.m_flags |= RS_DepthWrite;
            states->Activate();
        }
    }
    glClearColor(color[0], color[1], color[2], color[3]);
    glClear(mask);
    return true;
}

bool CRenderOGL::BindVertexAttributes()
{
    auto* buffer = static_cast<CVertexBufferOGL*>(m_currentVertexBuffer);
    if (!buffer)
        return false;
    const SVertexFormat& format = GetVertexFormat(buffer->m_format);
    glBindBuffer(GL_ARRAY_BUFFER, buffer->m_buffer.Id());
    for (int index : AllVertexAttributes)
        glDisableVertexAttribArray(index);
    for (int i = 0; i < format.attributeCount; ++i) {
        const SVertexAttribute& a = format.attributes[i];
        const void* offset = reinterpret_cast<const void*>(static_cast<uintptr_t>(a.offset));
        if (a.isColor)
            glVertexAttribPointer(a.index, 4, GL_UNSIGNED_BYTE, GL_TRUE, format.stride, offset);
        else
            glVertexAttribPointer(a.index, a.components, GL_FLOAT, GL_FALSE, format.stride, offset);
        glEnableVertexAttribArray(a.index);
    }
    return true;
}

void CRenderOGL::UnbindVertexAttributes()
{
    for (int index : AllVertexAttributes)
        glDisableVertexAttribArray(index);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
}

bool CRenderOGL::DrawPrimitive(int kind, int first, int primitives)
{
    const int count = PrimitiveVertexCount(kind, primitives);
    const bool sprites = kind == PT_PointSprites;
    if (sprites) {
        glEnable(GL_POINT_SPRITE);
        glTexEnvf(GL_POINT_SPRITE, GL_COORD_REPLACE, 1.0f);
        glEnable(GL_VERTEX_PROGRAM_POINT_SIZE);
    }
    if (CRenderStateManager* states = GetStateManager())
        states->Activate();
    if (BindVertexAttributes())
        glDrawArrays(Mode(kind), first, count);
    UnbindVertexAttributes();
    if (sprites) {
        glDisable(GL_VERTEX_PROGRAM_POINT_SIZE);
        glDisable(GL_POINT_SPRITE);
    }
    return true;
}

bool CRenderOGL::DrawIndexedPrimitive(int kind, int, int primitives, int instances)
{
    const int count = PrimitiveVertexCount(kind, primitives);
    if (CRenderStateManager* states = GetStateManager())
        states->Activate();
    auto* indices = static_cast<CIndexBufferOGL*>(m_currentIndexBuffer);
    if (indices && BindVertexAttributes()) {
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, indices->m_buffer.Id());
        // The index type follows the buffer's size, not the number drawn;
        // drawing always starts at index 0.
        if (instances < 2)
            glDrawElements(Mode(kind), count, indices->IndexType(), nullptr);
        else
            glDrawElementsInstanced(Mode(kind), count, indices->IndexType(), nullptr, instances);
    }
    UnbindVertexAttributes();
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    return true;
}

bool CRenderOGL::ReadPixels(void* buffer)
{
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, m_currentRect.Width(), m_currentRect.Height(), GL_BGR, GL_UNSIGNED_BYTE, buffer);
    return true;
}

bool CRenderOGL::StartReadPixels()
{
    return m_readback.Start(m_currentRect.Width(), m_currentRect.Height());
}

bool CRenderOGL::FinishReadPixels(std::vector<uint8_t>& pixels)
{
    return m_readback.Finish(pixels);
}

std::unique_ptr<CRender> MakeRenderOGL(CUserApp3d* app)
{
    return std::make_unique<CRenderOGL>(app);
}
