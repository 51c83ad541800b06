#include "render/fxparser.h"

#include "app/textnumber.h"

#include <cctype>
#include <cstdlib>
#include <optional>

namespace {

enum class ETok
{
    End,
    Ident,
    Number,
    String,
    Punct,
};

struct SToken
{
    ETok kind = ETok::End;
    std::string text;
    size_t begin = 0; // byte range in the text
    size_t end = 0;
    int line = 0;     // as the source names it, after #line
    std::string file; // likewise
};

// Splits the text into tokens. Preprocessor lines other than #line stay in
// the code and are skipped here; #line moves the reported positions.
class CLexer
{
public:
    CLexer(std::string_view text, std::string_view name) : m_text(text), m_file(name) {}

    SToken Next()
    {
        SkipSpace();
        SToken t;
        t.begin = m_pos;
        t.line = m_line;
        t.file = m_file;
        if (m_pos >= m_text.size()) {
            t.end = m_pos;
            return t;
        }
        const char c = m_text[m_pos];
        if (std::isalpha(static_cast<unsigned char>(c)) || c == '_') {
            while (m_pos < m_text.size() && (std::isalnum(static_cast<unsigned char>(m_text[m_pos])) || m_text[m_pos] == '_'))
                ++m_pos;
            t.kind = ETok::Ident;
        } else if (std::isdigit(static_cast<unsigned char>(c)) || (c == '.' && m_pos + 1 < m_text.size() && std::isdigit(static_cast<unsigned char>(m_text[m_pos + 1])))) {
            while (m_pos < m_text.size() && (std::isalnum(static_cast<unsigned char>(m_text[m_pos])) || m_text[m_pos] == '.' ||
                                             ((m_text[m_pos] == '+' || m_text[m_pos] == '-') && (m_text[m_pos - 1] == 'e' || m_text[m_pos - 1] == 'E'))))
                ++m_pos;
            t.kind = ETok::Number;
        } else if (c == '"') {
            ++m_pos;
            while (m_pos < m_text.size() && m_text[m_pos] != '"' && m_text[m_pos] != '\n')
                m_pos += (m_text[m_pos] == '\\' && m_pos + 1 < m_text.size()) ? 2 : 1;
            if (m_pos < m_text.size() && m_text[m_pos] == '"')
                ++m_pos;
            t.kind = ETok::String;
        } else {
            ++m_pos;
            t.kind = ETok::Punct;
        }
        t.end = m_pos;
        t.text = std::string(m_text.substr(t.begin, t.end - t.begin));
        return t;
    }

private:
    void SkipSpace()
    {
        bool lineStart = m_pos == 0 || m_text[m_pos - 1] == '\n';
        while (m_pos < m_text.size()) {
            const char c = m_text[m_pos];
            if (c == '\n') {
                ++m_line;
                ++m_pos;
                lineStart = true;
            } else if (std::isspace(static_cast<unsigned char>(c))) {
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
            } else if (c == '#' && lineStart) {
                Directive();
            } else {
                return;
            }
        }
    }

    // At a '#' that starts a line: consumes the line, and applies #line.
    void Directive()
    {
        const size_t eol = std::min(m_text.find('\n', m_pos), m_text.size());
        std::string_view line = m_text.substr(m_pos + 1, eol - m_pos - 1);
        m_pos = eol;
        while (!line.empty() && std::isspace(static_cast<unsigned char>(line.front())))
            line.remove_prefix(1);
        if (line.substr(0, 4) != "line")
            return;
        line.remove_prefix(4);
        char* end = nullptr;
        const std::string rest(line);
        const long number = std::strtol(rest.c_str(), &end, 10);
        if (end == rest.c_str())
            return;
        // The line after the directive has the number it gives.
        m_line = static_cast<int>(number) - 1;
        const size_t quote = rest.find('"');
        if (quote != std::string::npos) {
            const size_t close = rest.find('"', quote + 1);
            if (close != std::string::npos)
                m_file = rest.substr(quote + 1, close - quote - 1);
        }
    }

    std::string_view m_text;
    size_t m_pos = 0;
    int m_line = 1;
    std::string m_file;
};

bool IsTypeWord(const std::string& word)
{
    return FxTypeFromName(word) != FT_Unknown;
}

// Vector and matrix constructor names: float4, int2, bool4, half3x3, ...
bool IsConstructorWord(const std::string& word)
{
    for (const char* base : {"float", "half", "fixed", "int", "uint", "bool"}) {
        const size_t n = std::char_traits<char>::length(base);
        if (word.size() > n && word.compare(0, n, base) == 0 &&
            word.find_first_not_of("1234x", n) == std::string::npos)
            return true;
    }
    return false;
}

bool IsStorageWord(const std::string& word)
{
    return word == "uniform" || word == "extern" || word == "shared" || word == "volatile" || word == "const" ||
           word == "static" || word == "row_major" || word == "column_major" || word == "nointerpolation";
}

class CStructureParser
{
public:
    CStructureParser(std::string_view text, std::string_view name, SFxEffectDesc& out)
        : m_lexer(text, name), m_out(out)
    {
        m_out.m_code.assign(text);
        Advance();
    }

    bool Run()
    {
        while (m_tok.kind != ETok::End) {
            if (!TopLevel())
                return false;
        }
        return true;
    }

    std::string m_error;

private:
    void Advance() { m_tok = m_lexer.Next(); }
    bool Is(const char* text) const { return m_tok.kind != ETok::End && m_tok.text == text; }
    bool Accept(const char* text)
    {
        if (!Is(text))
            return false;
        Advance();
        return true;
    }
    bool Fail(const SToken& at, const std::string& message)
    {
        m_error = at.file + "(" + std::to_string(at.line) + "): " + message;
        return false;
    }
    bool Expect(const char* text, const std::string& what)
    {
        if (Accept(text))
            return true;
        return Fail(m_tok, std::string("expected '") + text + "' " + what +
                               (m_tok.kind == ETok::End ? std::string(", found the end of the text")
                                                        : ", found '" + m_tok.text + "'"));
    }

    // Spaces over a range of the code, keeping line breaks.
    void Blank(size_t begin, size_t end)
    {
        for (size_t i = begin; i < end && i < m_out.m_code.size(); ++i)
            if (m_out.m_code[i] != '\n')
                m_out.m_code[i] = ' ';
    }

    // Skips a balanced group that starts at the current token ('{', '(' or
    // '<'); returns the end of the closing token.
    std::optional<size_t> SkipGroup(const char* open, const char* close)
    {
        const SToken start = m_tok;
        int depth = 0;
        do {
            if (m_tok.kind == ETok::End) {
                Fail(start, std::string("'") + open + "' is never closed");
                return std::nullopt;
            }
            if (Is(open))
                ++depth;
            else if (Is(close))
                --depth;
            const size_t end = m_tok.end;
            Advance();
            if (depth == 0)
                return end;
        } while (true);
    }

    // An annotation block "< ... >" after a name or semantic.
    bool SkipAnnotations(size_t* end = nullptr)
    {
        if (!Is("<"))
            return true;
        const std::optional<size_t> close = SkipGroup("<", ">");
        if (!close)
            return false;
        if (end)
            *end = *close;
        return true;
    }

    bool TopLevel()
    {
        if (m_tok.kind == ETok::Ident && (m_tok.text == "technique" || m_tok.text == "technique10" || m_tok.text == "technique11"))
            return Technique();
        if (m_tok.kind == ETok::Ident && (m_tok.text == "struct" || m_tok.text == "typedef"))
            return SkipDeclaration();
        if (m_tok.kind == ETok::Ident && (IsStorageWord(m_tok.text) || IsTypeWord(m_tok.text)))
            return GlobalOrFunction();
        return SkipDeclaration();
    }

    // Anything we do not take apart: up to a ';' at depth 0, or a balanced
    // '{...}' block (a function body, a struct), whichever ends it.
    bool SkipDeclaration()
    {
        while (m_tok.kind != ETok::End) {
            if (Accept(";"))
                return true;
            if (Is("{")) {
                if (!SkipGroup("{", "}"))
                    return false;
                Accept(";");
                return true;
            }
            if (Is("(")) {
                if (!SkipGroup("(", ")"))
                    return false;
                continue;
            }
            Advance();
        }
        return true;
    }

    bool GlobalOrFunction()
    {
        const SToken first = m_tok;
        bool isStatic = false;
        while (m_tok.kind == ETok::Ident && IsStorageWord(m_tok.text)) {
            isStatic |= m_tok.text == "static";
            Advance();
        }
        if (m_tok.kind != ETok::Ident || !IsTypeWord(m_tok.text))
            return SkipDeclaration(); // a struct-typed global or a function of it
        const SToken typeTok = m_tok;
        Advance();
        if (m_tok.kind != ETok::Ident)
            return SkipDeclaration();
        const SToken nameTok = m_tok;
        Advance();
        if (Is("(") || isStatic)
            return SkipDeclaration(); // a function, or a constant of the code

        SFxParamDesc param;
        param.m_name = nameTok.text;
        param.m_type = FxTypeFromName(typeTok.text);
        param.m_line = nameTok.line;
        if (Accept("[")) {
            if (m_tok.kind == ETok::Number)
                param.m_arraySize = std::atoi(m_tok.text.c_str());
            while (m_tok.kind != ETok::End && !Is("]"))
                Advance();
            if (!Expect("]", "after the array size"))
                return false;
        }
        if (Accept(":")) {
            if (m_tok.kind != ETok::Ident)
                return Fail(m_tok, "expected a semantic after ':' of '" + param.m_name + "'");
            param.m_semantic = m_tok.text;
            Advance();
        }
        size_t keepEnd = m_tok.begin;
        if (!SkipAnnotations())
            return false;
        const size_t blankFrom = keepEnd;
        if (Accept("=")) {
            if (m_tok.kind == ETok::Ident && m_tok.text == "sampler_state") {
                Advance();
                if (!SamplerStates(param))
                    return false;
            } else if (!InitialValues(param)) {
                return false;
            }
        }
        const SToken end = m_tok;
        if (!Expect(";", "after the declaration of '" + std::string(param.m_name) + "'"))
            return false;
        // Texture objects and strings mean nothing to the shading code;
        // annotations and initialisers are ours, not the compiler's.
        if (param.m_type == FT_Texture || param.m_type == FT_String)
            Blank(first.begin, end.end);
        else
            Blank(blankFrom, end.begin);
        m_out.m_params.push_back(std::move(param));
        return true;
    }

    bool InitialValues(SFxParamDesc& param)
    {
        bool negative = false;
        int depth = 0;
        while (m_tok.kind != ETok::End && !(depth == 0 && Is(";"))) {
            if (Is("(") || Is("{"))
                ++depth;
            else if (Is(")") || Is("}"))
                --depth;
            if (m_tok.kind == ETok::Number) {
                double value = 0;
                std::string digits = m_tok.text;
                while (!digits.empty() && (digits.back() == 'f' || digits.back() == 'F' || digits.back() == 'h'))
                    digits.pop_back();
                size_t used = 0;
                if (!ParseDouble(digits, value, &used) || used != digits.size())
                    return Fail(m_tok, "'" + m_tok.text + "' is not a number in the value of '" + param.m_name + "'");
                param.m_initialValues.push_back(static_cast<float>(negative ? -value : value));
            } else if (Is("true") || Is("false")) {
                param.m_initialValues.push_back(Is("true") ? 1.0f : 0.0f);
            }
            negative = Is("-");
            Advance();
        }
        return true;
    }

    bool SamplerStates(SFxParamDesc& param)
    {
        if (!Expect("{", "after sampler_state"))
            return false;
        while (!Is("}")) {
            SFxStateAssignment state;
            if (!Assignment(state))
                return false;
            param.m_samplerStates.push_back(std::move(state));
        }
        Advance();
        return true;
    }

    // name [ '[' n ']' ] = value ;
    bool Assignment(SFxStateAssignment& state)
    {
        if (m_tok.kind != ETok::Ident)
            return Fail(m_tok, m_tok.kind == ETok::End ? "unexpected end of the text in a state block"
                                                       : "expected a state name, found '" + m_tok.text + "'");
        state.m_name = m_tok.text;
        state.m_line = m_tok.line;
        Advance();
        if (Accept("[")) {
            if (m_tok.kind == ETok::Number)
                state.m_index = std::atoi(m_tok.text.c_str());
            Advance();
            if (!Expect("]", "after the state index"))
                return false;
        }
        if (!Expect("=", "after '" + state.m_name + "'"))
            return false;
        if (m_tok.kind == ETok::Ident && m_tok.text == "compile")
            return Compile(state);
        int depth = 0;
        while (m_tok.kind != ETok::End && !(depth == 0 && Is(";"))) {
            if (Is("(") || Is("{") || Is("<"))
                ++depth;
            else if (Is(")") || Is("}") || Is(">"))
                --depth;
            else if (m_tok.kind == ETok::Ident || m_tok.kind == ETok::Number)
                state.m_value.m_words.push_back(m_tok.text);
            if (depth < 0)
                return Fail(m_tok, "unbalanced '" + m_tok.text + "' in the value of '" + state.m_name + "'");
            if (Is("-")) {
                Advance();
                if (m_tok.kind == ETok::Number)
                    state.m_value.m_words.push_back("-" + m_tok.text);
                else
                    continue;
            }
            Advance();
        }
        // A constructor name is not part of the value: int2(a, b) is a, b.
        std::vector<std::string>& words = state.m_value.m_words;
        if (words.size() > 1 && IsConstructorWord(words.front()))
            words.erase(words.begin());
        return Expect(";", "after the value of '" + state.m_name + "'");
    }

    // compile PROFILE entry(args) ;
    bool Compile(SFxStateAssignment& state)
    {
        Advance();
        SFxStateValue& value = state.m_value;
        value.m_isCompile = true;
        if (m_tok.kind != ETok::Ident)
            return Fail(m_tok, "expected a profile after 'compile'");
        value.m_profile = m_tok.text;
        Advance();
        if (m_tok.kind != ETok::Ident)
            return Fail(m_tok, "expected an entry function after 'compile " + value.m_profile + "'");
        value.m_entry = m_tok.text;
        Advance();
        if (!Expect("(", "after the entry function"))
            return false;
        int depth = 0;
        std::string argument;
        size_t argumentBegin = m_tok.begin;
        std::string_view code = m_out.m_code;
        while (m_tok.kind != ETok::End) {
            if (depth == 0 && (Is(",") || Is(")"))) {
                argument = std::string(code.substr(argumentBegin, m_tok.begin - argumentBegin));
                if (!(Is(")") && value.m_arguments.empty() && argument.find_first_not_of(" \t\r\n") == std::string::npos))
                    value.m_arguments.push_back(argument);
                if (Is(")"))
                    break;
                Advance();
                argumentBegin = m_tok.begin;
                continue;
            }
            if (Is("("))
                ++depth;
            else if (Is(")"))
                --depth;
            Advance();
        }
        if (!Expect(")", "after the entry's arguments"))
            return false;
        return Expect(";", "after the compile statement");
    }

    bool Technique()
    {
        const SToken start = m_tok;
        Advance();
        SFxTechniqueDesc technique;
        if (m_tok.kind == ETok::Ident) {
            technique.m_name = m_tok.text;
            Advance();
        }
        if (!SkipAnnotations() || !Expect("{", "after the technique name"))
            return false;
        while (!Is("}")) {
            if (m_tok.kind == ETok::End)
                return Fail(start, "technique '" + technique.m_name + "' is never closed");
            if (!(m_tok.kind == ETok::Ident && m_tok.text == "pass"))
                return Fail(m_tok, "expected 'pass' in technique '" + technique.m_name + "', found '" + m_tok.text + "'");
            SFxPassDesc pass;
            if (!Pass(pass))
                return false;
            technique.m_passes.push_back(std::move(pass));
        }
        const size_t end = m_tok.end;
        Advance();
        Accept(";");
        Blank(start.begin, end);
        m_out.m_techniques.push_back(std::move(technique));
        return true;
    }

    bool Pass(SFxPassDesc& pass)
    {
        Advance();
        if (m_tok.kind == ETok::Ident) {
            pass.m_name = m_tok.text;
            Advance();
        }
        if (!SkipAnnotations() || !Expect("{", "after the pass name"))
            return false;
        while (!Is("}")) {
            SFxStateAssignment state;
            if (!Assignment(state))
                return false;
            const std::string& name = state.m_name;
            if (name == "VertexProgram" || name == "VertexShader")
                pass.m_vertexProgram = static_cast<int>(pass.m_states.size());
            else if (name == "FragmentProgram" || name == "PixelShader")
                pass.m_fragmentProgram = static_cast<int>(pass.m_states.size());
            pass.m_states.push_back(std::move(state));
        }
        Advance();
        Accept(";");
        return true;
    }

    CLexer m_lexer;
    SFxEffectDesc& m_out;
    SToken m_tok;
};

} // namespace

int FxTypeFloats(EFxType type)
{
    switch (type) {
    case FT_Bool:
    case FT_Int:
    case FT_Half:
    case FT_Float: return 1;
    case FT_Float2: return 2;
    case FT_Float3: return 3;
    case FT_Float4:
    case FT_Float2x2: return 4;
    case FT_Float3x3: return 9;
    case FT_Float4x4: return 16;
    default: return 0;
    }
}

bool FxTypeIsSampler(EFxType type)
{
    return type == FT_Sampler1D || type == FT_Sampler2D || type == FT_Sampler3D || type == FT_SamplerCube;
}

EFxType FxTypeFromName(const std::string& name)
{
    struct SName
    {
        const char* name;
        EFxType type;
    };
    static constexpr SName names[] = {
        {"bool", FT_Bool},          {"int", FT_Int},
        {"float", FT_Float},        {"float1", FT_Float},
        {"float2", FT_Float2},      {"float3", FT_Float3},
        {"float4", FT_Float4},      {"float2x2", FT_Float2x2},
        {"float3x3", FT_Float3x3},  {"float4x4", FT_Float4x4},
        {"sampler1D", FT_Sampler1D}, {"sampler2D", FT_Sampler2D},
        {"sampler3D", FT_Sampler3D}, {"samplerCUBE", FT_SamplerCube},
        {"sampler", FT_Sampler2D},  {"string", FT_String},
        {"texture", FT_Texture},    {"texture1D", FT_Texture},
        {"texture2D", FT_Texture},  {"texture3D", FT_Texture},
        {"textureCUBE", FT_Texture},
    };
    // Half and fixed precision are float precision here.
    std::string key = name;
    for (const char* low : {"half", "fixed"})
        if (key.compare(0, std::char_traits<char>::length(low), low) == 0)
            key = "float" + key.substr(std::char_traits<char>::length(low));
    for (const SName& n : names)
        if (key == n.name)
            return n.type;
    return FT_Unknown;
}

bool CFxParser::Parse(std::string_view text, std::string_view sourceName, SFxEffectDesc& out)
{
    out = SFxEffectDesc{};
    CStructureParser parser(text, sourceName, out);
    const bool ok = parser.Run();
    m_error = parser.m_error;
    return ok;
}
