#include "ports/types/portrect.h"

#include "ports/types/componentstext.h"
#include "ports/types/portxml.h"

namespace {
CPortFloat MakeSubPort(std::string_view rectName, std::string_view rectDesc, const char* suffix,
                       const char* descSuffix, float value, float step, float min, float max)
{
    return CPortFloat(std::string(rectName) + suffix, std::string(rectDesc) + descSuffix, value, step, min, max);
}
} // namespace

// x and y take left and top; w and h take right - left and bottom - top, for
// the value and for the step and range alike.
CPortRect::CPortRect(std::string_view name, std::string_view desc, const Ltrb& v, const Ltrb& s, const Ltrb& lo,
                     const Ltrb& hi)
    : CPort(PT_Rect, name, desc),
      m_x(MakeSubPort(name, desc, ".x", "(x)", v[0], s[0], lo[0], hi[0])),
      m_y(MakeSubPort(name, desc, ".y", "(y)", v[1], s[1], lo[1], hi[1])),
      m_w(MakeSubPort(name, desc, ".w", "(width)", v[2] - v[0], s[2] - s[0], lo[2] - lo[0], hi[2] - hi[0])),
      m_h(MakeSubPort(name, desc, ".h", "(height)", v[3] - v[1], s[3] - s[1], lo[3] - lo[1], hi[3] - hi[1]))
{
    m_subPorts = 4;
}

CPortRect::CPortRect(const CPortRect& other)
    : CPort(other), m_x(other.m_x), m_y(other.m_y), m_w(other.m_w), m_h(other.m_h)
{
}

CPort* CPortRect::GetSubPort(std::string_view name)
{
    if (name == "x" || name == "X")
        return &m_x;
    if (name == "y" || name == "Y")
        return &m_y;
    if (name == "w" || name == "W")
        return &m_w;
    if (name == "h" || name == "H")
        return &m_h;
    return nullptr;
}

CPort* CPortRect::GetSubPort(int index)
{
    if (index < 0 || index > 3)
        return nullptr;
    return SubPorts()[index];
}

std::string CPortRect::GetValue()
{
    return m_x.GetValue() + " " + m_y.GetValue() + " " + m_w.GetValue() + " " + m_h.GetValue();
}

void CPortRect::SetValue(std::string_view text)
{
    std::array<float, 4> values = Collect(&CPortFloat::m_value);
    if (!ReadComponents(text, values, Collect(&CPortFloat::m_min), Collect(&CPortFloat::m_max)))
        return;
    auto subPorts = SubPorts();
    for (size_t i = 0; i < 4; ++i)
        subPorts[i]->m_value = values[i];
}

void CPortRect::Serialize(QXmlStreamWriter* writer, bool describe)
{
    CPort::Serialize(writer, describe);
    WriteAttribute(writer, "Value", GetValue());
    if (!describe)
        return;
    WriteAttribute(writer, "Min", JoinComponents(Collect(&CPortFloat::m_min)));
    WriteAttribute(writer, "Max", JoinComponents(Collect(&CPortFloat::m_max)));
    WriteAttribute(writer, "Step", JoinComponents(Collect(&CPortFloat::m_step)));
}

void CPortRect::Deserialize(QXmlStreamReader* reader)
{
    std::string text;
    if (ReadAttribute(reader, "Value", text))
        SetValue(text);
}

void CPortRect::Update(float time)
{
    // The rectangle takes no value of its own from a connection; each side
    // reads its own.
    for (CPortFloat* sub : SubPorts()) {
        sub->Update(time);
        if (sub->m_changed)
            m_changed = true;
    }
}

std::array<float, 4> CPortRect::Collect(float CPortFloat::*field)
{
    std::array<float, 4> values{};
    auto subPorts = SubPorts();
    for (size_t i = 0; i < 4; ++i)
        values[i] = subPorts[i]->*field;
    return values;
}
