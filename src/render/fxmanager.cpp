#include "render/fxmanager.h"

#include "app/log.h"
#include "app/paths.h"
#include "app/textutil.h"
#include "render/fx.h"

#include <chrono>

CFxManager::CFxManager(CRenderData* owner) : m_owner(owner) {}

CFxManager::~CFxManager()
{
    // Device forms free their effects in their own destructor, while the
    // context still exists; this only catches what is left.
    m_cache.clear();
}

bool CFxManager::Init()
{
    if (m_includeDirectory.empty())
        m_includeDirectory = g_paths.m_appPath + "/nodedata";
    return true;
}

void CFxManager::Free()
{
    m_cache.clear();
}

void CFxManager::ReportError(const std::string& text, long code, const std::string& listing)
{
    m_lastError = text;
    // A broken effect may fail every frame: 101 reports, then silence, then
    // a new batch at most every 30 seconds.
    static int s_count = 0;
    static double s_since = 0.0;
    const double now = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    if (s_count > 100) {
        if (s_since == 0.0) {
            s_since = now;
            return;
        }
        if (now - s_since < 30.0)
            return;
        s_count = 0;
        s_since = 0.0;
    }
    ++s_count;
    Error("CGError: %s (%ld)", text.c_str(), code);
    if (!listing.empty())
        Error("LastListing:\n%s\n-------", listing.c_str());
}

std::string CFxManager::FullPath(const std::string& name) const
{
    const std::string& base = g_paths.m_appPath;
    std::string path = base;
    if (!path.empty() && path.back() != '/')
        path += '/';
    path += name;
    return WithSlashes(path);
}

CFx* CFxManager::LoadWith(const std::string& name, bool cached, std::unique_ptr<CFx> effect)
{
    const std::string path = FullPath(name);
    if (cached) {
        const auto found = m_cache.find(path);
        if (found != m_cache.end())
            return found->second.get();
    }
    Log("Loading effect: %s", path.c_str());
    m_lastError.clear();
    if (!effect->Load(path)) {
        if (!m_lastError.empty())
            Error("CG Error: %s", m_lastError.c_str());
        return nullptr;
    }
    if (!cached)
        return effect.release();
    CFx* raw = effect.get();
    m_cache[path] = std::move(effect);
    return raw;
}

CFx* CFxManager::ParseWith(const std::string& text, std::unique_ptr<CFx> effect)
{
    m_lastError.clear();
    if (!effect->Parse(text)) {
        if (!m_lastError.empty())
            Error("CG Error: %s", m_lastError.c_str());
        return nullptr;
    }
    return effect.release();
}
