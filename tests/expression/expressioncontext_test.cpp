// The expression context as nodes use it: bound variables, what a bad text
// or a failing evaluation logs, and when the context counts as valid.

#include "expression/expressioncontext.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

} // namespace

TEST(ExpressionContext, EvaluatesWithBoundVariablesThatAParseResets)
{
    CLogCapture log;
    CExpressionContext context;
    double in = 0.0;
    double out = 0.0;
    ASSERT_TRUE(context.AddVariable("in", &in, 2.0));
    ASSERT_TRUE(context.AddVariable("out", &out, 0.0));
    EXPECT_FALSE(context.AddVariable("in", &out, 5.0)) << "a name is bound once";
    EXPECT_EQ(in, 2.0) << "binding writes the default";
    EXPECT_FALSE(context.IsValid()) << "nothing parsed yet";

    context.Parse("out = in * PI + max(1, 2) + smoothstep(0, 1, 1)");
    in = 1.0;
    EXPECT_DOUBLE_EQ(context.Evaluate(), 3.141592653589793 + 3);
    EXPECT_DOUBLE_EQ(out, 3.141592653589793 + 3);

    // Variables keep their values between evaluations; a parse resets them.
    context.Parse("n = n + in");
    EXPECT_EQ(in, 2.0);
    EXPECT_EQ(context.Evaluate(), 2);
    EXPECT_EQ(context.Evaluate(), 4);
    context.Parse("n = n + in");
    EXPECT_EQ(context.Evaluate(), 2);
    EXPECT_EQ(log.Messages(), Lines{"Variable already exists at -1 -1"});
}

TEST(ExpressionContext, LogsEachFailureOnceAndStaysInvalidUntilTheTextChanges)
{
    struct Case
    {
        const char* text;
        bool parses;
        Lines log; // ordinary lines, not errors
    };
    const Case cases[] = {
        {"", false, {}},
        {"1 +", false, {"Syntax Error"}},
        {"sin(1", false, {"Unmatched Parenthesis"}},
        {"nothere(1)", false, {"Variable not found at 0 6"}},
        {"PI = 3", false, {"Trying to assign value to constant"}},
        {"a \xc3\xa4", false, {"Unknown token"}},
        {"# only a comment", false, {"Empty Expression"}},
        {"1/0", true, {"Divide by zero"}},
        {"x = 2; sqrt(0-x)", true, {"Math exception"}},
        {"if(0, 1/0, 4)", true, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        CLogCapture log;
        CExpressionContext context;
        context.Parse(c.text);
        EXPECT_EQ(context.IsValid(), c.parses);
        // The fallback is 0.0, and a failure is not tried again.
        const double first = context.Evaluate();
        EXPECT_EQ(context.Evaluate(), first);
        EXPECT_EQ(first == 0.0, !c.log.empty() || !c.parses);
        EXPECT_EQ(context.IsValid(), c.parses && c.log.empty());
        EXPECT_EQ(log.Messages(), c.log);

        // A new text brings it back.
        context.Parse("6*7");
        EXPECT_EQ(context.Evaluate(), 42);
    }
}

TEST(ExpressionContext, AnEmptyTextDisablesTheOldProgram)
{
    CLogCapture log;
    CExpressionContext context;
    context.Parse("6*7");
    context.Parse("");
    EXPECT_FALSE(context.IsValid());
    EXPECT_EQ(context.Evaluate(), 0.0);
    EXPECT_TRUE(log.Messages().empty());
}
