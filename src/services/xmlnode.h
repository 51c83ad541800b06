#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CXmlDocument;
class CXmlElement;
class CXmlComment;
class CXmlUnknown;
class CXmlText;
class CXmlDeclaration;
class CXmlVisitor;

// What every piece of a small XML document has: where the parser found it
// (row and column from 1; -1 when made in code) and a pointer for its user.
class CXmlBase
{
public:
    virtual ~CXmlBase() = default;

    // The piece as XML text, indented by `depth` tabs.
    virtual void Print(FILE* file, int depth) const = 0;

    int Row() const { return m_row; }
    int Column() const { return m_column; }
    void SetLocation(int row, int column)
    {
        m_row = row;
        m_column = column;
    }

    void* m_userData = nullptr;

private:
    int m_row = -1;
    int m_column = -1;
};

// One attribute of an element: name and value, as UTF-8 text.
class CXmlAttribute : public CXmlBase
{
public:
    CXmlAttribute(std::string name, std::string value) : m_name(std::move(name)), m_value(std::move(value)) {}

    void Print(FILE* file, int depth) const override;

    const std::string& Name() const { return m_name; }
    const std::string& Value() const { return m_value; }
    void SetValue(std::string value) { m_value = std::move(value); }
    // False, leaving `out` alone, when the value is no whole number ("%d")
    // or no number ("%lf").
    bool QueryIntValue(int& out) const;
    bool QueryDoubleValue(double& out) const;

private:
    std::string m_name;
    std::string m_value;
};

// A node of the tree. A node owns its children; the conversions give null
// for a node of another type.
class CXmlNode : public CXmlBase
{
public:
    enum class EType
    {
        Document,
        Element,
        Comment,
        Unknown,
        Text,
        Declaration,
    };

    CXmlNode(const CXmlNode&) = delete;
    CXmlNode& operator=(const CXmlNode&) = delete;

    void Print(FILE* file, int depth) const override;

    virtual const CXmlDocument* ToDocument() const { return nullptr; }
    virtual CXmlDocument* ToDocument() { return nullptr; }
    virtual const CXmlElement* ToElement() const { return nullptr; }
    virtual CXmlElement* ToElement() { return nullptr; }
    virtual const CXmlComment* ToComment() const { return nullptr; }
    virtual CXmlComment* ToComment() { return nullptr; }
    virtual const CXmlUnknown* ToUnknown() const { return nullptr; }
    virtual CXmlUnknown* ToUnknown() { return nullptr; }
    virtual const CXmlText* ToText() const { return nullptr; }
    virtual CXmlText* ToText() { return nullptr; }
    virtual const CXmlDeclaration* ToDeclaration() const { return nullptr; }
    virtual CXmlDeclaration* ToDeclaration() { return nullptr; }
    // A deep copy, without parent.
    virtual std::unique_ptr<CXmlNode> Clone() const = 0;
    // Walks this node and its children; false from the visitor stops the walk.
    virtual bool Accept(CXmlVisitor& visitor) const = 0;

    EType Type() const { return m_type; }
    // An element's name, a text's text, a comment's content.
    const std::string& Value() const { return m_value; }
    void SetValue(std::string value) { m_value = std::move(value); }

    CXmlNode* Parent() const { return m_parent; }
    CXmlNode* FirstChild() const;
    CXmlNode* LastChild() const;
    // The first child, or next sibling, whose value is `name`.
    CXmlNode* FirstChild(std::string_view name) const;
    CXmlNode* PreviousSibling() const;
    CXmlNode* NextSibling() const;
    CXmlNode* NextSibling(std::string_view name) const;
    // The same among elements only; an empty name takes any element.
    CXmlElement* FirstChildElement(std::string_view name = {}) const;
    CXmlElement* NextSiblingElement(std::string_view name = {}) const;
    size_t ChildCount() const { return m_children.size(); }

    // Appends a copy of `node`; null, with the document's error set, for a
    // document, which can only be the root.
    CXmlNode* InsertEndChild(const CXmlNode& node);
    // Appends `node` itself.
    CXmlNode* LinkEndChild(std::unique_ptr<CXmlNode> node);
    // Deletes the child; false when it is not a child of this node.
    bool RemoveChild(CXmlNode* child);
    void Clear() { m_children.clear(); }

    // The document the node belongs to, or null.
    CXmlDocument* GetDocument();

protected:
    CXmlNode(EType type, std::string value) : m_type(type), m_value(std::move(value)) {}
    bool AcceptChildren(CXmlVisitor& visitor) const;
    void CloneChildrenInto(CXmlNode& target) const;

private:
    size_t IndexInParent() const;

    EType m_type;
    std::string m_value;
    CXmlNode* m_parent = nullptr;
    std::vector<std::unique_ptr<CXmlNode>> m_children;
};

class CXmlElement : public CXmlNode
{
public:
    explicit CXmlElement(std::string name) : CXmlNode(EType::Element, std::move(name)) {}

    const CXmlElement* ToElement() const override { return this; }
    CXmlElement* ToElement() override { return this; }
    std::unique_ptr<CXmlNode> Clone() const override;
    bool Accept(CXmlVisitor& visitor) const override;

    // The value, or null when the element has no such attribute.
    const std::string* Attribute(std::string_view name) const;
    bool QueryIntAttribute(std::string_view name, int& out) const;
    bool QueryDoubleAttribute(std::string_view name, double& out) const;
    // Replaces the value of an existing attribute or appends a new one.
    void SetAttribute(std::string_view name, std::string value);
    void SetAttribute(std::string_view name, int value);
    void SetDoubleAttribute(std::string_view name, double value);
    bool RemoveAttribute(std::string_view name);
    // In the order they were set.
    const std::vector<CXmlAttribute>& Attributes() const { return m_attributes; }

private:
    CXmlAttribute* Find(std::string_view name);

    std::vector<CXmlAttribute> m_attributes;
};

class CXmlText : public CXmlNode
{
public:
    explicit CXmlText(std::string text, bool cdata = false) : CXmlNode(EType::Text, std::move(text)), m_cdata(cdata)
    {
    }

    const CXmlText* ToText() const override { return this; }
    CXmlText* ToText() override { return this; }
    std::unique_ptr<CXmlNode> Clone() const override;
    bool Accept(CXmlVisitor& visitor) const override;

    bool m_cdata;
};

class CXmlComment : public CXmlNode
{
public:
    explicit CXmlComment(std::string text) : CXmlNode(EType::Comment, std::move(text)) {}

    const CXmlComment* ToComment() const override { return this; }
    CXmlComment* ToComment() override { return this; }
    std::unique_ptr<CXmlNode> Clone() const override;
    bool Accept(CXmlVisitor& visitor) const override;
};

// "<?xml version=... encoding=... standalone=...?>".
class CXmlDeclaration : public CXmlNode
{
public:
    CXmlDeclaration(std::string version, std::string encoding, std::string standalone)
        : CXmlNode(EType::Declaration, {}), m_version(std::move(version)), m_encoding(std::move(encoding)),
          m_standalone(std::move(standalone))
    {
    }

    const CXmlDeclaration* ToDeclaration() const override { return this; }
    CXmlDeclaration* ToDeclaration() override { return this; }
    std::unique_ptr<CXmlNode> Clone() const override;
    bool Accept(CXmlVisitor& visitor) const override;
    // The declaration as text, the parts that are not empty only.
    std::string Print() const;
    using CXmlNode::Print;

    std::string m_version;
    std::string m_encoding;
    std::string m_standalone;
};

// Whatever else stands between "<" and ">": a document type, a processing
// instruction. Kept as its text and written back unchanged.
class CXmlUnknown : public CXmlNode
{
public:
    explicit CXmlUnknown(std::string text) : CXmlNode(EType::Unknown, std::move(text)) {}

    const CXmlUnknown* ToUnknown() const override { return this; }
    CXmlUnknown* ToUnknown() override { return this; }
    std::unique_ptr<CXmlNode> Clone() const override;
    bool Accept(CXmlVisitor& visitor) const override;
};

// Walks a document; every call answers whether to go on.
class CXmlVisitor
{
public:
    virtual ~CXmlVisitor() = default;
    virtual bool VisitEnter(const CXmlDocument&) { return true; }
    virtual bool VisitExit(const CXmlDocument&) { return true; }
    virtual bool VisitEnter(const CXmlElement&, const std::vector<CXmlAttribute>&) { return true; }
    virtual bool VisitExit(const CXmlElement&) { return true; }
    virtual bool Visit(const CXmlDeclaration&) { return true; }
    virtual bool Visit(const CXmlText&) { return true; }
    virtual bool Visit(const CXmlComment&) { return true; }
    virtual bool Visit(const CXmlUnknown&) { return true; }
};
