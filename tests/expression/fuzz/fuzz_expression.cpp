// libFuzzer entry: any bytes must give a tree or an exception of the language,
// and evaluating the tree must give a number or such an exception.

#include "expression/exception.h"
#include "expression/expression.h"
#include "expression/functionlist.h"
#include "expression/valuelist.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string_view>

namespace {

// Aborts after a number of asks taken from the input, so that abort paths
// run too.
class FuzzExpression : public ExprEval::Expression
{
public:
    int m_asksLeft = -1;

protected:
    bool ShouldAbort() override { return m_asksLeft >= 0 && m_asksLeft-- == 0; }
};

void CheckKind(const ExprEval::Exception& e)
{
    if (e.GetType() < 1 || e.GetType() > 16 || !e.what() || !*e.what())
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The first byte, if any, sets the abort countdown; the rest is the text.
    unsigned interval = ExprEval::Expression::DefaultAbortInterval;
    int asks = -1;
    if (size > 0 && data[0] < 16) {
        interval = data[0];
        asks = data[0] % 4;
        ++data;
        --size;
    }
    std::string_view text(reinterpret_cast<const char*>(data), size);

    double host[3] = {};
    ExprEval::ValueList values;
    values.AddDefaultValues();
    values.AddAddress("nan", &host[0], std::numeric_limits<double>::quiet_NaN());
    values.AddAddress("inf", &host[1], std::numeric_limits<double>::infinity());
    values.AddAddress("x", &host[2], 0.5);
    ExprEval::FunctionList functions;
    functions.AddDefaultFunctions();

    FuzzExpression expression;
    expression.SetValueList(&values);
    expression.SetFunctionList(&functions);
    expression.SetAbortInterval(interval);
    expression.m_asksLeft = asks;
    try {
        expression.Parse(text);
    } catch (const ExprEval::Exception& e) {
        CheckKind(e);
        if (expression.IsParsed())
            std::abort(); // a failed parse leaves no tree
        return 0;
    }
    for (int i = 0; i < 3; ++i) {
        try {
            expression.Evaluate();
        } catch (const ExprEval::Exception& e) {
            CheckKind(e);
        }
    }
    return 0;
}
