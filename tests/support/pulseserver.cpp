#include "support/pulseserver.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

extern char** environ;

namespace {

using namespace std::chrono_literals;

void SetEnvironment(const std::string& name, const std::string& value)
{
    setenv(name.c_str(), value.c_str(), 1);
}

// The environment of this process with some entries replaced.
std::vector<std::string> EnvironmentWith(const std::vector<std::pair<std::string, std::string>>& changes)
{
    std::vector<std::string> entries;
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        bool replaced = false;
        for (const auto& [name, value] : changes)
            replaced = replaced || text.rfind(name + "=", 0) == 0;
        if (!replaced)
            entries.push_back(text);
    }
    for (const auto& [name, value] : changes)
        entries.push_back(name + "=" + value);
    return entries;
}

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (auto& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

CPulseServer::CPulseServer() : m_socket(m_dir.File("run/native"))
{
    std::filesystem::create_directories(m_dir.File("run"));
    std::filesystem::create_directories(m_dir.File("state"));
    std::filesystem::create_directories(m_dir.File("home"));
    WriteFile(m_dir.File("client.conf"), "autospawn = no\n");

    // Clients of this process and the players it starts find this server only.
    const std::vector<std::pair<std::string, std::string>> client{
        {"PULSE_SERVER", "unix:" + m_socket},
        {"PULSE_CLIENTCONFIG", m_dir.File("client.conf")},
        {"PULSE_COOKIE", m_dir.File("cookie")},
    };
    for (const auto& [name, value] : client) {
        const char* old = std::getenv(name.c_str());
        m_savedEnvironment.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
        SetEnvironment(name, value);
    }
}

CPulseServer::~CPulseServer()
{
    Stop();
    for (const auto& [name, value] : m_savedEnvironment) {
        if (value)
            SetEnvironment(name, *value);
        else
            unsetenv(name.c_str());
    }
}

bool CPulseServer::Start(std::chrono::milliseconds timeout)
{
    if (m_pid > 0)
        return true;
    std::vector<std::string> arguments{
        "pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "--system=no",
        "--disallow-exit", "--log-target=stderr", "--log-level=error",
        std::string("--load=module-null-sink sink_name=") + SinkName + " rate=44100",
        "--load=module-native-protocol-unix auth-anonymous=1 socket=" + m_socket,
    };
    // Its own home and runtime, so nothing of the user's sound setup is read
    // or changed, and no session bus is looked for.
    std::vector<std::string> environment = EnvironmentWith({
        {"HOME", m_dir.File("home")},
        {"XDG_CONFIG_HOME", m_dir.File("home/.config")},
        {"PULSE_RUNTIME_PATH", m_dir.File("run")},
        {"PULSE_STATE_PATH", m_dir.File("state")},
        {"DBUS_SESSION_BUS_ADDRESS", "disabled:"},
    });
    std::vector<char*> argv = Pointers(arguments);
    std::vector<char*> envp = Pointers(environment);
    const std::string output = m_dir.File("server.log");
    const pid_t parent = getpid();

    const pid_t pid = fork();
    if (pid < 0)
        return false;
    if (pid == 0) {
        // The server goes with the test process even when that one crashes.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent)
            _exit(127);
        const int log = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        if (log >= 0) {
            dup2(log, STDOUT_FILENO);
            dup2(log, STDERR_FILENO);
            close(log);
        }
        execvpe(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    m_pid = pid;

    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (std::chrono::steady_clock::now() < deadline) {
        if (Accepts())
            return true;
        int status = 0;
        if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_pid = -1;
            return false;
        }
        std::this_thread::sleep_for(20ms);
    }
    Stop();
    return false;
}

bool CPulseServer::Accepts() const
{
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, m_socket.c_str(), sizeof address.sun_path - 1);
    const bool connected = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return connected;
}

void CPulseServer::EndProcess(pid_t pid, std::chrono::milliseconds grace)
{
    if (pid <= 0)
        return;
    kill(pid, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + grace;
    int status = 0;
    while (std::chrono::steady_clock::now() < deadline) {
        const pid_t ended = waitpid(pid, &status, WNOHANG);
        if (ended == pid || ended < 0)
            return;
        std::this_thread::sleep_for(10ms);
    }
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
}

void CPulseServer::Stop()
{
    StopPlaying();
    EndProcess(m_pid, 2s);
    m_pid = -1;
}

void CPulseServer::Kill()
{
    StopPlaying();
    if (m_pid <= 0)
        return;
    kill(m_pid, SIGKILL);
    int status = 0;
    waitpid(m_pid, &status, 0);
    m_pid = -1;
}

bool CPulseServer::Play(const std::string& file)
{
    std::vector<std::string> arguments{"paplay", std::string("--device=") + SinkName, file};
    std::vector<char*> argv = Pointers(arguments);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, m_dir.File("player.log").c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t pid = 0;
    const bool started = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    if (started)
        m_players.push_back(pid);
    return started;
}

void CPulseServer::StopPlaying()
{
    for (const pid_t player : m_players)
        EndProcess(player, 1s);
    m_players.clear();
}

std::string CPulseServer::Output() const
{
    return ReadFile(m_dir.File("server.log")) + ReadFile(m_dir.File("player.log"));
}
