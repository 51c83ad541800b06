#pragma once

#include "app/log.h"
#include "support/tempdir.h"

#include <string>
#include <vector>

// Sends the global log to a file of the test's own while it lives, and reads
// back the messages without their time stamps.
class CLogCapture
{
public:
    CLogCapture();
    ~CLogCapture();
    CLogCapture(const CLogCapture&) = delete;
    CLogCapture& operator=(const CLogCapture&) = delete;

    std::vector<std::string> Messages();
    // True if some message contains `text`.
    bool Contains(const std::string& text);
    CLog& Get() { return m_log; }

private:
    CTempDir m_dir;
    CLog m_log;
    CLog* m_saved;
};
