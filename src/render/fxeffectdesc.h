#pragma once

#include <string>
#include <string_view>
#include <vector>

// Named types of effect parameters. float4x4 keeps 1064, the number matrix
// parameters are known by; the others only need to differ.
enum EFxType
{
    FT_Unknown = 0,
    FT_Bool = 1114,
    FT_Int = 1093,
    FT_Half = 1025,
    FT_Float = 1045,
    FT_Float2 = 1046,
    FT_Float3 = 1047,
    FT_Float4 = 1048,
    FT_Float2x2 = 1054,
    FT_Float3x3 = 1059,
    FT_Float4x4 = 1064,
    FT_Sampler1D = 1065,
    FT_Sampler2D = 1066,
    FT_Sampler3D = 1067,
    FT_SamplerCube = 1069,
    FT_String = 1135,
    FT_Texture = 1137,
};

// Number of floats a value of the type holds; 0 for samplers and the like.
int FxTypeFloats(EFxType type);
bool FxTypeIsSampler(EFxType type);
// The type named by an effect's type keyword ("float4", "half3x3",
// "sampler2D", "texture2D"), FT_Unknown for anything else.
EFxType FxTypeFromName(std::string_view name);

// A value on the right of a state assignment: either a program compile or a
// list of words and numbers ("SrcAlpha", "0.5", "true"), constructor names
// and braces taken away.
struct SFxStateValue
{
    bool m_isCompile = false;
    std::string m_profile;
    std::string m_entry;
    std::vector<std::string> m_arguments; // the argument texts of the entry
    std::vector<std::string> m_words;
};

struct SFxStateAssignment
{
    std::string m_name;
    int m_index = 0; // the [n] after the name, if any
    SFxStateValue m_value;
    int m_line = 0;
};

struct SFxPassDesc
{
    std::string m_name;
    std::vector<SFxStateAssignment> m_states;
    // Indexes into m_states of the two programs, -1 if the pass has none.
    int m_vertexProgram = -1;
    int m_fragmentProgram = -1;
};

struct SFxTechniqueDesc
{
    std::string m_name;
    std::vector<SFxPassDesc> m_passes;
};

// A global parameter of an effect: a uniform value, a sampler with its
// sampler states, or a texture object that samplers name.
struct SFxParamDesc
{
    std::string m_name;
    EFxType m_type = FT_Unknown;
    std::string m_semantic;
    int m_arraySize = 0; // 0 when not an array
    std::vector<float> m_initialValues;
    std::vector<SFxStateAssignment> m_samplerStates;
    int m_line = 0;
};

// An effect file taken apart: its parameters, techniques and passes, and
// the shading code with everything that is not shading code blanked out,
// line for line, so that compiler messages keep the effect's line numbers.
struct SFxEffectDesc
{
    std::vector<SFxParamDesc> m_params;
    std::vector<SFxTechniqueDesc> m_techniques;
    std::string m_code;
};
