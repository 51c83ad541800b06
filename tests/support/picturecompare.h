#pragma once

#include <string>

// How two pictures differ, pixel by pixel, as GPUs and llvmpipe round
// differently: a channel may be off by a little anywhere, and a few pixels
// (edges) by more.
struct SPictureDifference
{
    bool m_loaded = false;     // both pictures could be read
    bool m_sameSize = false;
    int m_pixels = 0;          // pixels compared
    int m_differing = 0;       // pixels with a channel off by more than the tolerance
    int m_largest = 0;         // the largest channel difference seen
    double m_meanAbsolute = 0; // mean absolute difference of a channel, 0 to 255
};

SPictureDifference ComparePictures(const std::string& actual, const std::string& reference, int tolerance);

// The red, green and blue of one pixel, x from the left and y from the top.
struct SPixel
{
    int r = -1, g = -1, b = -1;
    bool operator==(const SPixel&) const = default;
};
SPixel PixelAt(const std::string& picture, int x, int y);

// Checks `actual` against the reference picture, or, when the environment
// has LUMORA_UPDATE_REFERENCE=1, makes it the new reference. Returns an
// empty text when it matches, else why not.
std::string MatchReference(const std::string& actual, const std::string& reference, int tolerance,
                           double maxDifferingShare);
