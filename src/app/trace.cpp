#include "app/trace.h"

#include "app/log.h"

namespace {
constexpr STraceStack MakeTraceStack()
{
    STraceStack stack{};
    stack.m_depth = 0;
    for (int i = 0; i < STraceStack::MaxDepth; ++i)
        stack.m_indent[i] = ' ';
    stack.m_indent[STraceStack::MaxDepth] = '\0';
    return stack;
}
} // namespace

// Constant-initialised, so markers in other static initialisers find it ready.
constinit STraceStack g_traceStack = MakeTraceStack();

namespace {
void LogAtDepth(char mark, const char* name)
{
    const int depth = g_traceStack.m_depth;
    g_traceStack.m_indent[depth] = '\0';
    Log("%s%c%s", g_traceStack.m_indent, mark, name);
    g_traceStack.m_indent[depth] = ' ';
}
} // namespace

CTraceLogScope::CTraceLogScope(const char* name) : m_name(name)
{
    if (g_traceStack.m_depth < STraceStack::MaxDepth)
        g_traceStack.m_names[g_traceStack.m_depth++] = name;
    LogAtDepth('>', m_name);
}

CTraceLogScope::~CTraceLogScope()
{
    LogAtDepth('<', m_name);
    if (g_traceStack.m_depth > 0)
        --g_traceStack.m_depth;
}
