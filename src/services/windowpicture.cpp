#include "services/windowpicture.h"

#include "app/log.h"
#include "render/bitmapfile.h"
#include "render/render.h"

bool SaveWindowPicture(CRender& render, const std::string& path, std::vector<uint8_t>& pixels)
{
    const int width = render.m_currentRect.Width();
    const int height = render.m_currentRect.Height();
    pixels.resize(size_t(width) * size_t(height) * 3);
    if (!render.ReadPixels(pixels.data()))
        return Error("Unable to read back the picture \"%s\"", path.c_str());
    CBitmapFile picture;
    if (!picture.SetBgrBottomUp(pixels.data(), width, height) || !picture.Save(path.c_str()))
        return Error("Unable to write the picture \"%s\"", path.c_str());
    return true;
}
