#pragma once

#include "expression/expressioncontext.h"
#include "nodes/support/texteffect.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

class CPortBool;
class CPortFloat;
class CPortInt;
class CPortString;
class CPortVector;
struct SQuad;

// Writes its text a character at a time; each new character is shaped by
// the expression for the first seconds of its life and then stays as it is.
class CTextWriterNode : public CTextEffectNode
{
public:
    struct SCharacter
    {
        float age = 0.0f;
        bool fixed = false;
        float position[3] = {};
        float halfWidth = 0.0f, halfHeight = 0.0f;
        uint32_t color = 0;
        float rotation[3] = {};
    };

    bool Init() override;
    void Update(float time, CSceneContext* context) override;

    // Characters of the text released so far, line ends included.
    int GetReleased() const { return m_released; }
    const std::vector<SCharacter>& GetCharacters() const { return m_characters; }

private:
    friend CNodeDeclaration DeclareNode<CTextWriterNode>();

    void Restart();
    void SetText(const std::string& text);
    void Release(float deltaTime, float sceneTime);
    static SQuad* WriteCharacter(void* user, SQuad* quad, int32_t count, int32_t zero, float* position, float width,
                                 float height, float* uv0, float* uv1);
    SQuad* Shape(SQuad* quad, const float* position, float width, float height, const float* uv0, const float* uv1);

    CPortInt* m_textAlign = nullptr;
    CPortVector* m_pos = nullptr;
    CPortBool* m_useCharsPerSec = nullptr;
    CPortFloat* m_charsPerSec = nullptr;
    CPortFloat* m_charExpressionTime = nullptr;
    CPortFloat* m_resetDelay = nullptr;
    CPortString* m_textLines = nullptr;
    CPortInt* m_randomSeed = nullptr;
    CPortString* m_expression = nullptr;

    // The text with "\r" taken out; line ends stay, as they pause the release.
    std::string m_text;
    bool m_hasText = false;
    // For each glyph the layout writes (every character but a line end): its
    // place in m_text and its line.
    std::vector<int> m_glyphIndex;
    std::vector<int> m_glyphLine;
    int m_lineCount = 0;
    std::vector<SCharacter> m_characters;
    int m_released = 0;
    float m_releaseTimer = 0.0f;
    float m_completedAt = -1.0f;
    int m_nextGlyph = 0;
    bool m_evaluate = false;

    CExpressionContext m_expressionContext;
    enum EVariable
    {
        V_PosX, V_PosY, V_PosZ, V_RotX, V_RotY, V_RotZ, V_ColR, V_ColG, V_ColB, V_ColA, V_CharNr, V_NumChars,
        V_LineNr, V_NumLines, V_Time, V_PermRand, V_Width, V_Height, V_Age, V_Count
    };
    std::array<double, V_Count> m_variables{};
};
