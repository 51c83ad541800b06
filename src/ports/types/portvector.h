#pragma once

#include "ports/port.h"

#include <array>
#include <memory>

class CPortVector : public CPort
{
public:
    using Xyz = std::array<float, 3>;

    CPortVector(std::string_view name, std::string_view desc, const Xyz& value, const Xyz& step, const Xyz& min,
                const Xyz& max);
    CPortVector(const CPortVector&) = default;

    // The common form: the same step on every axis and a range of
    // -limit to +limit.
    static std::unique_ptr<CPortVector> Make(std::string_view name, std::string_view desc, const Xyz& value,
                                             float step, float limit);

    std::string GetComponent(std::string_view component) override;
    void SetComponent(std::string_view component, std::string_view text) override;
    std::string GetValue() override;
    void SetValue(std::string_view text) override;
    void Serialize(QXmlStreamWriter* writer, bool describe) override;
    void Deserialize(QXmlStreamReader* reader) override;
    void Update(float time) override;

    Xyz m_value;
    Xyz m_step;
    Xyz m_min;
    Xyz m_max;
};
