#pragma once

#include "render/texture.h"
#include "renderogl/globjects.h"

// The GL storage of a TF_* format for a surface; false for a format that
// gets none (TF_R8G8, TF_R8, the renderbuffer-only TF_D24S8, unknown ones).
struct STextureStorage
{
    GLenum internalFormat;
    GLenum format;
    GLenum type;
};
bool TextureStorage(int format, STextureStorage& storage);

// A texture on a GL texture object, set up for its type and shape at
// construction. The context must be current.
class CTextureOGL : public CTexture
{
public:
    CTextureOGL(CTextureManager* manager, int width, int height, int depth, int format, int type);

    void Unlock(int face) override;
    void GenerateMipMaps() override;
    void Free() override;

    // GL_TEXTURE_1D, _2D, _3D or _CUBE_MAP.
    GLenum Target() const { return m_target; }
    GLuint Id() const { return m_texture.Id(); }

private:
    void SetupNormal();
    void SetupDynamic();
    void SetupRenderTarget();

    GLenum m_target;
    CGLTexture m_texture;
};
