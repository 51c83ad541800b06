#pragma once

#include <cstdint>

struct FIBITMAP;
struct FIMEMORY;

// One picture in memory, loaded from and saved to files by FreeImage.
class CBitmapFile
{
public:
    // Routes FreeImage's messages to the log.
    CBitmapFile();
    ~CBitmapFile();
    CBitmapFile(const CBitmapFile&) = delete;
    CBitmapFile& operator=(const CBitmapFile&) = delete;

    // 0 for an empty bitmap.
    int GetWidth() const;
    int GetHeight() const;

    // A black 24-bit picture of that size in place of the current one.
    bool Allocate(int width, int height);
    // True when a load was tried: a file that can't be decoded leaves an
    // empty bitmap, so callers test the size. False for a format FreeImage
    // does not know or cannot read, and for a name that is no regular file
    // or a file larger than FileLimit::Picture.
    bool Load(const char* path);
    // The format follows the file name's extension.
    bool Save(const char* path);
    // Copies `source` with its top left corner at x, y (from the top).
    bool Paste(const CBitmapFile& source, int x, int y);
    bool FlipVertical();
    // A 24-bit picture from tightly packed rows of blue, green, red bytes,
    // the bottom row first, as OpenGL reads a framebuffer back.
    bool SetBgrBottomUp(const uint8_t* pixels, int width, int height);
    // Top row first, 4 bytes per pixel in the order r, g, b, a, rows `pitch`
    // bytes apart.
    void ReadPixels(uint8_t* destination, int pitch) const;

    // Pictures of more pixels than this (16384 x 16384) are not loaded.
    static constexpr uint64_t MaxPixels = uint64_t(16384) * 16384;

    // For writing the pixels directly; null when empty.
    FIBITMAP* GetBitmap() const { return m_bitmap; }

private:
    void Unload();
    bool LoadFromMemory(const char* path, FIMEMORY* memory);

    FIBITMAP* m_bitmap = nullptr;
};
