#pragma once

#include "support/tempdir.h"

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

// A PulseAudio server of the test's own: a null sink named SinkName (so its
// monitor is the default source and @DEFAULT_MONITOR@), a unix socket with
// anonymous access, runtime and state in a fresh directory. While the object
// lives PULSE_SERVER points at that socket and clients never spawn a server
// of their own. The server is stopped by its pid when the object goes, and
// dies with the test process if that crashes.
class CPulseServer
{
public:
    static constexpr const char* SinkName = "lumora_test";

    CPulseServer();
    ~CPulseServer();
    CPulseServer(const CPulseServer&) = delete;
    CPulseServer& operator=(const CPulseServer&) = delete;

    // Starts the server (again, after Stop or Kill) and waits until it takes
    // connections.
    bool Start(std::chrono::milliseconds timeout = std::chrono::seconds(5));
    // SIGTERM, then SIGKILL if it is still there after a grace time.
    void Stop();
    // SIGKILL at once, as a crash of the server would be.
    void Kill();
    bool IsRunning() const { return m_pid > 0; }
    pid_t Pid() const { return m_pid; }

    // Plays a file into the null sink in the background, until it ends or
    // StopPlaying (or the server's end) stops it.
    bool Play(const std::string& file);
    void StopPlaying();

    // What the server printed, for failure messages.
    std::string Output() const;
    std::string MonitorName() const { return std::string(SinkName) + ".monitor"; }

private:
    bool Accepts() const;
    void EndProcess(pid_t pid, std::chrono::milliseconds grace);

    CTempDir m_dir;
    std::string m_socket;
    pid_t m_pid = -1;
    std::vector<pid_t> m_players;
    std::vector<std::pair<std::string, std::optional<std::string>>> m_savedEnvironment;
};
