#include "nodes/object/textwriternode.h"

#include "app/random.h"
#include "ports/types/portbool.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portstring.h"
#include "ports/types/portvector.h"
#include "render/fastmath.h"
#include "render/rendertypes.h"
#include "scene/nodedeclaration.h"
#include "scene/scenecontext.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr const char* kDefaultExpression = "pos.x = pos.x + noise2(age, charnr)*(1-age)*2;\r\n"
                                           "pos.y = pos.y + noise2(age, charnr*2)*(1-age)*2;\r\n"
                                           "width = width * age;\r\n"
                                           "height = height * age;\r\n"
                                           "col.a = age;\r\n";

constexpr const char* kExpressionDescription =
    "Expression evaluated for each character while it is young.\nInputs: pos.x/y/z (the centre of the glyph), "
    "width, height, age (0 when written, 1 after CharExpressionTime), charnr, numchars, linenr, numlines, time and "
    "permrand.\nOutputs: pos.x/y/z, rot.x/y/z (degrees), width, height, col.r/g/b/a.";

// Packs a colour given as doubles, clamped to 0..1.
uint32_t Pack(const double* rgba)
{
    return PackColor(float(rgba[0]), float(rgba[1]), float(rgba[2]), float(rgba[3]));
}

} // namespace

template <>
CNodeDeclaration DeclareNode<CTextWriterNode>()
{
    using C = CTextWriterNode;
    return {
        In(&C::m_textAlign, "TextAlign", "How to align the text",
           {1, 0, 3, {{0, "Left"}, {1, "Center"}, {2, "Right"}, {3, "Justify"}}}),
        In(&C::m_pos, "Pos", "Position of the text", {{0, 0, 0}, 0.1f, 10000.0f}),
        In(&C::m_useCharsPerSec, "UseCharsPerSec", "Will write all text directly if false", true),
        In(&C::m_charsPerSec, "CharsPerSec", "Number of characters to write per second", {2.0f, 1.0f, 0.0f, 10000.0f}),
        In(&C::m_charExpressionTime, "CharExpressionTime",
           "How long of the chars life the expression should be evaluated (sec)", {2.0f, 1.0f, 0.0f, 10000.0f}),
        In(&C::m_resetDelay, "ResetDelay",
           "How many seconds to wait before the writer starts over when all text has been written. Set to -1 to "
           "disable and never restart the writer",
           {3.0f, 1.0f, -1.0f, 10000.0f}),
        In(&C::m_textLines, "TextLines", "The text to write. Each line end starts a new line", "Hello\r\nworld!"),
        In(&C::m_randomSeed, "RandomSeed", "Random seed to be used by the rand() and srand() functions",
           {1, 1, 100000}),
        In(&C::m_expression, "Expression", kExpressionDescription, kDefaultExpression),
        Inherited<C>(CTextEffectNode::StatePorts()),
        Inherited<C>(CTextEffectNode::EffectPorts()),
    };
}

bool CTextWriterNode::Init()
{
    static constexpr const char* names[] = {"pos.x", "pos.y",    "pos.z", "rot.x",  "rot.y",    "rot.z",  "col.r",
                                            "col.g", "col.b",    "col.a", "charnr", "numchars", "linenr", "numlines",
                                            "time",  "permrand", "width", "height", "age"};
    static_assert(std::size(names) == V_Count);
    m_expressionContext.AddVariables(names, m_variables);
    m_variables[V_PermRand] = g_random.NextUnit();
    return true;
}

void CTextWriterNode::Restart()
{
    m_released = 0;
    m_releaseTimer = 0.0f;
    m_completedAt = -1.0f;
    std::fill(m_characters.begin(), m_characters.end(), SCharacter{});
}

void CTextWriterNode::SetText(const std::string& text)
{
    m_text.clear();
    std::copy_if(text.begin(), text.end(), std::back_inserter(m_text), [](char c) { return c != '\r'; });
    m_glyphIndex.clear();
    m_glyphLine.clear();
    int line = 0;
    for (size_t i = 0; i < m_text.size(); ++i) {
        if (m_text[i] == '\n') {
            // Empty lines take no room in the layout.
            if (i > 0 && m_text[i - 1] != '\n')
                ++line;
            continue;
        }
        m_glyphIndex.push_back(int(i));
        m_glyphLine.push_back(line);
    }
    m_lineCount = m_glyphIndex.empty() ? 0 : m_glyphLine.back() + 1;
    m_characters.assign(m_text.size(), SCharacter{});
    // The font's room grows with the text; it is never below the usual 50.
    LoadFont("nodedata/fonts/font1.fnt", std::max<int>(50, int(m_glyphIndex.size())));
    m_hasText = true;
    Restart();
}

void CTextWriterNode::Release(float deltaTime, float sceneTime)
{
    const int length = int(m_text.size());
    if (!m_useCharsPerSec->m_value) {
        m_released = length;
    } else {
        m_releaseTimer += deltaTime;
        const int count = int(m_charsPerSec->m_value * m_releaseTimer);
        if (count > 0) {
            m_releaseTimer = 0.0f;
            // A line end ends the step, so a new line begins at the next.
            for (int i = 0; i < count && m_released < length; ++i) {
                if (m_text[size_t(m_released++)] == '\n')
                    break;
            }
        }
    }
    if (m_released < length || m_resetDelay->m_value < 0.0f)
        return;
    if (m_completedAt < 0.0f)
        m_completedAt = sceneTime;
    else if (sceneTime - m_completedAt >= m_resetDelay->m_value)
        Restart();
}

void CTextWriterNode::Update(float time, CSceneContext* context)
{
    if (context && context->m_restarted)
        Restart();
    UpdateInPorts(time);
    UpdateEffectInputs(context);
    if (m_expression->m_changed)
        m_expressionContext.Parse(m_expression->m_value);
    if (m_textLines->m_changed || !m_hasText)
        SetText(m_textLines->m_value);
    m_expressionContext.SeedRandom(uint32_t(m_randomSeed->m_value));

    const float deltaTime = context ? context->m_deltaTime : 0.0f;
    const float sceneTime = context ? context->m_time : time;
    Release(deltaTime, sceneTime);

    m_evaluate = m_expressionContext.IsValid();
    m_variables[V_Time] = sceneTime;
    m_variables[V_NumChars] = double(m_glyphIndex.size());
    m_variables[V_NumLines] = double(m_lineCount);
    m_nextGlyph = 0;
    m_font.ClearText();
    m_font.m_characterCallback = &CTextWriterNode::WriteCharacter;
    m_font.m_characterUser = this;
    const auto& pos = m_pos->m_value;
    const int align = m_textAlign->m_value == CFont::Align_Justify ? CFont::Align_Left : m_textAlign->m_value;
    m_font.WriteLines(pos[0], pos[1], pos[2], m_text.c_str(), int(m_text.size()), align);
    m_font.m_characterCallback = nullptr;

    for (int i = 0; i < m_released; ++i)
        m_characters[size_t(i)].age += deltaTime;
}

SQuad* CTextWriterNode::WriteCharacter(void* user, SQuad* quad, int32_t, int32_t, float* position, float width,
                                       float height, float* uv0, float* uv1)
{
    return static_cast<CTextWriterNode*>(user)->Shape(quad, position, width, height, uv0, uv1);
}

SQuad* CTextWriterNode::Shape(SQuad* quad, const float* position, float width, float height, const float* uv0,
                              const float* uv1)
{
    const int glyph = m_nextGlyph++;
    if (glyph >= int(m_glyphIndex.size()) || m_glyphIndex[size_t(glyph)] >= m_released)
        return nullptr;
    SCharacter& c = m_characters[size_t(m_glyphIndex[size_t(glyph)])];
    if (!c.fixed) {
        const float lifetime = m_charExpressionTime->m_value;
        if (c.age > lifetime) {
            c.age = lifetime;
            c.fixed = true;
        }
        double* v = m_variables.data();
        v[V_PosX] = position[0] + width * 0.5f;
        v[V_PosY] = position[1] - height * 0.5f;
        v[V_PosZ] = position[2];
        v[V_RotX] = v[V_RotY] = v[V_RotZ] = 0.0;
        v[V_ColR] = v[V_ColG] = v[V_ColB] = v[V_ColA] = 1.0;
        v[V_Age] = lifetime > 0.0f ? c.age / lifetime : 1.0;
        v[V_Width] = width;
        v[V_Height] = height;
        v[V_CharNr] = glyph;
        v[V_LineNr] = m_glyphLine[size_t(glyph)];
        if (m_evaluate)
            m_expressionContext.Evaluate();
        for (int i = 0; i < 3; ++i) {
            c.position[i] = float(v[V_PosX + i]);
            c.rotation[i] = float(v[V_RotX + i]);
        }
        c.halfWidth = float(v[V_Width]) * 0.5f;
        c.halfHeight = float(v[V_Height]) * 0.5f;
        c.color = Pack(&v[V_ColR]);
    }

    // The corners around the centre, turned by the character's rotation.
    SVec3 right{c.halfWidth, 0, 0}, up{0, c.halfHeight, 0};
    if (c.rotation[0] != 0.0f || c.rotation[1] != 0.0f || c.rotation[2] != 0.0f) {
        const CMatrix turn = MatrixRotation(c.rotation[0] * DegreesToRadians, c.rotation[1] * DegreesToRadians,
                                            c.rotation[2] * DegreesToRadians);
        right = SVec3{turn[0], turn[1], turn[2]} * c.halfWidth;
        up = SVec3{turn[4], turn[5], turn[6]} * c.halfHeight;
    }
    const SVec3 centre{c.position[0], c.position[1], c.position[2]};
    const auto vertex = [&](const SVec3& p, float u, float v) {
        return SVertexPNTBTC{{p.x, p.y, p.z}, c.color, {u, v}, {0, 0, -1}, {1, 0, 0}, {0, -1, 0}, 0};
    };
    *quad = SQuad{{vertex(centre + right + up, uv1[0], uv0[1]), vertex(centre - right + up, uv0[0], uv0[1]),
                   vertex(centre + right - up, uv1[0], uv1[1]), vertex(centre - right - up, uv0[0], uv1[1])}};
    return quad + 1;
}
