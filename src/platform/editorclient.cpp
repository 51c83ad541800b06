#include "platform/editorclient.h"

#include "platform/editorframing.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

CEditorClient::~CEditorClient()
{
    Close();
}

void CEditorClient::Close()
{
    if (m_fd >= 0)
        close(m_fd);
    m_fd = -1;
}

bool CEditorClient::Connect(const std::string& path, std::string& error)
{
    Close();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        error = "the socket path \"" + path + "\" is too long";
        return false;
    }
    memcpy(address.sun_path, path.c_str(), path.size() + 1);
    m_fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_fd < 0 || connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        error = "no Lumora listens at \"" + path + "\" (" + strerror(errno) +
                "); start it with --editor";
        Close();
        return false;
    }
    return true;
}

bool CEditorClient::SendBytes(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0)
            return false;
        bytes.remove_prefix(size_t(sent));
    }
    return true;
}

bool CEditorClient::Send(std::string_view text)
{
    return SendBytes(EditorFrame(text));
}

bool CEditorClient::ReadExactly(char* buffer, size_t size, int timeoutMs, std::string& error)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    size_t done = 0;
    while (done < size) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
        pollfd entry{m_fd, POLLIN, 0};
        const int ready = poll(&entry, 1, int(std::max<long long>(left, 0)));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0) {
            error = "no answer within " + std::to_string(timeoutMs / 1000.0) + " s";
            return false;
        }
        const ssize_t got = recv(m_fd, buffer + done, size - done, 0);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) {
            error = "the connection closed before the answer was complete";
            return false;
        }
        done += size_t(got);
    }
    return true;
}

bool CEditorClient::Receive(std::string& text, int timeoutMs, std::string& error)
{
    char header[kEditorFrameHeader];
    if (!ReadExactly(header, sizeof header, timeoutMs, error))
        return false;
    text.resize(EditorFrameLength(header));
    return ReadExactly(text.data(), text.size(), timeoutMs, error);
}
