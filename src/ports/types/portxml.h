#pragma once

#include <QXmlStreamReader>
#include <QXmlStreamWriter>
#include <string>
#include <string_view>

// Small bridges between the ports' std::string values and Qt's XML streams.

inline void WriteAttribute(QXmlStreamWriter* writer, const char* name, std::string_view value)
{
    writer->writeAttribute(QLatin1StringView(name), QString::fromUtf8(value.data(), qsizetype(value.size())));
}

// True when the attribute is present; `value` then holds its text.
inline bool ReadAttribute(QXmlStreamReader* reader, const char* name, std::string& value)
{
    const QXmlStreamAttributes attributes = reader->attributes();
    if (!attributes.hasAttribute(QLatin1StringView(name)))
        return false;
    value = attributes.value(QLatin1StringView(name)).toString().toStdString();
    return true;
}
