// The language core: tokens, precedence, assignment, statement lists and the
// errors of parsing and evaluating.

#include "exprtest.h"

#include "expression/parser.h"

#include <cerrno>
#include <cstdlib>
#include <random>
#include <vector>

using namespace ExprEval;

namespace {

struct ValueCase
{
    const char* text;
    double expected;
};

struct ErrorCase
{
    const char* text;
    int type;
};

using LanguageTest = ExprTest;

TEST_F(LanguageTest, TokensCarryKindTextValueAndPosition)
{
    Expression expression;
    Parser parser(&expression);
    parser.Tokenize("pos.x=a._b+1.25 # note\n a.1 1e5 1.2.3 .\r-(&,;)*/^");
    struct Expected
    {
        TokenKind kind;
        const char* identifier;
        double value;
        long start;
        long end;
    };
    const std::vector<Expected> expected = {
        {TokenKind::Identifier, "pos.x", 0, 0, 4}, {TokenKind::Equal, "", 0, 5, 5},
        {TokenKind::Identifier, "a._b", 0, 6, 9}, {TokenKind::Plus, "", 0, 10, 10},
        {TokenKind::Value, "", 1.25, 11, 14}, {TokenKind::Identifier, "a", 0, 24, 24},
        {TokenKind::Value, "", 0.1, 25, 26}, {TokenKind::Value, "", 1, 28, 28},
        {TokenKind::Identifier, "e5", 0, 29, 30}, {TokenKind::Value, "", 1.2, 32, 34},
        {TokenKind::Value, "", 0.3, 35, 36}, {TokenKind::Value, "", 0, 38, 38},
        {TokenKind::Minus, "", 0, 40, 40}, {TokenKind::OpenParen, "", 0, 41, 41},
        {TokenKind::Ampersand, "", 0, 42, 42}, {TokenKind::Comma, "", 0, 43, 43},
        {TokenKind::Semicolon, "", 0, 44, 44}, {TokenKind::CloseParen, "", 0, 45, 45},
        {TokenKind::Multiply, "", 0, 46, 46}, {TokenKind::Divide, "", 0, 47, 47},
        {TokenKind::Hat, "", 0, 48, 48},
    };
    ASSERT_EQ(parser.GetTokenCount(), static_cast<long>(expected.size()));
    for (size_t i = 0; i < expected.size(); ++i) {
        const Token& token = parser.GetToken(static_cast<long>(i));
        SCOPED_TRACE(i);
        EXPECT_EQ(token.kind, expected[i].kind);
        EXPECT_EQ(token.identifier, expected[i].identifier);
        EXPECT_DOUBLE_EQ(token.value, expected[i].value);
        EXPECT_EQ(token.start, expected[i].start);
        EXPECT_EQ(token.end, expected[i].end);
    }
    EXPECT_EQ(static_cast<int>(TokenKind::OpenParen), 1);
    EXPECT_EQ(static_cast<int>(TokenKind::Value), 13);
}

TEST_F(LanguageTest, NumbersAreAccumulatedDigitByDigit)
{
    // v = v * 10 + digit over all digits, divided by 10^fraction digits.
    double v = 0.0, s = 1.0;
    for (char c : std::string("31415926535897932384626"))
        v = v * 10.0 + (c - '0');
    for (int i = 0; i < 22; ++i)
        s = s * 10.0;
    EXPECT_TRUE(SameDouble(Eval("3.1415926535897932384626"), v / s));

    EXPECT_TRUE(std::isinf(Eval(std::string(400, '9'))));
    EXPECT_TRUE(std::isnan(Eval("1." + std::string(400, '0'))));
    EXPECT_EQ(Eval("0." + std::string(400, '0') + "1"), 0.0);
}

TEST_F(LanguageTest, PrecedenceAndAssociativity)
{
    const ValueCase cases[] = {
        {"1+2*3", 7}, {"(1+2)*3", 9}, {"2*(3+4)", 14}, {"2^3^2", 64}, {"-2^2", -4},
        {"-2*3", -6}, {"2^-1", 0.5}, {"10-4-3", 3}, {"100/10/5", 2}, {"2*3/4", 1.5},
        {"12/3*2", 8}, {"1-2+3", 2}, {"+3", 3}, {"--3", 3}, {"-+-3", 3}, {"2*-3", -6},
        {"1 - -1", 2}, {"1+-1", 0}, {"((((7))))", 7}, {"1-2-3-4-5", -13}, {"2^3*2", 16},
        {"2*3^2", 18}, {"-(1+2)*-(3)", 9}, {"2^(1+1)^3", 64}, {"-2^-2", -0.25},
        {"1 + 2 * 3 - 4 / 2 ^ 2", 6}, {"PI", 3.141592653589793}, {"E", 2.718281828459045},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_DOUBLE_EQ(Eval(c.text), c.expected);
    }
}

TEST_F(LanguageTest, EveryOperatorWithEveryKindOfOperand)
{
    // Constants, variables and subtrees are read in different ways; each pair
    // must give what the plain arithmetic gives.
    *m_values.GetAddress("inf") = 3.0;
    const char* forms[] = {"3", "inf", "(inf+0)"};
    *m_values.GetAddress("nan") = 2.0;
    const char* rights[] = {"2", "nan", "(nan*1)"};
    for (const char* left : forms) {
        for (const char* right : rights) {
            std::string l = left, r = right;
            EXPECT_EQ(Eval(l + "+" + r), 5.0) << l << r;
            EXPECT_EQ(Eval(l + "-" + r), 1.0) << l << r;
            EXPECT_EQ(Eval(l + "*" + r), 6.0) << l << r;
            EXPECT_EQ(Eval(l + "/" + r), 1.5) << l << r;
            EXPECT_EQ(Eval(l + "^" + r), 9.0) << l << r;
            EXPECT_EQ(Eval("-" + l), -3.0) << l;
            EXPECT_EQ(Eval("x=" + r), 2.0) << r;
            EXPECT_EQ(Eval(l + "+" + r + "-" + l + "+" + r), 4.0) << l << r;
        }
    }
    // Sums read their terms in place, products with constants included.
    EXPECT_EQ(Eval("1 + 2*inf + inf*4 - 2*(inf+1) - (inf+1)*2 + inf"), 1 + 6 + 12 - 8 - 8 + 3.0);

    // Dividing by a power of two multiplies; it must round exactly as division.
    double x = 0.0;
    m_values.AddAddress("num", &x, 0.0);
    const double numerators[] = {1.0, -3.0, 0.1, 5e-324, -1.5e-323, 1e308, -0.0,
        std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()};
    const std::pair<const char*, double> divisors[] = {
        {"2", 2.0}, {"-4", -4.0}, {"0.25", 0.25}, {"1024", 1024.0}, {"3", 3.0},
        {"0.0009765625", 0x1p-10}, {"1048576", 0x1p20}, {"2^2", 4.0}};
    for (const auto& [text, divisor] : divisors) {
        m_expression.Parse(std::string("num / ") + text);
        for (double numerator : numerators) {
            x = numerator;
            EXPECT_TRUE(SameDouble(m_expression.Evaluate(), numerator / divisor)) << text << " " << numerator;
        }
    }

    EXPECT_TRUE(std::signbit(Eval("-0")));
    EXPECT_TRUE(std::signbit(Eval("-(inf-3)")));
}

TEST_F(LanguageTest, PowersAreThoseOfTheCLibraryBitForBit)
{
    // Small integer powers are multiplied out where that provably gives
    // pow's result; any slip shows up as a differing last bit or errno.
    double base = 0.0;
    m_values.AddAddress("base", &base, 0.0);
    std::mt19937_64 random(42);
    std::vector<double> bases = {0.0, -0.0, 1.0, -1.0, 3.0, 0.1, 1e-300, 1e300, 1.5e154, 2e-162,
        std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::infinity(),
        std::numeric_limits<double>::quiet_NaN()};
    for (int i = 0; i < 100000; ++i) {
        uint64_t bits = random();
        if (i % 2) // mostly ordinary magnitudes
            bits = (bits & 0x800fffffffffffffu) | ((1023 - 40 + random() % 80) << 52);
        double value;
        std::memcpy(&value, &bits, sizeof value);
        bases.push_back(value);
    }
    for (const char* exponent : {"2", "3", "4", "2.5", "-2"}) {
        m_expression.Parse(std::string("base ^ ") + exponent);
        volatile double e = std::atof(exponent);
        for (double b : bases) {
            base = b;
            errno = 0;
            double expected = std::pow(b, e);
            bool fails = errno != 0;
            try {
                double result = m_expression.Evaluate();
                EXPECT_FALSE(fails) << b << "^" << exponent;
                EXPECT_TRUE(SameDouble(result, expected)) << std::hexfloat << b << "^" << exponent;
            } catch (const MathException&) {
                EXPECT_TRUE(fails) << b << "^" << exponent;
            }
        }
    }
}

TEST_F(LanguageTest, AssignmentsAndStatementLists)
{
    EXPECT_EQ(Eval("a = 1; b = a + 1"), 2.0);
    EXPECT_EQ(Var("a"), 1.0);
    EXPECT_EQ(Var("b"), 2.0);
    EXPECT_EQ(Eval("a = b = 3"), 3.0);
    EXPECT_EQ(Var("a"), 3.0);
    EXPECT_EQ(Var("b"), 3.0);
    EXPECT_EQ(Eval("c=1;d=2;"), 2.0);
    EXPECT_EQ(Eval("x = -(y = 4) * 2; y"), 4.0);
    EXPECT_EQ(Var("x"), -8.0);

    m_expression.Parse("n = n + 1");
    m_expression.Evaluate();
    m_expression.Evaluate();
    EXPECT_EQ(m_expression.Evaluate(), 3.0);

    // Reading an unknown name creates it, holding 0; names are case-sensitive.
    EXPECT_EQ(m_values.GetAddress("pi"), nullptr);
    EXPECT_EQ(Eval("pi"), 0.0);
    EXPECT_NE(m_values.GetAddress("pi"), nullptr);

    // A bound host double is read and written in place.
    double host = 0.0;
    m_values.AddAddress("host.value", &host, 5.0);
    EXPECT_EQ(host, 5.0);
    EXPECT_EQ(Eval("host.value = host.value * 2"), 10.0);
    EXPECT_EQ(host, 10.0);
    host = 7.0;
    EXPECT_EQ(m_expression.Evaluate(), 14.0);
}

TEST_F(LanguageTest, CommentsAndEmptyTexts)
{
    EXPECT_EQ(Eval("# first line\n1+1"), 2.0);
    EXPECT_EQ(Eval("# first line\r1+1 # trailing"), 2.0);
    EXPECT_EQ(Eval("1 # + 5\n + 2"), 3.0);
    for (const char* text : {"", "   \t\r\n", "# only a comment", "#a\n#b\r\n  "})
        EXPECT_EQ(ErrorOf(text), Exception::EmptyExpressionType) << text;
}

TEST_F(LanguageTest, ParseErrors)
{
    const ErrorCase cases[] = {
        {"(1+2)(3)", Exception::SyntaxType}, {"()", Exception::SyntaxType},
        {"a b", Exception::SyntaxType}, {"&a", Exception::SyntaxType},
        {"a=1;;b=2", Exception::SyntaxType}, {";a=1", Exception::SyntaxType},
        {"a+b=1", Exception::SyntaxType}, {"1 = 2", Exception::SyntaxType},
        {"1+", Exception::SyntaxType}, {"*2", Exception::SyntaxType}, {"2^", Exception::SyntaxType},
        {"-", Exception::SyntaxType}, {"+", Exception::SyntaxType}, {",", Exception::SyntaxType},
        {"(,)", Exception::SyntaxType}, {"a=", Exception::SyntaxType}, {"max(1,)", Exception::SyntaxType},
        {"max(,1)", Exception::SyntaxType}, {"max(1,,2)", Exception::SyntaxType},
        {"rect2pol(1,2,&3,&a)", Exception::SyntaxType}, {"rect2pol(1,2,&a b,&c)", Exception::SyntaxType},
        {"1 2", Exception::SyntaxType}, {"sin(1)(2)", Exception::SyntaxType},
        {"sin(1", Exception::UnmatchedParenthesisType}, {"1)", Exception::UnmatchedParenthesisType},
        {"((1)", Exception::UnmatchedParenthesisType}, {"(1))+(2", Exception::UnmatchedParenthesisType},
        {"2(3)", Exception::NotFoundType}, {"nosuch(1)", Exception::NotFoundType},
        {"1 $ 2", Exception::UnknownTokenType}, {"a\xc3\xa9", Exception::UnknownTokenType},
        {"max(1)", Exception::InvalidArgumentCountType}, {"PI = 3", Exception::ConstantAssignType},
        {"rect2pol(1,1,&PI,&r)", Exception::ConstantReferenceType},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(ErrorOf(c.text), c.type);
    }
}

TEST_F(LanguageTest, ExceptionsNameWhatAndWhere)
{
    try {
        Eval("1 + nosuch(2)");
        FAIL();
    } catch (const NotFoundException& e) {
        EXPECT_STREQ(e.what(), "Variable not found at 4 9");
        EXPECT_EQ(e.GetValue(), "nosuch");
    }
    try {
        Eval("x = 1; PI = 3");
        FAIL();
    } catch (const ConstantAssignException& e) {
        EXPECT_EQ(e.GetValue(), "PI");
        EXPECT_EQ(e.GetStart(), 7);
        EXPECT_EQ(e.GetEnd(), 10);
    }
    try {
        Eval("1 + ?");
        FAIL();
    } catch (const UnknownTokenException& e) {
        EXPECT_EQ(e.GetStart(), 4);
        EXPECT_EQ(e.GetEnd(), 4);
    }
    try {
        Eval("1 + 2)");
        FAIL();
    } catch (const UnmatchedParenthesisException& e) {
        EXPECT_EQ(e.GetStart(), 5);
    }
    std::string value;
    EXPECT_EQ(ErrorOf("0^-1", &value), Exception::MathType);
    EXPECT_EQ(value, "^");
    EXPECT_EQ(ErrorOf("max(1)", &value), Exception::InvalidArgumentCountType);
    EXPECT_EQ(value, "max");

    struct Message
    {
        Exception exception;
        int type;
        const char* text;
    };
    const Message messages[] = {
        {Exception(), 1, "Expression error"},
        {NotFoundException("a", 3, 4), 2, "Variable not found at 3 4"},
        {AlreadyExistsException("a"), 3, "Variable already exists at -1 -1"},
        {NullPointerException("x"), 4, "Null pointer"},
        {MathException("sin"), 5, "Math exception"},
        {DivideByZeroException(), 6, "Divide by zero"},
        {NoValueListException(), 7, "Expression error"},
        {NoFunctionListException(), 8, "Expression error"},
        {AbortException(), 9, "Expression aborted"},
        {EmptyExpressionException(), 10, "Empty Expression"},
        {UnknownTokenException(0, 0), 11, "Unknown token"},
        {InvalidArgumentCountException("f"), 12, "Invalid number of arguments"},
        {ConstantAssignException("PI"), 13, "Trying to assign value to constant"},
        {ConstantReferenceException("PI"), 14, "Expression error"},
        {SyntaxException(), 15, "Syntax Error"},
        {UnmatchedParenthesisException(), 16, "Unmatched Parenthesis"},
    };
    for (const auto& m : messages) {
        SCOPED_TRACE(m.text);
        EXPECT_EQ(m.exception.GetType(), m.type);
        EXPECT_STREQ(m.exception.what(), m.text);
    }
}

TEST_F(LanguageTest, DivisionTestsTheDivisorFirst)
{
    EXPECT_EQ(ErrorOf("1/0"), Exception::DivideByZeroType);
    EXPECT_EQ(ErrorOf("1/-0"), Exception::DivideByZeroType);
    EXPECT_EQ(ErrorOf("1/(inf-inf)"), 0); // NaN is not zero
    EXPECT_EQ(ErrorOf("(a = 5) / (b = 0)"), Exception::DivideByZeroType);
    EXPECT_EQ(Var("a"), 0.0);
    EXPECT_EQ(Eval("(a = 2) / (a = 4)"), 0.5);
    EXPECT_EQ(Var("a"), 2.0);
    EXPECT_EQ(ErrorOf("(0-8)^0.5"), Exception::MathType);
    EXPECT_EQ(ErrorOf("10^400"), Exception::MathType);
}

TEST_F(LanguageTest, MissingListsAndNullArguments)
{
    Expression bare;
    EXPECT_EQ(bare.GetValueList(), nullptr);
    EXPECT_THROW(bare.Parse("a"), NoValueListException);
    EXPECT_THROW(bare.Parse("a = 1"), NoValueListException);
    EXPECT_THROW(bare.Parse("sin(1)"), NoFunctionListException);
    bare.Parse("1 + 2 * 3");
    EXPECT_EQ(bare.Evaluate(), 7.0);
    bare.SetFunctionList(&m_functions);
    EXPECT_THROW(bare.Parse("rect2pol(1, 2, &a, &b)"), NoValueListException);
    EXPECT_EQ((bare.Parse("sin(0)"), bare.Evaluate()), 0.0);

    try {
        Parser parser(nullptr);
        FAIL();
    } catch (const NullPointerException& e) {
        EXPECT_EQ(e.GetValue(), "Parser::Parser");
    }
    try {
        m_functions.Create("sin", nullptr);
        FAIL();
    } catch (const NullPointerException& e) {
        EXPECT_EQ(e.GetValue(), "FunctionList::Create");
    }
}

TEST_F(LanguageTest, FailedParseLeavesNoTreeButKeepsCreatedVariables)
{
    EXPECT_EQ(Eval("1"), 1.0);
    EXPECT_EQ(ErrorOf("made = 1; other = 2;; x"), Exception::SyntaxType);
    EXPECT_FALSE(m_expression.IsParsed());
    EXPECT_THROW(m_expression.Evaluate(), EmptyExpressionException);
    EXPECT_NE(m_values.GetAddress("made"), nullptr);
    EXPECT_NE(m_values.GetAddress("other"), nullptr);
    EXPECT_EQ(m_values.GetAddress("x"), nullptr);
    m_expression.Parse("2");
    m_expression.Clear();
    EXPECT_THROW(m_expression.Evaluate(), EmptyExpressionException);
}

} // namespace
