#pragma once

#include "services/xmlnode.h"

#include <string>
#include <string_view>

// The root of a small XML document model: reads a file or text into a tree of
// nodes through Qt's stream reader, and writes the tree back. Values are
// UTF-8. Its one user keeps "stats.dat" with it.
class CXmlDocument : public CXmlNode
{
public:
    enum EError
    {
        Error_None = 0,
        Error_Generic = 1,
        Error_OpeningFile = 2,
        Error_OutOfMemory = 3,
        Error_ParsingElement = 4,
        Error_FailedToReadElementName = 5,
        Error_ReadingElementValue = 6,
        Error_ReadingAttributes = 7,
        Error_ParsingEmpty = 8,
        Error_ReadingEndTag = 9,
        Error_ParsingUnknown = 10,
        Error_ParsingComment = 11,
        Error_ParsingDeclaration = 12,
        Error_DocumentEmpty = 13,
        Error_EmbeddedNull = 14,
        Error_ParsingCData = 15,
        Error_DocumentTopOnly = 16,
    };
    static const char* ErrorText(int id);

    CXmlDocument() : CXmlNode(EType::Document, {}) {}

    const CXmlDocument* ToDocument() const override { return this; }
    CXmlDocument* ToDocument() override { return this; }
    std::unique_ptr<CXmlNode> Clone() const override;
    bool Accept(CXmlVisitor& visitor) const override;

    // Empties the document and reads the file; false, with the error set,
    // when it can't be opened, is empty, is larger than `maxBytes` or is no
    // well-formed XML.
    bool LoadFile(const std::string& path, size_t maxBytes = 16 * 1024 * 1024);
    // Writes the top-level nodes, each on its own line; false when the file
    // can't be written.
    bool SaveFile(const std::string& path) const;
    // Empties the document and reads the text; a leading byte order mark is
    // skipped and noted.
    bool Parse(std::string_view text);

    bool Error() const { return m_errorId != Error_None; }
    int ErrorId() const { return m_errorId; }
    const std::string& ErrorDescription() const { return m_errorDescription; }
    int ErrorRow() const { return m_errorRow; }
    int ErrorColumn() const { return m_errorColumn; }
    // The first error stays until the next load or ClearError.
    void SetError(int id, int row, int column);
    void ClearError();

    int m_tabSize = 4;
    // The text began with a UTF-8 byte order mark, and is written with one.
    bool m_useMicrosoftBOM = false;

private:
    int m_errorId = Error_None;
    std::string m_errorDescription;
    int m_errorRow = -1;
    int m_errorColumn = -1;
};
