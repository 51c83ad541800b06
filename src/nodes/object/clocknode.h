#pragma once

#include "nodes/support/texteffect.h"

#include <ctime>
#include <string>

class CPortInt;

// The time of day as text, in one of two fonts.
class CClockNode : public CTextEffectNode
{
public:
    // Where clocks read the local time; a test puts a fixed time here.
    using FLocalTime = std::tm (*)();
    static FLocalTime s_localTime;
    static std::tm SystemLocalTime();

    // The text for a time in one of the formats of the DigitalFormat port.
    static std::string Format(const std::tm& time, int format);

    void Update(float time, CSceneContext* context) override;
    const std::string& GetText() const { return m_text; }

private:
    friend CNodeDeclaration DeclareNode<CClockNode>();

    CPortInt* m_digitalFormat = nullptr;
    CPortInt* m_fontChoice = nullptr;

    int m_loadedFont = -1;
    float m_scale = 1.0f;
    std::string m_text;
};
