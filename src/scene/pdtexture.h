#pragma once

#include <array>
#include <memory>

class CRender;
class CTexture;

// A texture source published through a Texture port: one shared texture per
// render device.
class CPDTexture
{
public:
    virtual ~CPDTexture() = default;
    virtual bool RestoreDevice(CRender* render);
    virtual void InvalidateDevice(CRender* render);
    virtual std::shared_ptr<CTexture> GetTexture(CRender* render);
    // Takes back what GetTexture handed out.
    virtual void ReleaseTexture(std::shared_ptr<CTexture> texture);

protected:
    static constexpr int NumDevices = 1;
    std::array<std::shared_ptr<CTexture>, NumDevices> m_textures;
};
