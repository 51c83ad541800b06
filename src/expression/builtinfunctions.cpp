// The language's standard library: each function is a factory and a node
// class named after it, added to a FunctionList by AddDefaultFunctions.

#include "expression/exception.h"
#include "expression/functionlist.h"
#include "expression/functionnode.h"
#include "expression/power.h"

#include <cmath>

namespace ExprEval {

namespace {

constexpr double Pi = 3.141592653589793;
constexpr double TwoPi = 6.283185307179586;

// Shared by the function nodes: Compute and Run around the function's
// Body, arguments by index, and the errno test of the C library functions.
template <class Self>
class BuiltinNode : public FunctionNode
{
public:
    double Compute() final
    {
        Args args{*this, TakeCountdown()};
        double value = static_cast<Self*>(this)->Body(args);
        PutCountdown(args.countdown);
        return value;
    }

    Counted Run(unsigned countdown) final
    {
        Args args{*this, Check(countdown)};
        double value = static_cast<Self*>(this)->Body(args);
        return {value, args.countdown};
    }

protected:
    BuiltinNode(Expression* expression, long minValues, long maxValues, long references)
        : FunctionNode(expression)
    {
        SetArgumentLimits(minValues, maxValues, references, references);
        if (references == 0)
            SetPure();
    }

    // The argument reader, which carries the abort countdown along.
    struct Args
    {
        BuiltinNode& node;
        unsigned countdown;

        double operator[](size_t index)
        {
            Counted result = RunChild(*node.m_nodes[index], countdown);
            countdown = result.countdown;
            return result.value;
        }
        size_t Count() const { return node.m_nodes.size(); }
        int& Errno() const { return node.m_expression->Errno(); }
        double*& Reference(size_t index) const { return node.m_refs[index]; }
        [[noreturn]] void FailMath(const char* name) const
        {
            node.PutCountdown(countdown);
            ThrowMathException(name);
        }
    };

    // Clears errno before the argument runs, so that only this call, or an
    // argument that leaves errno set, can stop the evaluation.
    template <double (*F)(double)>
    static double Guarded1(Args& args, const char* name)
    {
        int& error = args.Errno();
        error = 0;
        double result = Opaque(F)(args[0]);
        if (error)
            args.FailMath(name);
        return result;
    }

    template <double (*F)(double, double)>
    static double Guarded2(Args& args, const char* name)
    {
        int& error = args.Errno();
        error = 0;
        double a = args[0];
        double b = args[1];
        double result = Opaque(F)(a, b);
        if (error)
            args.FailMath(name);
        return result;
    }
};

double Truth(bool value)
{
    return value ? 1.0 : 0.0;
}

} // namespace

#define LUMORA_FUNCTION(NAME, MIN_VALUES, MAX_VALUES, REFERENCES, ...)                          \
    namespace {                                                                             \
    class NAME##_FunctionNode final : public BuiltinNode<NAME##_FunctionNode>               \
    {                                                                                       \
    public:                                                                                 \
        explicit NAME##_FunctionNode(Expression* expression)                                \
            : BuiltinNode(expression, MIN_VALUES, MAX_VALUES, REFERENCES) {}                \
        static double Body(Args& arg) __VA_ARGS__                                           \
    };                                                                                      \
    class NAME##_FunctionFactory final : public FunctionFactory                             \
    {                                                                                       \
    public:                                                                                 \
        std::string GetName() const override { return #NAME; }                              \
        std::unique_ptr<FunctionNode> CreateNode(Expression* expression) override           \
        {                                                                                   \
            return std::make_unique<NAME##_FunctionNode>(expression);                       \
        }                                                                                   \
    };                                                                                      \
    }

// Arithmetic
LUMORA_FUNCTION(abs, 1, 1, 0, { return std::fabs(arg[0]); })
LUMORA_FUNCTION(mod, 2, 2, 0, { return Guarded2<::fmod>(arg, "mod"); })
LUMORA_FUNCTION(ipart, 1, 1, 0, {
    double whole;
    std::modf(arg[0], &whole);
    return whole;
})
LUMORA_FUNCTION(fpart, 1, 1, 0, {
    double whole;
    return std::modf(arg[0], &whole);
})
// Only a strictly smaller (larger) value replaces the first, so a NaN after
// the first is passed over.
LUMORA_FUNCTION(min, 2, FunctionNode::Unlimited, 0, {
    double result = arg[0];
    for (size_t i = 1; i < arg.Count(); ++i) {
        double value = arg[i];
        if (value < result)
            result = value;
    }
    return result;
})
LUMORA_FUNCTION(max, 2, FunctionNode::Unlimited, 0, {
    double result = arg[0];
    for (size_t i = 1; i < arg.Count(); ++i) {
        double value = arg[i];
        if (value > result)
            result = value;
    }
    return result;
})
LUMORA_FUNCTION(sqrt, 1, 1, 0, { return Guarded1<::sqrt>(arg, "sqrt"); })

// Trigonometric and hyperbolic, in radians
LUMORA_FUNCTION(sin, 1, 1, 0, { return Guarded1<::sin>(arg, "sin"); })
LUMORA_FUNCTION(cos, 1, 1, 0, { return Guarded1<::cos>(arg, "cos"); })
LUMORA_FUNCTION(tan, 1, 1, 0, { return Guarded1<::tan>(arg, "tan"); })
LUMORA_FUNCTION(sinh, 1, 1, 0, { return Guarded1<::sinh>(arg, "sinh"); })
LUMORA_FUNCTION(cosh, 1, 1, 0, { return Guarded1<::cosh>(arg, "cosh"); })
LUMORA_FUNCTION(tanh, 1, 1, 0, { return Guarded1<::tanh>(arg, "tanh"); })
LUMORA_FUNCTION(asin, 1, 1, 0, { return Guarded1<::asin>(arg, "asin"); })
LUMORA_FUNCTION(acos, 1, 1, 0, { return Guarded1<::acos>(arg, "acos"); })
LUMORA_FUNCTION(atan, 1, 1, 0, { return Guarded1<::atan>(arg, "atan"); })
LUMORA_FUNCTION(atan2, 2, 2, 0, { return Guarded2<::atan2>(arg, "atan2"); })

// Logarithms and exponent
LUMORA_FUNCTION(log, 1, 1, 0, { return Guarded1<::log10>(arg, "log"); })
LUMORA_FUNCTION(ln, 1, 1, 0, { return Guarded1<::log>(arg, "ln"); })
LUMORA_FUNCTION(exp, 1, 1, 0, { return Guarded1<::exp>(arg, "exp"); })
// The base goes first: a base of 1 fails before the value is evaluated.
LUMORA_FUNCTION(logn, 2, 2, 0, {
    int& error = arg.Errno();
    error = 0;
    double base = Opaque(::log)(arg[1]);
    if (base == 0.0)
        arg.FailMath("logn");
    double result = Opaque(::log)(arg[0]) / base;
    if (error)
        arg.FailMath("logn");
    return result;
})

// Rounding and angles
LUMORA_FUNCTION(ceil, 1, 1, 0, { return std::ceil(arg[0]); })
LUMORA_FUNCTION(floor, 1, 1, 0, { return std::floor(arg[0]); })
LUMORA_FUNCTION(deg, 1, 1, 0, { return arg[0] * 180.0 / Pi; })
LUMORA_FUNCTION(rad, 1, 1, 0, { return arg[0] * Pi / 180.0; })

// Coordinate conversion; the references are written only once the errno test passed.
LUMORA_FUNCTION(rect2pol, 2, 2, 2, {
    int& error = arg.Errno();
    error = 0;
    double x = arg[0];
    double y = arg[1];
    double r = Opaque(::sqrt)(y * y + x * x);
    double t = Opaque(::atan2)(y, x);
    if (t < 0.0)
        t += TwoPi;
    if (error)
        arg.FailMath("rect2pol");
    *arg.Reference(0) = r;
    *arg.Reference(1) = t;
    return r;
})
LUMORA_FUNCTION(pol2rect, 2, 2, 2, {
    int& error = arg.Errno();
    error = 0;
    double r = arg[0];
    double t = arg[1];
    double x = r * Opaque(::cos)(t);
    double y = r * Opaque(::sin)(t);
    if (error)
        arg.FailMath("pol2rect");
    *arg.Reference(0) = x;
    *arg.Reference(1) = y;
    return x;
})

// Conditions: only the chosen branch is evaluated.
LUMORA_FUNCTION(if, 3, 3, 0, { return arg[0] != 0.0 ? arg[1] : arg[2]; })
LUMORA_FUNCTION(select, 3, 4, 0, {
    double a = arg[0];
    if (a < 0.0)
        return arg[1];
    if (a == 0.0 || arg.Count() == 3)
        return arg[2];
    return arg[3];
})
LUMORA_FUNCTION(equal, 2, 2, 0, {
    double a = arg[0];
    return Truth(a == arg[1]);
})
LUMORA_FUNCTION(above, 2, 2, 0, {
    double a = arg[0];
    return Truth(a > arg[1]);
})
LUMORA_FUNCTION(below, 2, 2, 0, {
    double a = arg[0];
    return Truth(a < arg[1]);
})

// Ranges
LUMORA_FUNCTION(wrap, 3, 3, 0, {
    double v = arg[0];
    double lo = arg[1];
    double hi = arg[2];
    if (lo == hi)
        return lo;
    double t = std::fmod(v - lo, hi - lo);
    return t < 0.0 ? t + hi : t + lo;
})
LUMORA_FUNCTION(clamp, 3, 3, 0, {
    double v = arg[0];
    double lo = arg[1];
    double hi = arg[2];
    if (v < lo)
        return lo;
    return v > hi ? hi : v;
})
LUMORA_FUNCTION(rescale, 5, 5, 0, {
    double v = arg[0];
    double inLo = arg[1];
    double inHi = arg[2];
    double outLo = arg[3];
    double outHi = arg[4];
    if (inHi == inLo)
        return outLo;
    return (outHi - outLo) * (v - inLo) / (inHi - inLo) + outLo;
})
// Coefficients from the highest power down; errno from evaluating x is
// forgotten, errno from the powers and the coefficients is not.
LUMORA_FUNCTION(poly, 2, FunctionNode::Unlimited, 0, {
    double x = arg[0];
    int& error = arg.Errno();
    error = 0;
    double power = static_cast<double>(arg.Count() - 2);
    double sum = 0.0;
    for (size_t i = 1; i < arg.Count(); ++i, power -= 1.0) {
        double coefficient = arg[i];
        double term = Power(x, power) * coefficient;
        sum = i == 1 ? term : sum + term;
    }
    if (error)
        arg.FailMath("poly");
    return sum;
})

// Logic: any non-zero counts as true; the second argument may be skipped.
LUMORA_FUNCTION(and, 2, 2, 0, {
    if (arg[0] == 0.0)
        return 0.0;
    return Truth(arg[1] != 0.0);
})
LUMORA_FUNCTION(or, 2, 2, 0, {
    if (arg[0] != 0.0)
        return 1.0;
    return Truth(arg[1] != 0.0);
})
LUMORA_FUNCTION(not, 1, 1, 0, { return Truth(arg[0] == 0.0); })

#undef LUMORA_FUNCTION

void FunctionList::AddDefaultFunctions()
{
    Add(std::make_unique<abs_FunctionFactory>());
    Add(std::make_unique<mod_FunctionFactory>());
    Add(std::make_unique<ipart_FunctionFactory>());
    Add(std::make_unique<fpart_FunctionFactory>());
    Add(std::make_unique<min_FunctionFactory>());
    Add(std::make_unique<max_FunctionFactory>());
    Add(std::make_unique<sqrt_FunctionFactory>());
    Add(std::make_unique<sin_FunctionFactory>());
    Add(std::make_unique<cos_FunctionFactory>());
    Add(std::make_unique<tan_FunctionFactory>());
    Add(std::make_unique<sinh_FunctionFactory>());
    Add(std::make_unique<cosh_FunctionFactory>());
    Add(std::make_unique<tanh_FunctionFactory>());
    Add(std::make_unique<asin_FunctionFactory>());
    Add(std::make_unique<acos_FunctionFactory>());
    Add(std::make_unique<atan_FunctionFactory>());
    Add(std::make_unique<atan2_FunctionFactory>());
    Add(std::make_unique<log_FunctionFactory>());
    Add(std::make_unique<ln_FunctionFactory>());
    Add(std::make_unique<exp_FunctionFactory>());
    Add(std::make_unique<logn_FunctionFactory>());
    Add(std::make_unique<ceil_FunctionFactory>());
    Add(std::make_unique<floor_FunctionFactory>());
    Add(std::make_unique<deg_FunctionFactory>());
    Add(std::make_unique<rad_FunctionFactory>());
    Add(std::make_unique<rect2pol_FunctionFactory>());
    Add(std::make_unique<pol2rect_FunctionFactory>());
    Add(std::make_unique<if_FunctionFactory>());
    Add(std::make_unique<select_FunctionFactory>());
    Add(std::make_unique<equal_FunctionFactory>());
    Add(std::make_unique<above_FunctionFactory>());
    Add(std::make_unique<below_FunctionFactory>());
    Add(std::make_unique<wrap_FunctionFactory>());
    Add(std::make_unique<clamp_FunctionFactory>());
    Add(std::make_unique<rescale_FunctionFactory>());
    Add(std::make_unique<poly_FunctionFactory>());
    Add(std::make_unique<and_FunctionFactory>());
    Add(std::make_unique<or_FunctionFactory>());
    Add(std::make_unique<not_FunctionFactory>());
}

} // namespace ExprEval
