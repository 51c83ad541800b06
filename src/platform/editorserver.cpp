#include "platform/editorserver.h"

#include "app/log.h"
#include "platform/editorframing.h"
#include "services/scriptengine.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

bool MakeAddress(const std::string& path, sockaddr_un& address)
{
    address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return false;
    memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

std::string Folder(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string(".") : path.substr(0, std::max<size_t>(slash, 1));
}

} // namespace

CEditorServer::CEditorServer(CScriptEngine& engine, SOptions options) : m_engine(engine), m_options(std::move(options))
{
    if (!m_options.m_acceptPeer) {
        const uid_t self = geteuid();
        m_options.m_acceptPeer = [self](uid_t peer) { return peer == self; };
    }
}

CEditorServer::~CEditorServer()
{
    if (m_thread.joinable()) {
        m_stop = true;
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(m_wake, &one, sizeof one);
        m_thread.join();
    }
    m_engine.SetAnswerReadyCallback(nullptr);
    m_engine.SetCollectors(0);
    for (SClient& client : m_clients) {
        m_engine.ForgetOrigin(client.m_origin);
        close(client.m_fd);
    }
    if (m_listen >= 0) {
        close(m_listen);
        // Only our own socket goes: another run may have replaced it.
        struct stat status{};
        if (lstat(m_options.m_path.c_str(), &status) == 0 && status.st_ino == m_inode)
            unlink(m_options.m_path.c_str());
    }
    if (m_wake >= 0)
        close(m_wake);
}

std::string CEditorServer::DefaultPath(const std::string& userPath)
{
    const char* runtime = getenv("XDG_RUNTIME_DIR");
    if (runtime && runtime[0] == '/')
        return std::string(runtime) + "/lumora/editor.sock";
    return userPath + "/editor.sock";
}

bool CEditorServer::MakeFolder(const std::string& folder)
{
    const bool made = mkdir(folder.c_str(), 0700) == 0;
    struct stat status{};
    if (lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        return Error("Editor socket: \"%s\" is no folder", folder.c_str());
    if (status.st_uid != geteuid())
        return Error("Editor socket: the folder \"%s\" belongs to another user", folder.c_str());
    // Lumora's own folder is closed to others; a shared one is left as it is.
    if ((made || folder.ends_with("/lumora")) && chmod(folder.c_str(), 0700) != 0)
        return Error("Editor socket: cannot make \"%s\" private (%s)", folder.c_str(), strerror(errno));
    return true;
}

bool CEditorServer::RemoveStale()
{
    const std::string& path = m_options.m_path;
    struct stat status{};
    if (lstat(path.c_str(), &status) != 0)
        return true;
    if (!S_ISSOCK(status.st_mode))
        return Error("Editor socket: \"%s\" exists and is no socket; it is left alone", path.c_str());
    sockaddr_un address;
    MakeAddress(path, address);
    const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool answered = probe >= 0 && connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (probe >= 0)
        close(probe);
    if (answered)
        return Error("Editor socket: another Lumora already listens at \"%s\"", path.c_str());
    // What a crashed run left behind.
    Log("Editor socket: replacing the stale socket \"%s\"", path.c_str());
    unlink(path.c_str());
    return true;
}

bool CEditorServer::Start()
{
    const std::string& path = m_options.m_path;
    sockaddr_un address;
    if (!MakeAddress(path, address))
        return Error("Editor socket: the path \"%s\" is too long for a socket", path.c_str());
    if (!MakeFolder(Folder(path)) || !RemoveStale())
        return false;
    m_listen = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_listen < 0 || bind(m_listen, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return Error("Editor socket: cannot make \"%s\" (%s)", path.c_str(), strerror(errno));
    struct stat status{};
    if (chmod(path.c_str(), 0600) != 0 || lstat(path.c_str(), &status) != 0 || listen(m_listen, 16) != 0)
        return Error("Editor socket: cannot listen at \"%s\" (%s)", path.c_str(), strerror(errno));
    m_inode = status.st_ino;
    m_wake = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (m_wake < 0)
        return Error("Editor socket: no event descriptor (%s)", strerror(errno));
    const int wake = m_wake;
    m_engine.SetAnswerReadyCallback([wake] {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(wake, &one, sizeof one);
    });
    m_thread = std::thread([this] { Loop(); });
    Log("Editor socket: listening at \"%s\"", path.c_str());
    return true;
}

void CEditorServer::Loop()
{
    std::vector<pollfd> fds;
    while (!m_stop) {
        fds.assign({{m_wake, POLLIN, 0}, {m_listen, POLLIN, 0}});
        for (const SClient& client : m_clients) {
            short events = 0;
            if (!client.m_awaiting && !client.m_closing && client.m_out.empty())
                events |= POLLIN;
            if (!client.m_out.empty())
                events |= POLLOUT;
            fds.push_back({client.m_fd, events, 0});
        }
        if (poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR)
                continue;
            Error("Editor socket: poll failed (%s); the editor connection ends", strerror(errno));
            return;
        }
        if (fds[0].revents) {
            uint64_t count;
            [[maybe_unused]] const ssize_t got = read(m_wake, &count, sizeof count);
            DeliverAnswers();
        }
        // Clients made or dropped below do not disturb the entries polled.
        const size_t polled = fds.size() - 2;
        for (size_t i = 0; i < polled && i < m_clients.size(); ++i) {
            SClient& client = m_clients[i];
            const short events = fds[i + 2].revents;
            if (events & (POLLIN | POLLHUP | POLLERR))
                ReadFrom(client);
            if (client.m_fd >= 0 && (events & POLLOUT))
                WriteTo(client);
        }
        std::erase_if(m_clients, [](const SClient& client) { return client.m_fd < 0; });
        if (fds[1].revents)
            Accept();
        m_engine.SetCollectors(int(m_clients.size()));
    }
}

void CEditorServer::Accept()
{
    const int fd = accept4(m_listen, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0)
        return;
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || !m_options.m_acceptPeer(peer.uid)) {
        Error("Editor socket: refused a connection of user %u (process %d)", unsigned(peer.uid), int(peer.pid));
        close(fd);
        return;
    }
    if (int(m_clients.size()) >= m_options.m_maxClients) {
        Error("Editor socket: refused a connection; %d editors are connected already", m_options.m_maxClients);
        close(fd);
        return;
    }
    m_clients.push_back({fd, m_nextOrigin++, {}, {}});
}

void CEditorServer::DeliverAnswers()
{
    for (SClient& client : m_clients) {
        if (!client.m_awaiting)
            continue;
        std::optional<std::string> answer = m_engine.TakeAnswer(client.m_origin);
        if (!answer)
            continue;
        client.m_awaiting = false;
        client.m_out += EditorFrame(*answer);
        WriteTo(client);
    }
}

void CEditorServer::ReadFrom(SClient& client)
{
    char buffer[65536];
    const ssize_t got = recv(client.m_fd, buffer, sizeof buffer, 0);
    if (got < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (got <= 0) {
        Drop(client);
        return;
    }
    client.m_in.append(buffer, size_t(got));
    TakeRequests(client);
}

void CEditorServer::TakeRequests(SClient& client)
{
    if (client.m_awaiting || client.m_closing || client.m_in.size() < kEditorFrameHeader)
        return;
    const size_t length = EditorFrameLength(client.m_in.data());
    if (length > m_options.m_maxMessage) {
        // The rest of the message is not read: the connection cannot go on.
        client.m_out += EditorFrame("<lms><Request Error=\"Message too long: " + std::to_string(length) +
                                    " bytes, at most " + std::to_string(m_options.m_maxMessage) + "\"/></lms>");
        client.m_closing = true;
        client.m_in.clear();
        return;
    }
    if (client.m_in.size() < kEditorFrameHeader + length)
        return;
    m_engine.AddCommands(std::string_view(client.m_in).substr(kEditorFrameHeader, length), client.m_origin);
    client.m_in.erase(0, kEditorFrameHeader + length);
    client.m_awaiting = true;
}

void CEditorServer::WriteTo(SClient& client)
{
    while (!client.m_out.empty()) {
        const ssize_t sent = send(client.m_fd, client.m_out.data(), client.m_out.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent < 0 && errno == EAGAIN)
            return;
        if (sent <= 0) {
            // The editor went away in the middle of its answer.
            Drop(client);
            return;
        }
        client.m_out.erase(0, size_t(sent));
    }
    if (client.m_closing) {
        Drop(client);
        return;
    }
    // Requests that came while the answer was on its way.
    TakeRequests(client);
}

void CEditorServer::Drop(SClient& client)
{
    if (client.m_fd < 0)
        return;
    m_engine.ForgetOrigin(client.m_origin);
    close(client.m_fd);
    client.m_fd = -1;
}
