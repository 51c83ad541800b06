#include "renderogl/shaderentrywrapper.h"

#include "app/textutil.h"
#include "render/hlsltokenizer.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace {

bool IsIdent(std::string_view token)
{
    const char c = token.empty() ? '\0' : token[0];
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

// Comments and preprocessor lines (#line among them) carry nothing the
// signature needs.
std::vector<std::string_view> Tokenize(std::string_view code)
{
    std::vector<std::string_view> tokens;
    CHlslTokenizer tokenizer(code);
    for (SHlslToken token = tokenizer.Next(); token.kind != EHlslToken::End; token = tokenizer.Next())
        tokens.push_back(token.text);
    return tokens;
}

// Index of the token closing the bracket at `open`, or tokens.size().
size_t Matching(const std::vector<std::string_view>& tokens, size_t open)
{
    const std::string_view opener = tokens[open];
    const std::string_view closer = opener == "(" ? ")" : opener == "[" ? "]" : "}";
    int depth = 0;
    for (size_t i = open; i < tokens.size(); ++i) {
        if (tokens[i] == opener)
            ++depth;
        else if (tokens[i] == closer && --depth == 0)
            return i;
    }
    return tokens.size();
}

// One spelling per meaning: Cg and HLSL have several for the same binding.
std::string CanonicalSemantic(std::string_view semantic)
{
    std::string s = AsciiUpper(semantic);
    if (s.starts_with("SV_"))
        s = s == "SV_TARGET" ? "COLOR0" : s.starts_with("SV_TARGET") ? "COLOR" + s.substr(9) : s.substr(3);
    if (s == "POSITION0" || s == "HPOS")
        return "POSITION";
    if (s == "COLOR" || s == "COL0" || s == "COL" || s == "DIFFUSE")
        return "COLOR0";
    if (s == "COL1" || s == "SPECULAR")
        return "COLOR1";
    if (s == "TEXCOORD")
        return "TEXCOORD0";
    if (s.size() == 4 && s.starts_with("TEX") && std::isdigit(static_cast<unsigned char>(s[3])))
        return "TEXCOORD" + s.substr(3);
    if (s == "NORMAL0" || s == "DEPTH0" || s == "TANGENT0" || s == "BINORMAL0" || s == "PSIZE0" || s == "FOG0")
        return s.substr(0, s.size() - 1);
    if (s == "VFACE")
        return "FACE";
    return s;
}

// Components of a scalar or vector type ("float" 1, "half3" 3); 0 for
// anything else, matrices and structs among them.
int Components(std::string_view type)
{
    for (std::string_view base : {"float", "half", "fixed", "int", "uint", "bool", "double"}) {
        if (!type.starts_with(base))
            continue;
        const std::string_view rest = type.substr(base.size());
        if (rest.empty())
            return 1;
        if (rest.size() == 1 && rest[0] >= '1' && rest[0] <= '4')
            return rest[0] - '0';
        return 0;
    }
    return 0;
}

// Reads `[N]` at `i`, if there; false for a size that is not a number.
bool ReadArraySize(const std::vector<std::string_view>& tokens, size_t& i, size_t end, int& size)
{
    size = 0;
    if (i >= end || tokens[i] != "[")
        return true;
    if (i + 2 >= end || tokens[i + 2] != "]")
        return false;
    const std::string_view n = tokens[i + 1];
    if (std::from_chars(n.data(), n.data() + n.size(), size).ec != std::errc{} || size <= 0)
        return false;
    i += 3;
    return true;
}

constexpr std::string_view s_swizzles[] = {"", ".x", ".xy", ".xyz", ""};
constexpr std::string_view s_pads[] = {"", ", 0, 0, 1", ", 0, 1", ", 1", ""};

} // namespace

int CShaderEntryWrapper::AttributeLocation(std::string_view semantic)
{
    // The generic attribute numbers that vertex programs conventionally alias.
    static constexpr struct
    {
        std::string_view semantic;
        int location;
    } s_fixed[] = {
        {"POSITION", 0}, {"BLENDWEIGHT", 1}, {"NORMAL", 2}, {"COLOR0", 3},      {"COLOR1", 4},
        {"FOG", 5},      {"FOGCOORD", 5},    {"PSIZE", 6},  {"BLENDINDICES", 7}, {"TANGENT", 14},
        {"BINORMAL", 15},
    };
    const std::string s = CanonicalSemantic(semantic);
    for (const auto& entry : s_fixed)
        if (entry.semantic == s)
            return entry.location;
    int n = -1;
    for (auto [prefix, base] : {std::pair<std::string_view, int>{"TEXCOORD", 8}, {"ATTR", 0}}) {
        if (!s.starts_with(prefix))
            continue;
        const std::string_view digits = std::string_view(s).substr(prefix.size());
        if (std::from_chars(digits.data(), digits.data() + digits.size(), n).ec == std::errc{} && n >= 0 &&
            base + n < 16 && digits.size() <= 2)
            return base + n;
    }
    return -1;
}

bool CShaderEntryWrapper::Build(std::string_view code, EShaderStage stage, std::string_view entry,
                                std::span<const std::string> args, std::string& error)
{
    *this = CShaderEntryWrapper{};
    m_stage = stage;
    const std::vector<std::string_view> tokens = Tokenize(code);

    // Reads one declaration: qualifiers, type, name, array size, semantic.
    auto readVariable = [&](size_t begin, size_t end, SVariable& v) {
        size_t i = begin;
        bool explicitIn = false;
        for (; i < end; ++i) {
            const std::string_view t = tokens[i];
            if (t == "in")
                explicitIn = true;
            else if (t == "out")
                v.out = true;
            else if (t == "inout")
                explicitIn = v.out = true;
            else if (t == "uniform")
                v.uniform = true;
            else if (t != "const" && t != "varying" && t != "linear" && t != "centroid" && t != "nointerpolation" &&
                     t != "noperspective" && t != "sample")
                break;
        }
        v.in = explicitIn || !v.out;
        if (i + 1 >= end || !IsIdent(tokens[i]) || !IsIdent(tokens[i + 1]))
            return false;
        v.type = tokens[i];
        v.name = tokens[i + 1];
        i += 2;
        if (!ReadArraySize(tokens, i, end, v.arraySize))
            return false;
        if (i + 1 < end && tokens[i] == ":" && IsIdent(tokens[i + 1]))
            v.semantic = CanonicalSemantic(tokens[i + 1]);
        return true;
    };

    std::vector<SVariable> params;
    std::string returnType, returnSemantic;
    bool found = false;
    int depth = 0;
    for (size_t i = 0; i < tokens.size(); ++i) {
        const std::string_view t = tokens[i];
        if (t == "{") {
            ++depth;
        } else if (t == "}") {
            --depth;
        } else if (depth == 0 && t == "struct" && i + 2 < tokens.size() && IsIdent(tokens[i + 1]) &&
                   tokens[i + 2] == "{") {
            SStruct s{std::string(tokens[i + 1]), {}};
            const size_t close = Matching(tokens, i + 2);
            size_t start = i + 3;
            for (size_t j = start; j < close; ++j) {
                if (tokens[j] != ";")
                    continue;
                SVariable member;
                if (readVariable(start, j, member))
                    s.members.push_back(member);
                start = j + 1;
            }
            m_structs.push_back(std::move(s));
            i = close;
        } else if (depth == 0 && !found && t == entry && i > 0 && i + 1 < tokens.size() && tokens[i + 1] == "(") {
            const size_t close = Matching(tokens, i + 1);
            size_t k = close + 1;
            std::string semantic;
            if (k + 1 < tokens.size() && tokens[k] == ":") {
                semantic = CanonicalSemantic(tokens[k + 1]);
                k += 2;
            }
            if (k >= tokens.size() || tokens[k] != "{")
                continue; // a declaration or a call, not the definition
            found = true;
            returnType = tokens[i - 1];
            returnSemantic = semantic;
            size_t start = i + 2;
            for (size_t j = start; j <= close; ++j) {
                if (tokens[j] == "(" || tokens[j] == "[")
                    j = Matching(tokens, j);
                else if (j == close || tokens[j] == ",") {
                    if (j == start && j == close)
                        break; // no parameters
                    SVariable p;
                    if (!readVariable(start, j, p)) {
                        error = "cannot read parameter " + std::to_string(params.size() + 1) + " of entry '" +
                                std::string(entry) + "'";
                        return false;
                    }
                    params.push_back(p);
                    start = j + 1;
                }
            }
        }
    }
    if (!found) {
        error = "entry function '" + std::string(entry) + "' not found";
        return false;
    }

    std::string globals, prologue, call, epilogue;
    size_t argIndex = 0;
    for (size_t j = 0; j < params.size(); ++j) {
        const SVariable& p = params[j];
        if (!call.empty())
            call += ", ";
        if (p.uniform) {
            if (argIndex < args.size()) {
                call += args[argIndex++];
                continue;
            }
            globals += "uniform " + p.type + " " + p.name;
            if (p.arraySize)
                globals += "[" + std::to_string(p.arraySize) + "]";
            if (!p.semantic.empty())
                globals += " : " + p.semantic;
            globals += ";\n";
            call += p.name;
            continue;
        }
        if (p.arraySize) {
            error = "varying parameter '" + p.name + "' is an array";
            return false;
        }
        const std::string local = "lumora_p" + std::to_string(j);
        prologue += "    " + p.type + " " + local + ";\n";
        call += local;
        std::vector<SLeaf> leaves;
        if (!Flatten(p.type, p.semantic, local, leaves, error, 0))
            return false;
        for (const SLeaf& leaf : leaves) {
            std::string assignment;
            if (p.in && !AddInput(leaf, assignment, error))
                return false;
            prologue += assignment;
            if (p.out && !AddOutput(leaf, assignment, error))
                return false;
            if (p.out)
                epilogue += assignment;
        }
    }
    if (argIndex < args.size()) {
        error = "entry '" + std::string(entry) + "' has " + std::to_string(argIndex) +
                " uniform parameters for " + std::to_string(args.size()) + " compile arguments";
        return false;
    }
    std::string callLine = std::string(entry) + "(" + call + ");\n";
    if (returnType != "void") {
        callLine = returnType + " lumora_r = " + callLine;
        std::vector<SLeaf> leaves;
        if (!Flatten(returnType, returnSemantic, "lumora_r", leaves, error, 0))
            return false;
        for (const SLeaf& leaf : leaves) {
            std::string assignment;
            if (!AddOutput(leaf, assignment, error))
                return false;
            epilogue += assignment;
        }
    }

    std::string paramList;
    for (const std::string& p : m_params)
        paramList += (paramList.empty() ? "\n    " : ",\n    ") + p;
    m_text = globals + "void " + std::string(EntryName) + "(" + paramList + ")\n{\n" + prologue + "    " + callLine +
             epilogue + "}\n";
    return true;
}

bool CShaderEntryWrapper::Flatten(const std::string& type, const std::string& semantic, const std::string& path,
                                  std::vector<SLeaf>& leaves, std::string& error, int depth) const
{
    auto s = std::find_if(m_structs.begin(), m_structs.end(), [&](const SStruct& known) { return known.name == type; });
    if (s == m_structs.end()) {
        if (Components(type) == 0) {
            error = "'" + path + "' of type " + type + " cannot be a varying; use a scalar or vector";
            return false;
        }
        if (semantic.empty()) {
            error = "'" + path + "' has no semantic";
            return false;
        }
        leaves.push_back({type, semantic, path});
        return true;
    }
    if (depth > 8) {
        error = "structs nest too deep at '" + path + "'";
        return false;
    }
    for (const SVariable& m : s->members) {
        if (m.arraySize) {
            error = "varying '" + path + "." + m.name + "' is an array";
            return false;
        }
        if (!Flatten(m.type, m.semantic, path + "." + m.name, leaves, error, depth + 1))
            return false;
    }
    return true;
}

bool CShaderEntryWrapper::AddInput(const SLeaf& leaf, std::string& assignment, std::string& error)
{
    const int n = Components(leaf.type);
    std::string variable, declaration;
    std::string value;
    if (m_stage == EShaderStage::Vertex && (leaf.semantic == "VERTEXID" || leaf.semantic == "INSTANCEID")) {
        // Numbers the pipeline counts, not attributes: gl_VertexID and
        // gl_InstanceID in the GLSL.
        const bool vertex = leaf.semantic == "VERTEXID";
        variable = vertex ? "lumora_vertexid" : "lumora_instanceid";
        declaration = "uint " + variable + (vertex ? " : SV_VertexID" : " : SV_InstanceID");
        value = variable;
    } else if (m_stage == EShaderStage::Vertex) {
        const int location = AttributeLocation(leaf.semantic);
        if (location < 0) {
            error = "vertex input '" + leaf.path + "' has semantic " + leaf.semantic + ", which names no attribute";
            return false;
        }
        variable = "attr_" + leaf.semantic;
        declaration = "[[vk::location(" + std::to_string(location) + ")]] in float4 " + variable + " : " + leaf.semantic;
        value = variable + std::string(s_swizzles[n]);
        if (std::none_of(m_attributes.begin(), m_attributes.end(),
                         [&](const SShaderAttribute& a) { return a.semantic == leaf.semantic; }))
            m_attributes.push_back({leaf.semantic, variable, location});
    } else if (leaf.semantic == "POSITION" || leaf.semantic == "VPOS" || leaf.semantic == "WPOS") {
        variable = "lumora_fragcoord";
        declaration = "in float4 lumora_fragcoord : SV_Position";
        value = variable + std::string(s_swizzles[n]);
    } else if (leaf.semantic == "FACE") {
        variable = "lumora_face";
        declaration = "in bool lumora_face : SV_IsFrontFace";
        value = "(lumora_face ? 1.0 : -1.0)";
    } else if (leaf.semantic == "DEPTH" || leaf.semantic == "VERTEXID" || leaf.semantic == "INSTANCEID") {
        error =
            "fragment input '" + leaf.path + "' has semantic " + leaf.semantic + ", which only a vertex program reads";
        return false;
    } else {
        variable = "var_" + leaf.semantic;
        declaration = "in float4 " + variable + " : " + leaf.semantic;
        value = variable + std::string(s_swizzles[n]);
    }
    if (std::find(m_inputSemantics.begin(), m_inputSemantics.end(), variable) == m_inputSemantics.end()) {
        m_inputSemantics.push_back(variable);
        m_params.push_back(declaration);
    }
    assignment = "    " + leaf.path + " = (" + leaf.type + ")(" + value + ");\n";
    return true;
}

bool CShaderEntryWrapper::AddOutput(const SLeaf& leaf, std::string& assignment, std::string& error)
{
    const int n = Components(leaf.type);
    const std::string widened =
        n == 4 ? "(float4)(" + leaf.path + ")"
               : "float4((float" + std::to_string(n) + ")(" + leaf.path + ")" + std::string(s_pads[n]) + ")";
    std::string variable, declaration, value = widened;
    const std::string& s = leaf.semantic;
    if (m_stage == EShaderStage::Vertex && s == "POSITION") {
        variable = "lumora_position";
        declaration = "out float4 lumora_position : SV_Position";
    } else if (m_stage == EShaderStage::Vertex && s == "PSIZE") {
        variable = "lumora_pointsize";
        declaration = "[[vk::builtin(\"PointSize\")]] out float lumora_pointsize : PSIZE";
        value = "(float)(" + leaf.path + ")";
    } else if (m_stage == EShaderStage::Vertex) {
        if (s == "DEPTH" || s == "FACE" || s == "VPOS" || s == "WPOS") {
            error = "vertex output '" + leaf.path + "' has semantic " + s + ", which is not a varying";
            return false;
        }
        variable = "var_" + s;
        declaration = "out float4 " + variable + " : " + s;
    } else if (s == "DEPTH") {
        variable = "lumora_depth";
        declaration = "out float lumora_depth : SV_Depth";
        value = "(float)(" + leaf.path + ")";
    } else if (s.size() == 6 && s.starts_with("COLOR") && s[5] >= '0' && s[5] <= '7') {
        variable = "lumora_color" + s.substr(5);
        declaration = "out float4 " + variable + " : SV_Target" + s.substr(5);
    } else {
        error = "fragment output '" + leaf.path + "' has semantic " + s + "; only COLOR and DEPTH leave a fragment";
        return false;
    }
    if (std::find(m_outputSemantics.begin(), m_outputSemantics.end(), variable) != m_outputSemantics.end()) {
        error = "two outputs have semantic " + s;
        return false;
    }
    m_outputSemantics.push_back(variable);
    m_params.push_back(declaration);
    assignment = "    " + variable + " = " + value + ";\n";
    return true;
}
