#include "render/bitmapfile.h"

#include "app/log.h"
#include "app/regularfile.h"

#include <FreeImage.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

namespace {

void LogFreeImageMessage(FREE_IMAGE_FORMAT format, const char* message)
{
    const char* name = format == FIF_UNKNOWN ? "Unknown" : FreeImage_GetFormatFromFIF(format);
    Log("Error loading image: %s (%s)", name ? name : "Unknown", message ? message : "");
}

} // namespace

CBitmapFile::CBitmapFile()
{
    FreeImage_SetOutputMessage(LogFreeImageMessage);
}

CBitmapFile::~CBitmapFile()
{
    Unload();
}

void CBitmapFile::Unload()
{
    if (m_bitmap)
        FreeImage_Unload(m_bitmap);
    m_bitmap = nullptr;
}

int CBitmapFile::GetWidth() const
{
    return m_bitmap ? static_cast<int>(FreeImage_GetWidth(m_bitmap)) : 0;
}

int CBitmapFile::GetHeight() const
{
    return m_bitmap ? static_cast<int>(FreeImage_GetHeight(m_bitmap)) : 0;
}

bool CBitmapFile::Allocate(int width, int height)
{
    Unload();
    m_bitmap = FreeImage_Allocate(width, height, 24);
    return m_bitmap != nullptr;
}

bool CBitmapFile::Load(const char* path)
{
    // Read here, bounded, and decoded from memory: FreeImage would open any
    // name, FIFOs and devices too.
    std::string data, why;
    if (!ReadRegularFile(path, FileLimit::Picture, data, why)) {
        Error("Error loading image: \"%s\" %s", path, why.c_str());
        return false;
    }
    auto* bytes = reinterpret_cast<BYTE*>(data.data());
    FIMEMORY* memory = FreeImage_OpenMemory(bytes, static_cast<DWORD>(data.size()));
    if (!memory)
        return false;
    const bool known = LoadFromMemory(path, memory);
    FreeImage_CloseMemory(memory);
    return known;
}

bool CBitmapFile::LoadFromMemory(const char* path, FIMEMORY* memory)
{
    // The contents decide first; the name only when they say nothing.
    FREE_IMAGE_FORMAT format = FreeImage_GetFileTypeFromMemory(memory, 0);
    if (format == FIF_UNKNOWN)
        format = FreeImage_GetFIFFromFilename(path);
    if (format == FIF_UNKNOWN || !FreeImage_FIFSupportsReading(format))
        return false;
    Unload();
    // A header may claim any size; a picture that would not fit in memory
    // is refused before its pixels are read.
    if (FreeImage_FIFSupportsNoPixels(format)) {
        FreeImage_SeekMemory(memory, 0, SEEK_SET);
        FIBITMAP* header = FreeImage_LoadFromMemory(format, memory, FIF_LOAD_NOPIXELS);
        const uint64_t pixels = header ? uint64_t(FreeImage_GetWidth(header)) * FreeImage_GetHeight(header) : 0;
        if (header)
            FreeImage_Unload(header);
        if (pixels > MaxPixels) {
            Error("Error loading image: %s (%s)", FreeImage_GetFormatFromFIF(format), "the picture is too large");
            return true;
        }
    }
    FreeImage_SeekMemory(memory, 0, SEEK_SET);
    m_bitmap = FreeImage_LoadFromMemory(format, memory, 0);
    return true;
}

bool CBitmapFile::Save(const char* path)
{
    const FREE_IMAGE_FORMAT format = FreeImage_GetFIFFromFilename(path);
    if (format == FIF_UNKNOWN || !m_bitmap)
        return false;
    if (!FreeImage_FIFSupportsWriting(format) || !FreeImage_FIFSupportsExportBPP(format, FreeImage_GetBPP(m_bitmap)))
        return Error("Format doesn't support writing");
    // Encoded in memory and written with checked calls: FreeImage's own file
    // writer does not notice a full disk and would leave a cut picture.
    FIMEMORY* memory = FreeImage_OpenMemory();
    BYTE* bytes = nullptr;
    DWORD size = 0;
    bool saved = memory && FreeImage_SaveToMemory(format, m_bitmap, memory, 0) &&
                 FreeImage_AcquireMemory(memory, &bytes, &size);
    if (saved) {
        FILE* file = fopen(path, "wb");
        saved = file && fwrite(bytes, 1, size, file) == size;
        if (file && fclose(file) != 0)
            saved = false;
        if (!saved)
            std::remove(path);
    }
    if (memory)
        FreeImage_CloseMemory(memory);
    return saved;
}

bool CBitmapFile::Paste(const CBitmapFile& source, int x, int y)
{
    if (!m_bitmap || !source.m_bitmap)
        return false;
    // FreeImage blends for alpha up to 255 and divides by 256 there, which
    // darkens every channel by one step; above 255 it copies.
    return FreeImage_Paste(m_bitmap, source.m_bitmap, x, y, 256) != FALSE;
}

bool CBitmapFile::FlipVertical()
{
    return m_bitmap && FreeImage_FlipVertical(m_bitmap) != FALSE;
}

bool CBitmapFile::SetBgrBottomUp(const uint8_t* pixels, int width, int height)
{
    if (width <= 0 || height <= 0 || !Allocate(width, height))
        return false;
    // FreeImage stores rows bottom up too, padded to 4 bytes, and 24-bit
    // pixels as b, g, r on little-endian machines.
    const size_t rowBytes = size_t(width) * 3;
    for (int y = 0; y < height; ++y)
        std::memcpy(FreeImage_GetScanLine(m_bitmap, y), pixels + size_t(y) * rowBytes, rowBytes);
    return true;
}

void CBitmapFile::ReadPixels(uint8_t* destination, int pitch) const
{
    if (!m_bitmap)
        return;
    FreeImage_ConvertToRawBits(destination, m_bitmap, pitch, 32, FI_RGBA_RED_MASK, FI_RGBA_GREEN_MASK,
                               FI_RGBA_BLUE_MASK, TRUE);
    // FreeImage keeps b, g, r, a on little-endian machines.
    const int width = GetWidth();
    const int height = GetHeight();
    for (int y = 0; y < height; ++y) {
        uint8_t* pixel = destination + static_cast<size_t>(y) * pitch;
        for (int x = 0; x < width; ++x, pixel += 4)
            std::swap(pixel[0], pixel[2]);
    }
}
