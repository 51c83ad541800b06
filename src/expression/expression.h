#pragma once

#include <memory>
#include <string_view>

namespace ExprEval {

class FunctionList;
class Node;
class ValueList;

// One parsed text of the language. Parse once, then Evaluate as often as
// needed: evaluation only follows pointers the parse resolved.
class Expression
{
public:
    static constexpr unsigned DefaultAbortInterval = 200000;

    Expression();
    virtual ~Expression();
    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;

    // Either list may stay null; parsing then fails only where a name needs it.
    void SetValueList(ValueList* valueList) { m_valueList = valueList; }
    ValueList* GetValueList() const { return m_valueList; }
    void SetFunctionList(FunctionList* functionList) { m_functionList = functionList; }
    FunctionList* GetFunctionList() const { return m_functionList; }

    // The old tree goes first, so a failed parse leaves none.
    void Parse(std::string_view source);
    double Evaluate();
    void Clear();
    bool IsParsed() const { return m_root != nullptr; }

    void SetAbortInterval(unsigned interval);
    unsigned GetAbortInterval() const { return m_abortInterval; }

    // The errno of the evaluating thread, looked up once per evaluation
    // rather than by every function that tests it. Code that tests it calls
    // the C library through Opaque (power.h), so that the compiler can't
    // assume a call leaves it alone.
    int& Errno() { return *m_errno; }

    // Called once per node evaluation. ShouldAbort is asked only when the
    // countdown runs out, so the common case is a decrement.
    void CheckAbort()
    {
        if (m_abortCount == 0) [[unlikely]]
            Reload();
        else
            --m_abortCount;
    }
    // The same as `times` calls of CheckAbort in a row.
    void CheckAbort(unsigned times)
    {
        if (m_abortCount >= times) [[likely]]
            m_abortCount -= times;
        else
            CheckAbortSlow(times);
    }

protected:
    virtual bool ShouldAbort() { return false; }

private:
    friend class Node;
    friend class Parser;
    friend class Specializer;

    void Reload();
    void CheckAbortSlow(unsigned times);

    ValueList* m_valueList = nullptr;
    FunctionList* m_functionList = nullptr;
    std::unique_ptr<Node> m_root;
    int* m_errno;
    unsigned m_abortCount = DefaultAbortInterval;
    unsigned m_abortInterval = DefaultAbortInterval;
};

} // namespace ExprEval
