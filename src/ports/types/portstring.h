#pragma once

#include "ports/port.h"

class CPortString : public CPort
{
public:
    CPortString(std::string_view name, std::string_view desc, std::string_view value);
    CPortString(const CPortString&) = default;

    std::string GetValue() override;
    void SetValue(std::string_view text) override;
    void Serialize(QXmlStreamWriter* writer, bool describe) override;
    void Deserialize(QXmlStreamReader* reader) override;
    void Update(float time) override;

    std::string m_value;
};
