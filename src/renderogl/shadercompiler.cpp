#include "renderogl/shadercompiler.h"

#include "app/textutil.h"
#include "renderogl/glslangprocess.h"
#include "renderogl/shaderentrywrapper.h"
#include "renderogl/shaderpreprocessor.h"
#include "renderogl/spirvuniformsplitter.h"

#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>
#include <spirv_cross_c.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <sstream>

namespace {

constexpr std::string_view WrapperName = "entry wrapper";

// Cg's words that HLSL lacks, and replacements where glslang's HLSL differs
// from Cg: its lit() computes the specular term wrongly and its fmod floors
// where Cg truncates toward zero.
constexpr const char* s_preamble = R"(
#define fixed float
#define fixed1 float1
#define fixed2 float2
#define fixed3 float3
#define fixed4 float4
#define fixed2x2 float2x2
#define fixed3x3 float3x3
#define fixed4x4 float4x4
#define fmod lumora_fmod
#define lit lumora_lit
float lumora_fmod(float a, float b) { return a - b * trunc(a / b); }
float2 lumora_fmod(float2 a, float2 b) { return a - b * trunc(a / b); }
float3 lumora_fmod(float3 a, float3 b) { return a - b * trunc(a / b); }
float4 lumora_fmod(float4 a, float4 b) { return a - b * trunc(a / b); }
float4 lumora_lit(float n_dot_l, float n_dot_h, float m)
{
    return float4(1.0, max(n_dot_l, 0.0), (n_dot_l < 0.0 || n_dot_h < 0.0) ? 0.0 : pow(n_dot_h, m), 1.0);
}
)";

// The wrapper's text with line numbers, for errors found in it.
std::string Numbered(const std::string& text)
{
    std::istringstream in(text);
    std::string result, line;
    for (int n = 1; std::getline(in, line); ++n)
        result += std::to_string(n) + ": " + line + "\n";
    return result;
}

struct SSpvcContext
{
    SSpvcContext() { spvc_context_create(&context); }
    ~SSpvcContext()
    {
        if (context)
            spvc_context_destroy(context);
    }
    SSpvcContext(const SSpvcContext&) = delete;
    SSpvcContext& operator=(const SSpvcContext&) = delete;

    spvc_context context = nullptr;
};

bool ToGlsl(const std::vector<uint32_t>& spirv, std::vector<CSpirvUniformSplitter::SUniform>& uniforms,
            SCompiledShader& result, std::string& errors)
{
    SSpvcContext spvc;
    spvc_parsed_ir ir = nullptr;
    spvc_compiler compiler = nullptr;
    spvc_compiler_options options = nullptr;
    const char* glsl = nullptr;
    if (!spvc.context || spvc_context_parse_spirv(spvc.context, spirv.data(), spirv.size(), &ir) != SPVC_SUCCESS ||
        spvc_context_create_compiler(spvc.context, SPVC_BACKEND_GLSL, ir, SPVC_CAPTURE_MODE_TAKE_OWNERSHIP,
                                     &compiler) != SPVC_SUCCESS ||
        spvc_compiler_create_compiler_options(compiler, &options) != SPVC_SUCCESS) {
        errors = std::string("SPIR-V to GLSL: ") + (spvc.context ? spvc_context_get_last_error_string(spvc.context) : "");
        return false;
    }
    spvc_compiler_options_set_uint(options, SPVC_COMPILER_OPTION_GLSL_VERSION, 330);
    spvc_compiler_options_set_bool(options, SPVC_COMPILER_OPTION_GLSL_ES, SPVC_FALSE);
    spvc_compiler_options_set_bool(options, SPVC_COMPILER_OPTION_GLSL_ENABLE_420PACK_EXTENSION, SPVC_FALSE);
    spvc_compiler_options_set_bool(options, SPVC_COMPILER_OPTION_GLSL_EMIT_UNIFORM_BUFFER_AS_PLAIN_UNIFORMS, SPVC_TRUE);
    // INSTANCEID is gl_InstanceID itself; draws never start at another instance.
    spvc_compiler_options_set_bool(options, SPVC_COMPILER_OPTION_GLSL_SUPPORT_NONZERO_BASE_INSTANCE, SPVC_FALSE);
    spvc_compiler_install_compiler_options(compiler, options);
    if (spvc_compiler_compile(compiler, &glsl) != SPVC_SUCCESS) {
        errors = std::string("SPIR-V to GLSL: ") + spvc_context_get_last_error_string(spvc.context);
        return false;
    }
    result.glsl = glsl;
    // Names that are reserved words in GLSL come out changed ("input" as "_input").
    for (auto& u : uniforms) {
        u.info.glslName = spvc_compiler_get_name(compiler, u.id);
        result.uniforms.push_back(u.info);
    }

    spvc_resources resources = nullptr;
    if (spvc_compiler_create_shader_resources(compiler, &resources) != SPVC_SUCCESS)
        return true;
    const spvc_reflected_resource* list = nullptr;
    size_t count = 0;
    const bool vertex = result.stage == EShaderStage::Vertex;
    spvc_resources_get_resource_list_for_type(
        resources, vertex ? SPVC_RESOURCE_TYPE_STAGE_OUTPUT : SPVC_RESOURCE_TYPE_STAGE_INPUT, &list, &count);
    for (size_t i = 0; i < count; ++i) {
        const std::string_view name = spvc_compiler_get_name(compiler, list[i].id);
        if (name.starts_with("var_"))
            result.varyings.emplace_back(name.substr(4));
    }
    if (vertex) {
        // Attributes the optimiser dropped are not there to bind.
        spvc_resources_get_resource_list_for_type(resources, SPVC_RESOURCE_TYPE_STAGE_INPUT, &list, &count);
        std::vector<SShaderAttribute> present;
        for (const SShaderAttribute& a : result.attributes)
            for (size_t i = 0; i < count; ++i)
                if (a.glslName == spvc_compiler_get_name(compiler, list[i].id))
                    present.push_back(a);
        result.attributes = std::move(present);
    }
    return true;
}

} // namespace

bool CShaderCompiler::Compile(const SShaderSource& source, SCompiledShader& result, std::string& errors)
{
    result = SCompiledShader{};
    result.stage = source.stage;
    errors.clear();
    EShaderStage profileStage = source.stage;
    if (CShaderCompiler::StageOfProfile(source.profile, profileStage) && profileStage != source.stage) {
        errors = std::string(source.name) + " : error: profile " + std::string(source.profile) + " compiles " +
                 (profileStage == EShaderStage::Vertex ? "vertex" : "fragment") + " programs\n";
        return false;
    }

    // Macros and conditionals are resolved first, so that the entry's
    // signature is read from the code that will compile.
    std::string code;
    const std::string includeDir =
        source.includeDir.empty() ? CShaderPreprocessor::DefaultIncludeDir() : source.includeDir;
    if (!CShaderPreprocessor::Preprocess(source.code, source.name, includeDir, code, errors))
        return false;

    CShaderEntryWrapper wrapper;
    std::string wrapperError;
    if (!wrapper.Build(code, source.stage, source.entry, source.entryArgs, wrapperError)) {
        errors = std::string(source.name) + " : error: " + wrapperError + "\n";
        return false;
    }
    result.attributes = wrapper.Attributes();

    const EShLanguage stage = source.stage == EShaderStage::Vertex ? EShLangVertex : EShLangFragment;
    const std::string entryName(CShaderEntryWrapper::EntryName);
    const std::string wrapperText = wrapper.Text();
    const std::string sourceName(source.name);
    const char* strings[] = {code.c_str(), wrapperText.c_str()};
    const char* names[] = {sourceName.c_str(), WrapperName.data()};
    const int lengths[] = {static_cast<int>(code.size()), static_cast<int>(wrapperText.size())};

    std::vector<uint32_t> spirv;
    {
        glslang::TShader shader(stage);
        shader.setStringsWithLengthsAndNames(strings, lengths, names, 2);
        shader.setPreamble(s_preamble);
        shader.setEntryPoint(entryName.c_str());
        shader.setEnvInput(glslang::EShSourceHlsl, stage, glslang::EShClientVulkan, 100);
        shader.setEnvClient(glslang::EShClientVulkan, glslang::EShTargetVulkan_1_0);
        shader.setEnvTarget(glslang::EShTargetSpv, glslang::EShTargetSpv_1_0);
        // Keeps the semantics in the SPIR-V, where the uniforms' are read.
        shader.setEnvTargetHlslFunctionality1();
        shader.setAutoMapBindings(true);
        shader.setAutoMapLocations(true);
        // Without the DX9 flag, sampler2D and tex2D are unknown.
        const auto messages = static_cast<EShMessages>(EShMsgReadHlsl | EShMsgSpvRules | EShMsgVulkanRules |
                                                       EShMsgHlslDX9Compatible);
        if (!shader.parse(GetDefaultResources(), 100, false, messages)) {
            errors = CShaderPreprocessor::Listing(shader.getInfoLog());
            if (errors.find(std::string(WrapperName) + "(") != std::string::npos)
                errors += "The entry wrapper:\n" + Numbered(wrapperText);
            return false;
        }
        glslang::TProgram program;
        program.addShader(&shader);
        if (!program.link(messages) || !program.mapIO()) {
            errors = CShaderPreprocessor::Listing(program.getInfoLog());
            return false;
        }
        glslang::SpvOptions options;
        // glslang's HLSL needs the optimiser's legalisation passes to give
        // SPIR-V that the rest of the chain accepts.
        options.disableOptimizer = false;
        spv::SpvBuildLogger logger;
        glslang::GlslangToSpv(*program.getIntermediate(stage), spirv, &logger, &options);
        if (spirv.empty()) {
            errors = "SPIR-V generation failed: " + logger.getAllMessages();
            return false;
        }
    }

    std::vector<CSpirvUniformSplitter::SUniform> uniforms;
    std::string error;
    if (!CSpirvUniformSplitter::Split(spirv, uniforms, error)) {
        errors = std::string(source.name) + " : error: " + error + "\n";
        return false;
    }
    return ToGlsl(spirv, uniforms, result, errors);
}

bool CShaderCompiler::StageOfProfile(std::string_view profile, EShaderStage& stage)
{
    const std::string p = AsciiLower(profile);
    for (std::string_view prefix : {"vs_", "vp", "arbvp", "glslv", "gp4vp", "hlslv"})
        if (p.starts_with(prefix)) {
            stage = EShaderStage::Vertex;
            return true;
        }
    for (std::string_view prefix : {"ps_", "fp", "arbfp", "glslf", "gp4fp", "hlslf"})
        if (p.starts_with(prefix)) {
            stage = EShaderStage::Fragment;
            return true;
        }
    return false;
}
