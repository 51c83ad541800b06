#include "scene/pdtexture.h"

#include "render/render.h"

bool CPDTexture::RestoreDevice(CRender*)
{
    return true;
}

void CPDTexture::InvalidateDevice(CRender*)
{
}

std::shared_ptr<CTexture> CPDTexture::GetTexture(CRender* render)
{
    return dObjs[render->GetDeviceIndex()].m_texture;
}

void CPDTexture::ReleaseTexture(std::shared_ptr<CTexture> texture)
{
    texture.reset();
}
