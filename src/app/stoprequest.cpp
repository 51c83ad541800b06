#include "app/stoprequest.h"

#include <csignal>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t s_stopSignal = 0;

extern "C" void OnStopSignal(int signal)
{
    if (s_stopSignal != 0)
        _exit(128 + signal);
    s_stopSignal = signal;
}

} // namespace

void InstallStopSignals()
{
    struct sigaction action = {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    // No SA_RESTART: a system call that waits on something outside (a pipe,
    // a socket) gives up with EINTR instead of holding the run.
    action.sa_flags = 0;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool StopRequested()
{
    return s_stopSignal != 0;
}

int StopSignal()
{
    return s_stopSignal;
}

void RequestStop(int signal)
{
    s_stopSignal = signal;
}
