#pragma once

#include "expression/node.h"
#include "expression/specializer.h"

#include <memory>
#include <vector>

namespace ExprEval {

// A chain of additions and subtractions, a + b - c + ..., read as one node.
// It computes exactly what the nested left-associative nodes would, in the
// same order, and counts their evaluations for the abort test.
class SumNode final : public Node
{
public:
    explicit SumNode(Expression* expression) : Node(expression) {}

    double Compute() override;
    Counted Run(unsigned countdown) override;
    // `lastOperator` is the chain's last binary + or -.
    void Parse(Parser& parser, long first, long last, long lastOperator) override;

private:
    friend class Specializer;

    struct Term
    {
        union {
            double value;
            const double* address;
            Node* node;
        };
        unsigned checks;
        Operand::Kind kind;
        Operand::Scale scale;
        bool subtract;
        unsigned factorChecks;
        double factor;
    };

    unsigned Sum(unsigned countdown, double& sum) const;

    std::vector<Term> m_terms;
    std::vector<std::unique_ptr<Node>> m_subtrees;
    unsigned m_chainChecks = 0;
    bool m_known = true;
};

} // namespace ExprEval
