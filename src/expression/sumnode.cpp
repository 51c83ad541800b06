#include "expression/sumnode.h"

#include "expression/exception.h"
#include "expression/parser.h"

#include <algorithm>

namespace ExprEval {

inline double SumNode::Get(const Term& term) const
{
    switch (term.kind) {
    case Operand::Kind::Constant:
        m_expression->CheckAbort(term.checks);
        return term.value;
    case Operand::Kind::Variable:
        m_expression->CheckAbort();
        return *term.address;
    default:
        return term.node->Evaluate();
    }
}

double SumNode::Compute()
{
    // The nested nodes were each counted before their left child ran.
    m_expression->CheckAbort(m_chainChecks);
    double sum = Get(m_terms.front());
    for (size_t i = 1; i < m_terms.size(); ++i) {
        const Term& term = m_terms[i];
        double value = Get(term);
        sum = term.subtract ? sum - value : sum + value;
    }
    return sum;
}

void SumNode::Parse(Parser& parser, long first, long last, long lastOperator)
{
    if (!(first < lastOperator && lastOperator < last))
        throw SyntaxException(parser.StartOf(first), parser.EndOf(last));
    std::vector<long> operators;
    for (long op = lastOperator; op > first; op = parser.LinkAt(Parser::PreviousAdditive, op - 1))
        operators.push_back(op);
    std::reverse(operators.begin(), operators.end());
    operators.push_back(last + 1);

    m_terms.reserve(operators.size());
    long start = first;
    for (size_t i = 0; i < operators.size(); ++i) {
        Operand operand = Specializer::ToOperand(parser.ParseBalancedRange(start, operators[i] - 1));
        Term term;
        term.kind = operand.kind;
        term.checks = operand.checks;
        term.subtract = i > 0 && parser.GetToken(operators[i - 1]).kind == TokenKind::Minus;
        switch (operand.kind) {
        case Operand::Kind::Constant: term.value = operand.value; break;
        case Operand::Kind::Variable: term.address = operand.address; break;
        case Operand::Kind::Subtree:
            term.node = operand.node.get();
            m_subtrees.push_back(std::move(operand.node));
            break;
        }
        m_known = m_known && operand.known;
        m_terms.push_back(term);
        start = operators[i] + 1;
    }
    m_chainChecks = static_cast<unsigned>(m_terms.size() - 2);
}

} // namespace ExprEval
