#include "render/fxparser.h"

#include "render/hlsltokenizer.h"

#include <optional>

namespace {

bool IsTypeWord(std::string_view word)
{
    return FxTypeFromName(word) != FT_Unknown;
}

// Vector and matrix constructor names: float4, int2, bool4, half3x3, ...
bool IsConstructorWord(std::string_view word)
{
    for (const char* base : {"float", "half", "fixed", "int", "uint", "bool"}) {
        const size_t n = std::char_traits<char>::length(base);
        if (word.size() > n && word.compare(0, n, base) == 0 &&
            word.find_first_not_of("1234x", n) == std::string::npos)
            return true;
    }
    return false;
}

bool IsStorageWord(std::string_view word)
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
        while (m_tok.kind != EHlslToken::End) {
            if (!TopLevel())
                return false;
        }
        return true;
    }

    std::string m_error;

private:
    void Advance() { m_tok = m_lexer.Next(); }
    bool Is(const char* text) const { return m_tok.kind != EHlslToken::End && m_tok.text == text; }
    std::string Text() const { return std::string(m_tok.text); }
    // The number token as a whole number; 0 for any other token.
    int WholeNumber() const
    {
        double value = 0;
        return m_tok.kind == EHlslToken::Number && HlslNumberValue(m_tok.text, value) ? static_cast<int>(value) : 0;
    }
    bool Accept(const char* text)
    {
        if (!Is(text))
            return false;
        Advance();
        return true;
    }
    bool Fail(const SHlslToken& at, const std::string& message)
    {
        m_error = std::string(at.file) + "(" + std::to_string(at.line) + "): " + message;
        return false;
    }
    bool Expect(const char* text, const std::string& what)
    {
        if (Accept(text))
            return true;
        return Fail(m_tok, std::string("expected '") + text + "' " + what +
                               (m_tok.kind == EHlslToken::End ? std::string(", found the end of the text")
                                                        : ", found '" + Text() + "'"));
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
        const SHlslToken start = m_tok;
        int depth = 0;
        do {
            if (m_tok.kind == EHlslToken::End) {
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
        if (m_tok.kind == EHlslToken::Identifier && (m_tok.text == "technique" || m_tok.text == "technique10" || m_tok.text == "technique11"))
            return Technique();
        if (m_tok.kind == EHlslToken::Identifier && (m_tok.text == "struct" || m_tok.text == "typedef"))
            return SkipDeclaration();
        if (m_tok.kind == EHlslToken::Identifier && (IsStorageWord(m_tok.text) || IsTypeWord(m_tok.text)))
            return GlobalOrFunction();
        return SkipDeclaration();
    }

    // Anything we do not take apart: up to a ';' at depth 0, or a balanced
    // '{...}' block (a function body, a struct), whichever ends it.
    bool SkipDeclaration()
    {
        while (m_tok.kind != EHlslToken::End) {
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
        const SHlslToken first = m_tok;
        bool isStatic = false;
        while (m_tok.kind == EHlslToken::Identifier && IsStorageWord(m_tok.text)) {
            isStatic |= m_tok.text == "static";
            Advance();
        }
        if (m_tok.kind != EHlslToken::Identifier || !IsTypeWord(m_tok.text))
            return SkipDeclaration(); // a struct-typed global or a function of it
        const SHlslToken typeTok = m_tok;
        Advance();
        if (m_tok.kind != EHlslToken::Identifier)
            return SkipDeclaration();
        const SHlslToken nameTok = m_tok;
        Advance();
        if (Is("(") || isStatic)
            return SkipDeclaration(); // a function, or a constant of the code

        SFxParamDesc param;
        param.m_name = nameTok.text;
        param.m_type = FxTypeFromName(typeTok.text);
        param.m_line = nameTok.line;
        if (Accept("[")) {
            param.m_arraySize = WholeNumber();
            while (m_tok.kind != EHlslToken::End && !Is("]"))
                Advance();
            if (!Expect("]", "after the array size"))
                return false;
        }
        if (Accept(":")) {
            if (m_tok.kind != EHlslToken::Identifier)
                return Fail(m_tok, "expected a semantic after ':' of '" + param.m_name + "'");
            param.m_semantic = m_tok.text;
            Advance();
        }
        size_t keepEnd = m_tok.begin;
        if (!SkipAnnotations())
            return false;
        const size_t blankFrom = keepEnd;
        if (Accept("=")) {
            if (m_tok.kind == EHlslToken::Identifier && m_tok.text == "sampler_state") {
                Advance();
                if (!SamplerStates(param))
                    return false;
            } else if (!InitialValues(param)) {
                return false;
            }
        }
        const SHlslToken end = m_tok;
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
        while (m_tok.kind != EHlslToken::End && !(depth == 0 && Is(";"))) {
            if (Is("(") || Is("{"))
                ++depth;
            else if (Is(")") || Is("}"))
                --depth;
            if (m_tok.kind == EHlslToken::Number) {
                double value = 0;
                if (!HlslNumberValue(m_tok.text, value))
                    return Fail(m_tok, "'" + Text() + "' is not a number in the value of '" + param.m_name + "'");
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
        if (m_tok.kind != EHlslToken::Identifier)
            return Fail(m_tok, m_tok.kind == EHlslToken::End ? "unexpected end of the text in a state block"
                                                       : "expected a state name, found '" + Text() + "'");
        state.m_name = m_tok.text;
        state.m_line = m_tok.line;
        Advance();
        if (Accept("[")) {
            state.m_index = WholeNumber();
            Advance();
            if (!Expect("]", "after the state index"))
                return false;
        }
        if (!Expect("=", "after '" + state.m_name + "'"))
            return false;
        if (m_tok.kind == EHlslToken::Identifier && m_tok.text == "compile")
            return Compile(state);
        int depth = 0;
        while (m_tok.kind != EHlslToken::End && !(depth == 0 && Is(";"))) {
            if (Is("(") || Is("{") || Is("<"))
                ++depth;
            else if (Is(")") || Is("}") || Is(">"))
                --depth;
            else if (m_tok.kind == EHlslToken::Identifier || m_tok.kind == EHlslToken::Number)
                state.m_value.m_words.push_back(Text());
            if (depth < 0)
                return Fail(m_tok, "unbalanced '" + Text() + "' in the value of '" + state.m_name + "'");
            if (Is("-")) {
                Advance();
                if (m_tok.kind == EHlslToken::Number)
                    state.m_value.m_words.push_back("-" + Text());
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
        if (m_tok.kind != EHlslToken::Identifier)
            return Fail(m_tok, "expected a profile after 'compile'");
        value.m_profile = m_tok.text;
        Advance();
        if (m_tok.kind != EHlslToken::Identifier)
            return Fail(m_tok, "expected an entry function after 'compile " + value.m_profile + "'");
        value.m_entry = m_tok.text;
        Advance();
        if (!Expect("(", "after the entry function"))
            return false;
        int depth = 0;
        std::string argument;
        size_t argumentBegin = m_tok.begin;
        std::string_view code = m_out.m_code;
        while (m_tok.kind != EHlslToken::End) {
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
        const SHlslToken start = m_tok;
        Advance();
        SFxTechniqueDesc technique;
        if (m_tok.kind == EHlslToken::Identifier) {
            technique.m_name = m_tok.text;
            Advance();
        }
        if (!SkipAnnotations() || !Expect("{", "after the technique name"))
            return false;
        while (!Is("}")) {
            if (m_tok.kind == EHlslToken::End)
                return Fail(start, "technique '" + technique.m_name + "' is never closed");
            if (!(m_tok.kind == EHlslToken::Identifier && m_tok.text == "pass"))
                return Fail(m_tok, "expected 'pass' in technique '" + technique.m_name + "', found '" + Text() + "'");
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
        if (m_tok.kind == EHlslToken::Identifier) {
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

    CHlslTokenizer m_lexer;
    SFxEffectDesc& m_out;
    SHlslToken m_tok;
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

EFxType FxTypeFromName(std::string_view name)
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
    std::string key(name);
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
