#include "services/screenshot.h"

#include "app/log.h"
#include "app/trace.h"
#include "render/bitmapfile.h"
#include "render/monitor.h"
#include "render/render.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <vector>

std::string CScreenshot::PictureName(const std::string& rawPath, const std::tm& time,
                                     const std::function<bool(const std::string&)>& exists)
{
    std::string path = rawPath;
    std::replace(path.begin(), path.end(), '\\', '/');
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
    const size_t dot = path.rfind('.');
    const size_t stemStart = slash == std::string::npos ? 0 : slash + 1;
    const std::string stem =
        dot == std::string::npos || dot < stemStart ? std::string() : path.substr(stemStart, dot - stemStart);
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, "%4d-%02d-%02d_%02d-%02d", time.tm_year + 1900, time.tm_mon + 1, time.tm_mday,
                  time.tm_hour, time.tm_min);
    for (long counter = 1; counter <= 9999; ++counter) {
        char name[512];
        if (stem.empty())
            std::snprintf(name, sizeof name, "%s_%02ld.png", stamp, counter);
        else
            std::snprintf(name, sizeof name, "%s-%s-%02ld.png", stem.c_str(), stamp, counter);
        const std::string candidate = folder + name;
        if (!exists(candidate))
            return candidate;
    }
    return rawPath;
}

std::string CScreenshot::TakeScreenshot(const std::string& path)
{
    TRACE("CScreenshot::TakeScreenshotInternal");
    if (!m_render)
        return {};
    const std::string name = PictureName(path, [] {
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        localtime_r(&now, &local);
        return local;
    }(), [](const std::string& file) { return std::filesystem::exists(file); });
    std::error_code ignored;
    if (const auto folder = std::filesystem::path(name).parent_path(); !folder.empty())
        std::filesystem::create_directories(folder, ignored);

    const SRect area = m_render->m_virtualRect;
    CBitmapFile picture;
    if (!picture.Allocate(std::max(1, area.Width()), std::max(1, area.Height()))) {
        Error("Create image failed");
        return {};
    }
    std::vector<uint8_t> pixels;
    // Without windows (a run drawing into memory) the surface drawn to now
    // is the picture.
    const int windows = std::max(1, m_render->GetWindowCount());
    for (int i = 0; i < windows; ++i) {
        if (m_render->GetWindowCount() > 0 && !m_render->SwitchToRenderWindow(i))
            continue;
        const int width = m_render->m_currentRect.Width(), height = m_render->m_currentRect.Height();
        pixels.resize(size_t(width) * size_t(height) * 3);
        if (!m_render->ReadPixels(pixels.data()))
            continue;
        const CMonitor* monitor = m_render->GetWindowMonitor(i);
        if (!monitor) {
            // A window of its own is the whole picture.
            picture.SetBgrBottomUp(pixels.data(), width, height);
            break;
        }
        CBitmapFile tile;
        if (!tile.SetBgrBottomUp(pixels.data(), width, height))
            break;
        picture.Paste(tile, monitor->m_rect.left - area.left, monitor->m_rect.top - area.top);
    }
    if (!picture.Save(name.c_str()))
        Error("Format doesn't support writing");
    return name;
}
