#include "support/tempdir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>

CTempDir::CTempDir()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "lumora-test-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("mkdtemp failed");
    m_path = pattern;
}

CTempDir::~CTempDir()
{
    std::error_code ignored;
    // Tests may leave read-only directories behind; make them writable to remove them.
    for (auto& entry : std::filesystem::recursive_directory_iterator(m_path, ignored))
        std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
    std::filesystem::permissions(m_path, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ignored);
    std::filesystem::remove_all(m_path, ignored);
}

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
}

void WriteFile(const std::string& path, const std::string& content)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

bool FileExists(const std::string& path)
{
    return std::filesystem::exists(path);
}

void MakeFifo(const std::string& path)
{
    if (mkfifo(path.c_str(), 0600) != 0)
        throw std::runtime_error("mkfifo failed");
}
