#include "ports/types/portbool.h"

#include "app/textutil.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portxml.h"

CPortBool::CPortBool(std::string_view name, std::string_view desc, bool value)
    : CPort(PT_Bool, name, desc), m_value(value)
{
}

std::string CPortBool::GetValue()
{
    return m_value ? "On" : "Off";
}

void CPortBool::SetValue(std::string_view text)
{
    m_value = text == "1" || EqualNoCase(text, "true") || EqualNoCase(text, "on");
}

void CPortBool::Serialize(QXmlStreamWriter* writer, bool describe)
{
    CPort::Serialize(writer, describe);
    WriteAttribute(writer, "Value", m_value ? "true" : "false");
}

void CPortBool::Deserialize(QXmlStreamReader* reader)
{
    std::string text;
    if (ReadAttribute(reader, "Value", text) && !text.empty())
        SetValue(text);
}

void CPortBool::Update(float time)
{
    const CPort* source = PullConnected(time);
    if (!source)
        return;
    switch (source->m_type) {
    case PT_Bool: m_value = static_cast<const CPortBool*>(source)->m_value; break;
    case PT_Float: m_value = static_cast<const CPortFloat*>(source)->m_value >= 0.5f; break;
    case PT_Int: m_value = static_cast<const CPortInt*>(source)->m_value != 0; break;
    default: break;
    }
}
