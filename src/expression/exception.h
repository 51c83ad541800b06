#pragma once

#include <exception>
#include <string>

namespace ExprEval {

// The one family of failures of the expression language. The kind number and
// the message text are what the engine logs, so both are fixed per class.
class Exception : public std::exception
{
public:
    enum Type
    {
        BaseType = 1,
        NotFoundType,
        AlreadyExistsType,
        NullPointerType,
        MathType,
        DivideByZeroType,
        NoValueListType,
        NoFunctionListType,
        AbortType,
        EmptyExpressionType,
        UnknownTokenType,
        InvalidArgumentCountType,
        ConstantAssignType,
        ConstantReferenceType,
        SyntaxType,
        UnmatchedParenthesisType,
    };

    Exception() : Exception(BaseType) {}

    const char* what() const noexcept override;

    int GetType() const { return m_type; }
    // The name of the variable or function, or the operation that failed.
    const std::string& GetValue() const { return m_value; }
    // Source character positions, -1 when not known.
    long GetStart() const { return m_start; }
    long GetEnd() const { return m_end; }

protected:
    explicit Exception(int type, std::string value = {}, long start = -1, long end = -1);

    int m_type;
    std::string m_value;
    long m_start;
    long m_end;

private:
    // Only the two "at %ld %ld" messages need formatting.
    mutable char m_message[64] = {};
};

class NotFoundException : public Exception
{
public:
    explicit NotFoundException(std::string name, long start = -1, long end = -1)
        : Exception(NotFoundType, std::move(name), start, end) {}
};

class AlreadyExistsException : public Exception
{
public:
    explicit AlreadyExistsException(std::string name, long start = -1, long end = -1)
        : Exception(AlreadyExistsType, std::move(name), start, end) {}
};

class NullPointerException : public Exception
{
public:
    explicit NullPointerException(std::string where) : Exception(NullPointerType, std::move(where)) {}
};

class MathException : public Exception
{
public:
    explicit MathException(std::string operation) : Exception(MathType, std::move(operation)) {}
};

class DivideByZeroException : public Exception
{
public:
    DivideByZeroException() : Exception(DivideByZeroType) {}
};

class NoValueListException : public Exception
{
public:
    NoValueListException(long start = -1, long end = -1) : Exception(NoValueListType, {}, start, end) {}
};

class NoFunctionListException : public Exception
{
public:
    NoFunctionListException(long start = -1, long end = -1) : Exception(NoFunctionListType, {}, start, end) {}
};

class AbortException : public Exception
{
public:
    AbortException() : Exception(AbortType) {}
};

class EmptyExpressionException : public Exception
{
public:
    EmptyExpressionException() : Exception(EmptyExpressionType) {}
};

class UnknownTokenException : public Exception
{
public:
    UnknownTokenException(long start, long end) : Exception(UnknownTokenType, {}, start, end) {}
};

class InvalidArgumentCountException : public Exception
{
public:
    InvalidArgumentCountException(std::string function, long start = -1, long end = -1)
        : Exception(InvalidArgumentCountType, std::move(function), start, end) {}
};

class ConstantAssignException : public Exception
{
public:
    ConstantAssignException(std::string name, long start = -1, long end = -1)
        : Exception(ConstantAssignType, std::move(name), start, end) {}
};

class ConstantReferenceException : public Exception
{
public:
    ConstantReferenceException(std::string name, long start = -1, long end = -1)
        : Exception(ConstantReferenceType, std::move(name), start, end) {}
};

class SyntaxException : public Exception
{
public:
    SyntaxException(long start = -1, long end = -1) : Exception(SyntaxType, {}, start, end) {}
};

class UnmatchedParenthesisException : public Exception
{
public:
    UnmatchedParenthesisException(long start = -1, long end = -1)
        : Exception(UnmatchedParenthesisType, {}, start, end) {}
};

// Out of line, so that evaluation code stays small where nothing fails.
[[noreturn]] void ThrowMathException(const char* operation);
[[noreturn]] void ThrowDivideByZeroException();

} // namespace ExprEval
