#include "expression/specializer.h"

#include "expression/exception.h"
#include "expression/functionnode.h"
#include "expression/node.h"
#include "expression/power.h"
#include "expression/sumnode.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <typeinfo>

namespace ExprEval {

namespace {

struct ConstantOperand
{
    double value;
    unsigned checks;
};

struct VariableOperand
{
    const double* address;
};

struct SubtreeOperand
{
    std::unique_ptr<Node> node;
};

template <class T>
T Take(Operand& operand)
{
    if constexpr (std::is_same_v<T, ConstantOperand>)
        return {operand.value, operand.checks};
    else if constexpr (std::is_same_v<T, VariableOperand>)
        return {operand.address};
    else
        return {std::move(operand.node)};
}

// The base of the specialised nodes, which are made from parsed nodes and
// are never parsed themselves. Each implements Body(countdown), shared by
// Compute (countdown kept in the Expression) and Run (countdown carried).
template <class Self>
class BuiltNode : public Node
{
public:
    using Node::Node;

    void Parse(Parser&, long, long, long) final { throw SyntaxException(); }

    double Compute() final
    {
        unsigned countdown = TakeCountdown();
        double value = static_cast<Self*>(this)->Body(countdown);
        PutCountdown(countdown);
        return value;
    }

    Counted Run(unsigned countdown) final
    {
        countdown = Check(countdown);
        double value = static_cast<Self*>(this)->Body(countdown);
        return {value, countdown};
    }

    double Read(const ConstantOperand& operand, unsigned& countdown) const
    {
        countdown = Check(countdown, operand.checks);
        return operand.value;
    }
    double Read(const VariableOperand& operand, unsigned& countdown) const
    {
        countdown = Check(countdown);
        return *operand.address;
    }
    double Read(const SubtreeOperand& operand, unsigned& countdown) const
    {
        Counted result = operand.node->Run(countdown);
        countdown = result.countdown;
        return result.value;
    }

    int& Errno() const { return m_expression->Errno(); }

    [[noreturn]] void FailDivideByZero(unsigned countdown) const
    {
        PutCountdown(countdown);
        ThrowDivideByZeroException();
    }
    [[noreturn]] void FailMath(unsigned countdown, const char* operation) const
    {
        PutCountdown(countdown);
        ThrowMathException(operation);
    }
};

// Each operation reads its operands in the order of the generic node.
struct AddOp
{
    template <class N, class L, class R>
    static double Apply(const N& node, const L& left, const R& right, unsigned& countdown)
    {
        double a = node.Read(left, countdown);
        return a + node.Read(right, countdown);
    }
};

struct SubtractOp
{
    template <class N, class L, class R>
    static double Apply(const N& node, const L& left, const R& right, unsigned& countdown)
    {
        double a = node.Read(left, countdown);
        return a - node.Read(right, countdown);
    }
};

struct MultiplyOp
{
    template <class N, class L, class R>
    static double Apply(const N& node, const L& left, const R& right, unsigned& countdown)
    {
        double a = node.Read(left, countdown);
        return a * node.Read(right, countdown);
    }
};

struct DivideOp
{
    template <class N, class L, class R>
    static double Apply(const N& node, const L& left, const R& right, unsigned& countdown)
    {
        double divisor = node.Read(right, countdown);
        if (divisor == 0.0)
            node.FailDivideByZero(countdown);
        return node.Read(left, countdown) / divisor;
    }
};

// x / c for c a power of two: multiplying by 1 / c, which is exact, rounds
// the same real number the same way and spares the slow division. The
// divisor is still read first.
struct ScaleOp
{
    template <class N, class L>
    static double Apply(const N& node, const L& left, const ConstantOperand& reciprocal, unsigned& countdown)
    {
        double factor = node.Read(reciprocal, countdown);
        return node.Read(left, countdown) * factor;
    }
};

struct ExponentOp
{
    template <class N, class L, class R>
    static double Apply(const N& node, const L& left, const R& right, unsigned& countdown)
    {
        int& error = node.Errno();
        error = 0;
        double base = node.Read(left, countdown);
        double exponent = node.Read(right, countdown);
        double result = Power(base, exponent);
        if (error)
            node.FailMath(countdown, "^");
        return result;
    }
};

template <class Op, class L, class R>
class BinaryOf final : public BuiltNode<BinaryOf<Op, L, R>>
{
public:
    BinaryOf(Expression* expression, L left, R right)
        : BuiltNode<BinaryOf>(expression), m_left(std::move(left)), m_right(std::move(right))
    {
    }
    double Body(unsigned& countdown) const { return Op::Apply(*this, m_left, m_right, countdown); }

private:
    friend class ExprEval::Specializer;
    L m_left;
    R m_right;
};

template <class L>
class NegateOf final : public BuiltNode<NegateOf<L>>
{
public:
    NegateOf(Expression* expression, L operand) : BuiltNode<NegateOf>(expression), m_operand(std::move(operand)) {}
    double Body(unsigned& countdown) const { return -this->Read(m_operand, countdown); }

private:
    L m_operand;
};

template <class R>
class AssignOf final : public BuiltNode<AssignOf<R>>
{
public:
    AssignOf(Expression* expression, double* target, R right)
        : BuiltNode<AssignOf>(expression), m_target(target), m_right(std::move(right))
    {
    }
    double Body(unsigned& countdown) const
    {
        double value = this->Read(m_right, countdown);
        *m_target = value;
        return value;
    }

private:
    double* m_target;
    R m_right;
};

// Calls make(operand) with the operand as the struct of its kind.
template <class Make>
std::unique_ptr<Node> WithOperand(Operand& operand, Make make)
{
    switch (operand.kind) {
    case Operand::Kind::Constant: return make(Take<ConstantOperand>(operand));
    case Operand::Kind::Variable: return make(Take<VariableOperand>(operand));
    default: return make(Take<SubtreeOperand>(operand));
    }
}

// A power of two whose reciprocal is a normal double.
bool IsExactReciprocal(double value)
{
    int exponent;
    double mantissa = std::frexp(value, &exponent);
    return std::fabs(mantissa) == 0.5 && exponent >= -1020 && exponent <= 1022;
}

template <class T>
bool IsExactly(const Node& node)
{
    return typeid(node) == typeid(T);
}

// A sentinel no C library function stores, to tell "errno untouched" from
// "errno cleared" while folding.
constexpr int ErrnoUntouched = 0x4c4d5258;

} // namespace

Operand Specializer::ToOperand(std::unique_ptr<Node> node)
{
    Operand operand;
    if (auto* value = dynamic_cast<ValueNode*>(node.get())) {
        operand.known = true;
        if (!value->m_clearsErrno) {
            operand.kind = Operand::Kind::Constant;
            operand.value = value->m_value;
            operand.checks = 1 + value->m_extraChecks;
            return operand;
        }
    } else if (IsExactly<VariableNode>(*node)) {
        operand.kind = Operand::Kind::Variable;
        operand.address = static_cast<VariableNode&>(*node).m_address;
        return operand;
    }
    operand.kind = Operand::Kind::Subtree;
    operand.node = std::move(node);
    return operand;
}

Operand Specializer::ToScaledOperand(std::unique_ptr<Node> node)
{
    auto scaled = [&](double factor, unsigned checks, Operand::Scale scale, Operand inner) {
        inner.scale = scale;
        inner.factor = factor;
        inner.factorChecks = checks;
        inner.known = false;
        return inner;
    };
    auto variable = [](const VariableOperand& v) {
        Operand operand;
        operand.kind = Operand::Kind::Variable;
        operand.address = v.address;
        return operand;
    };
    auto subtree = [](SubtreeOperand& t) {
        Operand operand;
        operand.node = std::move(t.node);
        return operand;
    };
    Node& n = *node;
    if (auto* p = dynamic_cast<BinaryOf<MultiplyOp, ConstantOperand, VariableOperand>*>(&n))
        return scaled(p->m_left.value, p->m_left.checks, Operand::Scale::FactorFirst, variable(p->m_right));
    if (auto* p = dynamic_cast<BinaryOf<MultiplyOp, ConstantOperand, SubtreeOperand>*>(&n))
        return scaled(p->m_left.value, p->m_left.checks, Operand::Scale::FactorFirst, subtree(p->m_right));
    if (auto* p = dynamic_cast<BinaryOf<MultiplyOp, VariableOperand, ConstantOperand>*>(&n))
        return scaled(p->m_right.value, p->m_right.checks, Operand::Scale::FactorLast, variable(p->m_left));
    if (auto* p = dynamic_cast<BinaryOf<MultiplyOp, SubtreeOperand, ConstantOperand>*>(&n))
        return scaled(p->m_right.value, p->m_right.checks, Operand::Scale::FactorLast, subtree(p->m_left));
    return ToOperand(std::move(node));
}

std::unique_ptr<Node> Specializer::Fold(Node& node)
{
    // Evaluates on the side: the abort countdown and errno are the caller's.
    struct Saved
    {
        Expression& expression;
        unsigned count = expression.m_abortCount;
        int error = errno;
        ~Saved()
        {
            expression.m_abortCount = count;
            errno = error;
        }
    } saved{m_expression};

    m_expression.m_abortCount = UINT_MAX;
    errno = ErrnoUntouched;
    double value;
    try {
        value = node.Evaluate();
    } catch (const Exception&) {
        return nullptr;
    }
    const unsigned checks = UINT_MAX - m_expression.m_abortCount;
    const int error = errno;
    if (error != 0 && error != ErrnoUntouched)
        return nullptr;
    auto folded = std::make_unique<ValueNode>(&m_expression, value);
    folded->SetFolded(checks, error == 0);
    return folded;
}

template <class Op>
std::unique_ptr<Node> Specializer::SpecializeBinary(std::unique_ptr<Node> node)
{
    auto& binary = static_cast<BinaryNode&>(*node);
    if (dynamic_cast<ValueNode*>(binary.m_left.get()) && dynamic_cast<ValueNode*>(binary.m_right.get())) {
        if (auto folded = Fold(binary))
            return folded;
    }
    Operand left = ToOperand(std::move(binary.m_left));
    Operand right = ToOperand(std::move(binary.m_right));
    Expression* expression = &m_expression;
    if constexpr (std::is_same_v<Op, DivideOp>) {
        if (right.kind == Operand::Kind::Constant && IsExactReciprocal(right.value)) {
            ConstantOperand reciprocal{1.0 / right.value, right.checks};
            return WithOperand(left, [&](auto l) {
                return std::unique_ptr<Node>(std::make_unique<BinaryOf<ScaleOp, decltype(l), ConstantOperand>>(
                    expression, std::move(l), reciprocal));
            });
        }
    }
    return WithOperand(left, [&](auto l) {
        return WithOperand(right, [&](auto r) {
            return std::unique_ptr<Node>(
                std::make_unique<BinaryOf<Op, decltype(l), decltype(r)>>(expression, std::move(l), std::move(r)));
        });
    });
}

std::unique_ptr<Node> Specializer::Specialize(std::unique_ptr<Node> node)
{
    Node& n = *node;
    if (IsExactly<VariableNode>(n)) {
        // A constant can't change once added, so its value is taken now.
        auto& variable = static_cast<VariableNode&>(n);
        if (variable.m_constant)
            return std::make_unique<ValueNode>(&m_expression, *variable.m_address);
        return node;
    }
    if (IsExactly<AddNode>(n))
        return SpecializeBinary<AddOp>(std::move(node));
    if (IsExactly<SubtractNode>(n))
        return SpecializeBinary<SubtractOp>(std::move(node));
    if (IsExactly<MultiplyNode>(n))
        return SpecializeBinary<MultiplyOp>(std::move(node));
    if (IsExactly<DivideNode>(n))
        return SpecializeBinary<DivideOp>(std::move(node));
    if (IsExactly<ExponentNode>(n))
        return SpecializeBinary<ExponentOp>(std::move(node));
    if (IsExactly<NegateNode>(n)) {
        auto& negate = static_cast<NegateNode&>(n);
        if (dynamic_cast<ValueNode*>(negate.m_operand.get())) {
            if (auto folded = Fold(negate))
                return folded;
        }
        Operand operand = ToOperand(std::move(negate.m_operand));
        Expression* expression = &m_expression;
        return WithOperand(operand, [&](auto o) {
            return std::unique_ptr<Node>(std::make_unique<NegateOf<decltype(o)>>(expression, std::move(o)));
        });
    }
    if (IsExactly<AssignNode>(n)) {
        auto& assign = static_cast<AssignNode&>(n);
        Operand right = ToOperand(std::move(assign.m_right));
        Expression* expression = &m_expression;
        double* target = assign.m_target;
        return WithOperand(right, [&](auto r) {
            return std::unique_ptr<Node>(std::make_unique<AssignOf<decltype(r)>>(expression, target, std::move(r)));
        });
    }
    if (IsExactly<SumNode>(n)) {
        if (static_cast<SumNode&>(n).m_known) {
            if (auto folded = Fold(n))
                return folded;
        }
        return node;
    }
    if (auto* function = dynamic_cast<FunctionNode*>(&n); function && function->m_pure && function->m_refs.empty()) {
        for (auto& argument : function->m_nodes) {
            if (!dynamic_cast<ValueNode*>(argument.get()))
                return node;
        }
        if (auto folded = Fold(n))
            return folded;
    }
    return node;
}

} // namespace ExprEval
