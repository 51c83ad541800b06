#pragma once

#include "expression/exception.h"
#include "expression/expression.h"
#include "expression/functionlist.h"
#include "expression/valuelist.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

// An expression with the default constants and functions, and two host
// doubles bound as `nan` and `inf` so that tests can feed those values in.
class ExprTest : public ::testing::Test
{
protected:
    ExprTest()
    {
        m_values.AddDefaultValues();
        m_values.AddAddress("nan", &m_nan, std::numeric_limits<double>::quiet_NaN());
        m_values.AddAddress("inf", &m_inf, std::numeric_limits<double>::infinity());
        m_functions.AddDefaultFunctions();
        m_expression.SetValueList(&m_values);
        m_expression.SetFunctionList(&m_functions);
    }

    double Eval(const std::string& text)
    {
        m_expression.Parse(text);
        return m_expression.Evaluate();
    }

    double Var(const std::string& name) { return *m_values.GetAddress(name); }

    // The kind of the exception that parsing and evaluating `text` throws, 0 for none.
    int ErrorOf(const std::string& text, std::string* value = nullptr, std::string* message = nullptr)
    {
        try {
            Eval(text);
        } catch (const ExprEval::Exception& e) {
            if (value)
                *value = e.GetValue();
            if (message)
                *message = e.what();
            return e.GetType();
        }
        return 0;
    }

    double m_nan = 0.0;
    double m_inf = 0.0;
    ExprEval::ValueList m_values;
    ExprEval::FunctionList m_functions;
    ExprEval::Expression m_expression;
};

// Bitwise comparison, so that -0.0, NaN and the last bit all count.
inline bool SameDouble(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}
