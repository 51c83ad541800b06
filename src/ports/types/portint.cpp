#include "ports/types/portint.h"

#include "app/textnumber.h"
#include "app/textutil.h"
#include "ports/types/portbool.h"
#include "ports/types/portfloat.h"
#include "ports/types/portxml.h"

#include <climits>
#include <cmath>

int TruncateToInt(double value)
{
    if (std::isnan(value))
        return 0;
    if (value <= static_cast<double>(INT_MIN))
        return INT_MIN;
    if (value >= static_cast<double>(INT_MAX))
        return INT_MAX;
    return static_cast<int>(value);
}

CPortInt::CPortInt(std::string_view name, std::string_view desc, int value, int min, int max)
    : CPort(PT_Int, name, desc), m_value(value), m_min(min), m_max(max)
{
}

CPortInt::CPortInt(const CPortInt& other)
    : CPort(other),
      m_value(other.m_value),
      m_min(other.m_min),
      m_max(other.m_max),
      m_names(other.m_names ? std::make_unique<std::map<int, std::string>>(*other.m_names) : nullptr)
{
}

void CPortInt::AddValue(int value, const char* name)
{
    if (!m_names)
        m_names = std::make_unique<std::map<int, std::string>>();
    (*m_names)[value] = name;
}

std::string CPortInt::GetValue()
{
    return std::to_string(m_value);
}

void CPortInt::SetValue(std::string_view text)
{
    const std::string s(text);
    long value = 0;
    if (!FindName(s, value))
        ParseLong(s, value);
    m_value = static_cast<int>(value <= m_min ? m_min : value >= m_max ? m_max : value);
}

bool CPortInt::FindName(const std::string& text, long& value) const
{
    if (!m_names)
        return false;
    for (const auto& [number, name] : *m_names) {
        if (EqualNoCase(name, text)) {
            value = number;
            return true;
        }
    }
    return false;
}

void CPortInt::Serialize(QXmlStreamWriter* writer, bool describe)
{
    CPort::Serialize(writer, describe);
    WriteAttribute(writer, "Value", std::to_string(m_value));
    if (!describe)
        return;
    WriteAttribute(writer, "Min", std::to_string(m_min));
    WriteAttribute(writer, "Max", std::to_string(m_max));
    if (!m_names)
        return;
    writer->writeStartElement("Values");
    for (const auto& [number, name] : *m_names) {
        writer->writeStartElement("Value");
        WriteAttribute(writer, "Name", name);
        WriteAttribute(writer, "Value", std::to_string(number));
        writer->writeEndElement();
    }
    writer->writeEndElement();
}

void CPortInt::Deserialize(QXmlStreamReader* reader)
{
    std::string text;
    if (ReadAttribute(reader, "Value", text) && !text.empty())
        SetValue(text);
}

void CPortInt::Update(float time)
{
    const CPort* source = PullConnected(time);
    if (!source)
        return;
    switch (source->m_type) {
    case PT_Int: m_value = static_cast<const CPortInt*>(source)->m_value; break;
    case PT_Float: m_value = TruncateToInt(static_cast<const CPortFloat*>(source)->m_value); break;
    case PT_Bool: m_value = static_cast<const CPortBool*>(source)->m_value ? 1 : 0; break;
    default: break;
    }
}
