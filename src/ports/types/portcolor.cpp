#include "ports/types/portcolor.h"

#include "ports/types/componentstext.h"
#include "ports/types/portxml.h"

CPortColor::CPortColor(std::string_view name, std::string_view desc, const Rgba& value, const Rgba& min,
                       const Rgba& max)
    : CPort(PT_Color, name, desc), m_value(value), m_min(min), m_max(max)
{
}

std::string CPortColor::GetValue()
{
    return JoinComponents(m_value);
}

void CPortColor::SetValue(std::string_view text)
{
    ReadComponents(text, m_value, m_min, m_max);
}

void CPortColor::Serialize(QXmlStreamWriter* writer, bool describe)
{
    CPort::Serialize(writer, describe);
    if (describe) {
        WriteAttribute(writer, "Min", JoinComponents(m_min));
        WriteAttribute(writer, "Max", JoinComponents(m_max));
    }
    WriteAttribute(writer, "Value", GetValue());
}

void CPortColor::Deserialize(QXmlStreamReader* reader)
{
    std::string text;
    if (ReadAttribute(reader, "Value", text))
        SetValue(text);
}

void CPortColor::Update(float time)
{
    const CPort* source = PullConnected(time);
    if (source && source->m_type == PT_Color)
        m_value = static_cast<const CPortColor*>(source)->m_value;
}
