#include "expression/node.h"

#include "expression/exception.h"
#include "expression/parser.h"
#include "expression/power.h"
#include "expression/valuelist.h"



namespace ExprEval {

Node::Node(Expression* expression) : m_expression(expression)
{
    if (!expression)
        throw NullPointerException("Node::Node");
}

Node::~Node() = default;

Counted Node::Run(unsigned countdown)
{
    PutCountdown(countdown);
    double value = Evaluate();
    return {value, TakeCountdown()};
}

unsigned Node::CheckSlow(unsigned countdown, unsigned times) const
{
    PutCountdown(countdown);
    m_expression->CheckAbort(times);
    return TakeCountdown();
}

ValueNode::ValueNode(Expression* expression, double value) : Node(expression), m_value(value)
{
    m_leaf = &m_value;
}

void ValueNode::SetFolded(unsigned checks, bool clearsErrno)
{
    m_extraChecks = checks - 1;
    m_clearsErrno = clearsErrno;
    m_leaf = m_extraChecks == 0 && !clearsErrno ? &m_value : nullptr;
}

double ValueNode::Compute()
{
    if (m_extraChecks)
        m_expression->CheckAbort(m_extraChecks);
    if (m_clearsErrno)
        m_expression->Errno() = 0;
    return m_value;
}

Counted ValueNode::Run(unsigned countdown)
{
    countdown = Check(countdown, 1 + m_extraChecks);
    if (m_clearsErrno)
        m_expression->Errno() = 0;
    return {m_value, countdown};
}

void ValueNode::Parse(Parser& parser, long first, long last, long /*extra*/)
{
    if (first != last)
        throw SyntaxException(parser.StartOf(first), parser.EndOf(last));
    m_value = parser.GetToken(first).value;
}

void VariableNode::Parse(Parser& parser, long first, long last, long /*extra*/)
{
    if (first != last)
        throw SyntaxException(parser.StartOf(first), parser.EndOf(last));
    m_address = parser.GetOrAddVariable(first);
    m_leaf = m_address;
    m_constant = m_expression->GetValueList()->IsConstant(parser.GetToken(first).identifier);
}

double AssignNode::Compute()
{
    double value = m_right->Evaluate();
    *m_target = value;
    return value;
}

void AssignNode::Parse(Parser& parser, long first, long last, long equal)
{
    if (equal != first + 1 || equal >= last)
        throw SyntaxException(parser.StartOf(first), parser.EndOf(last));
    const Token& target = parser.GetToken(first);
    // A number on the left would name the variable "".
    if (target.kind != TokenKind::Identifier)
        throw SyntaxException(target.start, target.end);
    ValueList* values = m_expression->GetValueList();
    if (!values)
        throw NoValueListException(target.start, target.end);
    if (values->IsConstant(target.identifier))
        throw ConstantAssignException(target.identifier, target.start, parser.EndOf(equal));
    m_target = parser.GetOrAddVariable(first);
    m_right = parser.ParseBalancedRange(equal + 1, last);
}

void BinaryNode::Parse(Parser& parser, long first, long last, long op)
{
    if (!(first < op && op < last))
        throw SyntaxException(parser.StartOf(first), parser.EndOf(last));
    m_left = parser.ParseBalancedRange(first, op - 1);
    m_right = parser.ParseBalancedRange(op + 1, last);
}

double AddNode::Compute()
{
    double left = m_left->Evaluate();
    return left + m_right->Evaluate();
}

double SubtractNode::Compute()
{
    double left = m_left->Evaluate();
    return left - m_right->Evaluate();
}

double MultiplyNode::Compute()
{
    double left = m_left->Evaluate();
    return left * m_right->Evaluate();
}

double DivideNode::Compute()
{
    double divisor = m_right->Evaluate();
    if (divisor == 0.0)
        ThrowDivideByZeroException();
    return m_left->Evaluate() / divisor;
}

double ExponentNode::Compute()
{
    int& error = m_expression->Errno();
    error = 0;
    double base = m_left->Evaluate();
    double exponent = m_right->Evaluate();
    double result = Power(base, exponent);
    if (error)
        ThrowMathException("^");
    return result;
}

double NegateNode::Compute()
{
    return -m_operand->Evaluate();
}

void NegateNode::Parse(Parser& parser, long first, long last, long op)
{
    if (op != first || op >= last)
        throw SyntaxException(parser.StartOf(first), parser.EndOf(last));
    m_operand = parser.ParseBalancedRange(op + 1, last);
}

unsigned MultiNode::RunStatements(unsigned countdown, double& value)
{
    value = 0.0;
    for (auto& statement : m_statements) {
        Counted result = RunChild(*statement, countdown);
        value = result.value;
        countdown = result.countdown;
    }
    return countdown;
}

double MultiNode::Compute()
{
    double value;
    PutCountdown(RunStatements(TakeCountdown(), value));
    return value;
}

Counted MultiNode::Run(unsigned countdown)
{
    double value;
    countdown = RunStatements(Check(countdown), value);
    return {value, countdown};
}

void MultiNode::Parse(Parser& parser, long first, long last, long /*extra*/)
{
    long start = first;
    while (start <= last) {
        long semicolon = parser.FindNext(TokenKind::Semicolon, start, last);
        if (semicolon < 0) {
            m_statements.push_back(parser.ParseBalancedRange(start, last));
            return;
        }
        if (semicolon == start)
            throw SyntaxException(parser.StartOf(semicolon), parser.EndOf(semicolon));
        m_statements.push_back(parser.ParseBalancedRange(start, semicolon - 1));
        start = semicolon + 1;
    }
}

} // namespace ExprEval
