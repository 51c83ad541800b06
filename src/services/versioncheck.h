#pragma once

#include <memory>
#include <string>

class CHttpRequest;

// Asks the version endpoint, off the frame thread, whether a newer Lumora
// exists, and says so in the log. Failures stay silent: the answer only
// matters when there is one.
class CVersionCheck
{
public:
    CVersionCheck();
    ~CVersionCheck();
    CVersionCheck(const CVersionCheck&) = delete;
    CVersionCheck& operator=(const CVersionCheck&) = delete;

    // Starts the request; nothing without an endpoint.
    void Start();
    // Per frame: logs a newer version once the answer has come.
    void Poll();

    // The endpoint; empty takes LUMORA_VERSION_URL, or the one the build names.
    std::string m_url;
    std::string m_current = LUMORA_VERSION;
    // The newer version announced, or empty.
    std::string m_newer;

    // True when `offered` ("2.1.0", "2.10") is a later version than `current`.
    static bool IsNewer(const std::string& offered, const std::string& current);

private:
    std::unique_ptr<CHttpRequest> m_request;
};
