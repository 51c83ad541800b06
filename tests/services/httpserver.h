#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// A one-thread HTTP server on 127.0.0.1 for tests: takes requests one at a
// time, keeps what it received, and answers as told.
class CTestHttpServer
{
public:
    enum class EAnswer
    {
        Ok,
        ServerError, // 500
        Never,       // reads the request and keeps silent
        CutBody,     // promises a body and closes half-way
    };

    explicit CTestHttpServer(EAnswer answer, std::string body = "ok");
    ~CTestHttpServer();
    CTestHttpServer(const CTestHttpServer&) = delete;
    CTestHttpServer& operator=(const CTestHttpServer&) = delete;

    std::string Url(const std::string& path = "/lmstats") const;
    // Waits up to `seconds` for the n-th request to have arrived whole.
    bool WaitForRequests(size_t n, double seconds) const;

    struct SRequest
    {
        std::string m_head; // request line and headers
        std::string m_body;
    };
    std::vector<SRequest> Requests() const;

private:
    void Serve();
    bool ReadRequest(int client, SRequest& request);

    EAnswer m_answer;
    std::string m_answerBody;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_stop{false};
    mutable std::mutex m_mutex;
    std::vector<SRequest> m_requests;
    std::thread m_thread;
};
