#include "app/log.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constinit CLog g_logInstance;
}

constinit CLog* g_log = &g_logInstance;

CLog::~CLog()
{
    CloseLog();
}

void CLog::Write(bool isError, const char* format, va_list args)
{
    char text[MaxTextLength + 1];
    vsnprintf(text, sizeof(text), format, args);
    WriteText(isError, text);
}

void CLog::WriteText(bool isError, std::string_view text)
{
    text = text.substr(0, MaxTextLength);

    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);

    char line[MaxLineLength + 1];
    snprintf(line, sizeof(line), isError ? "%4d-%02d-%02d %02d:%02d:%02d.%03d: !ERROR! : %.*s\n"
                                         : "%4d-%02d-%02d %02d:%02d:%02d.%03d: %.*s\n",
             local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
             local.tm_sec, static_cast<int>(now.tv_nsec / 1000000), static_cast<int>(text.size()),
             text.data());

    const std::lock_guard lock(m_mutex);
    if (isError && m_firstError[0] == '\0') {
        const size_t n = std::min(text.size(), sizeof(m_firstError) - 1);
        memcpy(m_firstError, text.data(), n);
        m_firstError[n] = '\0';
    }

    if (m_lineCount >= MaxLines || m_fileName[0] == '\0')
        return;
    ++m_lineCount;
    if (!m_file) {
        m_file = fopen(m_fileName, "a");
        if (!m_file) {
            // No log for the rest of the run; nothing may fail because of the log.
            m_fileName[0] = '\0';
            return;
        }
    }
    fputs(line, m_file);
}

void CLog::SetLogFile(const char* path)
{
    if (!path || strlen(path) + 1 > sizeof(m_fileName))
        return;
    CloseLog();
    const std::lock_guard lock(m_mutex);
    strcpy(m_fileName, path);
    struct stat info{};
    if (stat(m_fileName, &info) == 0 && info.st_size > MaxFileSizeBeforeRestart)
        unlink(m_fileName);
}

void CLog::CloseLog()
{
    const std::lock_guard lock(m_mutex);
    if (m_file) {
        fclose(m_file);
        m_file = nullptr;
    }
}

void CLog::FlushForCrash()
{
    // Only flushed: fclose frees the stream's buffer, and a crash inside the
    // allocator may hold its lock. The process ends right after.
    if (m_file)
        fflush(m_file);
}

void Log(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    g_log->Write(false, format, args);
    va_end(args);
}

bool Error(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    g_log->Write(true, format, args);
    va_end(args);
    return false;
}

void SetLogFile(const char* path)
{
    g_log->SetLogFile(path);
}

void CloseLog()
{
    g_log->CloseLog();
}
