#include "ports/types/portstring.h"

#include "ports/types/portxml.h"

CPortString::CPortString(std::string_view name, std::string_view desc, std::string_view value)
    : CPort(PT_String, name, desc), m_value(value)
{
}

std::string CPortString::GetValue()
{
    return m_value;
}

void CPortString::SetValue(std::string_view text)
{
    m_value = text;
}

void CPortString::Serialize(QXmlStreamWriter* writer, bool describe)
{
    CPort::Serialize(writer, describe);
    writer->writeTextElement("Value", QString::fromStdString(m_value));
}

void CPortString::Deserialize(QXmlStreamReader* reader)
{
    // The value is the text of the first child, which must be "Value"; the
    // port's element is read to its end either way.
    if (!reader->readNextStartElement())
        return;
    if (reader->name() == u"Value") {
        const QString text = reader->readElementText(QXmlStreamReader::SkipChildElements);
        if (!text.isEmpty())
            m_value = text.toStdString();
    } else {
        reader->skipCurrentElement();
    }
    reader->skipCurrentElement();
}

void CPortString::Update(float time)
{
    const CPort* source = PullConnected(time);
    if (source && source->m_type == PT_String)
        m_value = static_cast<const CPortString*>(source)->m_value;
}
