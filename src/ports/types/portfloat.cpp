#include "ports/types/portfloat.h"

#include "app/textnumber.h"
#include "ports/types/portbool.h"
#include "ports/types/portint.h"
#include "ports/types/portxml.h"

#include <cmath>

namespace {
// Unreadable text, and text that reads as "nan", count as 0.
float ReadFloatOrZero(std::string_view text)
{
    float value = 0.0f;
    if (!ParseFloat(text, value) || std::isnan(value))
        return 0.0f;
    return value;
}
} // namespace

CPortFloat::CPortFloat(std::string_view name, std::string_view desc, float value, float step, float min, float max)
    : CPort(PT_Float, name, desc), m_value(value), m_min(min), m_max(max), m_step(step)
{
}

std::string CPortFloat::GetValue()
{
    return FormatG(m_value);
}

void CPortFloat::SetValue(std::string_view text)
{
    m_value = Clamp(ReadFloatOrZero(text));
}

void CPortFloat::Serialize(QXmlStreamWriter* writer, bool describe)
{
    CPort::Serialize(writer, describe);
    WriteAttribute(writer, "Value", FormatG(m_value));
    if (!describe)
        return;
    WriteAttribute(writer, "Min", FormatG(m_min));
    WriteAttribute(writer, "Max", FormatG(m_max));
    WriteAttribute(writer, "Step", FormatG(m_step));
}

void CPortFloat::Deserialize(QXmlStreamReader* reader)
{
    std::string text;
    if (ReadAttribute(reader, "Value", text) && !text.empty())
        m_value = ReadFloatOrZero(text);
    // Also pulls a declared default that lies outside its own range.
    m_value = Clamp(m_value);
}

void CPortFloat::Update(float time)
{
    const CPort* source = PullConnected(time);
    if (!source)
        return;
    switch (source->m_type) {
    case PT_Float: m_value = static_cast<const CPortFloat*>(source)->m_value; break;
    case PT_Int: m_value = static_cast<float>(static_cast<const CPortInt*>(source)->m_value); break;
    case PT_Bool: m_value = static_cast<const CPortBool*>(source)->m_value ? 1.0f : 0.0f; break;
    default: break;
    }
    // A connected float follows its source's flag both ways.
    m_changed = source->m_changed;
}
