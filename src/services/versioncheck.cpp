#include "services/versioncheck.h"

#include "app/log.h"
#include "platform/httprequest.h"

#include <cstdlib>
#include <sstream>
#include <vector>

#ifndef LUMORA_VERSION_ENDPOINT
#define LUMORA_VERSION_ENDPOINT ""
#endif

namespace {

// "2.10.1" as {2, 10, 1}; empty when the text is no version.
std::vector<long> VersionParts(const std::string& text)
{
    std::vector<long> parts;
    std::istringstream stream(text);
    std::string part;
    while (std::getline(stream, part, '.')) {
        if (part.empty() || part.size() > 6 || part.find_first_not_of("0123456789") != std::string::npos)
            return {};
        parts.push_back(std::strtol(part.c_str(), nullptr, 10));
    }
    return parts;
}

} // namespace

CVersionCheck::CVersionCheck() = default;

CVersionCheck::~CVersionCheck() = default;

bool CVersionCheck::IsNewer(const std::string& offered, const std::string& current)
{
    std::vector<long> a = VersionParts(offered), b = VersionParts(current);
    if (a.empty() || b.empty())
        return false;
    a.resize(std::max(a.size(), b.size()));
    b.resize(a.size());
    return a > b;
}

void CVersionCheck::Start()
{
    std::string url = m_url;
    if (url.empty())
        url = getenv("LUMORA_VERSION_URL") ? getenv("LUMORA_VERSION_URL") : LUMORA_VERSION_ENDPOINT;
    if (url.empty())
        return;
    CHttpRequest::SOptions options;
    options.m_url = url;
    options.m_maxAnswer = 64;
    m_request = CHttpRequest::Start(std::move(options));
}

void CVersionCheck::Poll()
{
    if (!m_request)
        return;
    const CHttpRequest::EState state = m_request->State();
    if (state == CHttpRequest::EState::Running)
        return;
    if (state == CHttpRequest::EState::Succeeded) {
        // The answer is the version alone, on its first line.
        std::string offered = m_request->Answer();
        offered = offered.substr(0, offered.find_first_of("\r\n \t"));
        if (IsNewer(offered, m_current)) {
            m_newer = offered;
            Log("Lumora %s is available (this is %s)", m_newer.c_str(), m_current.c_str());
        }
    }
    m_request.reset();
}
