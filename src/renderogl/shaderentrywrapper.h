#pragma once

#include "renderogl/shadertypes.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

// Writes the entry point that the shading code is really compiled with. It
// calls the program's own entry function and stands between it and the
// pipeline:
// - compile arguments (`compile vp40 main(0.5)`) go to the entry's uniform
//   parameters as constants; uniform parameters left over become uniforms;
// - every varying input and output, in structs or not, becomes a variable of
//   its own named after its semantic (attr_TEXCOORD0, var_TEXCOORD0), and
//   varyings are widened to float4, so that programs written apart still
//   match at link;
// - vertex inputs get the generic attribute number of their semantic;
// - POSITION, DEPTH, VPOS, PSIZE and FACE are declared through the system
//   values that glslang recognises in every position, and so are the vertex
//   program's VERTEXID and INSTANCEID (gl_VertexID, gl_InstanceID).
class CShaderEntryWrapper
{
public:
    static constexpr std::string_view EntryName = "lumora_entry";

    // Reads the entry function and the structs it uses from `code` (after
    // preprocessing) and writes the wrapper. False with a message in `error`
    // when the entry is missing or its signature cannot be served.
    bool Build(std::string_view code, EShaderStage stage, std::string_view entry, std::span<const std::string> args,
               std::string& error);

    // HLSL to append after the code.
    const std::string& Text() const { return m_text; }
    const std::vector<SShaderAttribute>& Attributes() const { return m_attributes; }

    // The generic attribute number of a vertex input semantic; -1 if unknown.
    static int AttributeLocation(std::string_view semantic);

private:
    // A declared variable: a struct member or an entry parameter.
    struct SVariable
    {
        std::string type;
        std::string name;
        std::string semantic; // canonical, see CanonicalSemantic
        int arraySize = 0;
        bool in = true;
        bool out = false;
        bool uniform = false;
    };
    struct SStruct
    {
        std::string name;
        std::vector<SVariable> members;
    };
    // One value that crosses the program's boundary: `path` reaches it from
    // the wrapper's local copy of an entry parameter or result.
    struct SLeaf
    {
        std::string type;
        std::string semantic;
        std::string path;
    };

    bool Flatten(const std::string& type, const std::string& semantic, const std::string& path,
                 std::vector<SLeaf>& leaves, std::string& error, int depth) const;
    bool AddInput(const SLeaf& leaf, std::string& assignment, std::string& error);
    bool AddOutput(const SLeaf& leaf, std::string& assignment, std::string& error);

    EShaderStage m_stage = EShaderStage::Vertex;
    std::vector<SStruct> m_structs;
    std::vector<std::string> m_params;
    std::vector<std::string> m_inputSemantics;
    std::vector<std::string> m_outputSemantics;
    std::vector<SShaderAttribute> m_attributes;
    std::string m_text;
};
