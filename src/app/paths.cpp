#include "app/paths.h"

#include "app/log.h"
#include "app/textutil.h"
#include "app/trace.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <unistd.h>

CPaths g_paths;

namespace {

namespace fs = std::filesystem;

std::string Getenv(const char* name)
{
    const char* value = getenv(name);
    return value ? value : "";
}

// Forward slashes, no slash at the end (but for the root itself).
std::string Normalised(std::string_view text)
{
    std::string path = WithSlashes(text);
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

bool IsDirectory(const std::string& path)
{
    std::error_code error;
    return !path.empty() && fs::is_directory(path, error);
}

std::string ReplaceAll(std::string text, std::string_view from, std::string_view to)
{
    if (from.empty())
        return text;
    for (size_t pos = text.find(from); pos != std::string::npos; pos = text.find(from, pos + to.size()))
        text.replace(pos, from.size(), to);
    return text;
}

std::string FindAppPath(const CPaths::SEnvironment& env)
{
    if (!env.appPathOverride.empty())
        return Normalised(fs::absolute(env.appPathOverride).lexically_normal().string());
    // An installed program finds its data beside its bin directory.
    if (!env.executableDir.empty()) {
        const std::string installed =
            (fs::path(env.executableDir) / ".." / "share" / "lumora").lexically_normal().string();
        if (IsDirectory(installed))
            return Normalised(installed);
    }
#ifdef LUMORA_SOURCE_DATA_DIR
    if (IsDirectory(LUMORA_SOURCE_DATA_DIR))
        return Normalised(LUMORA_SOURCE_DATA_DIR);
#endif
    return Normalised(env.currentDir);
}

// The per-user configuration folder, or empty when there is none.
std::string FindUserPath(const CPaths::SEnvironment& env)
{
    std::string base;
    if (!env.xdgConfigHome.empty() && env.xdgConfigHome.front() == '/')
        base = env.xdgConfigHome;
    else if (!env.home.empty())
        base = env.home + "/.config";
    if (base.empty())
        return "";
    const std::string path = Normalised(base) + "/lumora";
    std::error_code error;
    fs::create_directories(path, error);
    return IsDirectory(path) ? path : "";
}

} // namespace

void CPaths::Setup()
{
    SEnvironment env;
    env.appPathOverride = Getenv("LUMORA_APPPATH");
    env.xdgConfigHome = Getenv("XDG_CONFIG_HOME");
    env.home = Getenv("HOME");
    std::error_code error;
    const fs::path executable = fs::read_symlink("/proc/self/exe", error);
    if (!error)
        env.executableDir = executable.parent_path().string();
    env.currentDir = fs::current_path(error).string();
    Setup(env);
}

void CPaths::Setup(const SEnvironment& env)
{
    m_appPath = FindAppPath(env);
    m_userPath = FindUserPath(env);
    if (m_userPath.empty()) {
        m_userPath = m_appPath;
        m_configPath = "config.xml";
    } else {
        m_configPath = m_userPath + "/config.xml";
    }
    SetLogFile((m_userPath + "/log.txt").c_str());
    TRACE_LOG("CPaths::Setup");
    Log("Application path \"%s\", user path \"%s\"", m_appPath.c_str(), m_userPath.c_str());
}

std::string CPaths::ExpandPath(std::string_view path) const
{
    std::string expanded = ReplaceAll(std::string(path), "[apppath]", m_appPath + "/");
    expanded = ReplaceAll(std::move(expanded), "[userpath]", m_userPath + "/");
    return ReplaceAll(std::move(expanded), "\\", "/");
}

std::string CPaths::CompressPath(std::string_view path) const
{
    std::string compressed = ReplaceAll(std::string(path), m_appPath + "/", "[apppath]");
    compressed = ReplaceAll(std::move(compressed), m_userPath + "/", "[userpath]");
    return ReplaceAll(std::move(compressed), "\\", "/");
}

std::string ExpandPath(std::string_view path)
{
    return g_paths.ExpandPath(path);
}

std::string CompressPath(std::string_view path)
{
    return g_paths.CompressPath(path);
}
