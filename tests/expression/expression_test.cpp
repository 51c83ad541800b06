// Value list, abort countdown, and texts that must fail cleanly.

#include "exprtest.h"

#include "expression/parser.h"

#include <cstdlib>
#include <new>
#include <random>
#include <vector>

using namespace ExprEval;

// Counts allocations, so that a test can see evaluation make none.
static long g_allocations = 0;

void* operator new(std::size_t size)
{
    ++g_allocations;
    if (void* memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace {

using ExpressionTest = ExprTest;

TEST_F(ExpressionTest, EvaluationAllocatesNothing)
{
    m_expression.Parse("a = sin(inf * 0 + 1) * 2; b = max(a, 3, poly(a, 1, 2, 3)); "
                       "c = rect2pol(a, b, &r, &t) + if(a, b^2, 0) + 1 + a/4 + b*5 + (c = c + 1)");
    const long before = g_allocations;
    for (int i = 0; i < 100; ++i)
        m_expression.Evaluate();
    EXPECT_EQ(g_allocations, before);
    m_expression.Parse("x = 1");
    EXPECT_GT(g_allocations, before); // the count works
}

TEST_F(ExpressionTest, ValueListHoldsOwnAndBoundValues)
{
    ValueList values;
    values.Add("own", false, 1.5);
    double host = -1.0;
    values.AddAddress("bound", &host, 2.5);
    EXPECT_EQ(host, 2.5);
    EXPECT_EQ(values.GetAddress("bound"), &host);
    EXPECT_EQ(*values.GetAddress("own"), 1.5);
    EXPECT_EQ(values.GetAddress("Own"), nullptr);
    EXPECT_FALSE(values.IsConstant("own"));
    EXPECT_FALSE(values.IsConstant("missing"));

    try {
        values.Add("own", true, 0.0);
        FAIL();
    } catch (const AlreadyExistsException& e) {
        EXPECT_EQ(e.GetValue(), "own");
        EXPECT_STREQ(e.what(), "Variable already exists at -1 -1");
    }
    // The name is tested before the pointer.
    EXPECT_THROW(values.AddAddress("bound", nullptr, 0.0), AlreadyExistsException);
    try {
        values.AddAddress("other", nullptr, 0.0);
        FAIL();
    } catch (const NullPointerException& e) {
        EXPECT_EQ(e.GetValue(), "ValueList::AddAddress");
    }

    *values.GetAddress("own") = 9.0;
    host = 9.0;
    values.Reset();
    EXPECT_EQ(*values.GetAddress("own"), 1.5);
    EXPECT_EQ(host, 2.5);

    values.AddDefaultValues();
    EXPECT_TRUE(values.IsConstant("PI"));
    EXPECT_TRUE(values.IsConstant("E"));
    ASSERT_EQ(values.GetCount(), 4u);
    EXPECT_EQ(values.GetName(3), "PI");
    EXPECT_EQ(values.GetValue(3), 3.141592653589793);
    EXPECT_EQ(values.GetValue(2), 2.718281828459045);
    EXPECT_THROW(values.AddDefaultValues(), AlreadyExistsException);

    // Addresses stay put while the list grows, since trees keep them.
    double* own = values.GetAddress("own");
    for (int i = 0; i < 1000; ++i)
        values.Add("v" + std::to_string(i), false, i);
    EXPECT_EQ(values.GetAddress("own"), own);
    values.Clear();
    EXPECT_EQ(values.GetCount(), 0u);
    EXPECT_EQ(values.GetAddress("own"), nullptr);
}

// Counts how often it is asked, and aborts when told to.
class CountingExpression : public Expression
{
public:
    int m_asked = 0;
    bool m_abort = false;

protected:
    bool ShouldAbort() override
    {
        ++m_asked;
        return m_abort;
    }
};

TEST_F(ExpressionTest, AbortIsAskedOnceInEveryIntervalPlusOneNodeEvaluations)
{
    CountingExpression expression;
    expression.SetValueList(&m_values);
    expression.SetFunctionList(&m_functions);
    EXPECT_EQ(expression.GetAbortInterval(), 200000u);

    // With interval 0 every node evaluation asks, which counts the nodes the
    // language evaluates, however the tree was simplified.
    expression.SetAbortInterval(0);
    struct NodeCount
    {
        const char* text;
        int nodes;
    };
    const NodeCount counts[] = {
        {"1", 1}, {"a", 1}, {"PI", 1}, {"1+2*3", 5}, {"-2^2", 4}, {"((1))", 1}, {"+1", 1},
        {"a+b+c+d", 7}, {"1+2+3-4", 7}, {"a=1", 2}, {"a=1;b=2", 5}, {"if(0, 1/0, 2)", 3},
        {"if(a, 1/0, 2*3)", 5}, {"sin(PI/4)", 4}, {"and(0, b)", 2}, {"or(0, b)", 3},
        {"rect2pol(1, 2, &x, &y)", 3}, {"x + sin(1) * (2 + 3)", 8}, {"poly(2, 1, 2, 3)", 5},
        {"min(1, 2) + max(a, 2)", 7}, {"(a + 1) / 2 - 3 * b", 9},
        {"1 + 2*a + a*3 + 2*(a+1) - (a+1)*2", 21}, {"a / 4 + (a + 1) / 0.5", 9},
    };
    for (const auto& c : counts) {
        SCOPED_TRACE(c.text);
        m_values.Reset();
        expression.Parse(c.text);
        expression.m_asked = 0;
        expression.Evaluate();
        EXPECT_EQ(expression.m_asked, c.nodes);
    }

    // Interval n: asked at the first node, then after every n + 1 nodes.
    expression.Parse("1+2*3");
    expression.SetAbortInterval(3);
    expression.m_asked = 0;
    for (int i = 0; i < 8; ++i)
        expression.Evaluate(); // 40 node evaluations
    EXPECT_EQ(expression.m_asked, 10);

    // A true answer stops the evaluation where it stands.
    expression.SetAbortInterval(0);
    expression.Parse("a = 1; b = 2");
    expression.m_asked = 0;
    for (int i = 0; i < 3; ++i)
        expression.Evaluate();
    expression.m_abort = true;
    try {
        expression.Evaluate();
        FAIL();
    } catch (const AbortException& e) {
        EXPECT_STREQ(e.what(), "Expression aborted");
    }
    EXPECT_EQ(expression.m_asked, 3 * 5 + 1);
}

TEST_F(ExpressionTest, SettingTheIntervalLowersARunningCountdown)
{
    CountingExpression expression;
    expression.Parse("1");
    for (int i = 0; i < 1000; ++i)
        expression.Evaluate();
    EXPECT_EQ(expression.m_asked, 0);

    expression.SetAbortInterval(5); // countdown 199000 becomes 5
    for (int i = 0; i < 5; ++i)
        expression.Evaluate();
    EXPECT_EQ(expression.m_asked, 0);
    expression.Evaluate();
    EXPECT_EQ(expression.m_asked, 1);

    expression.SetAbortInterval(100); // countdown 5 stays
    for (int i = 0; i < 5; ++i)
        expression.Evaluate();
    EXPECT_EQ(expression.m_asked, 1);
    expression.Evaluate();
    EXPECT_EQ(expression.m_asked, 2);
    for (int i = 0; i < 100; ++i)
        expression.Evaluate();
    EXPECT_EQ(expression.m_asked, 2);
    expression.Evaluate();
    EXPECT_EQ(expression.m_asked, 3);
}

TEST_F(ExpressionTest, AbortStopsBeforeLaterSideEffects)
{
    class StopAfter : public Expression
    {
    public:
        int m_left = 0;

    protected:
        bool ShouldAbort() override { return m_left-- == 0; }
    } expression;
    expression.SetValueList(&m_values);
    expression.SetAbortInterval(0);
    // Node order: Multi, Assign a, 1, Assign b, 2 + 3, ...
    const struct
    {
        int stopAt;
        double a;
        double b;
    } stops[] = {{0, 0, 0}, {2, 0, 0}, {3, 1, 0}, {5, 1, 0}, {6, 1, 0}, {7, 1, 5}, {17, 1, 5}, {18, 2, 5}, {22, 2, 5}};
    // ... Assign c, b, Assign d, Subtract, Add, Add, 0, 0, Multiply, Assign a, 2, 3,
    // Divide, 4, Assign b, 6.
    expression.Parse("a = 1; b = 2 + 3; c = b; d = 0 + 0 + (a = 2) * 3 - (b = 6) / 4");
    for (const auto& s : stops) {
        SCOPED_TRACE(s.stopAt);
        m_values.Reset();
        expression.m_left = s.stopAt;
        EXPECT_THROW(expression.Evaluate(), AbortException);
        EXPECT_EQ(Var("a"), s.a);
        EXPECT_EQ(Var("b"), s.b);
    }
}

std::string Repeat(const std::string& text, int times)
{
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

TEST_F(ExpressionTest, HostileTextsGiveATreeOrAnExceptionOfTheLanguage)
{
    // Parentheses alone add no depth; a long chain of sums neither.
    EXPECT_EQ(Eval(std::string(100000, '(') + "1+2" + std::string(100000, ')')), 3.0);
    EXPECT_EQ(Eval("0" + Repeat("+1", 200000)), 200000.0);
    EXPECT_EQ(Eval("0" + Repeat("-1+2", 100000)), 100000.0);
    EXPECT_EQ(Eval(Repeat("x = x + 1;", 50000)), 50000.0);
    EXPECT_EQ(Eval(std::string(100000, '+') + "1"), 1.0);
    EXPECT_EQ(Eval(Repeat("(-", 100) + "1" + std::string(100, ')')), 1.0);
    EXPECT_EQ(Eval("max(" + Repeat("1,", 100000) + "2)"), 2.0);
    EXPECT_EQ(Eval(std::string(100000, 'n') + " = 4"), 4.0);

    // Deep trees are refused before they can overflow the stack.
    const int deep = Parser::MaxDepth + 10;
    const std::string tooDeep[] = {
        Repeat("(-", deep) + "1" + std::string(deep, ')'),
        Repeat("sin(", deep) + "1" + std::string(deep, ')'),
        Repeat("-", deep) + "1",
        Repeat("a=", deep) + "1",
        "1" + Repeat("*1", deep),
        "2" + Repeat("^1", deep),
        Repeat("(1+(", deep) + "1" + Repeat("))", deep),
    };
    for (const auto& text : tooDeep) {
        SCOPED_TRACE(text.substr(0, 20));
        EXPECT_EQ(ErrorOf(text), Exception::SyntaxType);
    }
    EXPECT_EQ(Eval(Repeat("-", Parser::MaxDepth - 2) + "1"), 1.0);

    const std::pair<std::string, int> broken[] = {
        {std::string(100000, '('), Exception::UnmatchedParenthesisType},
        {std::string(100000, ')'), Exception::UnmatchedParenthesisType},
        {Repeat("(", 5000) + Repeat(")", 4999), Exception::UnmatchedParenthesisType},
        {Repeat("1;", 100000) + ";", Exception::SyntaxType},
        {std::string("1\0" "2", 3), Exception::UnknownTokenType},
        {"max(" + Repeat("1,", 100000) + ")", Exception::SyntaxType},
    };
    for (const auto& [text, type] : broken) {
        SCOPED_TRACE(text.substr(0, 20));
        EXPECT_EQ(ErrorOf(text), type);
    }
}

TEST_F(ExpressionTest, RandomBytesAndTokenSoupNeverEscapeTheLanguage)
{
    std::mt19937 random(1234);
    const std::string alphabet = "()=+-*/^&,;# \n.0123456789abxyPIsinmaxif";
    for (int i = 0; i < 20000; ++i) {
        std::string text(random() % 40, '\0');
        for (auto& c : text)
            c = i % 2 ? static_cast<char>(random()) : alphabet[random() % alphabet.size()];
        try {
            m_expression.Parse(text);
            m_expression.Evaluate();
        } catch (const Exception& e) {
            EXPECT_GE(e.GetType(), 1);
            EXPECT_LE(e.GetType(), 16);
        }
    }
}

} // namespace
