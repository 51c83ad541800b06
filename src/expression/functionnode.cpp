#include "expression/functionnode.h"

#include "expression/exception.h"
#include "expression/functionlist.h"
#include "expression/parser.h"
#include "expression/valuelist.h"

namespace ExprEval {

std::string FunctionNode::GetName() const
{
    return m_factory ? m_factory->GetName() : std::string();
}

void FunctionNode::SetArgumentLimits(long minValues, long maxValues, long minReferences, long maxReferences)
{
    m_minValues = minValues;
    m_maxValues = maxValues;
    m_minReferences = minReferences;
    m_maxReferences = maxReferences;
}

void FunctionNode::Parse(Parser& parser, long first, long last, long /*extra*/)
{
    // Arguments lie one level inside the parentheses, split at its commas.
    for (long start = first + 1; last > first + 1;) {
        long delimiter = parser.FindNext(TokenKind::Comma, start, last - 1);
        if (delimiter < 0)
            delimiter = last;
        if (delimiter == start)
            throw SyntaxException(parser.StartOf(delimiter), parser.EndOf(delimiter));

        if (parser.GetToken(start).kind == TokenKind::Ampersand) {
            const Token& name = parser.GetToken(start + 1);
            if (delimiter != start + 2 || name.kind != TokenKind::Identifier)
                throw SyntaxException(parser.StartOf(start), parser.EndOf(delimiter - 1));
            ValueList* values = m_expression->GetValueList();
            if (!values)
                throw NoValueListException(parser.StartOf(start), name.end);
            if (values->IsConstant(name.identifier))
                throw ConstantReferenceException(name.identifier, parser.StartOf(start), name.end);
            m_refs.push_back(parser.GetOrAddVariable(start + 1));
        } else {
            m_nodes.push_back(parser.ParseBalancedRange(start, delimiter - 1));
        }

        if (delimiter == last)
            break;
        start = delimiter + 1;
    }

    long values = static_cast<long>(m_nodes.size());
    long references = static_cast<long>(m_refs.size());
    bool valid = (m_minValues < 0 || values >= m_minValues) && (m_maxValues < 0 || values <= m_maxValues)
        && (m_minReferences < 0 || references >= m_minReferences)
        && (m_maxReferences < 0 || references <= m_maxReferences);
    if (!valid)
        throw InvalidArgumentCountException(GetName(), parser.StartOf(first), parser.EndOf(last));
}

} // namespace ExprEval
