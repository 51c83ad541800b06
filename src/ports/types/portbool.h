#pragma once

#include "ports/port.h"

class CPortBool : public CPort
{
public:
    CPortBool(std::string_view name, std::string_view desc, bool value);
    CPortBool(const CPortBool&) = default;

    std::string GetValue() override;
    void SetValue(std::string_view text) override;
    void Serialize(QXmlStreamWriter* writer, bool describe) override;
    void Deserialize(QXmlStreamReader* reader) override;
    void Update(float time) override;

    bool m_value;
};
