#include "platform/crashhandler.h"

#include "app/log.h"
#include "app/trace.h"

#include <csignal>
#include <cstring>
#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
constexpr int kNumSignals = sizeof(kSignals) / sizeof(kSignals[0]);

// Everything the handler touches is prepared beforehand: it may not allocate.
char g_reportPath[4096];
struct sigaction g_previous[kNumSignals];
char g_alternateStack[64 * 1024];
stack_t g_previousStack;

void WriteText(int fd, const char* text)
{
    ssize_t ignored = write(fd, text, strlen(text));
    (void)ignored;
}

void WriteNumber(int fd, long value)
{
    char digits[24];
    int pos = sizeof(digits) - 1;
    digits[pos] = '\0';
    const bool negative = value < 0;
    unsigned long magnitude = negative ? 0ul - static_cast<unsigned long>(value) : static_cast<unsigned long>(value);
    do {
        digits[--pos] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude && pos > 1);
    if (negative)
        digits[--pos] = '-';
    WriteText(fd, digits + pos);
}

void WriteReport(int signal)
{
    const int fd = open(g_reportPath, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0)
        return;
    WriteText(fd, "Lumora crashed with signal ");
    WriteNumber(fd, signal);
    WriteText(fd, " (");
    WriteText(fd, sigabbrev_np(signal) ? sigabbrev_np(signal) : "?");
    WriteText(fd, ")\n\nFunctions being run, outermost first:\n");
    for (int i = 0; i < g_traceStack.m_depth && i < STraceStack::MaxDepth; ++i) {
        WriteText(fd, "  ");
        WriteText(fd, g_traceStack.m_names[i]);
        WriteText(fd, "\n");
    }
    WriteText(fd, "\nBacktrace:\n");
    void* frames[128];
    const int count = backtrace(frames, 128);
    backtrace_symbols_fd(frames, count, fd);
    close(fd);
}

void HandleCrash(int signal)
{
    // The log is complete on disk before anything else can go wrong.
    g_log->FlushForCrash();
    if (g_reportPath[0])
        WriteReport(signal);
    struct sigaction defaultAction{};
    defaultAction.sa_handler = SIG_DFL;
    sigemptyset(&defaultAction.sa_mask);
    sigaction(signal, &defaultAction, nullptr);
    // Delivered when the handler returns, with the default action.
    raise(signal);
}

} // namespace

CCrashHandler::CCrashHandler(const std::string& directory)
{
    SetDirectory(directory);
    // backtrace loads its unwinder on first use, which allocates: do it now.
    void* frame[1];
    backtrace(frame, 1);

    // A stack overflow leaves no stack for the handler: give it its own.
    stack_t stack{};
    stack.ss_sp = g_alternateStack;
    stack.ss_size = sizeof(g_alternateStack);
    sigaltstack(&stack, &g_previousStack);

    struct sigaction action{};
    action.sa_handler = HandleCrash;
    action.sa_flags = SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    for (int i = 0; i < kNumSignals; ++i)
        sigaction(kSignals[i], &action, &g_previous[i]);
}

CCrashHandler::~CCrashHandler()
{
    for (int i = 0; i < kNumSignals; ++i)
        sigaction(kSignals[i], &g_previous[i], nullptr);
    sigaltstack(&g_previousStack, nullptr);
}

void CCrashHandler::SetDirectory(const std::string& directory)
{
    g_reportPath[0] = '\0';
    const std::string path = (directory.empty() ? std::string(".") : directory) + "/crash.txt";
    if (path.size() < sizeof(g_reportPath))
        memcpy(g_reportPath, path.c_str(), path.size() + 1);
}
