#pragma once

#include <string>

// Installs handlers for the fatal signals for its lifetime. On a crash the
// log is flushed and closed, "crash.txt" is written to `directory` with the
// version, the scene of the crash notes, the trace stack and a backtrace of
// function names with offsets, and the signal is raised again with its
// default action, so the process still ends as it would have. Functions are
// named only from exported symbols: link executables with -rdynamic.
class CCrashHandler
{
public:
    explicit CCrashHandler(const std::string& directory);
    ~CCrashHandler();
    CCrashHandler(const CCrashHandler&) = delete;
    CCrashHandler& operator=(const CCrashHandler&) = delete;

    // Where the report goes; the user directory is known only after the
    // handler is installed.
    void SetDirectory(const std::string& directory);
};
