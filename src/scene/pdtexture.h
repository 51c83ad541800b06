#pragma once

#include <array>
#include <memory>

class CRender;
class CTexture;

// Sampling flags a texture source publishes beside its texture.
enum
{
    PDT_Clamp = 4,
    PDT_MipMaps = 8,
    PDT_ClampToEdge = 0x20,
};

// A texture source published through a Texture port: one shared texture per
// render device, with the dimension and flags that the sampler text of a
// shader is written for.
class CPDTexture
{
public:
    virtual ~CPDTexture() = default;
    virtual bool RestoreDevice(CRender* render);
    virtual void InvalidateDevice(CRender* render);
    virtual std::shared_ptr<CTexture> GetTexture(CRender* render);
    // Takes back what GetTexture handed out.
    virtual void ReleaseTexture(std::shared_ptr<CTexture> texture);

    // Dimension 1, 2, 3, or -1 for a cube map.
    void SetTextureInfo(int dimension, int flags)
    {
        m_dimension = dimension;
        m_flags = flags;
    }

    int m_flags = 0;
    int m_dimension = 2;

    struct SDeviceObjects
    {
        std::shared_ptr<CTexture> m_texture;
    };
    static constexpr int NumDevices = 1;
    std::array<SDeviceObjects, NumDevices> dObjs;
};
