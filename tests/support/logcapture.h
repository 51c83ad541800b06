#pragma once

#include "app/log.h"
#include "support/tempdir.h"

#include <string>
#include <vector>

// The text of a log line after its "YYYY-MM-DD hh:mm:ss.mmm: " time stamp;
// a line without a well-formed stamp comes back whole, marked "<no stamp>".
std::string LogMessage(const std::string& line);

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
