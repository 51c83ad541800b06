#pragma once

#include "ports/port.h"

#include <array>

class CPortColor : public CPort
{
public:
    using Rgba = std::array<float, 4>;

    CPortColor(std::string_view name, std::string_view desc, const Rgba& value, const Rgba& min, const Rgba& max);
    CPortColor(const CPortColor&) = default;

    std::string GetValue() override;
    void SetValue(std::string_view text) override;
    void Serialize(QXmlStreamWriter* writer, bool describe) override;
    void Deserialize(QXmlStreamReader* reader) override;
    void Update(float time) override;

    Rgba m_value;
    Rgba m_min;
    Rgba m_max;
};
