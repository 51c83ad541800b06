#pragma once

#include "expression/expression.h"

#include <memory>
#include <vector>

namespace ExprEval {

class Parser;
class Specializer;

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
        return Compute();
    }

    Expression* GetExpression() const { return m_expression; }

protected:
    Expression* m_expression;
};

class ValueNode : public Node
{
public:
    explicit ValueNode(Expression* expression, double value = 0.0);

    double Compute() override;
    void Parse(Parser& parser, long first, long last, long extra) override;

    double GetValue() const { return m_value; }

private:
    friend class Parser;
    friend class Specializer;

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
    void Parse(Parser& parser, long first, long last, long extra) override;

private:
    friend class Specializer;
    std::vector<std::unique_ptr<Node>> m_statements;
};

} // namespace ExprEval
