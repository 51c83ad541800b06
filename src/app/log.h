#pragma once

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string_view>

// The run's log: "log.txt" in the user directory, one time-stamped line per
// message, at most MaxLines lines a run. Threads that write pictures or
// movies log through it too, so lines are written one at a time.
class CLog
{
public:
    static constexpr int MaxLines = 1251;
    static constexpr long MaxFileSizeBeforeRestart = 100000;
    static constexpr size_t MaxTextLength = 998;
    static constexpr size_t MaxLineLength = 1049;
    static constexpr size_t FirstErrorSize = 511;
    static constexpr size_t FileNameSize = 200;

    constexpr CLog() = default;
    ~CLog();
    CLog(const CLog&) = delete;
    CLog& operator=(const CLog&) = delete;

    void Write(bool isError, const char* format, va_list args);
    void WriteText(bool isError, std::string_view text);

    // Takes the path as the log file; a file above MaxFileSizeBeforeRestart
    // bytes is deleted so that the log starts over. Too long a path is ignored.
    void SetLogFile(const char* path);
    void CloseLog();
    // Writes buffered lines to disk without freeing anything; safe in a
    // signal handler as far as the C library allows.
    void FlushForCrash();

    const char* GetFirstError() const { return m_firstError; }
    const char* GetFileName() const { return m_fileName; }
    int GetLineCount() const { return m_lineCount; }

private:
    char m_firstError[FirstErrorSize] = {};
    char m_fileName[FileNameSize] = {};
    int m_lineCount = 0;
    FILE* m_file = nullptr;
    std::mutex m_mutex;
};

// The one log of the process.
extern CLog* g_log;

void Log(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Logs an error line and returns false, so a failing function can end with
// `return Error(...)`.
bool Error(const char* format, ...) __attribute__((format(printf, 1, 2)));
void SetLogFile(const char* path);
void CloseLog();
