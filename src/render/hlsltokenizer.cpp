#include "render/hlsltokenizer.h"

#include <charconv>

namespace {

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c)
{
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool IsIdentifierStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsIdentifierChar(char c)
{
    return IsIdentifierStart(c) || IsDigit(c);
}

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

bool IsHex(std::string_view text)
{
    return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') && IsHexDigit(text[2]);
}

// Type suffixes: f, h, l and u; a hexadecimal number only takes u and l,
// since f is one of its digits.
constexpr std::string_view FloatSuffixes = "fFhHlLuU";
constexpr std::string_view IntSuffixes = "uUlL";

} // namespace

SHlslToken CHlslTokenizer::Next()
{
    SkipSpace();
    SHlslToken t;
    t.begin = m_pos;
    t.line = m_line;
    t.file = m_file;
    if (m_pos >= m_text.size()) {
        t.end = m_pos;
        return t;
    }
    m_lineStart = false;
    const char c = m_text[m_pos];
    if (IsIdentifierStart(c)) {
        while (m_pos < m_text.size() && IsIdentifierChar(m_text[m_pos]))
            ++m_pos;
        t.kind = EHlslToken::Identifier;
    } else if (const size_t length = NumberLength()) {
        m_pos += length;
        t.kind = EHlslToken::Number;
    } else if (c == '"') {
        ++m_pos;
        while (m_pos < m_text.size() && m_text[m_pos] != '"' && m_text[m_pos] != '\n')
            m_pos += (m_text[m_pos] == '\\' && m_pos + 1 < m_text.size() && m_text[m_pos + 1] != '\n') ? 2 : 1;
        if (m_pos < m_text.size() && m_text[m_pos] == '"')
            ++m_pos;
        t.kind = EHlslToken::String;
    } else {
        ++m_pos;
        t.kind = EHlslToken::Punctuation;
    }
    t.end = m_pos;
    t.text = m_text.substr(t.begin, t.end - t.begin);
    return t;
}

// Numbers are cut as the C preprocessor cuts them: from a digit, or a point
// before one, over letters, digits, points and the sign of an exponent. So
// 1.5.5 or 2x is one malformed number, not two good tokens that a parser
// would take in silence; HlslNumberValue tells the good ones.
size_t CHlslTokenizer::NumberLength() const
{
    const std::string_view rest = m_text.substr(m_pos);
    if (!(IsDigit(rest[0]) || (rest.size() > 1 && rest[0] == '.' && IsDigit(rest[1]))))
        return 0;
    // Hexadecimal has no exponent: in 0x1E+5 the + is an operator.
    const bool hex = IsHex(rest);
    size_t pos = 1;
    while (pos < rest.size()) {
        const char c = rest[pos];
        const char before = rest[pos - 1];
        if (IsIdentifierChar(c) || c == '.' || ((c == '+' || c == '-') && !hex && (before == 'e' || before == 'E')))
            ++pos;
        else
            break;
    }
    return pos;
}

void CHlslTokenizer::SkipSpace()
{
    while (m_pos < m_text.size()) {
        const char c = m_text[m_pos];
        if (c == '\n') {
            ++m_line;
            ++m_pos;
            m_lineStart = true;
        } else if (IsSpace(c)) {
            ++m_pos;
        } else if (m_text.compare(m_pos, 2, "//") == 0) {
            while (m_pos < m_text.size() && m_text[m_pos] != '\n')
                ++m_pos;
        } else if (m_text.compare(m_pos, 2, "/*") == 0) {
            const size_t close = m_text.find("*/", m_pos + 2);
            const size_t stop = close == std::string_view::npos ? m_text.size() : close + 2;
            for (; m_pos < stop; ++m_pos)
                if (m_text[m_pos] == '\n')
                    ++m_line;
        } else if (c == '#' && m_lineStart) {
            Directive();
        } else {
            return;
        }
    }
}

// At a '#' that starts a line: consumes the directive up to its line break,
// with the lines a backslash continues it on, and applies #line.
void CHlslTokenizer::Directive()
{
    const size_t start = m_pos + 1;
    int continued = 0;
    while (m_pos < m_text.size() && m_text[m_pos] != '\n') {
        if (m_text.compare(m_pos, 3, "\\\r\n") == 0) {
            ++continued;
            m_pos += 3;
        } else if (m_text[m_pos] == '\\' && m_pos + 1 < m_text.size()) {
            continued += m_text[m_pos + 1] == '\n';
            m_pos += 2;
        } else {
            ++m_pos;
        }
    }
    std::string_view line = m_text.substr(start, m_pos - start);
    m_line += continued;
    while (!line.empty() && IsSpace(line.front()))
        line.remove_prefix(1);
    if (!line.starts_with("line"))
        return;
    line.remove_prefix(4);
    while (!line.empty() && IsSpace(line.front()))
        line.remove_prefix(1);
    int number = 0;
    const std::from_chars_result read = std::from_chars(line.data(), line.data() + line.size(), number);
    if (read.ec != std::errc{})
        return;
    // The line after the directive has the number it gives.
    m_line = number - 1;
    const std::string_view rest = line.substr(static_cast<size_t>(read.ptr - line.data()));
    const size_t quote = rest.find('"');
    if (quote == std::string_view::npos)
        return;
    const size_t close = rest.find('"', quote + 1);
    if (close != std::string_view::npos)
        m_file = rest.substr(quote + 1, close - quote - 1);
}

bool HlslNumberValue(std::string_view token, double& value)
{
    if (token.empty() || !(IsDigit(token[0]) || token[0] == '.'))
        return false;
    const bool hex = IsHex(token);
    const std::string_view suffixes = hex ? IntSuffixes : FloatSuffixes;
    while (!token.empty() && suffixes.find(token.back()) != std::string_view::npos)
        token.remove_suffix(1);
    const char* end = token.data() + token.size();
    std::from_chars_result read{};
    if (hex) {
        unsigned long long whole = 0;
        read = std::from_chars(token.data() + 2, end, whole, 16);
        value = static_cast<double>(whole);
    } else {
        read = std::from_chars(token.data(), end, value);
    }
    return read.ec == std::errc{} && read.ptr == end;
}
