#pragma once

#include <string>
#include <string_view>
#include <utility>

// The editor side of the connection: sends a request and reads its answer.
class CEditorClient
{
public:
    CEditorClient() = default;
    ~CEditorClient();
    CEditorClient(const CEditorClient&) = delete;
    CEditorClient& operator=(const CEditorClient&) = delete;
    CEditorClient(CEditorClient&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}

    // False with `error` set when nobody listens at `path`.
    bool Connect(const std::string& path, std::string& error);
    // Sends one message; false when the connection has gone.
    bool Send(std::string_view text);
    // Waits up to `timeoutMs` for one message; false with `error` set on
    // timeout or when the connection closes.
    bool Receive(std::string& text, int timeoutMs, std::string& error);
    // Sends raw bytes, framed or not, as they are.
    bool SendBytes(std::string_view bytes);
    void Close();
    int Fd() const { return m_fd; }

private:
    bool ReadExactly(char* buffer, size_t size, int timeoutMs, std::string& error);

    int m_fd = -1;
};
