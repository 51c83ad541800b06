#include "renderogl/spirvuniformsplitter.h"

#include <spirv_cross/spirv.hpp>

#include <map>
#include <set>

namespace {

constexpr size_t HeaderWords = 5;
constexpr size_t BoundWord = 3;

std::string ReadString(const uint32_t* words, size_t count)
{
    std::string s;
    for (size_t i = 0; i < count; ++i)
        for (int b = 0; b < 4; ++b) {
            const char c = static_cast<char>((words[i] >> (8 * b)) & 0xFF);
            if (c == 0)
                return s;
            s += c;
        }
    return s;
}

void AppendString(std::vector<uint32_t>& out, const std::string& s)
{
    for (size_t i = 0; i <= s.size(); i += 4) {
        uint32_t word = 0;
        for (size_t b = 0; b < 4 && i + b < s.size(); ++b)
            word |= static_cast<uint32_t>(static_cast<unsigned char>(s[i + b])) << (8 * b);
        out.push_back(word);
    }
}

struct SInstruction
{
    size_t offset;
    uint32_t opcode;
    uint32_t count;
};

class CModule
{
public:
    explicit CModule(const std::vector<uint32_t>& words) : m_words(words) {}

    bool Parse(std::string& error)
    {
        if (m_words.size() < HeaderWords || m_words[0] != spv::MagicNumber) {
            error = "not a SPIR-V module";
            return false;
        }
        for (size_t at = HeaderWords; at < m_words.size();) {
            const uint32_t count = m_words[at] >> spv::WordCountShift;
            if (count == 0 || at + count > m_words.size()) {
                error = "truncated SPIR-V instruction";
                return false;
            }
            const SInstruction in{at, m_words[at] & spv::OpCodeMask, count};
            m_instructions.push_back(in);
            Index(in);
            at += count;
        }
        return true;
    }

    uint32_t Word(const SInstruction& in, size_t i) const { return m_words[in.offset + i]; }
    const uint32_t* Words(const SInstruction& in, size_t i) const { return &m_words[in.offset + i]; }
    const std::vector<SInstruction>& Instructions() const { return m_instructions; }

    // Type and constant definitions by result id.
    const SInstruction* Def(uint32_t id) const
    {
        auto it = m_defs.find(id);
        return it == m_defs.end() ? nullptr : &m_instructions[it->second];
    }
    bool ConstantValue(uint32_t id, uint32_t& value) const
    {
        const SInstruction* c = Def(id);
        if (!c || c->opcode != spv::OpConstant || c->count < 4)
            return false;
        value = Word(*c, 3);
        return true;
    }

    std::map<uint32_t, std::string> m_names;
    std::map<std::pair<uint32_t, uint32_t>, std::string> m_memberNames;
    std::map<uint32_t, std::string> m_semantics;
    std::map<std::pair<uint32_t, uint32_t>, std::string> m_memberSemantics;
    std::set<uint32_t> m_blocks;

private:
    void Index(const SInstruction& in)
    {
        const size_t index = m_instructions.size() - 1;
        switch (in.opcode) {
        case spv::OpName:
            m_names[Word(in, 1)] = ReadString(Words(in, 2), in.count - 2);
            break;
        case spv::OpMemberName:
            m_memberNames[{Word(in, 1), Word(in, 2)}] = ReadString(Words(in, 3), in.count - 3);
            break;
        case spv::OpDecorate:
            if (Word(in, 2) == spv::DecorationBlock)
                m_blocks.insert(Word(in, 1));
            break;
        case spv::OpDecorateString:
            if (Word(in, 2) == spv::DecorationHlslSemanticGOOGLE)
                m_semantics[Word(in, 1)] = ReadString(Words(in, 3), in.count - 3);
            break;
        case spv::OpMemberDecorateString:
            if (Word(in, 3) == spv::DecorationHlslSemanticGOOGLE)
                m_memberSemantics[{Word(in, 1), Word(in, 2)}] = ReadString(Words(in, 4), in.count - 4);
            break;
        case spv::OpTypeBool:
        case spv::OpTypeInt:
        case spv::OpTypeFloat:
        case spv::OpTypeVector:
        case spv::OpTypeMatrix:
        case spv::OpTypeImage:
        case spv::OpTypeSampledImage:
        case spv::OpTypeArray:
        case spv::OpTypeStruct:
        case spv::OpTypePointer:
            m_defs[Word(in, 1)] = index;
            break;
        case spv::OpConstant:
            m_defs[Word(in, 2)] = index;
            break;
        default:
            break;
        }
    }

    const std::vector<uint32_t>& m_words;
    std::vector<SInstruction> m_instructions;
    std::map<uint32_t, size_t> m_defs;
};

// The source type of a uniform of SPIR-V type `id`, with its array length.
void ReflectType(const CModule& module, uint32_t id, SShaderUniform& u)
{
    const SInstruction* t = module.Def(id);
    if (t && t->opcode == spv::OpTypeArray) {
        uint32_t length = 0;
        module.ConstantValue(module.Word(*t, 3), length);
        u.arraySize = static_cast<int>(length);
        t = module.Def(module.Word(*t, 2));
    }
    u.type = EShaderParamType::Other;
    if (!t)
        return;
    auto isFloat = [&](uint32_t typeId) {
        const SInstruction* s = module.Def(typeId);
        return s && s->opcode == spv::OpTypeFloat;
    };
    switch (t->opcode) {
    case spv::OpTypeFloat:
        u.type = EShaderParamType::Float;
        break;
    case spv::OpTypeVector:
        if (isFloat(module.Word(*t, 2)) && module.Word(*t, 3) >= 2 && module.Word(*t, 3) <= 4)
            u.type = static_cast<EShaderParamType>(static_cast<int>(EShaderParamType::Float2) + module.Word(*t, 3) - 2);
        break;
    case spv::OpTypeMatrix: {
        const SInstruction* column = module.Def(module.Word(*t, 2));
        const uint32_t columns = module.Word(*t, 3);
        if (column && column->opcode == spv::OpTypeVector && module.Word(*column, 3) == columns && columns >= 2)
            u.type = static_cast<EShaderParamType>(static_cast<int>(EShaderParamType::Float2x2) + columns - 2);
        break;
    }
    case spv::OpTypeBool:
        u.type = EShaderParamType::Bool;
        break;
    case spv::OpTypeInt:
        u.type = module.Word(*t, 3) ? EShaderParamType::Int : EShaderParamType::Bool;
        break;
    case spv::OpTypeSampledImage: {
        const SInstruction* image = module.Def(module.Word(*t, 2));
        if (!image || image->opcode != spv::OpTypeImage)
            break;
        switch (module.Word(*image, 3)) {
        case spv::Dim1D: u.type = EShaderParamType::Sampler1D; break;
        case spv::Dim2D: u.type = EShaderParamType::Sampler2D; break;
        case spv::Dim3D: u.type = EShaderParamType::Sampler3D; break;
        case spv::DimCube: u.type = EShaderParamType::SamplerCube; break;
        default: break;
        }
        break;
    }
    default:
        break;
    }
}

// A uniform block variable and what becomes of its members.
struct SBlock
{
    uint32_t variable = 0;
    uint32_t structType = 0;
    std::map<uint32_t, uint32_t> memberVariables; // member index to new variable
};

} // namespace

bool CSpirvUniformSplitter::Split(std::vector<uint32_t>& words, std::vector<SUniform>& uniforms, std::string& error)
{
    uniforms.clear();
    CModule module(words);
    if (!module.Parse(error))
        return false;
    uint32_t bound = words[BoundWord];

    // Uniform block variables, and samplers as they are.
    std::map<uint32_t, SBlock> blocks;
    for (const SInstruction& in : module.Instructions()) {
        if (in.opcode != spv::OpVariable)
            continue;
        const uint32_t variable = module.Word(in, 2);
        const SInstruction* pointer = module.Def(module.Word(in, 1));
        if (!pointer || pointer->opcode != spv::OpTypePointer)
            continue;
        const uint32_t pointee = module.Word(*pointer, 3);
        const uint32_t storage = module.Word(in, 3);
        if (storage == spv::StorageClassUniform && module.m_blocks.contains(pointee)) {
            blocks[variable] = SBlock{variable, pointee, {}};
        } else if (storage == spv::StorageClassUniformConstant) {
            SUniform u;
            u.id = variable;
            u.info.name = module.m_names[variable];
            u.info.semantic = module.m_semantics[variable];
            ReflectType(module, pointee, u.info);
            uniforms.push_back(u);
        }
    }

    // The members that access chains reach, each to become a variable.
    for (const SInstruction& in : module.Instructions()) {
        if ((in.opcode != spv::OpAccessChain && in.opcode != spv::OpInBoundsAccessChain) || !blocks.contains(module.Word(in, 3)))
            continue;
        uint32_t member = 0;
        if (in.count < 5 || !module.ConstantValue(module.Word(in, 4), member)) {
            error = "uniform block reached with an index that is not a constant";
            return false;
        }
        SBlock& block = blocks[module.Word(in, 3)];
        if (!block.memberVariables.contains(member))
            block.memberVariables[member] = bound++;
    }

    // UniformConstant pointer types to be declared, by pointee type.
    std::map<uint32_t, uint32_t> constantPointers;
    for (const SInstruction& in : module.Instructions())
        if (in.opcode == spv::OpTypePointer && module.Word(in, 2) == spv::StorageClassUniformConstant)
            constantPointers[module.Word(in, 3)] = module.Word(in, 1);
    std::map<uint32_t, uint32_t> newPointers;
    auto constantPointer = [&](uint32_t pointee) {
        auto it = constantPointers.find(pointee);
        if (it != constantPointers.end())
            return it->second;
        newPointers[pointee] = bound;
        return constantPointers[pointee] = bound++;
    };
    auto memberType = [&](const SBlock& block, uint32_t member) {
        const SInstruction* s = module.Def(block.structType);
        return s && member + 2 < s->count ? module.Word(*s, member + 2) : 0;
    };
    for (auto& [variable, block] : blocks) {
        for (auto [member, newVariable] : block.memberVariables) {
            const uint32_t type = memberType(block, member);
            if (!type) {
                error = "uniform block member out of range";
                return false;
            }
            constantPointer(type);
            SUniform u;
            u.id = newVariable;
            u.info.name = module.m_memberNames[{block.structType, member}];
            u.info.semantic = module.m_memberSemantics[{block.structType, member}];
            ReflectType(module, type, u.info);
            uniforms.push_back(u);
        }
    }
    // Access chains further into a member point at UniformConstant now.
    for (const SInstruction& in : module.Instructions())
        if ((in.opcode == spv::OpAccessChain || in.opcode == spv::OpInBoundsAccessChain) && blocks.contains(module.Word(in, 3)) &&
            in.count > 5) {
            const SInstruction* pointer = module.Def(module.Word(in, 1));
            if (pointer)
                constantPointer(module.Word(*pointer, 3));
        }

    // Write the module again.
    std::vector<uint32_t> out(words.begin(), words.begin() + HeaderWords);
    std::map<uint32_t, uint32_t> replaced; // access chain results that are the new variables themselves
    bool namesWritten = false;
    auto writeNames = [&] {
        if (namesWritten)
            return;
        namesWritten = true;
        for (const SUniform& u : uniforms) {
            if (blocks.empty() || u.id < words[BoundWord])
                continue;
            out.push_back(0);
            const size_t start = out.size() - 1;
            out.push_back(u.id);
            AppendString(out, u.info.name);
            out[start] = static_cast<uint32_t>((out.size() - start) << spv::WordCountShift) | spv::OpName;
        }
    };
    auto isAnnotation = [](uint32_t op) {
        return op == spv::OpDecorate || op == spv::OpMemberDecorate || op == spv::OpDecorateString || op == spv::OpMemberDecorateString ||
               (op >= spv::OpDecorationGroup && op <= spv::OpGroupMemberDecorate);
    };
    auto isType = [](uint32_t op) { return op >= spv::OpTypeVoid && op <= spv::OpTypeForwardPointer; };
    for (const SInstruction& in : module.Instructions()) {
        const uint32_t op = in.opcode;
        if (isAnnotation(op) || isType(op) || op == spv::OpConstant || op == spv::OpVariable || op == spv::OpFunction)
            writeNames();
        // What names or decorates a block variable goes with it.
        if ((op == spv::OpName || op == spv::OpDecorate || op == spv::OpDecorateString) && blocks.contains(module.Word(in, 1)))
            continue;
        if (op == spv::OpVariable && blocks.contains(module.Word(in, 2))) {
            const SBlock& block = blocks[module.Word(in, 2)];
            for (auto [pointee, pointer] : newPointers)
                out.insert(out.end(), {(4u << spv::WordCountShift) | spv::OpTypePointer, pointer, spv::StorageClassUniformConstant, pointee});
            newPointers.clear();
            for (auto [member, variable] : block.memberVariables)
                out.insert(out.end(), {(4u << spv::WordCountShift) | spv::OpVariable, constantPointer(memberType(block, member)), variable,
                                       spv::StorageClassUniformConstant});
            continue;
        }
        if ((op == spv::OpAccessChain || op == spv::OpInBoundsAccessChain) && blocks.contains(module.Word(in, 3))) {
            const SBlock& block = blocks[module.Word(in, 3)];
            uint32_t member = 0;
            module.ConstantValue(module.Word(in, 4), member);
            const uint32_t variable = block.memberVariables.at(member);
            if (in.count == 5) {
                replaced[module.Word(in, 2)] = variable;
                continue;
            }
            const SInstruction* pointer = module.Def(module.Word(in, 1));
            out.push_back(((in.count - 1) << spv::WordCountShift) | op);
            out.push_back(constantPointer(module.Word(*pointer, 3)));
            out.push_back(module.Word(in, 2));
            out.push_back(variable);
            out.insert(out.end(), module.Words(in, 5), module.Words(in, in.count));
            continue;
        }
        const size_t start = out.size();
        out.insert(out.end(), module.Words(in, 0), module.Words(in, in.count));
        if (op == spv::OpLoad || op == spv::OpAccessChain || op == spv::OpInBoundsAccessChain) {
            auto it = replaced.find(out[start + 3]);
            if (it != replaced.end())
                out[start + 3] = it->second;
        }
    }
    out[BoundWord] = bound;
    words = std::move(out);
    return true;
}
