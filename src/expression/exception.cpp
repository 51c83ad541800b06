#include "expression/exception.h"

#include <cstdio>

namespace ExprEval {

Exception::Exception(int type, std::string value, long start, long end)
    : m_type(type), m_value(std::move(value)), m_start(start), m_end(end)
{
}

const char* Exception::what() const noexcept
{
    switch (m_type) {
    case NotFoundType:
        std::snprintf(m_message, sizeof m_message, "Variable not found at %ld %ld", m_start, m_end);
        return m_message;
    case AlreadyExistsType:
        std::snprintf(m_message, sizeof m_message, "Variable already exists at %ld %ld", m_start, m_end);
        return m_message;
    case NullPointerType: return "Null pointer";
    case MathType: return "Math exception";
    case DivideByZeroType: return "Divide by zero";
    case AbortType: return "Expression aborted";
    case EmptyExpressionType: return "Empty Expression";
    case UnknownTokenType: return "Unknown token";
    case InvalidArgumentCountType: return "Invalid number of arguments";
    case ConstantAssignType: return "Trying to assign value to constant";
    case SyntaxType: return "Syntax Error";
    case UnmatchedParenthesisType: return "Unmatched Parenthesis";
    default: return "Expression error";
    }
}

void ThrowMathException(const char* operation)
{
    throw MathException(operation);
}

void ThrowDivideByZeroException()
{
    throw DivideByZeroException();
}

} // namespace ExprEval
