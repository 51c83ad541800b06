#pragma once

#include <string_view>

enum class EHlslToken
{
    End,
    Identifier,
    Number,
    String,
    Punctuation, // one character
};

struct SHlslToken
{
    EHlslToken kind = EHlslToken::End;
    std::string_view text;
    size_t begin = 0; // byte range in the text
    size_t end = 0;
    int line = 0;          // as the source names it, after #line
    std::string_view file; // likewise
};

// Splits shading code (HLSL, Cg and the effect files around them) into
// tokens. Comments are skipped, and so are preprocessor lines, which stay in
// the code; a #line among them moves the positions that tokens report.
// Tokens and file names are views of the text and of `name`.
class CHlslTokenizer
{
public:
    explicit CHlslTokenizer(std::string_view text, std::string_view name = {}) : m_text(text), m_file(name) {}

    SHlslToken Next();

private:
    void SkipSpace();
    void Directive();
    size_t NumberLength() const;

    std::string_view m_text;
    size_t m_pos = 0;
    int m_line = 1;
    bool m_lineStart = true;
    std::string_view m_file;
};

// The value of a number token: decimal with or without a point and an
// exponent, or hexadecimal, each with its type suffix. False for anything
// else.
bool HlslNumberValue(std::string_view token, double& value);
