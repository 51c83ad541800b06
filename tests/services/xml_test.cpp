// The XML document classes: what a file gives as a tree, what the tree
// writes back, and which error a broken text reports.

#include "services/xmldocument.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

namespace {

TEST(XmlDocument, ReadsWritesAndReadsBackTheSameTree)
{
    CTempDir dir;
    const std::string text = "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
                             "<!-- figures -->\n<root a=\"1\" b='x &amp; &quot;y&quot;'>\n"
                             "\t<item n=\"&#x41;&#66;\">  two\n  words  </item>\n"
                             "\t<empty/><data><![CDATA[<raw> & ]]></data>\n</root>\n";
    WriteFile(dir.File("in.xml"), text);
    CXmlDocument document;
    ASSERT_TRUE(document.LoadFile(dir.File("in.xml"))) << document.ErrorDescription();
    EXPECT_TRUE(document.m_useMicrosoftBOM);

    const auto check = [](const CXmlDocument& doc) {
        ASSERT_TRUE(doc.FirstChild() && doc.FirstChild()->ToDeclaration());
        EXPECT_EQ(doc.FirstChild()->ToDeclaration()->m_version, "1.0");
        EXPECT_EQ(doc.FirstChild()->NextSibling()->ToComment()->Value(), " figures ");
        const CXmlElement* root = doc.FirstChildElement("root");
        ASSERT_TRUE(root);
        int a = 0;
        EXPECT_TRUE(root->QueryIntAttribute("a", a));
        EXPECT_EQ(a, 1);
        EXPECT_EQ(*root->Attribute("b"), "x & \"y\"");
        EXPECT_EQ(root->Attribute("c"), nullptr);
        const CXmlElement* item = root->FirstChildElement("item");
        EXPECT_EQ(*item->Attribute("n"), "AB");
        // Runs of white space in text count as one blank.
        EXPECT_EQ(item->FirstChild()->ToText()->Value(), "two words");
        EXPECT_EQ(item->NextSiblingElement()->Value(), "empty");
        const CXmlText* cdata = root->FirstChild("data")->FirstChild()->ToText();
        EXPECT_TRUE(cdata->m_cdata);
        EXPECT_EQ(cdata->Value(), "<raw> & ");
    };
    check(document);

    ASSERT_TRUE(document.SaveFile(dir.File("out.xml")));
    CXmlDocument again;
    ASSERT_TRUE(again.LoadFile(dir.File("out.xml"))) << ReadFile(dir.File("out.xml"));
    check(again);
    // One element a line, indented by tabs.
    EXPECT_NE(ReadFile(dir.File("out.xml")).find("\n\t<item n=\"AB\">two words</item>\n"), std::string::npos)
        << ReadFile(dir.File("out.xml"));

    // Copies are deep; setting an attribute replaces or appends it.
    CXmlElement element("e");
    element.SetAttribute("x", "1");
    element.SetAttribute("y", 2);
    element.SetAttribute("x", "3");
    CXmlDocument built;
    built.InsertEndChild(element);
    element.SetAttribute("x", "4");
    EXPECT_EQ(*built.FirstChildElement("e")->Attribute("x"), "3");
    EXPECT_EQ(built.FirstChildElement("e")->Attributes().size(), 2u);
    EXPECT_EQ(built.InsertEndChild(CXmlDocument()), nullptr);
    EXPECT_EQ(built.ErrorId(), CXmlDocument::Error_DocumentTopOnly);
}

TEST(XmlDocument, BrokenTextsReportTheirError)
{
    CTempDir dir;
    const struct
    {
        const char* name;
        std::string text;
        int error;
    } rows[] = {
        {"empty", "  \n", CXmlDocument::Error_DocumentEmpty},
        {"null", std::string("<a>\0</a>", 8), CXmlDocument::Error_EmbeddedNull},
        {"unexpected end", "<a><b>", CXmlDocument::Error_EmbeddedNull},
        {"wrong end tag", "<a>\n<b></a>", CXmlDocument::Error_ParsingElement},
        {"attribute", "<a x=1/>", CXmlDocument::Error_ParsingElement},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WriteFile(dir.File("broken.xml"), row.text);
        CXmlDocument document;
        EXPECT_FALSE(document.LoadFile(dir.File("broken.xml")));
        EXPECT_EQ(document.ErrorId(), row.error);
        EXPECT_EQ(document.ErrorDescription(), CXmlDocument::ErrorText(row.error));
        EXPECT_EQ(document.FirstChild(), nullptr);
    }
    CXmlDocument document;
    EXPECT_FALSE(document.LoadFile(dir.File("missing.xml")));
    EXPECT_EQ(document.ErrorId(), CXmlDocument::Error_OpeningFile);
    WriteFile(dir.File("broken.xml"), "<a>\n<b></a>");
    document.LoadFile(dir.File("broken.xml"));
    EXPECT_EQ(document.ErrorRow(), 2);
}

} // namespace
