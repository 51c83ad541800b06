#pragma once

#include <cstdint>
#include <memory>

namespace ExprEval {

class Expression;
class Node;

// A child of an arithmetic node as the parse resolved it: a constant and a
// variable are read in place, with no call of their own.
struct Operand
{
    enum class Kind : uint8_t { Constant, Variable, Subtree };

    Kind kind = Kind::Subtree;
    // True for a value known at parse time, inline or not.
    bool known = false;
    // How many node evaluations a constant stands for.
    unsigned checks = 1;
    double value = 0.0;
    const double* address = nullptr;
    std::unique_ptr<Node> node;

    // A constant factor that multiplies the operand, read before it
    // (c * x) or after it (x * c); its checks include the multiplication's.
    enum class Scale : uint8_t { None, FactorFirst, FactorLast };
    Scale scale = Scale::None;
    unsigned factorChecks = 0;
    double factor = 1.0;
};

// Replaces each freshly parsed node by the fastest node that gives the same
// values, the same errors, the same abort count and the same errno.
class Specializer
{
public:
    explicit Specializer(Expression& expression) : m_expression(expression) {}

    std::unique_ptr<Node> Specialize(std::unique_ptr<Node> node);
    static Operand ToOperand(std::unique_ptr<Node> node);
    // The same, but a product with a constant factor is taken apart.
    static Operand ToScaledOperand(std::unique_ptr<Node> node);

private:
    // The node's value as a constant, or null when computing it fails or
    // leaves errno set for an enclosing test to see.
    std::unique_ptr<Node> Fold(Node& node);
    template <class Op>
    std::unique_ptr<Node> SpecializeBinary(std::unique_ptr<Node> node);

    Expression& m_expression;
};

} // namespace ExprEval
