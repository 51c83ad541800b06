#include "services/xmlprinter.h"

#include "services/xmldocument.h"

#include <QByteArray>
#include <QXmlStreamWriter>

namespace {

QString Q(const std::string& text)
{
    return QString::fromUtf8(text.data(), qsizetype(text.size()));
}

} // namespace

CXmlPrinter::CXmlPrinter(int indent)
    : m_buffer(std::make_unique<QByteArray>()), m_writer(std::make_unique<QXmlStreamWriter>(m_buffer.get()))
{
    m_writer->setAutoFormatting(true);
    m_writer->setAutoFormattingIndent(indent);
}

CXmlPrinter::~CXmlPrinter() = default;

bool CXmlPrinter::VisitEnter(const CXmlDocument&)
{
    return true;
}

bool CXmlPrinter::VisitExit(const CXmlDocument&)
{
    return true;
}

bool CXmlPrinter::VisitEnter(const CXmlElement& element, const std::vector<CXmlAttribute>& attributes)
{
    m_writer->writeStartElement(Q(element.Value()));
    for (const CXmlAttribute& attribute : attributes)
        m_writer->writeAttribute(Q(attribute.Name()), Q(attribute.Value()));
    return true;
}

bool CXmlPrinter::VisitExit(const CXmlElement&)
{
    m_writer->writeEndElement();
    return true;
}

bool CXmlPrinter::Visit(const CXmlDeclaration& declaration)
{
    // The writer's own declaration always names UTF-8; this one keeps the
    // document's parts.
    m_writer->writeDTD(Q(declaration.Print()));
    return true;
}

bool CXmlPrinter::Visit(const CXmlText& text)
{
    if (text.m_cdata)
        m_writer->writeCDATA(Q(text.Value()));
    else
        m_writer->writeCharacters(Q(text.Value()));
    return true;
}

bool CXmlPrinter::Visit(const CXmlComment& comment)
{
    m_writer->writeComment(Q(comment.Value()));
    return true;
}

bool CXmlPrinter::Visit(const CXmlUnknown& unknown)
{
    m_writer->writeDTD(Q("<" + unknown.Value() + ">"));
    return true;
}

const std::string& CXmlPrinter::Text()
{
    m_text = m_buffer->toStdString();
    const size_t begin = m_text.find_first_not_of('\n');
    m_text.erase(0, begin == std::string::npos ? m_text.size() : begin);
    while (!m_text.empty() && m_text.back() == '\n')
        m_text.pop_back();
    return m_text;
}

std::string CXmlPrinter::AttributeText(const std::string& name, const std::string& value)
{
    std::string text = name + "=\"";
    for (const char c : value) {
        switch (c) {
        case '&': text += "&amp;"; break;
        case '<': text += "&lt;"; break;
        case '>': text += "&gt;"; break;
        case '"': text += "&quot;"; break;
        default: text += c;
        }
    }
    return text + "\"";
}
