#pragma once

#include "render/lendslot.h"

#include <cstdint>
#include <memory>
#include <vector>

class CRenderTarget;
class CTextureManager;

// Texture flags.
enum
{
    TXF_RenderTarget = 4,
    TXF_MipMaps = 8,
};

enum class ETextureShape
{
    Texture1D,
    Texture2D,
    Texture3D,
    Cube,
};

// The shape that width, height and depth describe. The tests run in this
// order, so a height of 1 makes a texture one-dimensional even when its
// caller thinks of an image, unless depth asks for a cube map.
ETextureShape TextureShape(int width, int height, int depth);

// A pooled texture. Normal and dynamic textures keep a CPU copy for the life
// of the object, filled by the caller through Lock and sent with Unlock;
// render target surfaces have none.
class CTexture
{
public:
    CTexture(CTextureManager* manager, int width, int height, int depth, int format, int type);
    virtual ~CTexture();
    CTexture(const CTexture&) = delete;
    CTexture& operator=(const CTexture&) = delete;

    // The CPU copy: 4 bytes per texel in the order r, g, b, a (1 for TF_R8),
    // one face of a cube map at a time. Null for a texture without one,
    // which no caller should ask for.
    virtual uint8_t* Lock();
    // Sends the whole CPU copy; face 1 to 6 selects the face of a cube map.
    virtual void Unlock(int face) = 0;
    virtual void GenerateMipMaps() = 0;
    // Frees the CPU copy and the device texture.
    virtual void Free();

    ETextureShape GetShape() const { return TextureShape(m_width, m_height, m_depth); }
    size_t GetBufferSize() const { return m_buffer.size(); }

    int32_t m_width;
    int32_t m_height;
    int32_t m_depth;
    int m_format;
    int m_type;
    int m_flags = 0;
    CTextureManager* m_manager;
    // Where the pointer that lends the texture out keeps its counts.
    CLendSlot m_lendSlot;
    // Set only while the surface is lent out by its target's
    // GetColorTexture, so that the target stays in use.
    std::shared_ptr<CRenderTarget> m_renderTarget;

protected:
    // Sized by type and shape; called by the device form's constructor.
    void AllocateBuffer();

    std::vector<uint8_t> m_buffer;
};
