#include "renderogl/textureogl.h"

#include "render/rendertypes.h"

namespace {

GLenum TargetOf(ETextureShape shape)
{
    switch (shape) {
    case ETextureShape::Texture1D:
        return GL_TEXTURE_1D;
    case ETextureShape::Texture2D:
        return GL_TEXTURE_2D;
    case ETextureShape::Texture3D:
        return GL_TEXTURE_3D;
    case ETextureShape::Cube:
        return GL_TEXTURE_CUBE_MAP;
    }
    return GL_TEXTURE_2D;
}

void SetWrap(GLenum target, GLint mode, bool withR)
{
    glTexParameteri(target, GL_TEXTURE_WRAP_S, mode);
    glTexParameteri(target, GL_TEXTURE_WRAP_T, mode);
    if (withR)
        glTexParameteri(target, GL_TEXTURE_WRAP_R, mode);
}

void SetFilter(GLenum target, GLint minification)
{
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, minification);
}

} // namespace

bool TextureStorage(int format, STextureStorage& storage)
{
    switch (format) {
    case TF_A8R8G8B8:
        storage = {GL_RGBA8, GL_BGRA, GL_UNSIGNED_BYTE};
        return true;
    case TF_A32R32G32B32F:
        storage = {GL_RGBA32F, GL_RGBA, GL_FLOAT};
        return true;
    case TF_A16R16G16B16F:
        storage = {GL_RGBA16F, GL_RGBA, GL_FLOAT};
        return true;
    case TF_R11G11B10F:
        storage = {GL_R11F_G11F_B10F, GL_RGB, GL_FLOAT};
        return true;
    case TF_D24:
        storage = {GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT, GL_FLOAT};
        return true;
    default:
        return false;
    }
}

CTextureOGL::CTextureOGL(CTextureManager* manager, int width, int height, int depth, int format, int type)
    : CTexture(manager, width, height, depth, format, type)
{
    // A framebuffer surface is flat or a cube whatever its height, since it
    // is attached as a 2D image; 1D targets could not be drawn into.
    if (type == TT_RenderTarget)
        m_target = depth == -1 ? GL_TEXTURE_CUBE_MAP : GL_TEXTURE_2D;
    else
        m_target = TargetOf(GetShape());

    glBindTexture(m_target, m_texture.Id());
    switch (type) {
    case TT_Normal:
        SetupNormal();
        break;
    case TT_Dynamic:
        SetupDynamic();
        break;
    case TT_RenderTarget:
        SetupRenderTarget();
        break;
    default:
        break;
    }
    glBindTexture(m_target, 0);
}

void CTextureOGL::SetupNormal()
{
    switch (GetShape()) {
    case ETextureShape::Texture1D:
    case ETextureShape::Texture2D:
        SetWrap(m_target, GL_REPEAT, false);
        SetFilter(m_target, GL_LINEAR_MIPMAP_LINEAR);
        // Every upload then rebuilds the chain by itself.
        glTexParameteri(m_target, GL_GENERATE_MIPMAP, GL_TRUE);
        m_flags |= TXF_MipMaps;
        break;
    case ETextureShape::Texture3D:
        glEnable(GL_TEXTURE_3D);
        SetWrap(m_target, GL_REPEAT, true);
        SetFilter(m_target, GL_LINEAR);
        break;
    case ETextureShape::Cube:
        SetWrap(m_target, GL_CLAMP_TO_EDGE, true);
        SetFilter(m_target, GL_LINEAR);
        break;
    }
    AllocateBuffer();
}

void CTextureOGL::SetupDynamic()
{
    switch (GetShape()) {
    case ETextureShape::Texture1D:
    case ETextureShape::Texture2D:
        SetWrap(m_target, GL_REPEAT, false);
        SetFilter(m_target, GL_LINEAR);
        AllocateBuffer();
        break;
    case ETextureShape::Texture3D:
        SetupNormal();
        break;
    case ETextureShape::Cube:
        // Not supported: no CPU copy, so Lock gives null.
        break;
    }
}

void CTextureOGL::SetupRenderTarget()
{
    m_flags |= TXF_RenderTarget;
    glEnable(m_target);
    STextureStorage storage{};
    const bool hasStorage = TextureStorage(m_format, storage);
    if (m_target == GL_TEXTURE_CUBE_MAP) {
        SetWrap(m_target, GL_CLAMP_TO_EDGE, true);
        SetFilter(m_target, GL_LINEAR);
        if (!hasStorage)
            return;
        for (GLenum face = 0; face < 6; ++face)
            glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face, 0, storage.internalFormat, m_width, m_height, 0,
                         storage.format, storage.type, nullptr);
        return;
    }
    SetWrap(m_target, GL_CLAMP_TO_EDGE, false);
    SetFilter(m_target, GL_LINEAR);
    if (!hasStorage)
        return;
    if (m_format == TF_D24) {
        glTexParameteri(m_target, GL_DEPTH_TEXTURE_MODE, GL_LUMINANCE);
        glTexParameteri(m_target, GL_TEXTURE_COMPARE_MODE, GL_NONE);
    }
    glTexImage2D(m_target, 0, storage.internalFormat, m_width, m_height, 0, storage.format, storage.type, nullptr);
}

void CTextureOGL::Unlock(int face)
{
    if (m_buffer.empty())
        return;
    // A one-byte texel is sent as red alone, so the upload never reads
    // past the copy.
    const GLenum format = m_format == TF_R8 ? GL_RED : GL_RGBA;
    const void* data = m_buffer.data();
    glBindTexture(m_target, m_texture.Id());
    switch (m_target) {
    case GL_TEXTURE_1D:
        glTexImage1D(m_target, 0, GL_RGBA8, m_width, 0, format, GL_UNSIGNED_BYTE, data);
        break;
    case GL_TEXTURE_2D:
        glTexImage2D(m_target, 0, GL_RGBA8, m_width, m_height, 0, format, GL_UNSIGNED_BYTE, data);
        break;
    case GL_TEXTURE_3D:
        glTexImage3D(m_target, 0, GL_RGBA8, m_width, m_height, m_depth, 0, format, GL_UNSIGNED_BYTE, data);
        break;
    case GL_TEXTURE_CUBE_MAP:
        if (face >= 1 && face <= 6)
            glTexImage2D(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face - 1, 0, GL_RGBA8, m_width, m_height, 0, format,
                         GL_UNSIGNED_BYTE, data);
        break;
    default:
        break;
    }
    glBindTexture(m_target, 0);
}

void CTextureOGL::GenerateMipMaps()
{
    glBindTexture(GL_TEXTURE_2D, m_texture.Id());
    glEnable(GL_TEXTURE_2D);
    SetFilter(GL_TEXTURE_2D, GL_LINEAR_MIPMAP_LINEAR);
    glGenerateMipmapEXT(GL_TEXTURE_2D);
    m_flags |= TXF_MipMaps;
    glBindTexture(GL_TEXTURE_2D, 0);
}

void CTextureOGL::Free()
{
    CTexture::Free();
    m_texture.Reset();
}
