#pragma once

#include "expression/expression.h"

#include <memory>
#include <vector>

namespace ExprEval {

class Parser;
class Specializer;

// A value together with the abort countdown that is left after computing it.
struct Counted
{
    double value;
    unsigned countdown;
};

// A node of the evaluation tree. Parse builds the node's children from a
// range of tokens; Evaluate counts the node for the abort test and computes.
class Node
{
public:
    explicit Node(Expression* expression);
    virtual ~Node();
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    virtual double Compute() = 0;
    // `extra` is a token index whose meaning depends on the class (the
    // operator's position for operators); -1 when the class needs none.
    virtual void Parse(Parser& parser, long first, long last, long extra) = 0;

    double Evaluate()
    {
        m_expression->CheckAbort();
        // Plain values and variables are read here rather than through a call.
        if (m_leaf)
            return *m_leaf;
        return Compute();
    }

    // Evaluate with the abort countdown passed in and handed back instead of
    // kept in the Expression: between the library's own nodes it then stays
    // in a register, where updating it per node costs next to nothing. The
    // default goes through Evaluate, so other nodes need not know of it.
    virtual Counted Run(unsigned countdown);

    Expression* GetExpression() const { return m_expression; }

protected:
    // For Run: the same as `times` calls of CheckAbort.
    unsigned Check(unsigned countdown, unsigned times = 1) const
    {
        if (countdown >= times) [[likely]]
            return countdown - times;
        return CheckSlow(countdown, times);
    }
    unsigned TakeCountdown() const { return m_expression->m_abortCount; }
    // Also due before anything is thrown, so that the count stays exact.
    void PutCountdown(unsigned countdown) const { m_expression->m_abortCount = countdown; }
    // Runs a child, reading a leaf in place.
    static Counted RunChild(Node& child, unsigned countdown)
    {
        if (child.m_leaf)
            return {*child.m_leaf, child.Check(countdown)};
        return child.Run(countdown);
    }

    Expression* m_expression;
    // Where a leaf keeps its value, when reading it is all Compute would do.
    const double* m_leaf = nullptr;

private:
    unsigned CheckSlow(unsigned countdown, unsigned times) const;
};

class ValueNode : public Node
{
public:
    explicit ValueNode(Expression* expression, double value = 0.0);

    double Compute() override;
    Counted Run(unsigned countdown) override;
    void Parse(Parser& parser, long first, long last, long extra) override;

    double GetValue() const { return m_value; }

private:
    friend class Specializer;

    void SetFolded(unsigned checks, bool clearsErrno);

    double m_value;
    // A value computed at parse time from a subtree stands in for all of the
    // subtree's evaluations in the abort count, and for its clearing of errno.
    unsigned m_extraChecks = 0;
    bool m_clearsErrno = false;
};

class VariableNode : public Node
{
public:
    explicit VariableNode(Expression* expression) : Node(expression) {}

    double Compute() override { return *m_address; }
    Counted Run(unsigned countdown) override { return {*m_address, Check(countdown)}; }
    void Parse(Parser& parser, long first, long last, long extra) override;

private:
    friend class Specializer;
    double* m_address = nullptr;
    bool m_constant = false;
};

class AssignNode : public Node
{
public:
    explicit AssignNode(Expression* expression) : Node(expression) {}

    double Compute() override;
    void Parse(Parser& parser, long first, long last, long equal) override;

private:
    friend class Specializer;
    double* m_target = nullptr;
    std::unique_ptr<Node> m_right;
};

// The parse shared by the five binary operators.
class BinaryNode : public Node
{
public:
    void Parse(Parser& parser, long first, long last, long op) override;

protected:
    explicit BinaryNode(Expression* expression) : Node(expression) {}

    friend class Specializer;
    std::unique_ptr<Node> m_left;
    std::unique_ptr<Node> m_right;
};

class AddNode : public BinaryNode
{
public:
    explicit AddNode(Expression* expression) : BinaryNode(expression) {}
    double Compute() override;
};

class SubtractNode : public BinaryNode
{
public:
    explicit SubtractNode(Expression* expression) : BinaryNode(expression) {}
    double Compute() override;
};

class MultiplyNode : public BinaryNode
{
public:
    explicit MultiplyNode(Expression* expression) : BinaryNode(expression) {}
    double Compute() override;
};

// The divisor is evaluated first; a zero divisor stops before the dividend.
class DivideNode : public BinaryNode
{
public:
    explicit DivideNode(Expression* expression) : BinaryNode(expression) {}
    double Compute() override;
};

// `pow` with the C library's errno as the error test.
class ExponentNode : public BinaryNode
{
public:
    explicit ExponentNode(Expression* expression) : BinaryNode(expression) {}
    double Compute() override;
};

class NegateNode : public Node
{
public:
    explicit NegateNode(Expression* expression) : Node(expression) {}

    double Compute() override;
    void Parse(Parser& parser, long first, long last, long op) override;

private:
    friend class Specializer;
    std::unique_ptr<Node> m_operand;
};

// A statement list: the value of the last statement, 0.0 for none.
class MultiNode : public Node
{
public:
    explicit MultiNode(Expression* expression) : Node(expression) {}

    double Compute() override;
    Counted Run(unsigned countdown) override;
    void Parse(Parser& parser, long first, long last, long extra) override;

private:
    friend class Specializer;
    unsigned RunStatements(unsigned countdown, double& value);

    std::vector<std::unique_ptr<Node>> m_statements;
};

} // namespace ExprEval
