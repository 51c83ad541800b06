#include "support/logcapture.h"

#include <cctype>
#include <sstream>

std::string LogMessage(const std::string& line)
{
    static constexpr const char* shape = "dddd-dd-dd dd:dd:dd.ddd: ";
    const size_t length = std::char_traits<char>::length(shape);
    bool stamped = line.size() >= length;
    for (size_t i = 0; stamped && i < length; ++i)
        stamped = shape[i] == 'd' ? std::isdigit(static_cast<unsigned char>(line[i])) != 0 : line[i] == shape[i];
    return stamped ? line.substr(length) : "<no stamp>" + line;
}

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
    std::vector<std::string> messages;
    std::istringstream in(ReadFile(m_dir.File("log.txt")));
    for (std::string line; std::getline(in, line);)
        messages.push_back(LogMessage(line));
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
