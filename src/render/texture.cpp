#include "render/texture.h"

#include "render/rendertypes.h"

ETextureShape TextureShape(int, int height, int depth)
{
    if (depth == -1)
        return ETextureShape::Cube;
    if (height < 2)
        return ETextureShape::Texture1D;
    if (depth > 1)
        return ETextureShape::Texture3D;
    return ETextureShape::Texture2D;
}

CTexture::CTexture(CTextureManager* manager, int width, int height, int depth, int format, int type)
    : m_width(width), m_height(height), m_depth(depth), m_format(format), m_type(type), m_manager(manager)
{
}

CTexture::~CTexture() = default;

uint8_t* CTexture::Lock()
{
    return m_buffer.empty() ? nullptr : m_buffer.data();
}

void CTexture::Free()
{
    m_buffer = {};
}

void CTexture::AllocateBuffer()
{
    const size_t texel = m_format == TF_R8 ? 1 : 4;
    size_t texels = 0;
    switch (GetShape()) {
    case ETextureShape::Texture1D:
        texels = static_cast<size_t>(m_width);
        break;
    case ETextureShape::Texture2D:
    case ETextureShape::Cube:
        texels = static_cast<size_t>(m_width) * static_cast<size_t>(m_height);
        break;
    case ETextureShape::Texture3D:
        texels = static_cast<size_t>(m_width) * static_cast<size_t>(m_height) * static_cast<size_t>(m_depth);
        break;
    }
    m_buffer.assign(texels * texel, 0);
}
