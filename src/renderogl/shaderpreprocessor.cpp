#include "renderogl/shaderpreprocessor.h"

#include "app/paths.h"
#include "app/regularfile.h"
#include "renderogl/glslangprocess.h"

#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>

#include <cctype>
#include <regex>
#include <memory>
#include <sstream>

namespace {

// Resolves #include "name" to a file below one directory. The include keeps
// the name it was asked for, so #line directives and errors show that name.
class CDirIncluder : public glslang::TShader::Includer
{
public:
    explicit CDirIncluder(std::string dir) : m_dir(std::move(dir)) {}

    IncludeResult* includeLocal(const char* headerName, const char*, size_t) override
    {
        return Include(headerName);
    }
    IncludeResult* includeSystem(const char* headerName, const char*, size_t) override
    {
        return Include(headerName);
    }
    void releaseInclude(IncludeResult* result) override
    {
        if (result)
            delete static_cast<std::string*>(result->userData);
        delete result;
    }

private:
    IncludeResult* Include(const char* headerName)
    {
        auto text = std::make_unique<std::string>();
        std::string why;
        if (!ReadRegularFile(m_dir + "/" + headerName, FileLimit::Effect, *text, why))
            return nullptr;
        auto* result = new IncludeResult(headerName, text->data(), text->size(), text.get());
        text.release();
        return result;
    }

    std::string m_dir;
};

} // namespace

bool CShaderPreprocessor::Preprocess(std::string_view text, std::string_view name, const std::string& includeDir,
                                     std::string& output, std::string& errors)
{
    CGlslangProcess::Ensure();
    output.clear();
    errors.clear();

    glslang::TShader shader(EShLangFragment);
    const char* strings[] = {text.data()};
    const int lengths[] = {static_cast<int>(text.size())};
    const std::string nameText(name);
    const char* names[] = {nameText.c_str()};
    shader.setStringsWithLengthsAndNames(strings, lengths, names, 1);
    shader.setEnvInput(glslang::EShSourceHlsl, EShLangFragment, glslang::EShClientVulkan, 100);
    shader.setEnvClient(glslang::EShClientVulkan, glslang::EShTargetVulkan_1_0);
    shader.setEnvTarget(glslang::EShTargetSpv, glslang::EShTargetSpv_1_0);

    CDirIncluder includer(includeDir);
    std::string preprocessed;
    const auto messages = static_cast<EShMessages>(EShMsgReadHlsl | EShMsgHlslDX9Compatible);
    if (!shader.preprocess(GetDefaultResources(), 100, ENoProfile, false, false, messages, &preprocessed, includer)) {
        errors = Listing(shader.getInfoLog());
        return false;
    }
    output = "#line 1 \"" + nameText + "\"\n" + preprocessed;
    return true;
}

std::string CShaderPreprocessor::DefaultIncludeDir()
{
    return g_paths.m_appPath + "/nodedata";
}

std::string CShaderPreprocessor::Listing(const std::string& log)
{
    static const std::regex s_line(R"(^(ERROR|WARNING): (.*?):(\d+): (.*)$)");
    std::istringstream in(log);
    std::string result, line;
    std::smatch m;
    while (std::getline(in, line)) {
        while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())))
            line.pop_back();
        if (line.find("HLSL parsing failed") != std::string::npos)
            continue;
        if (std::regex_match(line, m, s_line))
            result += m[2].str() + "(" + m[3].str() + ") : " + (m[1] == "ERROR" ? "error" : "warning") + ": " +
                      m[4].str() + "\n";
        else if (!line.empty() && line.find("compilation errors") == std::string::npos &&
                 line.find("No code generated") == std::string::npos)
            result += line + "\n";
    }
    return result;
}
