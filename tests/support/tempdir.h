#pragma once

#include <string>

#include <unistd.h>

// A fresh directory under the system's temporary folder, removed with its
// contents when the object goes.
class CTempDir
{
public:
    CTempDir();
    ~CTempDir();
    CTempDir(const CTempDir&) = delete;
    CTempDir& operator=(const CTempDir&) = delete;

    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

// Whole-file helpers for tests.
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& content);
bool FileExists(const std::string& path);
// A named pipe nobody writes to: opening it for reading waits for ever.
void MakeFifo(const std::string& path);

// Ends the test process with SIGALRM if the guarded code hangs, so that a
// regression fails the run instead of stopping it.
class CHangGuard
{
public:
    explicit CHangGuard(unsigned seconds = 60) { alarm(seconds); }
    ~CHangGuard() { alarm(0); }
    CHangGuard(const CHangGuard&) = delete;
    CHangGuard& operator=(const CHangGuard&) = delete;
};
