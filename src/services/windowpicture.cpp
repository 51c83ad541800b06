#include "services/windowpicture.h"

#include "app/log.h"
#include "render/bitmapfile.h"

bool SaveBgrPicture(const std::string& path, std::span<const uint8_t> pixels, int width, int height)
{
    if (width <= 0 || height <= 0 || pixels.size() != size_t(width) * size_t(height) * 3)
        return Error("Unable to read back the picture \"%s\"", path.c_str());
    CBitmapFile picture;
    if (!picture.SetBgrBottomUp(pixels.data(), width, height) || !picture.Save(path.c_str()))
        return Error("Unable to write the picture \"%s\"", path.c_str());
    return true;
}
