#include "expression/sumnode.h"

#include "expression/exception.h"
#include "expression/parser.h"

#include <algorithm>

namespace ExprEval {

unsigned SumNode::Sum(unsigned countdown, double& sum) const
{
    auto read = [&](const Term& term) {
        switch (term.kind) {
        case Operand::Kind::Constant:
            countdown = Check(countdown, term.checks);
            return term.value;
        case Operand::Kind::Variable:
            countdown = Check(countdown);
            return *term.address;
        default: {
            Counted result = term.node->Run(countdown);
            countdown = result.countdown;
            return result.value;
        }
        }
    };
    // A scaled term stands for the multiplication node and its constant.
    auto get = [&](const Term& term) {
        switch (term.scale) {
        case Operand::Scale::FactorFirst: {
            countdown = Check(countdown, 1 + term.factorChecks);
            return term.factor * read(term);
        }
        case Operand::Scale::FactorLast: {
            countdown = Check(countdown);
            double value = read(term);
            countdown = Check(countdown, term.factorChecks);
            return value * term.factor;
        }
        default:
            return read(term);
        }
    };
    // The nested nodes were each counted before their left child ran.
    countdown = Check(countdown, m_chainChecks);
    sum = get(m_terms.front());
    for (size_t i = 1; i < m_terms.size(); ++i) {
        const Term& term = m_terms[i];
        double value = get(term);
        sum = term.subtract ? sum - value : sum + value;
    }
    return countdown;
}

double SumNode::Compute()
{
    double sum;
    PutCountdown(Sum(TakeCountdown(), sum));
    return sum;
}

Counted SumNode::Run(unsigned countdown)
{
    double sum;
    countdown = Sum(Check(countdown), sum);
    return {sum, countdown};
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
        Operand operand = Specializer::ToScaledOperand(parser.ParseBalancedRange(start, operators[i] - 1));
        Term term;
        term.kind = operand.kind;
        term.checks = operand.checks;
        term.scale = operand.scale;
        term.factor = operand.factor;
        term.factorChecks = operand.factorChecks;
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
