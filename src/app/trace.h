#pragma once

// A stack of the names of the functions being run, for a crash dump to show,
// and an indent that makes the log read as a call tree.
struct STraceStack
{
    static constexpr int MaxDepth = 64;
    const char* m_names[MaxDepth];
    int m_depth;
    char m_indent[MaxDepth + 1];
};

extern STraceStack g_traceStack;

// Quiet marker: two memory writes, cheap enough for per-frame code.
class CTraceScope
{
public:
    explicit CTraceScope(const char* name)
    {
        if (g_traceStack.m_depth < STraceStack::MaxDepth)
            g_traceStack.m_names[g_traceStack.m_depth++] = name;
    }
    ~CTraceScope()
    {
        if (g_traceStack.m_depth > 0)
            --g_traceStack.m_depth;
    }
    CTraceScope(const CTraceScope&) = delete;
    CTraceScope& operator=(const CTraceScope&) = delete;
};

// Logged marker: also writes "<indent>>Name" at entry and "<indent><Name" at exit.
class CTraceLogScope
{
public:
    explicit CTraceLogScope(const char* name);
    ~CTraceLogScope();
    CTraceLogScope(const CTraceLogScope&) = delete;
    CTraceLogScope& operator=(const CTraceLogScope&) = delete;

private:
    const char* m_name;
};

#define LUMORA_TRACE_CONCAT2(a, b) a##b
#define LUMORA_TRACE_CONCAT(a, b) LUMORA_TRACE_CONCAT2(a, b)
#define TRACE(name) CTraceScope LUMORA_TRACE_CONCAT(traceScope_, __LINE__)(name)
#define TRACE_LOG(name) CTraceLogScope LUMORA_TRACE_CONCAT(traceScope_, __LINE__)(name)
