#include "platform/crashhandler.h"

#include "app/crashnotes.h"
#include "app/log.h"
#include "app/trace.h"

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
constexpr int kNumSignals = sizeof(kSignals) / sizeof(kSignals[0]);
constexpr int kMaxFrames = 128;
// A handler stuck on a lock that the crash left taken ends the process
// after this many seconds.
constexpr unsigned kWatchdogSeconds = 10;

// Everything the handler touches is prepared beforehand.
char g_reportPath[4096];
struct sigaction g_previous[kNumSignals];
char g_alternateStack[64 * 1024];
stack_t g_previousStack;
void* g_frames[kMaxFrames];
Dl_info g_symbols[kMaxFrames];
// The demangler writes here; it grows the buffer with realloc only for a
// name longer than this.
char* g_demangled = nullptr;
size_t g_demangledSize = 0;

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

void WriteHex(int fd, uintptr_t value)
{
    char digits[2 + 2 * sizeof(value) + 1];
    int pos = sizeof(digits) - 1;
    digits[pos] = '\0';
    do {
        digits[--pos] = "0123456789abcdef"[value & 0xF];
        value >>= 4;
    } while (value);
    digits[--pos] = 'x';
    digits[--pos] = '0';
    WriteText(fd, digits + pos);
}

const char* BaseName(const char* path)
{
    const char* slash = path ? strrchr(path, '/') : nullptr;
    return slash ? slash + 1 : path && *path ? path : "?";
}

// A crash inside the allocator may hold its lock, and the demangler
// allocates: then names stay as the linker wrote them.
bool InsideAllocator(int count)
{
    static const char* const allocator[] = {"malloc", "free", "calloc", "realloc", "reallocarray", "memalign",
                                            "posix_memalign", "aligned_alloc", "valloc", "pvalloc", "cfree",
                                            "__libc_malloc", "__libc_free", "__libc_calloc", "__libc_realloc",
                                            "__libc_memalign", "__libc_valloc", "__libc_pvalloc", "malloc_trim"};
    for (int i = 0; i < count; ++i) {
        const char* name = g_symbols[i].dli_sname;
        if (!name)
            continue;
        for (const char* function : allocator)
            if (strcmp(name, function) == 0)
                return true;
    }
    return false;
}

const char* ReadableName(const char* symbol, bool demangle)
{
    if (!demangle || strncmp(symbol, "_Z", 2) != 0)
        return symbol;
    int status = 0;
    char* text = abi::__cxa_demangle(symbol, g_demangled, &g_demangledSize, &status);
    if (status != 0 || !text)
        return symbol;
    g_demangled = text;
    return text;
}

// One line a frame, innermost first: the function with the offset into it
// and the file it is in, or the offset into the file when it has no name
// there (static functions, or a binary linked without exported symbols).
void WriteBacktrace(int fd)
{
    const int count = backtrace(g_frames, kMaxFrames);
    for (int i = 0; i < count; ++i)
        if (!dladdr(g_frames[i], &g_symbols[i]))
            g_symbols[i] = Dl_info{};
    const bool demangle = !InsideAllocator(count);
    for (int i = 0; i < count; ++i) {
        const Dl_info& symbol = g_symbols[i];
        const uintptr_t address = reinterpret_cast<uintptr_t>(g_frames[i]);
        WriteText(fd, "  #");
        WriteNumber(fd, i);
        WriteText(fd, "  ");
        if (symbol.dli_sname && symbol.dli_saddr) {
            WriteText(fd, ReadableName(symbol.dli_sname, demangle));
            WriteText(fd, " + ");
            WriteHex(fd, address - reinterpret_cast<uintptr_t>(symbol.dli_saddr));
            WriteText(fd, " in ");
            WriteText(fd, BaseName(symbol.dli_fname));
        } else if (symbol.dli_fbase) {
            WriteText(fd, "?? in ");
            WriteText(fd, BaseName(symbol.dli_fname));
            WriteText(fd, " + ");
            WriteHex(fd, address - reinterpret_cast<uintptr_t>(symbol.dli_fbase));
        } else {
            WriteText(fd, "?? at ");
            WriteHex(fd, address);
        }
        WriteText(fd, "\n");
    }
}

void WriteReport(int signal)
{
    const int fd = open(g_reportPath, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0)
        return;
    WriteText(fd, "Lumora " LUMORA_VERSION " crashed with signal ");
    WriteNumber(fd, signal);
    WriteText(fd, " (");
    WriteText(fd, sigabbrev_np(signal) ? sigabbrev_np(signal) : "?");
    WriteText(fd, ")\nScene: ");
    WriteText(fd, g_crashNotes.SceneFile()[0] ? g_crashNotes.SceneFile() : "(none yet)");
    WriteText(fd, "\n\nFunctions being run, outermost first:\n");
    for (int i = 0; i < g_traceStack.m_depth && i < STraceStack::MaxDepth; ++i) {
        WriteText(fd, "  ");
        WriteText(fd, g_traceStack.m_names[i]);
        WriteText(fd, "\n");
    }
    WriteText(fd, "\nBacktrace, innermost first:\n");
    WriteBacktrace(fd);
    close(fd);
}

void HandleCrash(int signal)
{
    alarm(kWatchdogSeconds);
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
    // backtrace loads its unwinder on first use, and the first dladdr and
    // demangling may set up state of their own, which allocates: all of it
    // happens now, not in the handler.
    void* frame[1];
    if (backtrace(frame, 1) == 1) {
        Dl_info symbol;
        dladdr(frame[0], &symbol);
    }
    if (!g_demangled) {
        g_demangledSize = 4096;
        g_demangled = static_cast<char*>(malloc(g_demangledSize));
    }
    int status = 0;
    if (char* text = abi::__cxa_demangle("_ZN13CCrashHandlerC1ERKSs", g_demangled, &g_demangledSize, &status))
        g_demangled = text;

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
