#include "services/xmldocument.h"

#include "app/regularfile.h"
#include "services/xmlprinter.h"

#include <QXmlStreamReader>

#include <array>
#include <cstdio>
#include <memory>

namespace {

constexpr std::array<const char*, 17> kErrorTexts = {
    "No error",
    "Error",
    "Failed to open file",
    "Memory allocation failed.",
    "Error parsing Element.",
    "Failed to read Element name",
    "Error reading Element value.",
    "Error reading Attributes.",
    "Error: empty tag.",
    "Error reading end tag.",
    "Error parsing Unknown.",
    "Error parsing Comment.",
    "Error parsing Declaration.",
    "Error document empty.",
    "Error null (0) or unexpected EOF found in input stream.",
    "Error parsing CDATA.",
    "Error when CXmlDocument added to document, because CXmlDocument can only be at the root.",
};

constexpr std::string_view kBom = "\xEF\xBB\xBF";

std::string Utf8(QStringView text)
{
    return text.toString().toStdString();
}

struct SCloseFile
{
    void operator()(FILE* file) const { fclose(file); }
};
using FilePtr = std::unique_ptr<FILE, SCloseFile>;

// Qt tells a cut-off text from a malformed one, not what was being read.
int ErrorFor(const QXmlStreamReader& reader)
{
    return reader.error() == QXmlStreamReader::PrematureEndOfDocumentError ? CXmlDocument::Error_EmbeddedNull
                                                                           : CXmlDocument::Error_ParsingElement;
}

} // namespace

const char* CXmlDocument::ErrorText(int id)
{
    return id >= 0 && size_t(id) < kErrorTexts.size() ? kErrorTexts[size_t(id)] : kErrorTexts[Error_Generic];
}

void CXmlDocument::SetError(int id, int row, int column)
{
    if (m_errorId != Error_None)
        return;
    m_errorId = id;
    m_errorDescription = ErrorText(id);
    m_errorRow = row;
    m_errorColumn = column;
}

void CXmlDocument::ClearError()
{
    m_errorId = Error_None;
    m_errorDescription.clear();
    m_errorRow = m_errorColumn = -1;
}

std::unique_ptr<CXmlNode> CXmlDocument::Clone() const
{
    auto copy = std::make_unique<CXmlDocument>();
    copy->m_tabSize = m_tabSize;
    copy->m_useMicrosoftBOM = m_useMicrosoftBOM;
    CloneChildrenInto(*copy);
    return copy;
}

bool CXmlDocument::Accept(CXmlVisitor& visitor) const
{
    if (visitor.VisitEnter(*this))
        AcceptChildren(visitor);
    return visitor.VisitExit(*this);
}

bool CXmlDocument::LoadFile(const std::string& path, size_t maxBytes)
{
    Clear();
    ClearError();
    // Only regular files: a pipe or device in the file's place must not hang
    // or flood the reader.
    std::string text, error;
    if (!WhyNotRegularFile(path).empty()) {
        SetError(Error_OpeningFile, -1, -1);
        return false;
    }
    if (!ReadRegularFile(path, int64_t(maxBytes), text, error)) {
        SetError(Error_Generic, -1, -1);
        return false;
    }
    return Parse(text);
}

bool CXmlDocument::Parse(std::string_view text)
{
    Clear();
    ClearError();
    m_useMicrosoftBOM = text.substr(0, kBom.size()) == kBom;
    if (m_useMicrosoftBOM)
        text.remove_prefix(kBom.size());
    if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) {
        SetError(Error_DocumentEmpty, -1, -1);
        return false;
    }
    if (text.find('\0') != std::string_view::npos) {
        SetError(Error_EmbeddedNull, -1, -1);
        return false;
    }

    QXmlStreamReader reader(QByteArray::fromRawData(text.data(), qsizetype(text.size())));
    CXmlNode* parent = this;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::Invalid)
            break;
        std::unique_ptr<CXmlNode> node;
        switch (token) {
        case QXmlStreamReader::StartDocument:
            if (!reader.documentVersion().isEmpty())
                node = std::make_unique<CXmlDeclaration>(Utf8(reader.documentVersion()),
                                                         Utf8(reader.documentEncoding()),
                                                         reader.isStandaloneDocument() ? "yes" : "");
            break;
        case QXmlStreamReader::StartElement: {
            auto element = std::make_unique<CXmlElement>(Utf8(reader.qualifiedName()));
            for (const QXmlStreamAttribute& attribute : reader.attributes())
                element->SetAttribute(Utf8(attribute.qualifiedName()), Utf8(attribute.value()));
            element->SetLocation(int(reader.lineNumber()), int(reader.columnNumber()) + 1);
            parent = parent->LinkEndChild(std::move(element));
            continue;
        }
        case QXmlStreamReader::EndElement:
            parent = parent->Parent();
            continue;
        case QXmlStreamReader::Characters:
            if (reader.isCDATA())
                node = std::make_unique<CXmlText>(Utf8(reader.text()), true);
            else if (!reader.isWhitespace())
                // Runs of white space in text count as one blank.
                node = std::make_unique<CXmlText>(Utf8(reader.text().toString().simplified()));
            break;
        case QXmlStreamReader::Comment:
            node = std::make_unique<CXmlComment>(Utf8(reader.text()));
            break;
        case QXmlStreamReader::DTD:
            node = std::make_unique<CXmlUnknown>(Utf8(reader.text()).substr(1, reader.text().size() - 2));
            break;
        case QXmlStreamReader::ProcessingInstruction:
            // Appended, not added: GCC 12 warns falsely about "?" + string.
            node = std::make_unique<CXmlUnknown>(std::string("?")
                                                     .append(Utf8(reader.processingInstructionTarget()))
                                                     .append(" ")
                                                     .append(Utf8(reader.processingInstructionData()))
                                                     .append("?"));
            break;
        default:
            break;
        }
        if (node) {
            node->SetLocation(int(reader.lineNumber()), int(reader.columnNumber()) + 1);
            parent->LinkEndChild(std::move(node));
        }
    }
    if (reader.hasError()) {
        SetError(ErrorFor(reader), int(reader.lineNumber()), int(reader.columnNumber()) + 1);
        Clear();
        return false;
    }
    return true;
}

bool CXmlDocument::SaveFile(const std::string& path) const
{
    FilePtr file(fopen(path.c_str(), "w"));
    if (!file)
        return false;
    if (m_useMicrosoftBOM)
        fwrite(kBom.data(), 1, kBom.size(), file.get());
    for (const CXmlNode* node = FirstChild(); node; node = node->NextSibling())
        node->Print(file.get(), 0);
    const bool written = !ferror(file.get());
    return fclose(file.release()) == 0 && written;
}
