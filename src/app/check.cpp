#include "app/check.h"

#include "app/log.h"

#include <string>
#include <string_view>

void LogCheckFailure(const char* expression, const char* file, long line)
{
    // The build maps the source root away, so `file` reads like "nodes/texture/randomtexture.cpp";
    // the log names the module without its extension.
    std::string_view path(file);
    // A compiler cache may hand the compiler a relative source path, which
    // the map does not catch.
    if (const size_t root = path.rfind("src/"); root != std::string_view::npos)
        path = path.substr(root + 4);
    const size_t dot = path.rfind('.');
    const size_t slash = path.rfind('/');
    if (dot != std::string_view::npos && (slash == std::string_view::npos || dot > slash))
        path = path.substr(0, dot);
    Log("FAILED : \"%s\" in \"%s\"(%ld)", expression, std::string(path).c_str(), line);
}
