#include "renderogl/glprogramcache.h"

#include "renderogl/shadercompiler.h"

namespace {

// Everything that decides a compilation's result, in one text. The parts are
// written with their lengths so that no two inputs give the same key.
std::string SourceKey(const SShaderSource& s)
{
    std::string key;
    auto add = [&key](std::string_view part) {
        key += std::to_string(part.size());
        key += ':';
        key += part;
    };
    add(s.stage == EShaderStage::Vertex ? "v" : "f");
    add(s.entry);
    for (const std::string& arg : s.entryArgs)
        add(arg);
    add(s.includeDir);
    add(s.code);
    return key;
}

} // namespace

const SCompiledShader* CGLProgramCache::Compile(const SShaderSource& source, std::string& errors)
{
    std::string key = SourceKey(source);
    auto it = m_compiled.find(key);
    if (it != m_compiled.end())
        return &it->second;
    SCompiledShader compiled;
    if (!CShaderCompiler::Compile(source, compiled, errors))
        return nullptr;
    return &m_compiled.emplace(std::move(key), std::move(compiled)).first->second;
}

std::shared_ptr<CGLProgram> CGLProgramCache::Get(const SShaderSource& vertex, const SShaderSource& fragment,
                                                 std::string& errors)
{
    const SCompiledShader* vs = Compile(vertex, errors);
    const SCompiledShader* fs = vs ? Compile(fragment, errors) : nullptr;
    if (!vs || !fs)
        return nullptr;
    return Get(*vs, *fs, errors);
}

std::shared_ptr<CGLProgram> CGLProgramCache::Get(const SCompiledShader& vertex, const SCompiledShader& fragment,
                                                 std::string& errors)
{
    std::string key = std::to_string(vertex.glsl.size()) + ":" + vertex.glsl + fragment.glsl;
    auto it = m_programs.find(key);
    if (it != m_programs.end())
        return it->second;
    auto program = std::make_shared<CGLProgram>();
    if (!program->Link(vertex, fragment, errors))
        return nullptr;
    m_programs.emplace(std::move(key), program);
    return program;
}

void CGLProgramCache::Clear()
{
    m_programs.clear();
    m_compiled.clear();
}
