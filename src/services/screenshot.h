#pragma once

#include <ctime>
#include <functional>
#include <string>

class CRender;

// The picture side of what the render shows: all its windows together in
// one picture file, each at the place of its monitor.
class CScreenshot
{
public:
    explicit CScreenshot(CRender* render) : m_render(render) {}

    // `path` gives a folder and optionally a stem ("shots/Plasma.png"); the
    // folder is made if missing. The answer is the name of the file written,
    // or empty when no picture could be made.
    std::string TakeScreenshot(const std::string& path);

    // The file name for `path` at `time`: "<stem>-<time>-<nn>.png", or
    // "<time>_<nn>.png" without a stem, with the first counter from 01 to
    // 9999 whose file does not `exist`; after that `path` itself.
    static std::string PictureName(const std::string& path, const std::tm& time,
                                   const std::function<bool(const std::string&)>& exists);

private:
    CRender* m_render;
};
