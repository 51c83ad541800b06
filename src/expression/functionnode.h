#pragma once

#include "expression/node.h"

#include <memory>
#include <string>
#include <vector>

namespace ExprEval {

class FunctionFactory;

// The base of every function's node. Its Parse reads the argument list, which
// holds value arguments (any expression) and reference arguments (&name), and
// checks their counts against the limits the function set.
class FunctionNode : public Node
{
public:
    // No limit on that side of an argument count.
    static constexpr long Unlimited = -1;

    explicit FunctionNode(Expression* expression) : Node(expression) {}

    // Given the range from the opening to the matching closing parenthesis.
    void Parse(Parser& parser, long first, long last, long extra) override;

    FunctionFactory* GetFactory() const { return m_factory; }
    std::string GetName() const;
    bool IsPure() const { return m_pure; }

protected:
    void SetArgumentLimits(long minValues, long maxValues, long minReferences, long maxReferences);
    // A pure function's value depends on its value arguments alone and it
    // changes nothing but errno, so a call with constant arguments may be
    // computed once, at parse time.
    void SetPure() { m_pure = true; }

    std::vector<std::unique_ptr<Node>> m_nodes;
    std::vector<double*> m_refs;

private:
    friend class FunctionList;
    friend class Specializer;

    FunctionFactory* m_factory = nullptr;
    long m_minValues = 0;
    long m_maxValues = 0;
    long m_minReferences = 0;
    long m_maxReferences = 0;
    bool m_pure = false;
};

} // namespace ExprEval
