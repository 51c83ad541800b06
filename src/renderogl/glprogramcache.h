#pragma once

#include "renderogl/glprogram.h"
#include "renderogl/shadertypes.h"

#include <memory>
#include <string>
#include <unordered_map>

// Compiled programs and linked program pairs, kept so that an effect loaded
// again, or another effect with the same programs, costs nothing. Programs
// are shared: whoever holds one may set its values, so a user sets all the
// values it relies on before each Use(). The context must be current.
class CGLProgramCache
{
public:
    // Compiles each source unless the same text, entry, arguments and
    // include directory were compiled before (a changed include file is not
    // noticed), then links as below. Null with the reason in `errors`;
    // failures are not kept.
    std::shared_ptr<CGLProgram> Get(const SShaderSource& vertex, const SShaderSource& fragment, std::string& errors);
    // Links unless the same two GLSL texts were linked before.
    std::shared_ptr<CGLProgram> Get(const SCompiledShader& vertex, const SCompiledShader& fragment,
                                    std::string& errors);

    // Forgets everything; at device loss and before the context goes.
    // Programs still held elsewhere live on with their holders.
    void Clear();

    size_t CompiledCount() const { return m_compiled.size(); }
    size_t ProgramCount() const { return m_programs.size(); }

private:
    const SCompiledShader* Compile(const SShaderSource& source, std::string& errors);

    std::unordered_map<std::string, SCompiledShader> m_compiled;
    std::unordered_map<std::string, std::shared_ptr<CGLProgram>> m_programs;
};
