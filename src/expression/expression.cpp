#include "expression/expression.h"

#include "expression/exception.h"
#include "expression/node.h"
#include "expression/parser.h"

#include <algorithm>
#include <cerrno>

namespace ExprEval {

Expression::Expression() : m_errno(&errno)
{
}
Expression::~Expression() = default;

void Expression::Parse(std::string_view source)
{
    m_root.reset();
    m_errno = &errno;
    Parser parser(this);
    parser.Tokenize(source);
    if (parser.GetTokenCount() == 0)
        throw EmptyExpressionException();
    m_root = parser.ParseRange(0, parser.GetTokenCount() - 1);
}

double Expression::Evaluate()
{
    if (!m_root)
        throw EmptyExpressionException();
    m_errno = &errno;
    Counted result = m_root->Run(m_abortCount);
    m_abortCount = result.countdown;
    return result.value;
}

void Expression::Clear()
{
    m_root.reset();
}

void Expression::SetAbortInterval(unsigned interval)
{
    m_abortInterval = interval;
    m_abortCount = std::min(m_abortCount, interval);
}

void Expression::Reload()
{
    m_abortCount = m_abortInterval;
    if (ShouldAbort())
        throw AbortException();
}

void Expression::CheckAbortSlow(unsigned times)
{
    while (times > 0) {
        if (m_abortCount == 0) {
            --times;
            Reload();
            continue;
        }
        unsigned step = std::min(m_abortCount, times);
        m_abortCount -= step;
        times -= step;
    }
}

} // namespace ExprEval
