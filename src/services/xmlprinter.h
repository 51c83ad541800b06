#pragma once

#include "services/xmlnode.h"

#include <memory>
#include <string>

class QXmlStreamWriter;
class QByteArray;

// Gives a document, or any node with its children, as XML text through Qt's
// stream writer: one element a line, each level indented by `indent` (a
// negative number gives that many tabs), text children on their element's
// line.
class CXmlPrinter : public CXmlVisitor
{
public:
    explicit CXmlPrinter(int indent = -1);
    ~CXmlPrinter() override;
    CXmlPrinter(const CXmlPrinter&) = delete;
    CXmlPrinter& operator=(const CXmlPrinter&) = delete;

    bool VisitEnter(const CXmlDocument& document) override;
    bool VisitExit(const CXmlDocument& document) override;
    bool VisitEnter(const CXmlElement& element, const std::vector<CXmlAttribute>& attributes) override;
    bool VisitExit(const CXmlElement& element) override;
    bool Visit(const CXmlDeclaration& declaration) override;
    bool Visit(const CXmlText& text) override;
    bool Visit(const CXmlComment& comment) override;
    bool Visit(const CXmlUnknown& unknown) override;

    // What was printed, without a final line feed.
    const std::string& Text();

    // `name="value"` with the value escaped.
    static std::string AttributeText(const std::string& name, const std::string& value);

private:
    std::unique_ptr<QByteArray> m_buffer;
    std::unique_ptr<QXmlStreamWriter> m_writer;
    std::string m_text;
};
