#include "renderogl/fxstateogl.h"

#include "app/textnumber.h"
#include "app/textutil.h"

#include <GL/glew.h>

#include <string_view>

namespace {

struct SWord
{
    const char* name;
    unsigned value;
};

// Blend factors under their OpenGL and Direct3D names.
constexpr SWord s_blendFactors[] = {
    {"Zero", GL_ZERO},
    {"One", GL_ONE},
    {"SrcColor", GL_SRC_COLOR},
    {"OneMinusSrcColor", GL_ONE_MINUS_SRC_COLOR},
    {"InvSrcColor", GL_ONE_MINUS_SRC_COLOR},
    {"SrcAlpha", GL_SRC_ALPHA},
    {"OneMinusSrcAlpha", GL_ONE_MINUS_SRC_ALPHA},
    {"InvSrcAlpha", GL_ONE_MINUS_SRC_ALPHA},
    {"DstAlpha", GL_DST_ALPHA},
    {"DestAlpha", GL_DST_ALPHA},
    {"OneMinusDstAlpha", GL_ONE_MINUS_DST_ALPHA},
    {"OneMinusDestAlpha", GL_ONE_MINUS_DST_ALPHA},
    {"InvDestAlpha", GL_ONE_MINUS_DST_ALPHA},
    {"DstColor", GL_DST_COLOR},
    {"DestColor", GL_DST_COLOR},
    {"OneMinusDstColor", GL_ONE_MINUS_DST_COLOR},
    {"OneMinusDestColor", GL_ONE_MINUS_DST_COLOR},
    {"InvDestColor", GL_ONE_MINUS_DST_COLOR},
    {"SrcAlphaSaturate", GL_SRC_ALPHA_SATURATE},
    {"SrcAlphaSat", GL_SRC_ALPHA_SATURATE},
    {"ConstantColor", GL_CONSTANT_COLOR},
    {"BlendFactor", GL_CONSTANT_COLOR},
    {"OneMinusConstantColor", GL_ONE_MINUS_CONSTANT_COLOR},
    {"InvBlendFactor", GL_ONE_MINUS_CONSTANT_COLOR},
    {"ConstantAlpha", GL_CONSTANT_ALPHA},
    {"OneMinusConstantAlpha", GL_ONE_MINUS_CONSTANT_ALPHA},
};

constexpr SWord s_blendEquations[] = {
    {"FuncAdd", GL_FUNC_ADD},         {"Add", GL_FUNC_ADD},
    {"FuncSubtract", GL_FUNC_SUBTRACT}, {"Subtract", GL_FUNC_SUBTRACT},
    {"FuncReverseSubtract", GL_FUNC_REVERSE_SUBTRACT}, {"RevSubtract", GL_FUNC_REVERSE_SUBTRACT},
    {"Min", GL_MIN},                  {"Max", GL_MAX},
};

constexpr SWord s_compareFunctions[] = {
    {"Never", GL_NEVER},     {"Less", GL_LESS},         {"LEqual", GL_LEQUAL},   {"LessEqual", GL_LEQUAL},
    {"Equal", GL_EQUAL},     {"Greater", GL_GREATER},   {"NotEqual", GL_NOTEQUAL}, {"GEqual", GL_GEQUAL},
    {"GreaterEqual", GL_GEQUAL}, {"Always", GL_ALWAYS},
};

constexpr SWord s_faces[] = {
    {"Front", GL_FRONT}, {"Back", GL_BACK}, {"FrontAndBack", GL_FRONT_AND_BACK},
};

// Direct3D names the winding that is culled; with counter-clockwise front
// faces, clockwise ones are the back.
constexpr SWord s_cullModes[] = {
    {"None", 0}, {"CW", GL_BACK}, {"CCW", GL_FRONT},
};

constexpr SWord s_windings[] = {
    {"CW", GL_CW}, {"CCW", GL_CCW},
};

constexpr SWord s_polygonModes[] = {
    {"Fill", GL_FILL}, {"Solid", GL_FILL}, {"Line", GL_LINE}, {"Wireframe", GL_LINE}, {"Point", GL_POINT},
};

constexpr SWord s_colorBits[] = {
    {"Red", 1}, {"Green", 2}, {"Blue", 4}, {"Alpha", 8},
};

struct SCapability
{
    const char* name;
    unsigned capability;
};

constexpr SCapability s_capabilities[] = {
    {"BlendEnable", GL_BLEND},
    {"AlphaBlendEnable", GL_BLEND},
    {"DepthTestEnable", GL_DEPTH_TEST},
    {"ZEnable", GL_DEPTH_TEST},
    {"CullFaceEnable", GL_CULL_FACE},
    {"AlphaTestEnable", GL_ALPHA_TEST},
    {"StencilTestEnable", GL_STENCIL_TEST},
    {"StencilEnable", GL_STENCIL_TEST},
    {"PolygonOffsetFillEnable", GL_POLYGON_OFFSET_FILL},
    {"DitherEnable", GL_DITHER},
    {"MultisampleEnable", GL_MULTISAMPLE},
    {"MultiSampleAntialias", GL_MULTISAMPLE},
    {"LineSmoothEnable", GL_LINE_SMOOTH},
    {"PointSmoothEnable", GL_POINT_SMOOTH},
    {"ScissorTestEnable", GL_SCISSOR_TEST},
    {"LightingEnable", GL_LIGHTING},
    {"DepthClampEnable", GL_DEPTH_CLAMP},
};

class CValueReader
{
public:
    CValueReader(const SFxStateAssignment& a, std::string& error) : m_a(a), m_error(error) {}

    bool Count(size_t n)
    {
        if (m_a.m_value.m_words.size() == n)
            return true;
        return Fail("takes " + std::to_string(n) + (n == 1 ? " value" : " values"));
    }
    bool Word(size_t i, const SWord* table, size_t size, unsigned& out)
    {
        const std::string& word = m_a.m_value.m_words[i];
        for (size_t k = 0; k < size; ++k) {
            if (EqualNoCase(word, table[k].name)) {
                out = table[k].value;
                return true;
            }
        }
        return Fail("does not know '" + word + "'");
    }
    template <size_t N>
    bool Word(size_t i, const SWord (&table)[N], unsigned& out)
    {
        return Word(i, table, N, out);
    }
    bool Bool(size_t i, float& out)
    {
        const std::string& word = m_a.m_value.m_words[i];
        if (EqualNoCase(word, "true")) {
            out = 1;
            return true;
        }
        if (EqualNoCase(word, "false")) {
            out = 0;
            return true;
        }
        float number = 0;
        if (!ParseFloat(word, number))
            return Fail("wants true or false, not '" + word + "'");
        out = number != 0 ? 1.0f : 0.0f;
        return true;
    }
    bool Number(size_t i, float& out)
    {
        const std::string& word = m_a.m_value.m_words[i];
        if (EqualNoCase(word, "true") || EqualNoCase(word, "false")) {
            out = EqualNoCase(word, "true") ? 1.0f : 0.0f;
            return true;
        }
        if (ParseFloat(word, out))
            return true;
        return Fail("wants a number, not '" + word + "'");
    }
    bool Fail(const std::string& what)
    {
        m_error = "line " + std::to_string(m_a.m_line) + ": state '" + m_a.m_name + "' " + what;
        return false;
    }

private:
    const SFxStateAssignment& m_a;
    std::string& m_error;
};

void SetEnabled(unsigned capability, bool on)
{
    if (on)
        glEnable(capability);
    else
        glDisable(capability);
}

} // namespace

bool CFxStateOGL::Compile(const SFxStateAssignment& a, std::string& error)
{
    CValueReader r(a, error);
    const std::string& name = a.m_name;
    const size_t words = a.m_value.m_words.size();
    auto is = [&](const char* n) { return EqualNoCase(name, n); };

    for (const SCapability& c : s_capabilities) {
        if (is(c.name)) {
            m_op = EOp::Enable;
            m_enums[0] = c.capability;
            return r.Count(1) && r.Bool(0, m_floats[0]);
        }
    }
    if (is("BlendFunc")) {
        m_op = EOp::BlendFunc;
        return r.Count(2) && r.Word(0, s_blendFactors, m_enums[0]) && r.Word(1, s_blendFactors, m_enums[1]);
    }
    if (is("BlendFuncSeparate")) {
        m_op = EOp::BlendFuncSeparate;
        if (!r.Count(4))
            return false;
        for (size_t i = 0; i < 4; ++i)
            if (!r.Word(i, s_blendFactors, m_enums[i]))
                return false;
        return true;
    }
    if (is("SrcBlend") || is("DestBlend")) {
        m_op = is("SrcBlend") ? EOp::BlendSrc : EOp::BlendDst;
        return r.Count(1) && r.Word(0, s_blendFactors, m_enums[0]);
    }
    if (is("BlendEquation") || is("BlendOp")) {
        m_op = EOp::BlendEquation;
        return r.Count(1) && r.Word(0, s_blendEquations, m_enums[0]);
    }
    if (is("BlendColor")) {
        m_op = EOp::BlendColor;
        if (!r.Count(4))
            return false;
        for (size_t i = 0; i < 4; ++i)
            if (!r.Number(i, m_floats[i]))
                return false;
        return true;
    }
    if (is("DepthMask") || is("ZWriteEnable")) {
        m_op = EOp::DepthMask;
        return r.Count(1) && r.Bool(0, m_floats[0]);
    }
    if (is("DepthFunc") || is("ZFunc")) {
        m_op = EOp::DepthFunc;
        return r.Count(1) && r.Word(0, s_compareFunctions, m_enums[0]);
    }
    if (is("CullFace")) {
        m_op = EOp::CullFace;
        return r.Count(1) && r.Word(0, s_faces, m_enums[0]);
    }
    if (is("CullMode")) {
        m_op = EOp::CullMode;
        return r.Count(1) && r.Word(0, s_cullModes, m_enums[0]);
    }
    if (is("FrontFace")) {
        m_op = EOp::FrontFace;
        return r.Count(1) && r.Word(0, s_windings, m_enums[0]);
    }
    if (is("AlphaFunc")) {
        // OpenGL style: AlphaFunc = float2(Greater, 0.5); Direct3D style:
        // AlphaFunc = Greater with AlphaRef on its own.
        m_op = words == 2 ? EOp::AlphaFunc : EOp::AlphaFuncOnly;
        if (words != 1 && !r.Count(2))
            return false;
        return r.Word(0, s_compareFunctions, m_enums[0]) && (words == 1 || r.Number(1, m_floats[0]));
    }
    if (is("AlphaRef")) {
        m_op = EOp::AlphaRef;
        if (!r.Count(1) || !r.Number(0, m_floats[0]))
            return false;
        // Direct3D gives the reference in 0..255.
        if (m_floats[0] > 1.0f)
            m_floats[0] /= 255.0f;
        return true;
    }
    if (is("ColorMask")) {
        m_op = EOp::ColorMask;
        if (!r.Count(4))
            return false;
        for (size_t i = 0; i < 4; ++i)
            if (!r.Bool(i, m_floats[i]))
                return false;
        return true;
    }
    if (is("ColorWriteEnable")) {
        m_op = EOp::ColorMask;
        unsigned bits = 0;
        for (size_t i = 0; i < words; ++i) {
            float number = 0;
            unsigned bit = 0;
            if (ParseFloat(a.m_value.m_words[i], number))
                bits |= static_cast<unsigned>(number);
            else if (r.Word(i, s_colorBits, bit))
                bits |= bit;
            else
                return false;
        }
        for (size_t i = 0; i < 4; ++i)
            m_floats[i] = (bits >> i) & 1u ? 1.0f : 0.0f;
        return true;
    }
    if (is("PolygonMode")) {
        m_op = EOp::PolygonMode;
        return r.Count(2) && r.Word(0, s_faces, m_enums[0]) && r.Word(1, s_polygonModes, m_enums[1]);
    }
    if (is("FillMode")) {
        m_op = EOp::PolygonMode;
        m_enums[0] = GL_FRONT_AND_BACK;
        return r.Count(1) && r.Word(0, s_polygonModes, m_enums[1]);
    }
    if (is("PolygonOffset")) {
        m_op = EOp::PolygonOffset;
        return r.Count(2) && r.Number(0, m_floats[0]) && r.Number(1, m_floats[1]);
    }
    if (is("PointSize") || is("LineWidth")) {
        m_op = is("PointSize") ? EOp::PointSize : EOp::LineWidth;
        return r.Count(1) && r.Number(0, m_floats[0]);
    }
    error = "line " + std::to_string(a.m_line) + ": unknown state '" + name + "'";
    return false;
}

void CFxStateOGL::Apply() const
{
    switch (m_op) {
    case EOp::Enable: SetEnabled(m_enums[0], m_floats[0] != 0); break;
    case EOp::BlendFunc: glBlendFunc(m_enums[0], m_enums[1]); break;
    case EOp::BlendFuncSeparate: glBlendFuncSeparate(m_enums[0], m_enums[1], m_enums[2], m_enums[3]); break;
    case EOp::BlendSrc:
    case EOp::BlendDst: {
        GLint src = GL_ONE, dst = GL_ZERO;
        glGetIntegerv(GL_BLEND_SRC_RGB, &src);
        glGetIntegerv(GL_BLEND_DST_RGB, &dst);
        if (m_op == EOp::BlendSrc)
            glBlendFunc(m_enums[0], static_cast<GLenum>(dst));
        else
            glBlendFunc(static_cast<GLenum>(src), m_enums[0]);
        break;
    }
    case EOp::BlendEquation: glBlendEquation(m_enums[0]); break;
    case EOp::BlendColor: glBlendColor(m_floats[0], m_floats[1], m_floats[2], m_floats[3]); break;
    case EOp::DepthMask: glDepthMask(m_floats[0] != 0 ? GL_TRUE : GL_FALSE); break;
    case EOp::DepthFunc: glDepthFunc(m_enums[0]); break;
    case EOp::CullFace: glCullFace(m_enums[0]); break;
    case EOp::CullMode:
        SetEnabled(GL_CULL_FACE, m_enums[0] != 0);
        if (m_enums[0] != 0)
            glCullFace(m_enums[0]);
        break;
    case EOp::FrontFace: glFrontFace(m_enums[0]); break;
    case EOp::AlphaFunc: glAlphaFunc(m_enums[0], m_floats[0]); break;
    case EOp::AlphaFuncOnly:
    case EOp::AlphaRef: {
        GLint func = GL_ALWAYS;
        GLfloat ref = 0;
        glGetIntegerv(GL_ALPHA_TEST_FUNC, &func);
        glGetFloatv(GL_ALPHA_TEST_REF, &ref);
        if (m_op == EOp::AlphaFuncOnly)
            glAlphaFunc(m_enums[0], ref);
        else
            glAlphaFunc(static_cast<GLenum>(func), m_floats[0]);
        break;
    }
    case EOp::ColorMask:
        glColorMask(m_floats[0] != 0, m_floats[1] != 0, m_floats[2] != 0, m_floats[3] != 0);
        break;
    case EOp::PolygonMode: glPolygonMode(m_enums[0], m_enums[1]); break;
    case EOp::PolygonOffset: glPolygonOffset(m_floats[0], m_floats[1]); break;
    case EOp::PointSize: glPointSize(m_floats[0]); break;
    case EOp::LineWidth: glLineWidth(m_floats[0]); break;
    }
}

void CFxStateOGL::Reset() const
{
    switch (m_op) {
    case EOp::Enable: SetEnabled(m_enums[0], m_enums[0] == GL_DITHER || m_enums[0] == GL_MULTISAMPLE); break;
    case EOp::BlendFunc:
    case EOp::BlendFuncSeparate:
    case EOp::BlendSrc:
    case EOp::BlendDst: glBlendFunc(GL_ONE, GL_ZERO); break;
    case EOp::BlendEquation: glBlendEquation(GL_FUNC_ADD); break;
    case EOp::BlendColor: glBlendColor(0, 0, 0, 0); break;
    case EOp::DepthMask: glDepthMask(GL_TRUE); break;
    case EOp::DepthFunc: glDepthFunc(GL_LESS); break;
    case EOp::CullFace: glCullFace(GL_BACK); break;
    case EOp::CullMode:
        glDisable(GL_CULL_FACE);
        glCullFace(GL_BACK);
        break;
    case EOp::FrontFace: glFrontFace(GL_CCW); break;
    case EOp::AlphaFunc:
    case EOp::AlphaFuncOnly:
    case EOp::AlphaRef: glAlphaFunc(GL_ALWAYS, 0); break;
    case EOp::ColorMask: glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE); break;
    case EOp::PolygonMode: glPolygonMode(GL_FRONT_AND_BACK, GL_FILL); break;
    case EOp::PolygonOffset: glPolygonOffset(0, 0); break;
    case EOp::PointSize: glPointSize(1); break;
    case EOp::LineWidth: glLineWidth(1); break;
    }
}
