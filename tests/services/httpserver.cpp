#include "httpserver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

namespace {

// Waits for the socket to be readable, giving up when `stop` is set.
bool Readable(int socket, const std::atomic<bool>& stop)
{
    while (!stop) {
        pollfd entry{socket, POLLIN, 0};
        if (poll(&entry, 1, 20) > 0)
            return true;
    }
    return false;
}

void SendAll(int socket, const std::string& text)
{
    for (size_t sent = 0; sent < text.size();) {
        const ssize_t n = send(socket, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (n <= 0)
            return;
        sent += size_t(n);
    }
}

} // namespace

CTestHttpServer::CTestHttpServer(EAnswer answer, std::string body) : m_answer(answer), m_answerBody(std::move(body))
{
    m_listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(m_listener, 4) != 0 ||
        getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        abort();
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { Serve(); });
}

CTestHttpServer::~CTestHttpServer()
{
    m_stop = true;
    m_thread.join();
    close(m_listener);
}

std::string CTestHttpServer::Url(const std::string& path) const
{
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

bool CTestHttpServer::WaitForRequests(size_t n, double seconds) const
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
        if (Requests().size() >= n)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

std::vector<CTestHttpServer::SRequest> CTestHttpServer::Requests() const
{
    std::lock_guard lock(m_mutex);
    return m_requests;
}

bool CTestHttpServer::ReadRequest(int client, SRequest& request)
{
    std::string data;
    size_t headEnd = std::string::npos, bodyLength = 0;
    char buffer[4096];
    while (Readable(client, m_stop)) {
        const ssize_t n = recv(client, buffer, sizeof(buffer), 0);
        if (n <= 0)
            return false;
        data.append(buffer, size_t(n));
        if (headEnd == std::string::npos && (headEnd = data.find("\r\n\r\n")) != std::string::npos) {
            const size_t field = data.find("Content-Length: ");
            bodyLength = field < headEnd ? std::strtoul(data.c_str() + field + 16, nullptr, 10) : 0;
        }
        if (headEnd != std::string::npos && data.size() >= headEnd + 4 + bodyLength) {
            request.m_head = data.substr(0, headEnd);
            request.m_body = data.substr(headEnd + 4, bodyLength);
            return true;
        }
    }
    return false;
}

void CTestHttpServer::Serve()
{
    while (Readable(m_listener, m_stop)) {
        const int client = accept(m_listener, nullptr, nullptr);
        if (client < 0)
            continue;
        SRequest request;
        if (ReadRequest(client, request)) {
            {
                std::lock_guard lock(m_mutex);
                m_requests.push_back(request);
            }
            const std::string length = "Content-Length: " + std::to_string(m_answerBody.size()) + "\r\n\r\n";
            switch (m_answer) {
            case EAnswer::Ok:
                SendAll(client, "HTTP/1.1 200 OK\r\nConnection: close\r\n" + length + m_answerBody);
                break;
            case EAnswer::ServerError:
                SendAll(client, "HTTP/1.1 500 Internal Server Error\r\nConnection: close\r\n" + length);
                break;
            case EAnswer::Never:
                while (!m_stop)
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                break;
            case EAnswer::CutBody:
                SendAll(client, "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\npart");
                break;
            }
        }
        close(client);
    }
}
