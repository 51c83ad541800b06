#pragma once

#include "app/random.h"
#include "expression/expression.h"
#include "expression/functionlist.h"
#include "expression/valuelist.h"

#include <cstdint>
#include <span>
#include <string_view>

// A node's only door to the expression language: its variables, all
// functions including the engine's, the parsed text and a random generator
// of its own for rand() and srand(). Failures of the language end here: they
// are logged once and leave the context invalid, never thrown further.
class CExpressionContext
{
public:
    CExpressionContext();
    CExpressionContext(const CExpressionContext&) = delete;
    CExpressionContext& operator=(const CExpressionContext&) = delete;

    // For binding node fields with AddAddress, before the first Parse.
    ExprEval::ValueList& GetValues() { return m_values; }
    // AddAddress that logs a refusal (a name bound twice) instead of throwing.
    bool AddVariable(std::string_view name, double* address, double defaultValue);
    // Binds each name to the value at its place, all starting at 0, and
    // points the expression at the lists: the usual start of a node's context.
    bool AddVariables(std::span<const char* const> names, std::span<double> values);

    // Points the expression at this context's own lists. The constructor has
    // done so already; call again if the context was ever placed elsewhere.
    bool BindLists();

    // An empty text only makes the context invalid; it logs nothing.
    void Parse(std::string_view text);
    // 0.0 while the context is invalid. A failure logs its message, makes the
    // context invalid and gives 0.0, so the message comes once, not every frame.
    double Evaluate();
    void SeedRandom(uint32_t seed) { m_random.Seed(seed); }
    bool IsValid() const { return m_valid; }

private:
    bool m_valid = false;
    ExprEval::ValueList m_values;
    ExprEval::FunctionList m_functions;
    ExprEval::Expression m_expression;
    CRandom m_random;
};
