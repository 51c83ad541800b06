#pragma once

#include "ports/port.h"

class CPortFloat : public CPort
{
public:
    CPortFloat(std::string_view name, std::string_view desc, float value, float step, float min, float max);
    CPortFloat(const CPortFloat&) = default;

    std::string GetValue() override;
    void SetValue(std::string_view text) override;
    void Serialize(QXmlStreamWriter* writer, bool describe) override;
    void Deserialize(QXmlStreamReader* reader) override;
    void Update(float time) override;

    float Clamp(float value) const { return value <= m_min ? m_min : value >= m_max ? m_max : value; }

    float m_value;
    float m_min;
    float m_max;
    // Advice for editors only; values are never quantised to it.
    float m_step;
};
