#include "ports/types/portvector.h"

#include "ports/types/componentstext.h"
#include "ports/types/portxml.h"

namespace {
// 0, 1, 2 for "x", "y", "z" in either case; -1 for anything else.
int ComponentIndex(std::string_view name)
{
    if (name == "x" || name == "X")
        return 0;
    if (name == "y" || name == "Y")
        return 1;
    if (name == "z" || name == "Z")
        return 2;
    return -1;
}
} // namespace

CPortVector::CPortVector(std::string_view name, std::string_view desc, const Xyz& value, const Xyz& step,
                         const Xyz& min, const Xyz& max)
    : CPort(PT_Vector, name, desc), m_value(value), m_step(step), m_min(min), m_max(max)
{
}

std::string CPortVector::GetComponent(std::string_view component)
{
    const int index = ComponentIndex(component);
    return index < 0 ? std::string() : FormatG(m_value[index]);
}

void CPortVector::SetComponent(std::string_view component, std::string_view text)
{
    float value = 0.0f;
    if (!ParseFloat(text, value))
        return;
    const int index = ComponentIndex(component);
    if (index >= 0)
        m_value[index] = ClampComponent(value, m_min[index], m_max[index]);
}

std::string CPortVector::GetValue()
{
    return JoinComponents(m_value);
}

void CPortVector::SetValue(std::string_view text)
{
    ReadComponents(text, m_value, m_min, m_max);
}

void CPortVector::Serialize(QXmlStreamWriter* writer, bool describe)
{
    CPort::Serialize(writer, describe);
    WriteAttribute(writer, "Value", GetValue());
    if (!describe)
        return;
    WriteAttribute(writer, "Min", JoinComponents(m_min));
    WriteAttribute(writer, "Max", JoinComponents(m_max));
    WriteAttribute(writer, "Step", JoinComponents(m_step));
}

void CPortVector::Deserialize(QXmlStreamReader* reader)
{
    std::string text;
    if (ReadAttribute(reader, "Value", text))
        SetValue(text);
}

void CPortVector::Update(float time)
{
    const CPort* source = PullConnected(time);
    if (source && source->m_type == PT_Vector)
        m_value = static_cast<const CPortVector*>(source)->m_value;
}

std::unique_ptr<CPortVector> CPortVector::Make(std::string_view name, std::string_view desc, const Xyz& value,
                                               float step, float limit)
{
    return std::make_unique<CPortVector>(name, desc, value, Xyz{step, step, step}, Xyz{-limit, -limit, -limit},
                                         Xyz{limit, limit, limit});
}
