#include "expression/parser.h"

#include "expression/exception.h"
#include "expression/expression.h"
#include "expression/functionlist.h"
#include "expression/functionnode.h"
#include "expression/node.h"
#include "expression/specializer.h"
#include "expression/sumnode.h"
#include "expression/valuelist.h"

#include <array>
#include <limits>

namespace ExprEval {

namespace {

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsOperatorBeforeUnary(TokenKind kind)
{
    switch (kind) {
    case TokenKind::Equal:
    case TokenKind::Plus:
    case TokenKind::Minus:
    case TokenKind::Multiply:
    case TokenKind::Divide:
    case TokenKind::Hat:
        return true;
    default:
        return false;
    }
}

// Counts the nesting of ParseBalancedRange and refuses to go too deep.
class DepthGuard
{
public:
    DepthGuard(int& depth, long start, long end) : m_depth(depth)
    {
        if (m_depth >= Parser::MaxDepth)
            throw SyntaxException(start, end);
        ++m_depth;
    }
    ~DepthGuard() { --m_depth; }
    DepthGuard(const DepthGuard&) = delete;
    DepthGuard& operator=(const DepthGuard&) = delete;

private:
    int& m_depth;
};

} // namespace

Parser::Parser(Expression* expression) : m_expression(expression)
{
    if (!expression)
        throw NullPointerException("Parser::Parser");
}

Parser::~Parser() = default;

void Parser::Tokenize(std::string_view source)
{
    m_tokens.clear();
    const long length = static_cast<long>(source.size());
    bool comment = false;
    for (long i = 0; i < length;) {
        const char c = source[i];
        if (comment) {
            comment = c != '\r' && c != '\n';
            ++i;
            continue;
        }

        TokenKind single;
        switch (c) {
        case '#': comment = true; ++i; continue;
        case ' ': case '\t': case '\r': case '\n': ++i; continue;
        case '(': single = TokenKind::OpenParen; break;
        case ')': single = TokenKind::CloseParen; break;
        case '=': single = TokenKind::Equal; break;
        case '+': single = TokenKind::Plus; break;
        case '-': single = TokenKind::Minus; break;
        case '*': single = TokenKind::Multiply; break;
        case '/': single = TokenKind::Divide; break;
        case '^': single = TokenKind::Hat; break;
        case '&': single = TokenKind::Ampersand; break;
        case ',': single = TokenKind::Comma; break;
        case ';': single = TokenKind::Semicolon; break;
        default:
            if (c == '.' || IsDigit(c)) {
                // Digit by digit on purpose: scenes were written against this
                // rounding, which can differ in the last bit from strtod.
                const long start = i;
                double value = 0.0;
                double scale = 1.0;
                for (; i < length && IsDigit(source[i]); ++i)
                    value = value * 10.0 + (source[i] - '0');
                if (i < length && source[i] == '.') {
                    for (++i; i < length && IsDigit(source[i]); ++i) {
                        value = value * 10.0 + (source[i] - '0');
                        scale = scale * 10.0;
                    }
                }
                m_tokens.push_back({TokenKind::Value, {}, value / scale, start, i - 1});
                continue;
            }
            if (IsLetter(c)) {
                const long start = i;
                for (++i; i < length; ++i) {
                    const char n = source[i];
                    if (IsLetter(n) || IsDigit(n))
                        continue;
                    // A dot joins a name only when a name character follows.
                    if (n == '.' && i + 1 < length && IsLetter(source[i + 1]))
                        continue;
                    break;
                }
                m_tokens.push_back({TokenKind::Identifier, std::string(source.substr(start, i - start)), 0.0, start, i - 1});
                continue;
            }
            throw UnknownTokenException(i, i);
        }
        m_tokens.push_back({single, {}, 0.0, i, i});
        ++i;
    }
    if (m_tokens.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max()))
        throw SyntaxException(0, length - 1);
    BuildLinks();
}

bool Parser::IsPlusMinus(long index) const
{
    TokenKind kind = m_tokens[index].kind;
    return kind == TokenKind::Plus || kind == TokenKind::Minus;
}

void Parser::BuildLinks()
{
    const int32_t count = static_cast<int32_t>(m_tokens.size());
    std::vector<int32_t> level(count);
    m_match.assign(count, -1);
    for (auto& link : m_links)
        link.assign(count, -1);

    // Forward: nesting levels, partners and the "previous" links. A stray
    // closing parenthesis stays on level 0; ranges that hold one are refused
    // before these tables are used.
    std::vector<int32_t> open;
    constexpr Link previous[] = {PreviousAdditive, PreviousMultiplicative, PreviousHat};
    std::vector<std::array<int32_t, 3>> last(1, {-1, -1, -1});
    int32_t depth = 0;
    for (int32_t i = 0; i < count; ++i) {
        const TokenKind kind = m_tokens[i].kind;
        if (kind == TokenKind::CloseParen && !open.empty()) {
            --depth;
            m_match[i] = open.back();
            m_match[open.back()] = i;
            open.pop_back();
        }
        level[i] = depth;
        auto& seen = last[depth];
        const bool binary = i > 0 && !IsOperatorBeforeUnary(m_tokens[i - 1].kind);
        if ((kind == TokenKind::Plus || kind == TokenKind::Minus) && binary)
            seen[0] = i;
        else if (kind == TokenKind::Multiply || kind == TokenKind::Divide)
            seen[1] = i;
        else if (kind == TokenKind::Hat)
            seen[2] = i;
        for (int k = 0; k < 3; ++k)
            m_links[previous[k]][i] = seen[k];
        if (kind == TokenKind::OpenParen) {
            open.push_back(i);
            ++depth;
            if (static_cast<size_t>(depth) >= last.size())
                last.emplace_back();
            last[depth] = {-1, -1, -1};
        }
    }

    // Backward: the "next" links.
    constexpr Link next[] = {NextSemicolon, NextComma, NextEqual, NextOpen, NextUnary};
    std::vector<std::array<int32_t, 5>> following(last.size(), {-1, -1, -1, -1, -1});
    for (int32_t i = count - 1; i >= 0; --i) {
        const TokenKind kind = m_tokens[i].kind;
        const int32_t l = level[i];
        auto& seen = following[l];
        const bool unary = i == 0 || IsOperatorBeforeUnary(m_tokens[i - 1].kind);
        if (kind == TokenKind::Semicolon)
            seen[0] = i;
        else if (kind == TokenKind::Comma)
            seen[1] = i;
        else if (kind == TokenKind::Equal)
            seen[2] = i;
        else if (kind == TokenKind::OpenParen)
            seen[3] = i;
        else if ((kind == TokenKind::Plus || kind == TokenKind::Minus) && unary)
            seen[4] = i;
        for (int k = 0; k < 5; ++k)
            m_links[next[k]][i] = seen[k];
        if (kind == TokenKind::CloseParen && m_match[i] >= 0)
            following[l + 1] = {-1, -1, -1, -1, -1};
    }
}

long Parser::StartOf(long index) const
{
    return index >= 0 && index < GetTokenCount() ? m_tokens[index].start : -1;
}

long Parser::EndOf(long index) const
{
    return index >= 0 && index < GetTokenCount() ? m_tokens[index].end : -1;
}

long Parser::FindNext(TokenKind kind, long from, long last) const
{
    if (from > last)
        return -1;
    long found = -1;
    if (kind == TokenKind::Semicolon)
        found = LinkAt(NextSemicolon, from);
    else if (kind == TokenKind::Comma)
        found = LinkAt(NextComma, from);
    return found <= last ? found : -1;
}

double* Parser::GetOrAddVariable(long index)
{
    const Token& token = m_tokens[index];
    ValueList* values = m_expression->GetValueList();
    if (!values)
        throw NoValueListException(token.start, token.end);
    double* address = values->GetAddress(token.identifier);
    if (!address) {
        values->Add(token.identifier, false, 0.0);
        address = values->GetAddress(token.identifier);
    }
    if (!address)
        throw NotFoundException(token.identifier, token.start, token.end);
    return address;
}

std::unique_ptr<Node> Parser::ParseRange(long first, long last)
{
    if (first > last || first < 0 || last >= GetTokenCount())
        throw SyntaxException(StartOf(first), EndOf(last));
    long depth = 0;
    long outerOpen = -1;
    for (long i = first; i <= last; ++i) {
        const TokenKind kind = m_tokens[i].kind;
        if (kind == TokenKind::OpenParen) {
            if (depth++ == 0)
                outerOpen = i;
        } else if (kind == TokenKind::CloseParen && --depth < 0) {
            throw UnmatchedParenthesisException(m_tokens[i].start, m_tokens[i].end);
        }
    }
    if (depth != 0)
        throw UnmatchedParenthesisException(m_tokens[outerOpen].start, m_tokens[outerOpen].end);
    return ParseBalancedRange(first, last);
}

std::unique_ptr<Node> Parser::ParseBalancedRange(long first, long last)
{
    DepthGuard guard(m_depth, StartOf(first), EndOf(last));

    // A leading unary plus and enclosing parentheses make no node: the range
    // shrinks and is looked at afresh.
    for (;;) {
        if (first > last)
            throw SyntaxException(StartOf(first), EndOf(last));
        auto make = [&](auto node, long extra) {
            node->Parse(*this, first, last, extra);
            return Finish(std::move(node));
        };

        if (LinkAt(NextSemicolon, first) >= 0 && LinkAt(NextSemicolon, first) <= last)
            return make(std::make_unique<MultiNode>(m_expression), -1);

        const long equal = LinkAt(NextEqual, first);
        if (equal >= 0 && equal <= last)
            return make(std::make_unique<AssignNode>(m_expression), equal);

        const long additive = LinkAt(PreviousAdditive, last);
        if (additive > first) {
            // Left-associative chains are read in one go, so that a long sum
            // neither recurses nor nests deeply.
            if (LinkAt(PreviousAdditive, additive - 1) > first)
                return make(std::make_unique<SumNode>(m_expression), additive);
            if (m_tokens[additive].kind == TokenKind::Plus)
                return make(std::make_unique<AddNode>(m_expression), additive);
            return make(std::make_unique<SubtractNode>(m_expression), additive);
        }

        const long multiplicative = LinkAt(PreviousMultiplicative, last);
        if (multiplicative >= first) {
            if (m_tokens[multiplicative].kind == TokenKind::Multiply)
                return make(std::make_unique<MultiplyNode>(m_expression), multiplicative);
            return make(std::make_unique<DivideNode>(m_expression), multiplicative);
        }

        long unary = IsPlusMinus(first) ? first : LinkAt(NextUnary, first);
        if (unary > last)
            unary = -1;
        if (unary == first) {
            if (m_tokens[first].kind == TokenKind::Minus)
                return make(std::make_unique<NegateNode>(m_expression), first);
            ++first;
            continue;
        }

        const long hat = LinkAt(PreviousHat, last);
        if (hat >= first)
            return make(std::make_unique<ExponentNode>(m_expression), hat);

        if (unary >= 0)
            throw SyntaxException(StartOf(unary), EndOf(unary));

        long open = LinkAt(NextOpen, first);
        if (open > last)
            open = -1;
        const long close = open >= 0 ? m_match[open] : -1;
        if (open >= 0 && open == first) {
            if (close == last && last > first + 1) {
                ++first;
                --last;
                continue;
            }
            throw SyntaxException(StartOf(open), EndOf(close >= 0 ? close : open));
        }
        if (open >= 0 && open == first + 1) {
            if (close != last)
                throw SyntaxException(StartOf(open), EndOf(close >= 0 ? close : open));
            FunctionList* functions = m_expression->GetFunctionList();
            const Token& name = m_tokens[first];
            if (!functions)
                throw NoFunctionListException(name.start, name.end);
            std::unique_ptr<FunctionNode> function = functions->Create(name.identifier, m_expression);
            if (!function)
                throw NotFoundException(name.identifier, name.start, name.end);
            function->Parse(*this, open, close, -1);
            return Finish(std::move(function));
        }

        if (first != last)
            throw SyntaxException(StartOf(first), EndOf(last));
        switch (m_tokens[first].kind) {
        case TokenKind::Identifier:
            return make(std::make_unique<VariableNode>(m_expression), -1);
        case TokenKind::Value:
            return make(std::make_unique<ValueNode>(m_expression), -1);
        default:
            // A lone operator or separator carries no number.
            throw SyntaxException(StartOf(first), EndOf(last));
        }
    }
}

std::unique_ptr<Node> Parser::Finish(std::unique_ptr<Node> node)
{
    return Specializer(*m_expression).Specialize(std::move(node));
}

} // namespace ExprEval
