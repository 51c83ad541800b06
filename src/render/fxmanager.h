#pragma once

#include <memory>
#include <string>
#include <unordered_map>

class CFx;
class CRenderData;

// Error codes of the effect layer, as the error handler reports them.
enum
{
    FXE_None = 0,
    FXE_Compile = 1,
    FXE_File = 2,
    FXE_Structure = 3,
    FXE_Link = 4,
};

// Loads and keeps the effects of one device. Built-in effects are cached by
// full path and live as long as the manager; parsed effects belong to their
// caller.
class CFxManager
{
public:
    explicit CFxManager(CRenderData* owner);
    virtual ~CFxManager();
    CFxManager(const CFxManager&) = delete;
    CFxManager& operator=(const CFxManager&) = delete;

    virtual bool Init();
    // Deletes every cached effect.
    virtual void Free();
    virtual CFx* ParseEffect(const std::string& text) = 0;
    // `name` is relative to the data directory.
    virtual CFx* LoadEffect(const std::string& name, bool cached) = 0;

    // Runs the preprocessor over an effect text: includes, defines, #if.
    // The result keeps the text's line numbers through #line directives.
    virtual bool Preprocess(const std::string& text, const std::string& sourceName, std::string& out,
                            std::string& errors) = 0;

    // The one way errors of the effect layer reach the log. It limits
    // itself: after 101 reports it stays silent for 30 seconds at a time.
    void ReportError(const std::string& text, long code, const std::string& listing);
    // The last error's text, cleared by the next successful load.
    const std::string& GetLastError() const { return m_lastError; }
    void ClearError() { m_lastError.clear(); }

    // Where `#include "shader.cgh"` and relative includes are found.
    std::string m_includeDirectory;

protected:
    // Steps shared by the device forms: the full path of a built-in effect,
    // the cache look-up and the failure report.
    std::string FullPath(const std::string& name) const;
    CFx* LoadWith(const std::string& name, bool cached, std::unique_ptr<CFx> effect);
    CFx* ParseWith(const std::string& text, std::unique_ptr<CFx> effect);

    CRenderData* m_owner;
    std::unordered_map<std::string, std::unique_ptr<CFx>> m_cache;
    std::string m_lastError;
};
