#pragma once

#include "ports/types/portfloat.h"

#include <array>

// A rectangle as four float sub-ports x, y, w, h, each with a connection of
// its own.
class CPortRect : public CPort
{
public:
    // Left, top, right, bottom.
    using Ltrb = std::array<float, 4>;

    CPortRect(std::string_view name, std::string_view desc, const Ltrb& value, const Ltrb& step, const Ltrb& min,
              const Ltrb& max);
    CPortRect(const CPortRect& other);

    CPort* GetSubPort(std::string_view name) override;
    CPort* GetSubPort(int index) override;
    std::string GetValue() override;
    void SetValue(std::string_view text) override;
    void Serialize(QXmlStreamWriter* writer, bool describe) override;
    void Deserialize(QXmlStreamReader* reader) override;
    void Update(float time) override;

    CPortFloat m_x;
    CPortFloat m_y;
    CPortFloat m_w;
    CPortFloat m_h;

private:
    std::array<CPortFloat*, 4> SubPorts() { return {&m_x, &m_y, &m_w, &m_h}; }
    std::array<float, 4> Collect(float CPortFloat::*field);
};
