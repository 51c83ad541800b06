#include "support/picturecompare.h"

#include "render/bitmapfile.h"

#include <cstdlib>
#include <filesystem>
#include <vector>

namespace {

bool Read(const std::string& path, std::vector<uint8_t>& rgba, int& width, int& height)
{
    CBitmapFile picture;
    if (!picture.Load(path.c_str()) || picture.GetWidth() == 0)
        return false;
    width = picture.GetWidth();
    height = picture.GetHeight();
    rgba.resize(size_t(width) * size_t(height) * 4);
    picture.ReadPixels(rgba.data(), width * 4);
    return true;
}

} // namespace

SPictureDifference ComparePictures(const std::string& actual, const std::string& reference, int tolerance)
{
    SPictureDifference result;
    std::vector<uint8_t> a, b;
    int aw = 0, ah = 0, bw = 0, bh = 0;
    if (!Read(actual, a, aw, ah) || !Read(reference, b, bw, bh))
        return result;
    result.m_loaded = true;
    result.m_sameSize = aw == bw && ah == bh;
    if (!result.m_sameSize)
        return result;
    result.m_pixels = aw * ah;
    double sum = 0;
    for (size_t i = 0; i < a.size(); i += 4) {
        int worst = 0;
        for (size_t c = 0; c < 3; ++c) {
            const int d = std::abs(int(a[i + c]) - int(b[i + c]));
            worst = std::max(worst, d);
            sum += d;
        }
        result.m_largest = std::max(result.m_largest, worst);
        if (worst > tolerance)
            ++result.m_differing;
    }
    result.m_meanAbsolute = result.m_pixels > 0 ? sum / (3.0 * result.m_pixels) : 0.0;
    return result;
}

SPixel PixelAt(const std::string& picture, int x, int y)
{
    std::vector<uint8_t> rgba;
    int width = 0, height = 0;
    if (!Read(picture, rgba, width, height) || x < 0 || y < 0 || x >= width || y >= height)
        return {};
    const uint8_t* p = &rgba[(size_t(y) * size_t(width) + size_t(x)) * 4];
    return {p[0], p[1], p[2]};
}

std::string MatchReference(const std::string& actual, const std::string& reference, int tolerance,
                           double maxDifferingShare)
{
    const char* update = std::getenv("LUMORA_UPDATE_REFERENCE");
    if (update && std::string(update) == "1") {
        std::filesystem::create_directories(std::filesystem::path(reference).parent_path());
        std::filesystem::copy_file(actual, reference, std::filesystem::copy_options::overwrite_existing);
        return {};
    }
    const SPictureDifference difference = ComparePictures(actual, reference, tolerance);
    if (!difference.m_loaded)
        return "cannot read \"" + actual + "\" or the reference \"" + reference + "\"";
    if (!difference.m_sameSize)
        return "\"" + actual + "\" differs in size from \"" + reference + "\"";
    if (difference.m_differing > int(difference.m_pixels * maxDifferingShare))
        return std::to_string(difference.m_differing) + " of " + std::to_string(difference.m_pixels) +
               " pixels of \"" + actual + "\" differ from \"" + reference + "\" by more than " +
               std::to_string(tolerance) + " (largest " + std::to_string(difference.m_largest) + ")";
    return {};
}
