#include "render/bitmapfile.h"

#include "support/logcapture.h"
#include "support/tempdir.h"

#include <FreeImage.h>
#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

using SRgba = std::array<uint8_t, 4>;

// Sets a pixel counted from the top, as ReadPixels counts.
void SetPixel(CBitmapFile& bitmap, int x, int y, uint8_t r, uint8_t g, uint8_t b)
{
    RGBQUAD color{};
    color.rgbRed = r;
    color.rgbGreen = g;
    color.rgbBlue = b;
    FreeImage_SetPixelColor(bitmap.GetBitmap(), x, bitmap.GetHeight() - 1 - y, &color);
}

std::vector<SRgba> Pixels(const CBitmapFile& bitmap)
{
    std::vector<SRgba> pixels(static_cast<size_t>(bitmap.GetWidth()) * bitmap.GetHeight());
    bitmap.ReadPixels(pixels.front().data(), bitmap.GetWidth() * 4);
    return pixels;
}

} // namespace

TEST(BitmapFile, SavedPngLoadsBackWithPixelsInRgbaOrder)
{
    CTempDir dir;
    CBitmapFile image;
    ASSERT_TRUE(image.Allocate(3, 2));
    SetPixel(image, 0, 0, 255, 0, 0);
    SetPixel(image, 1, 0, 0, 255, 0);
    SetPixel(image, 2, 0, 0, 0, 255);
    SetPixel(image, 0, 1, 10, 20, 30);
    const std::string path = dir.File("picture.png");
    ASSERT_TRUE(image.Save(path.c_str()));

    CBitmapFile loaded;
    ASSERT_TRUE(loaded.Load(path.c_str()));
    ASSERT_EQ(loaded.GetWidth(), 3);
    ASSERT_EQ(loaded.GetHeight(), 2);
    EXPECT_EQ(Pixels(loaded), (std::vector<SRgba>{{255, 0, 0, 255},
                                                  {0, 255, 0, 255},
                                                  {0, 0, 255, 255},
                                                  {10, 20, 30, 255},
                                                  {0, 0, 0, 255},
                                                  {0, 0, 0, 255}}));

    // Rows land `pitch` bytes apart and the bytes between are left alone.
    std::vector<uint8_t> padded(2 * 16, 0xEE);
    loaded.ReadPixels(padded.data(), 16);
    EXPECT_EQ(SRgba({padded[16], padded[17], padded[18], padded[19]}), (SRgba{10, 20, 30, 255}));
    EXPECT_EQ(padded[12], 0xEE);
    EXPECT_EQ(padded[15], 0xEE);
}

TEST(BitmapFile, PasteCountsFromTheTopAndFlipTurnsRowsOver)
{
    CBitmapFile target;
    ASSERT_TRUE(target.Allocate(4, 4));
    CBitmapFile patch;
    ASSERT_TRUE(patch.Allocate(2, 1));
    SetPixel(patch, 0, 0, 200, 0, 0);
    SetPixel(patch, 1, 0, 0, 200, 0);

    ASSERT_TRUE(target.Paste(patch, 1, 2));
    auto pixels = Pixels(target);
    const SRgba black{0, 0, 0, 255};
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) {
            SRgba expected = black;
            if (y == 2 && x == 1)
                expected = {200, 0, 0, 255};
            if (y == 2 && x == 2)
                expected = {0, 200, 0, 255};
            EXPECT_EQ(pixels[y * 4 + x], expected) << x << "," << y;
        }
    }

    ASSERT_TRUE(target.FlipVertical());
    pixels = Pixels(target);
    EXPECT_EQ(pixels[1 * 4 + 1], (SRgba{200, 0, 0, 255}));
    EXPECT_EQ(pixels[1 * 4 + 2], (SRgba{0, 200, 0, 255}));
    EXPECT_EQ(pixels[2 * 4 + 1], black);

    // A patch that does not fit is refused.
    EXPECT_FALSE(target.Paste(patch, 3, 0));
}

TEST(BitmapFile, UnknownAndUndecodableFiles)
{
    CTempDir dir;
    CLogCapture log;
    const std::string text = "this is no picture";

    // Neither the contents nor the name tell a format.
    const std::string unknown = dir.File("notes.xyz");
    WriteFile(unknown, text);
    CBitmapFile bitmap;
    EXPECT_FALSE(bitmap.Load(unknown.c_str()));

    // No regular file: refused unopened, with the reason. Nothing writes to the FIFO.
    MakeFifo(dir.File("fifo.png"));
    for (const std::string& name : {dir.File("fifo.png"), dir.Path(), std::string("/dev/zero")}) {
        CHangGuard guard;
        EXPECT_FALSE(bitmap.Load(name.c_str())) << name;
        EXPECT_TRUE(log.Contains("Error loading image: \"" + name + "\" is a")) << name;
    }

    // The name says PNG: a load is tried and leaves an empty bitmap, also in
    // place of one loaded before.
    const std::string good = dir.File("good.png");
    ASSERT_TRUE(bitmap.Allocate(8, 8));
    ASSERT_TRUE(bitmap.Save(good.c_str()));
    ASSERT_TRUE(bitmap.Load(good.c_str()));
    ASSERT_EQ(bitmap.GetWidth(), 8);
    const std::string named = dir.File("named.png");
    WriteFile(named, text);
    EXPECT_TRUE(bitmap.Load(named.c_str()));
    EXPECT_EQ(bitmap.GetWidth(), 0);
    EXPECT_EQ(bitmap.GetHeight(), 0);
    EXPECT_FALSE(bitmap.Save(dir.File("empty.png").c_str()));

    // A PNG cut short: the decoder's complaint goes to the log.
    const std::string cut = dir.File("cut.png");
    WriteFile(cut, ReadFile(good).substr(0, 40));
    EXPECT_TRUE(bitmap.Load(cut.c_str()));
    EXPECT_EQ(bitmap.GetWidth(), 0);
    EXPECT_TRUE(log.Contains("Error loading image: PNG ("));

    ASSERT_TRUE(bitmap.Allocate(2, 2));
    EXPECT_FALSE(bitmap.Save(dir.File("out.xyz").c_str()));
    EXPECT_FALSE(FileExists(dir.File("out.xyz")));
    // GIF holds only palette pictures, not 24 bits.
    EXPECT_FALSE(bitmap.Save(dir.File("out.gif").c_str()));
    EXPECT_TRUE(log.Contains("!ERROR! : Format doesn't support writing"));
    EXPECT_FALSE(FileExists(dir.File("out.gif")));

    // A header claiming 65536 x 65536 pixels is refused before any pixel.
    std::string bmp(54, '\0');
    const auto put32 = [&bmp](size_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i)
            bmp[at + i] = static_cast<char>((v >> (8 * i)) & 0xff);
    };
    bmp[0] = 'B';
    bmp[1] = 'M';
    put32(2, 54 + 64);
    put32(10, 54);
    put32(14, 40);
    put32(18, 65536);
    put32(22, 65536);
    bmp[26] = 1;
    bmp[28] = 24;
    const std::string huge = dir.File("huge.bmp");
    WriteFile(huge, bmp + std::string(64, '\x7f'));
    EXPECT_TRUE(bitmap.Load(huge.c_str()));
    EXPECT_EQ(bitmap.GetWidth(), 0);
    EXPECT_TRUE(log.Contains("Error loading image: BMP (the picture is too large)"));
}

// JPEG is lossy: a smooth picture comes back close, not equal.
TEST(BitmapFile, JpegRoundTripIsClose)
{
    CTempDir dir;
    CBitmapFile bitmap;
    ASSERT_TRUE(bitmap.Allocate(16, 8));
    BYTE* bits = FreeImage_GetBits(bitmap.GetBitmap());
    const unsigned pitch = FreeImage_GetPitch(bitmap.GetBitmap());
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x) {
            BYTE* p = bits + y * pitch + x * 3;
            p[FI_RGBA_RED] = static_cast<BYTE>(x * 16);
            p[FI_RGBA_GREEN] = 128;
            p[FI_RGBA_BLUE] = static_cast<BYTE>(y * 32);
        }
    const std::string path = dir.File("smooth.jpg");
    ASSERT_TRUE(bitmap.Save(path.c_str()));
    CBitmapFile loaded;
    ASSERT_TRUE(loaded.Load(path.c_str()));
    ASSERT_EQ(loaded.GetWidth(), 16);
    std::vector<uint8_t> rgba(16 * 8 * 4);
    loaded.ReadPixels(rgba.data(), 16 * 4);
    // Top row first: row 0 of the file is the bitmap's last row.
    const uint8_t* corner = &rgba[(0 * 16 + 15) * 4];
    EXPECT_NEAR(corner[0], 240, 12);
    EXPECT_NEAR(corner[1], 128, 12);
    EXPECT_NEAR(corner[2], 7 * 32, 12);
    EXPECT_EQ(corner[3], 255);
}
