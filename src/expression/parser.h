#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ExprEval {

class Expression;
class Node;

enum class TokenKind
{
    OpenParen = 1,
    CloseParen,
    Equal,
    Plus,
    Minus,
    Multiply,
    Divide,
    Hat,
    Ampersand,
    Comma,
    Semicolon,
    Identifier,
    Value,
};

struct Token
{
    TokenKind kind;
    std::string identifier; // empty unless kind is Identifier
    double value = 0.0;     // meaningful only for kind Value
    long start;             // index of the first character in the source
    long end;               // index of the last character, inclusive
};

// Turns a text into tokens and a range of tokens into a tree. A range is
// split at its lowest-priority operator outside parentheses; the children are
// parsed from the sub-ranges.
class Parser
{
public:
    // Deeper trees are refused with SyntaxException, so that neither parsing
    // nor evaluating a hostile text can run out of stack.
    static constexpr int MaxDepth = 1000;

    explicit Parser(Expression* expression);
    ~Parser();
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;

    void Tokenize(std::string_view source);
    // Checks the range's parentheses, then parses it.
    std::unique_ptr<Node> ParseRange(long first, long last);

    long GetTokenCount() const { return static_cast<long>(m_tokens.size()); }
    const Token& GetToken(long index) const { return m_tokens[index]; }
    Expression* GetExpression() const { return m_expression; }

    // For the nodes' Parse: ranges whose parentheses are known to balance, as
    // every range the parser hands down is.
    std::unique_ptr<Node> ParseBalancedRange(long first, long last);
    // The next `kind` token at the nesting level of token `from`, searching
    // [from, last]; -1 if there is none. Kinds: Semicolon, Comma.
    long FindNext(TokenKind kind, long from, long last) const;

    // The storage of the variable that identifier token `index` names, which
    // is created, holding 0.0, if the value list doesn't have it yet.
    double* GetOrAddVariable(long index);

    // Positions for exceptions that span tokens first..last.
    long StartOf(long index) const;
    long EndOf(long index) const;

private:
    friend class SumNode;

    enum Link
    {
        NextSemicolon,
        NextComma,
        NextEqual,
        NextOpen,
        NextUnary,
        PreviousAdditive,
        PreviousMultiplicative,
        PreviousHat,
        LinkCount
    };

    void BuildLinks();
    long LinkAt(Link link, long index) const { return m_links[link][index]; }
    bool IsPlusMinus(long index) const;
    std::unique_ptr<Node> Finish(std::unique_ptr<Node> node);

    Expression* m_expression;
    std::vector<Token> m_tokens;
    // Per token: the partner of a parenthesis, and for each Link the nearest
    // token of that kind on the same nesting level. They make each step of
    // the parse independent of the range's length.
    std::vector<int32_t> m_match;
    std::vector<int32_t> m_links[LinkCount];
    int m_depth = 0;
};

} // namespace ExprEval
