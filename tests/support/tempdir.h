#pragma once

#include <string>

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
