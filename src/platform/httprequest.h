#pragma once

#include <chrono>
#include <memory>
#include <string>

// One HTTP request on a thread of its own, bounded in time. The thread is
// never joined: whoever started it asks how it went and waits no longer than
// it chooses, and a request still running when its owner goes finishes, or
// times out, by itself.
class CHttpRequest
{
public:
    enum class EState
    {
        Running,
        Succeeded,
        Failed,
    };

    struct SOptions
    {
        std::string m_url;
        // POST with this body and content type; an empty content type makes a GET.
        std::string m_body;
        std::string m_contentType;
        // Connecting and the whole exchange, in milliseconds.
        long m_connectTimeoutMs = 3000;
        long m_timeoutMs = 10000;
        // The answer is kept up to this many bytes.
        size_t m_maxAnswer = 4096;
    };

    // Null, and nothing sent, when the thread can't start.
    static std::unique_ptr<CHttpRequest> Start(SOptions options);
    ~CHttpRequest();
    CHttpRequest(const CHttpRequest&) = delete;
    CHttpRequest& operator=(const CHttpRequest&) = delete;

    // Waits at most `limit` for the end of the request.
    EState Wait(std::chrono::milliseconds limit) const;
    EState State() const { return Wait(std::chrono::milliseconds(0)); }
    // Once the request has ended: the answer, or why it failed.
    std::string Answer() const;
    std::string Failure() const;

private:
    struct SShared;
    explicit CHttpRequest(std::shared_ptr<SShared> shared);
    static void Run(const std::shared_ptr<SShared>& shared);

    std::shared_ptr<SShared> m_shared;
};
