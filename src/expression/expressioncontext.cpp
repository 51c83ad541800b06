#include "expression/expressioncontext.h"

#include "app/log.h"
#include "expression/enginefunctions.h"
#include "expression/exception.h"

CExpressionContext::CExpressionContext()
{
    m_values.AddDefaultValues();
    m_functions.AddDefaultFunctions();
    AddEngineFunctions(m_functions);
    BindLists();
}

bool CExpressionContext::AddVariable(std::string_view name, double* address, double defaultValue)
{
    try {
        m_values.AddAddress(name, address, defaultValue);
        return true;
    } catch (const ExprEval::Exception& e) {
        Log("%s", e.what());
        return false;
    }
}

bool CExpressionContext::AddVariables(std::span<const char* const> names, std::span<double> values)
{
    bool bound = true;
    for (size_t i = 0; i < names.size() && i < values.size(); ++i)
        bound = AddVariable(names[i], &values[i], 0.0) && bound;
    return BindLists() && bound;
}

bool CExpressionContext::BindLists()
{
    m_expression.SetValueList(&m_values);
    m_expression.SetFunctionList(&m_functions);
    return true;
}

void CExpressionContext::Parse(std::string_view text)
{
    // An empty port is a node without a program, not a mistake worth a line.
    if (text.empty()) {
        m_valid = false;
        return;
    }
    m_values.Reset();
    try {
        m_expression.Parse(text);
        m_valid = true;
    } catch (const ExprEval::Exception& e) {
        m_valid = false;
        Log("%s", e.what());
    }
}

double CExpressionContext::Evaluate()
{
    if (!m_valid)
        return 0.0;

    // Restored afterwards, so that no generator outlives its context as the current one.
    struct CurrentRandom
    {
        explicit CurrentRandom(CRandom* random) { SetCurrentRandom(random); }
        ~CurrentRandom() { SetCurrentRandom(nullptr); }
    } current(&m_random);

    try {
        return m_expression.Evaluate();
    } catch (const ExprEval::Exception& e) {
        m_valid = false;
        Log("%s", e.what());
        return 0.0;
    }
}
