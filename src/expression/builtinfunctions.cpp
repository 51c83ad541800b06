// The language's standard library: each function is a factory and a node
// class named after it, added to a FunctionList by AddDefaultFunctions.

#include "expression/exception.h"
#include "expression/functionlist.h"
#include "expression/functionnode.h"

#include <cerrno>
#include <cmath>

namespace ExprEval {

namespace {

constexpr double Pi = 3.141592653589793;
constexpr double TwoPi = 6.283185307179586;

// Shared by the function nodes: arguments by index, and the errno test of
// the C library functions.
class BuiltinNode : public FunctionNode
{
protected:
    BuiltinNode(Expression* expression, long minValues, long maxValues, long references = 0)
        : FunctionNode(expression)
    {
        SetArgumentLimits(minValues, maxValues, references, references);
        if (references == 0)
            SetPure();
    }

    double Arg(size_t index) { return m_nodes[index]->Evaluate(); }
    size_t ArgCount() const { return m_nodes.size(); }

    // Clears errno before the argument runs, so that only this call, or an
    // argument that leaves errno set, can stop the evaluation.
    template <double (*F)(double)>
    double Guarded1(const char* name)
    {
        errno = 0;
        double result = F(Arg(0));
        if (errno)
            ThrowMathException(name);
        return result;
    }

    template <double (*F)(double, double)>
    double Guarded2(const char* name)
    {
        errno = 0;
        double a = Arg(0);
        double b = Arg(1);
        double result = F(a, b);
        if (errno)
            ThrowMathException(name);
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
    class NAME##_FunctionNode final : public BuiltinNode                                    \
    {                                                                                       \
    public:                                                                                 \
        explicit NAME##_FunctionNode(Expression* expression)                                \
            : BuiltinNode(expression, MIN_VALUES, MAX_VALUES, REFERENCES) {}                \
        double Compute() override __VA_ARGS__                                               \
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
LUMORA_FUNCTION(abs, 1, 1, 0, { return std::fabs(Arg(0)); })
LUMORA_FUNCTION(mod, 2, 2, 0, { return Guarded2<::fmod>("mod"); })
LUMORA_FUNCTION(ipart, 1, 1, 0, {
    double whole;
    std::modf(Arg(0), &whole);
    return whole;
})
LUMORA_FUNCTION(fpart, 1, 1, 0, {
    double whole;
    return std::modf(Arg(0), &whole);
})
// Only a strictly smaller (larger) value replaces the first, so a NaN after
// the first is passed over.
LUMORA_FUNCTION(min, 2, FunctionNode::Unlimited, 0, {
    double result = Arg(0);
    for (size_t i = 1; i < ArgCount(); ++i) {
        double value = Arg(i);
        if (value < result)
            result = value;
    }
    return result;
})
LUMORA_FUNCTION(max, 2, FunctionNode::Unlimited, 0, {
    double result = Arg(0);
    for (size_t i = 1; i < ArgCount(); ++i) {
        double value = Arg(i);
        if (value > result)
            result = value;
    }
    return result;
})
LUMORA_FUNCTION(sqrt, 1, 1, 0, { return Guarded1<::sqrt>("sqrt"); })

// Trigonometric and hyperbolic, in radians
LUMORA_FUNCTION(sin, 1, 1, 0, { return Guarded1<::sin>("sin"); })
LUMORA_FUNCTION(cos, 1, 1, 0, { return Guarded1<::cos>("cos"); })
LUMORA_FUNCTION(tan, 1, 1, 0, { return Guarded1<::tan>("tan"); })
LUMORA_FUNCTION(sinh, 1, 1, 0, { return Guarded1<::sinh>("sinh"); })
LUMORA_FUNCTION(cosh, 1, 1, 0, { return Guarded1<::cosh>("cosh"); })
LUMORA_FUNCTION(tanh, 1, 1, 0, { return Guarded1<::tanh>("tanh"); })
LUMORA_FUNCTION(asin, 1, 1, 0, { return Guarded1<::asin>("asin"); })
LUMORA_FUNCTION(acos, 1, 1, 0, { return Guarded1<::acos>("acos"); })
LUMORA_FUNCTION(atan, 1, 1, 0, { return Guarded1<::atan>("atan"); })
LUMORA_FUNCTION(atan2, 2, 2, 0, { return Guarded2<::atan2>("atan2"); })

// Logarithms and exponent
LUMORA_FUNCTION(log, 1, 1, 0, { return Guarded1<::log10>("log"); })
LUMORA_FUNCTION(ln, 1, 1, 0, { return Guarded1<::log>("ln"); })
LUMORA_FUNCTION(exp, 1, 1, 0, { return Guarded1<::exp>("exp"); })
// The base goes first: a base of 1 fails before the value is evaluated.
LUMORA_FUNCTION(logn, 2, 2, 0, {
    errno = 0;
    double base = std::log(Arg(1));
    if (base == 0.0)
        ThrowMathException("logn");
    double result = std::log(Arg(0)) / base;
    if (errno)
        ThrowMathException("logn");
    return result;
})

// Rounding and angles
LUMORA_FUNCTION(ceil, 1, 1, 0, { return std::ceil(Arg(0)); })
LUMORA_FUNCTION(floor, 1, 1, 0, { return std::floor(Arg(0)); })
LUMORA_FUNCTION(deg, 1, 1, 0, { return Arg(0) * 180.0 / Pi; })
LUMORA_FUNCTION(rad, 1, 1, 0, { return Arg(0) * Pi / 180.0; })

// Coordinate conversion; the references are written only once the errno test passed.
LUMORA_FUNCTION(rect2pol, 2, 2, 2, {
    errno = 0;
    double x = Arg(0);
    double y = Arg(1);
    double r = std::sqrt(y * y + x * x);
    double t = std::atan2(y, x);
    if (t < 0.0)
        t += TwoPi;
    if (errno)
        ThrowMathException("rect2pol");
    *m_refs[0] = r;
    *m_refs[1] = t;
    return r;
})
LUMORA_FUNCTION(pol2rect, 2, 2, 2, {
    errno = 0;
    double r = Arg(0);
    double t = Arg(1);
    double x = r * std::cos(t);
    double y = r * std::sin(t);
    if (errno)
        ThrowMathException("pol2rect");
    *m_refs[0] = x;
    *m_refs[1] = y;
    return x;
})

// Conditions: only the chosen branch is evaluated.
LUMORA_FUNCTION(if, 3, 3, 0, { return Arg(0) != 0.0 ? Arg(1) : Arg(2); })
LUMORA_FUNCTION(select, 3, 4, 0, {
    double a = Arg(0);
    if (a < 0.0)
        return Arg(1);
    if (a == 0.0 || ArgCount() == 3)
        return Arg(2);
    return Arg(3);
})
LUMORA_FUNCTION(equal, 2, 2, 0, {
    double a = Arg(0);
    return Truth(a == Arg(1));
})
LUMORA_FUNCTION(above, 2, 2, 0, {
    double a = Arg(0);
    return Truth(a > Arg(1));
})
LUMORA_FUNCTION(below, 2, 2, 0, {
    double a = Arg(0);
    return Truth(a < Arg(1));
})

// Ranges
LUMORA_FUNCTION(wrap, 3, 3, 0, {
    double v = Arg(0);
    double lo = Arg(1);
    double hi = Arg(2);
    if (lo == hi)
        return lo;
    double t = std::fmod(v - lo, hi - lo);
    return t < 0.0 ? t + hi : t + lo;
})
LUMORA_FUNCTION(clamp, 3, 3, 0, {
    double v = Arg(0);
    double lo = Arg(1);
    double hi = Arg(2);
    if (v < lo)
        return lo;
    return v > hi ? hi : v;
})
LUMORA_FUNCTION(rescale, 5, 5, 0, {
    double v = Arg(0);
    double inLo = Arg(1);
    double inHi = Arg(2);
    double outLo = Arg(3);
    double outHi = Arg(4);
    if (inHi == inLo)
        return outLo;
    return (outHi - outLo) * (v - inLo) / (inHi - inLo) + outLo;
})
// Coefficients from the highest power down; errno from evaluating x is
// forgotten, errno from the powers and the coefficients is not.
LUMORA_FUNCTION(poly, 2, FunctionNode::Unlimited, 0, {
    double x = Arg(0);
    errno = 0;
    double power = static_cast<double>(ArgCount() - 2);
    double sum = 0.0;
    for (size_t i = 1; i < ArgCount(); ++i, power -= 1.0) {
        double coefficient = Arg(i);
        double term = std::pow(x, power) * coefficient;
        sum = i == 1 ? term : sum + term;
    }
    if (errno)
        ThrowMathException("poly");
    return sum;
})

// Logic: any non-zero counts as true; the second argument may be skipped.
LUMORA_FUNCTION(and, 2, 2, 0, {
    if (Arg(0) == 0.0)
        return 0.0;
    return Truth(Arg(1) != 0.0);
})
LUMORA_FUNCTION(or, 2, 2, 0, {
    if (Arg(0) != 0.0)
        return 1.0;
    return Truth(Arg(1) != 0.0);
})
LUMORA_FUNCTION(not, 1, 1, 0, { return Truth(Arg(0) == 0.0); })

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
