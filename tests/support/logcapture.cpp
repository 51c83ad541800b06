#include "support/logcapture.h"

#include <regex>
#include <sstream>

CLogCapture::CLogCapture() : m_saved(g_log)
{
    g_log = &m_log;
    m_log.SetLogFile(m_dir.File("log.txt").c_str());
}

CLogCapture::~CLogCapture()
{
    g_log = m_saved;
}

std::vector<std::string> CLogCapture::Messages()
{
    m_log.CloseLog();
    static const std::regex stamp(R"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}: )");
    std::vector<std::string> messages;
    std::istringstream in(ReadFile(m_dir.File("log.txt")));
    for (std::string line; std::getline(in, line);)
        messages.push_back(std::regex_replace(line, stamp, ""));
    return messages;
}

bool CLogCapture::Contains(const std::string& text)
{
    for (const auto& message : Messages()) {
        if (message.find(text) != std::string::npos)
            return true;
    }
    return false;
}
