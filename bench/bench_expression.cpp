// Lumora's expression evaluator against muParser on the same formulas, one
// evaluation per iteration, inputs changing between iterations.

#include "expression/expression.h"
#include "expression/functionlist.h"
#include "expression/valuelist.h"

#include <benchmark/benchmark.h>
#include <muParser.h>

#include <cmath>
#include <string>

namespace {

struct Inputs
{
    double a = 1.5, b = 2.5, x = 0.75;
    double p = 0, q = 0, r = 0, s = 0, t = 0;

    void Step(int64_t i)
    {
        a = 1.5 + static_cast<double>(i & 1023) * 1e-3;
        x = 0.75 - static_cast<double>(i & 511) * 1e-3;
    }
};

struct Case
{
    const char* name;
    const char* lumora;
    const char* muparser; // the same formula in muParser's syntax
};

std::string Polynomial()
{
    std::string text = "1";
    for (int i = 1; i < 20; ++i) {
        text.append(" + ").append(std::to_string(i + 1)).append("*x");
        if (i > 1)
            text.append("^").append(std::to_string(i));
    }
    return text;
}

std::string Horner()
{
    std::string text = "20";
    for (int i = 19; i >= 1; --i) {
        text.insert(0, 1, '(');
        text.append(")*x + ").append(std::to_string(i));
    }
    return text;
}

const std::string g_polynomial = Polynomial();
const std::string g_horner = Horner();

const Case g_cases[] = {
    {"Formula", "(a^2/sin(2*PI/b))-a/2", "(a^2/sin(2*PI/b))-a/2"},
    {"Polynomial", g_polynomial.c_str(), g_polynomial.c_str()},
    {"Horner", g_horner.c_str(), g_horner.c_str()},
    {"Statements", "p = a + b; q = p * a; r = q - b / 2; s = r * r + 1; t = s / (p + 2)",
        "p = a + b, q = p * a, r = q - b / 2, s = r * r + 1, t = s / (p + 2)"},
    {"Calls", "max(abs(sin(a)), min(cos(b), abs(a - b))) + min(sin(a + b), cos(a * b))",
        "max(abs(sin(a)), min(cos(b), abs(a - b))) + min(sin(a + b), cos(a * b))"},
};

void BindLumora(ExprEval::ValueList& values, Inputs& in)
{
    values.AddDefaultValues();
    values.AddAddress("a", &in.a, in.a);
    values.AddAddress("b", &in.b, in.b);
    values.AddAddress("x", &in.x, in.x);
    values.AddAddress("p", &in.p, 0);
    values.AddAddress("q", &in.q, 0);
    values.AddAddress("r", &in.r, 0);
    values.AddAddress("s", &in.s, 0);
    values.AddAddress("t", &in.t, 0);
}

void BindMuParser(mu::Parser& parser, Inputs& in)
{
    parser.DefineConst("PI", 3.141592653589793);
    parser.DefineVar("a", &in.a);
    parser.DefineVar("b", &in.b);
    parser.DefineVar("x", &in.x);
    parser.DefineVar("p", &in.p);
    parser.DefineVar("q", &in.q);
    parser.DefineVar("r", &in.r);
    parser.DefineVar("s", &in.s);
    parser.DefineVar("t", &in.t);
}

void BM_Expr_Lumora(benchmark::State& state, const Case& c)
{
    Inputs in;
    ExprEval::ValueList values;
    ExprEval::FunctionList functions;
    BindLumora(values, in);
    functions.AddDefaultFunctions();
    ExprEval::Expression expression;
    expression.SetValueList(&values);
    expression.SetFunctionList(&functions);
    expression.Parse(c.lumora);

    int64_t i = 0;
    for (auto _ : state) {
        in.Step(i++);
        benchmark::DoNotOptimize(expression.Evaluate());
    }
}

void BM_Expr_MuParser(benchmark::State& state, const Case& c)
{
    Inputs in;
    mu::Parser parser;
    BindMuParser(parser, in);
    parser.SetExpr(c.muparser);

    // Both must compute the same thing, or the comparison means nothing.
    Inputs check;
    ExprEval::ValueList values;
    ExprEval::FunctionList functions;
    BindLumora(values, check);
    functions.AddDefaultFunctions();
    ExprEval::Expression expression;
    expression.SetValueList(&values);
    expression.SetFunctionList(&functions);
    expression.Parse(c.lumora);
    double ours = expression.Evaluate();
    double theirs = parser.Eval();
    if (std::fabs(ours - theirs) > 1e-9 * std::fabs(ours)) {
        state.SkipWithError("the two evaluators disagree");
        return;
    }

    int64_t i = 0;
    for (auto _ : state) {
        in.Step(i++);
        benchmark::DoNotOptimize(parser.Eval());
    }
}

int Register()
{
    for (const Case& c : g_cases) {
        benchmark::RegisterBenchmark((std::string("BM_Expr_Lumora/") + c.name).c_str(), BM_Expr_Lumora, c);
        benchmark::RegisterBenchmark((std::string("BM_Expr_MuParser/") + c.name).c_str(), BM_Expr_MuParser, c);
    }
    return 0;
}

const int g_registered = Register();

} // namespace
