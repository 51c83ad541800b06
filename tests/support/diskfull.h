#pragma once

#include <csignal>
#include <sys/resource.h>

// Stands in for a full disk while it lives: files cannot grow beyond `bytes`
// (the limit binds root too), and writing past it fails with EFBIG instead
// of raising SIGXFSZ.
class CDiskFull
{
public:
    explicit CDiskFull(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_saved);
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit full{bytes, m_saved.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full);
    }
    ~CDiskFull()
    {
        setrlimit(RLIMIT_FSIZE, &m_saved);
        std::signal(SIGXFSZ, m_handler);
    }
    CDiskFull(const CDiskFull&) = delete;
    CDiskFull& operator=(const CDiskFull&) = delete;

private:
    rlimit m_saved{};
    void (*m_handler)(int) = nullptr;
};
