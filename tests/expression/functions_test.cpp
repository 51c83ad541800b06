// The built-in functions: values at ordinary and edge arguments, argument
// rules, errno handling and which arguments get evaluated.

#include "exprtest.h"

#include "expression/functionnode.h"

#include <cerrno>
#include <cmath>

using namespace ExprEval;

namespace {

constexpr double Nan = std::numeric_limits<double>::quiet_NaN();
constexpr double Inf = std::numeric_limits<double>::infinity();

struct Case
{
    const char* text;
    double expected; // compared bit for bit; any NaN matches NaN
    int error = 0;   // an exception kind instead of a value
    const char* errorValue = "";
};

using FunctionsTest = ExprTest;

TEST_F(FunctionsTest, ValuesAndErrors)
{
    const int Math = Exception::MathType;
    const Case cases[] = {
        {"abs(0-2.5)", 2.5}, {"abs(-0)", 0.0}, {"abs(nan)", Nan},
        {"mod(7, 3)", 1}, {"mod(0-7, 3)", -1}, {"mod(7, 0-3)", 1}, {"mod(1, 0)", 0, Math, "mod"},
        {"mod(inf, 2)", 0, Math, "mod"},
        {"ipart(0-1.5)", -1}, {"fpart(0-1.5)", -0.5}, {"ipart(2.75)", 2}, {"fpart(2.75)", 0.75},
        {"min(3, 1, 2)", 1}, {"max(1, 2, 3, 2)", 3}, {"min(2, nan)", 2}, {"max(nan, 2)", Nan},
        {"min(-0, 0)", -0.0}, {"max(0, -0)", 0.0},
        {"sqrt(16)", 4}, {"sqrt(0-1)", 0, Math, "sqrt"}, {"sqrt(nan)", Nan},
        {"sin(PI/2)", 1}, {"cos(0)", 1}, {"tan(0)", 0}, {"sin(inf)", 0, Math, "sin"},
        {"cos(inf)", 0, Math, "cos"}, {"tan(inf)", 0, Math, "tan"},
        {"sinh(0)", 0}, {"cosh(0)", 1}, {"tanh(1000)", 1}, {"cosh(1000)", 0, Math, "cosh"},
        {"sinh(1000)", 0, Math, "sinh"},
        {"asin(1)", std::asin(1.0)}, {"acos(1)", 0}, {"atan(inf)", std::atan(Inf)},
        {"asin(2)", 0, Math, "asin"}, {"acos(0-2)", 0, Math, "acos"},
        {"atan2(1, 0)", std::atan2(1.0, 0.0)}, {"atan2(0, 0-1)", std::atan2(0.0, -1.0)},
        {"log(1000)", 3}, {"ln(E)", 1}, {"exp(0)", 1}, {"log(0)", 0, Math, "log"},
        {"ln(0)", 0, Math, "ln"}, {"ln(0-1)", 0, Math, "ln"}, {"exp(1000)", 0, Math, "exp"},
        {"logn(8, 2)", 3}, {"logn(8, 1)", 0, Math, "logn"}, {"logn(0, 2)", 0, Math, "logn"},
        {"logn(8, 0)", 0, Math, "logn"},
        {"ceil(1.2)", 2}, {"ceil(0-1.2)", -1}, {"floor(1.8)", 1}, {"floor(0-1.2)", -2},
        {"ceil(inf)", Inf}, {"deg(PI)", 180}, {"rad(180)", 3.141592653589793},
        {"deg(1)", 1 * 180.0 / 3.141592653589793}, {"rad(1)", 1 * 3.141592653589793 / 180.0},
        {"if(0, 1/0, 2)", 2}, {"if(-0, 1, 2)", 2}, {"if(nan, 1, 2)", 1}, {"if(0.5, 1, 1/0)", 1},
        {"select(0-1, 10, 20)", 10}, {"select(0, 10, 20)", 20}, {"select(1, 10, 20)", 20},
        {"select(1, 10, 20, 30)", 30}, {"select(0, 10, 20, 30)", 20}, {"select(nan, 10, 20, 30)", 30},
        {"select(nan, 10, 20)", 20}, {"select(0-1, 10, 1/0, 1/0)", 10},
        {"equal(1, 1)", 1}, {"equal(1, 1.0000001)", 0}, {"equal(nan, nan)", 0}, {"equal(0, -0)", 1},
        {"above(2, 1)", 1}, {"above(1, 1)", 0}, {"above(nan, 1)", 0},
        {"below(1, 2)", 1}, {"below(2, 2)", 0}, {"below(nan, 1)", 0},
        {"wrap(5, 0, 3)", 2}, {"wrap(0-1, 0, 3)", 2}, {"wrap(3, 0, 3)", 0}, {"wrap(7, 2, 2)", 2},
        {"wrap(inf, 0, 3)", Nan},
        {"clamp(5, 0, 3)", 3}, {"clamp(0-5, 0, 3)", 0}, {"clamp(2, 0, 3)", 2}, {"clamp(1, 4, 2)", 4},
        {"clamp(5, 4, 2)", 2}, {"clamp(3, 4, 2)", 4}, {"clamp(nan, 0, 1)", Nan},
        {"rescale(5, 0, 10, 0, 100)", 50}, {"rescale(5, 1, 1, 7, 9)", 7}, {"rescale(20, 0, 10, 0, 1)", 2},
        {"poly(2, 1, 0, 0)", 4}, {"poly(2, 3, 4)", 10}, {"poly(2, 5)", 5}, {"poly(nan, 5)", 5},
        {"poly(0, 1, 2)", 2}, {"poly(0, 1, 2, 3)", 3}, {"poly(1e0, 2)", 0, Exception::SyntaxType},
        {"poly(10, 1, 0, 0, 0, 0)", 10000}, {"poly(0, 1, 0, 0)", 0}, {"poly(10^200, 1, 0, 0)", 0, Math, "poly"},
        {"and(1, 2)", 1}, {"and(0, 1/0)", 0}, {"and(1, 0)", 0}, {"and(nan, nan)", 1},
        {"or(1, 1/0)", 1}, {"or(0, 0)", 0}, {"or(0, -3)", 1}, {"not(0)", 1}, {"not(-0)", 1},
        {"not(2)", 0}, {"not(nan)", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        std::string value;
        int error = ErrorOf(c.text, &value);
        EXPECT_EQ(error, c.error);
        if (c.error) {
            EXPECT_EQ(value, c.errorValue);
        } else {
            double result = m_expression.Evaluate();
            EXPECT_TRUE(SameDouble(result, c.expected)) << "gave " << result;
        }
    }
}

TEST_F(FunctionsTest, ArgumentCountsAreCheckedAtParseTime)
{
    const char* wrong[] = {
        "abs()", "abs(1, 2)", "mod(1)", "sin(1, 2)", "atan2(1)", "min(1)", "max()", "logn(1)",
        "if(1, 2)", "select(1, 2)", "select(1, 2, 3, 4, 5)", "rescale(1, 2, 3, 4)", "poly(1)",
        "not(1, 2)", "rect2pol(1, 2)", "rect2pol(1, 2, &a)", "rect2pol(1, &a, &b)",
        "pol2rect(1, 2, &a, &b, &c)", "abs(&a)", "sin(1, &a)",
    };
    for (const char* text : wrong)
        EXPECT_EQ(ErrorOf(text), Exception::InvalidArgumentCountType) << text;
    EXPECT_EQ(Eval("min(5, 4, 3, 2, 1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9)"), 0.0);
    EXPECT_EQ(m_functions.GetCount(), 39u);
    EXPECT_EQ(m_functions.GetName(0), "abs");
    EXPECT_EQ(m_functions.GetName(38), "not");
}

TEST_F(FunctionsTest, CoordinateConversionWritesItsReferences)
{
    EXPECT_EQ(Eval("rect2pol(0-1, 0, &r, &t)"), 1.0);
    EXPECT_EQ(Var("r"), 1.0);
    EXPECT_DOUBLE_EQ(Var("t"), 3.141592653589793);
    Eval("rect2pol(0, 0-1, &r, &t)");
    EXPECT_DOUBLE_EQ(Var("t"), 3 * 3.141592653589793 / 2);
    Eval("rect2pol(3, 4, &r, &t)");
    EXPECT_EQ(Var("r"), 5.0);
    EXPECT_DOUBLE_EQ(Var("t"), std::atan2(4.0, 3.0));

    EXPECT_DOUBLE_EQ(Eval("pol2rect(2, PI/2, &x, &y)"), 2 * std::cos(3.141592653589793 / 2));
    EXPECT_EQ(Var("y"), 2.0);
    // References and values may be interleaved.
    EXPECT_EQ(Eval("pol2rect(&x, 2, &y, 0)"), 2.0);
    EXPECT_EQ(Var("y"), 0.0);

    // A failed errno test leaves the references alone.
    Eval("r = 9; t = 9");
    EXPECT_EQ(ErrorOf("pol2rect(1, inf, &r, &t)"), Exception::MathType);
    EXPECT_EQ(ErrorOf("rect2pol(10^300 * 10^10, 1, &r, &t)"), 0);
    EXPECT_EQ(Var("r"), Inf);
    Eval("r = 9; t = 9");
    EXPECT_EQ(ErrorOf("rect2pol(wrap(inf, 0, 1), 1, &r, &t)"), Exception::MathType);
    EXPECT_EQ(Var("r"), 9.0);
    EXPECT_EQ(Var("t"), 9.0);
}

TEST_F(FunctionsTest, ArgumentsRunOnceInOrderAndSkippedBranchesDoNotRun)
{
    Eval("min(a = 1, a = 3, a = 2)");
    EXPECT_EQ(Var("a"), 2.0);
    EXPECT_EQ(Eval("max(n = n + 1, n = n + 1, n = n + 1)"), 3.0);
    EXPECT_EQ(Eval("if(1, b = 1, c = 1); b + c"), 1.0);
    EXPECT_EQ(Eval("select(0, d = 1, e = 1, f = 1); d + e + f"), 1.0);
    EXPECT_EQ(Var("e"), 1.0);
    EXPECT_EQ(Eval("and(0, g = 1) + or(1, g = 1) + g"), 1.0);
    EXPECT_EQ(Eval("logn(h = 8, h = 2)"), 3.0);
    EXPECT_EQ(Var("h"), 8.0);
    EXPECT_EQ(ErrorOf("logn(m = 8, 1)"), Exception::MathType);
    EXPECT_EQ(Var("m"), 0.0); // the base failed before the value ran
    EXPECT_EQ(Eval("wrap(p = 1, p = 2, p = 3) + clamp(q = 1, q = 2, q = 3); p * 10 + q"), 33.0);
    EXPECT_EQ(Eval("poly(s = 2, s = 3, s = 4) + s"), 14.0);
}

TEST_F(FunctionsTest, ErrnoFromUncheckedFunctionsReachesTheNextTest)
{
    // wrap's fmod of an infinity sets errno without a test of its own.
    EXPECT_EQ(ErrorOf("sqrt(wrap(inf, 0, 3))"), Exception::MathType);
    EXPECT_EQ(ErrorOf("2 ^ wrap(inf, 0, 3)"), Exception::MathType);
    EXPECT_EQ(ErrorOf("sqrt(wrap(10^308 * 10, 0, 3))"), Exception::MathType);
    // ... unless a checked function clears it before the test.
    EXPECT_TRUE(std::isnan(Eval("sqrt(wrap(inf, 0, 3) + sin(1))")));
    EXPECT_TRUE(std::isnan(Eval("sqrt(wrap(10^308 * 10, 0, 3) + sin(1))")));
    EXPECT_TRUE(std::isnan(Eval("sqrt(wrap(inf, 0, 3) + 2^2)")));
    // poly forgets what its x left, not what its coefficients leave.
    EXPECT_EQ(Eval("poly(wrap(inf, 0, 3) * 0 + 1, 2)"), 2.0);
    EXPECT_EQ(ErrorOf("poly(1, wrap(inf, 0, 3))"), Exception::MathType);
    // Without an enclosing test the value just flows.
    EXPECT_TRUE(std::isnan(Eval("wrap(inf, 0, 3) + 1")));
}

// A function of the host's, to see that limits, names and references work
// for functions outside the built-in set.
class CountingNode : public FunctionNode
{
public:
    explicit CountingNode(Expression* expression) : FunctionNode(expression)
    {
        SetArgumentLimits(0, Unlimited, 1, 1);
    }
    double Compute() override
    {
        double sum = 0.0;
        for (auto& node : m_nodes)
            sum += node->Evaluate();
        *m_refs[0] += 1.0;
        return sum;
    }
};

class CountingFactory : public FunctionFactory
{
public:
    std::string GetName() const override { return "count"; }
    std::unique_ptr<FunctionNode> CreateNode(Expression* expression) override
    {
        return std::make_unique<CountingNode>(expression);
    }
};

TEST_F(FunctionsTest, HostFunctionsAreNeverComputedAhead)
{
    m_functions.Add(std::make_unique<CountingFactory>());
    EXPECT_THROW(m_functions.Add(std::make_unique<CountingFactory>()), AlreadyExistsException);
    EXPECT_THROW(m_functions.AddDefaultFunctions(), AlreadyExistsException);
    try {
        m_functions.Add(nullptr);
        FAIL();
    } catch (const NullPointerException& e) {
        EXPECT_EQ(e.GetValue(), "FunctionList::Add");
    }

    m_expression.Parse("count(1, 2, &calls) + count(&calls)");
    EXPECT_EQ(m_expression.Evaluate(), 3.0);
    EXPECT_EQ(m_expression.Evaluate(), 3.0);
    EXPECT_EQ(Var("calls"), 4.0);
    std::string name;
    EXPECT_EQ(ErrorOf("count(1)", &name), Exception::InvalidArgumentCountType);
    EXPECT_EQ(name, "count");
    EXPECT_EQ(m_functions.Create("count", &m_expression)->GetFactory()->GetName(), "count");
    EXPECT_EQ(m_functions.Create("Count", &m_expression), nullptr);
}

} // namespace
