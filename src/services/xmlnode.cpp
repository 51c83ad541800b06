#include "services/xmlnode.h"

#include "services/xmldocument.h"
#include "services/xmlprinter.h"

#include <algorithm>
#include <cstdlib>

namespace {

bool Matches(const CXmlNode& node, std::string_view name)
{
    return name.empty() || node.Value() == name;
}

} // namespace

// ---- CXmlAttribute ----

void CXmlAttribute::Print(FILE* file, int /*depth*/) const
{
    fputs(CXmlPrinter::AttributeText(m_name, m_value).c_str(), file);
}

bool CXmlAttribute::QueryIntValue(int& out) const
{
    int value = 0;
    if (sscanf(m_value.c_str(), "%d", &value) != 1)
        return false;
    out = value;
    return true;
}

bool CXmlAttribute::QueryDoubleValue(double& out) const
{
    double value = 0.0;
    if (sscanf(m_value.c_str(), "%lf", &value) != 1)
        return false;
    out = value;
    return true;
}

// ---- CXmlNode ----

void CXmlNode::Print(FILE* file, int depth) const
{
    CXmlPrinter printer;
    Accept(printer);
    const std::string indent(size_t(std::max(depth, 0)), '\t');
    const std::string& text = printer.Text();
    size_t begin = 0;
    while (begin < text.size()) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        fprintf(file, "%s%.*s\n", indent.c_str(), int(end - begin), text.data() + begin);
        begin = end + 1;
    }
}

size_t CXmlNode::IndexInParent() const
{
    const auto& siblings = m_parent->m_children;
    const auto it = std::find_if(siblings.begin(), siblings.end(), [this](const auto& node) { return node.get() == this; });
    return size_t(it - siblings.begin());
}

CXmlNode* CXmlNode::FirstChild() const
{
    return m_children.empty() ? nullptr : m_children.front().get();
}

CXmlNode* CXmlNode::LastChild() const
{
    return m_children.empty() ? nullptr : m_children.back().get();
}

CXmlNode* CXmlNode::FirstChild(std::string_view name) const
{
    for (const auto& child : m_children)
        if (child->Value() == name)
            return child.get();
    return nullptr;
}

CXmlNode* CXmlNode::PreviousSibling() const
{
    if (!m_parent)
        return nullptr;
    const size_t index = IndexInParent();
    return index > 0 ? m_parent->m_children[index - 1].get() : nullptr;
}

CXmlNode* CXmlNode::NextSibling() const
{
    if (!m_parent)
        return nullptr;
    const size_t index = IndexInParent() + 1;
    return index < m_parent->m_children.size() ? m_parent->m_children[index].get() : nullptr;
}

CXmlNode* CXmlNode::NextSibling(std::string_view name) const
{
    CXmlNode* node = NextSibling();
    while (node && node->Value() != name)
        node = node->NextSibling();
    return node;
}

CXmlElement* CXmlNode::FirstChildElement(std::string_view name) const
{
    for (const auto& child : m_children)
        if (child->ToElement() && Matches(*child, name))
            return child->ToElement();
    return nullptr;
}

CXmlElement* CXmlNode::NextSiblingElement(std::string_view name) const
{
    for (CXmlNode* node = NextSibling(); node; node = node->NextSibling())
        if (node->ToElement() && Matches(*node, name))
            return node->ToElement();
    return nullptr;
}

CXmlNode* CXmlNode::InsertEndChild(const CXmlNode& node)
{
    if (node.Type() == EType::Document) {
        if (CXmlDocument* document = GetDocument())
            document->SetError(CXmlDocument::Error_DocumentTopOnly, -1, -1);
        return nullptr;
    }
    return LinkEndChild(node.Clone());
}

CXmlNode* CXmlNode::LinkEndChild(std::unique_ptr<CXmlNode> node)
{
    if (!node || node->Type() == EType::Document) {
        if (CXmlDocument* document = GetDocument())
            document->SetError(CXmlDocument::Error_DocumentTopOnly, -1, -1);
        return nullptr;
    }
    node->m_parent = this;
    m_children.push_back(std::move(node));
    return m_children.back().get();
}

bool CXmlNode::RemoveChild(CXmlNode* child)
{
    const auto it =
        std::find_if(m_children.begin(), m_children.end(), [child](const auto& node) { return node.get() == child; });
    if (it == m_children.end())
        return false;
    m_children.erase(it);
    return true;
}

CXmlDocument* CXmlNode::GetDocument()
{
    CXmlNode* node = this;
    while (node->m_parent)
        node = node->m_parent;
    return node->ToDocument();
}

bool CXmlNode::AcceptChildren(CXmlVisitor& visitor) const
{
    for (const auto& child : m_children)
        if (!child->Accept(visitor))
            return false;
    return true;
}

void CXmlNode::CloneChildrenInto(CXmlNode& target) const
{
    target.SetLocation(Row(), Column());
    target.m_userData = m_userData;
    for (const auto& child : m_children)
        target.LinkEndChild(child->Clone());
}

// ---- CXmlElement ----

std::unique_ptr<CXmlNode> CXmlElement::Clone() const
{
    auto copy = std::make_unique<CXmlElement>(Value());
    copy->m_attributes = m_attributes;
    CloneChildrenInto(*copy);
    return copy;
}

bool CXmlElement::Accept(CXmlVisitor& visitor) const
{
    if (visitor.VisitEnter(*this, m_attributes))
        AcceptChildren(visitor);
    return visitor.VisitExit(*this);
}

CXmlAttribute* CXmlElement::Find(std::string_view name)
{
    for (CXmlAttribute& attribute : m_attributes)
        if (attribute.Name() == name)
            return &attribute;
    return nullptr;
}

const std::string* CXmlElement::Attribute(std::string_view name) const
{
    for (const CXmlAttribute& attribute : m_attributes)
        if (attribute.Name() == name)
            return &attribute.Value();
    return nullptr;
}

bool CXmlElement::QueryIntAttribute(std::string_view name, int& out) const
{
    const CXmlAttribute* attribute = const_cast<CXmlElement*>(this)->Find(name);
    return attribute && attribute->QueryIntValue(out);
}

bool CXmlElement::QueryDoubleAttribute(std::string_view name, double& out) const
{
    const CXmlAttribute* attribute = const_cast<CXmlElement*>(this)->Find(name);
    return attribute && attribute->QueryDoubleValue(out);
}

void CXmlElement::SetAttribute(std::string_view name, std::string value)
{
    if (CXmlAttribute* attribute = Find(name))
        attribute->SetValue(std::move(value));
    else
        m_attributes.emplace_back(std::string(name), std::move(value));
}

void CXmlElement::SetAttribute(std::string_view name, int value)
{
    SetAttribute(name, std::to_string(value));
}

void CXmlElement::SetDoubleAttribute(std::string_view name, double value)
{
    char text[64];
    snprintf(text, sizeof(text), "%f", value);
    SetAttribute(name, std::string(text));
}

bool CXmlElement::RemoveAttribute(std::string_view name)
{
    const auto it = std::find_if(m_attributes.begin(), m_attributes.end(),
                                 [name](const CXmlAttribute& attribute) { return attribute.Name() == name; });
    if (it == m_attributes.end())
        return false;
    m_attributes.erase(it);
    return true;
}

// ---- The leaves ----

std::unique_ptr<CXmlNode> CXmlText::Clone() const
{
    auto copy = std::make_unique<CXmlText>(Value(), m_cdata);
    CloneChildrenInto(*copy);
    return copy;
}

bool CXmlText::Accept(CXmlVisitor& visitor) const
{
    return visitor.Visit(*this);
}

std::unique_ptr<CXmlNode> CXmlComment::Clone() const
{
    auto copy = std::make_unique<CXmlComment>(Value());
    CloneChildrenInto(*copy);
    return copy;
}

bool CXmlComment::Accept(CXmlVisitor& visitor) const
{
    return visitor.Visit(*this);
}

std::unique_ptr<CXmlNode> CXmlDeclaration::Clone() const
{
    auto copy = std::make_unique<CXmlDeclaration>(m_version, m_encoding, m_standalone);
    CloneChildrenInto(*copy);
    return copy;
}

bool CXmlDeclaration::Accept(CXmlVisitor& visitor) const
{
    return visitor.Visit(*this);
}

std::string CXmlDeclaration::Print() const
{
    std::string text = "<?xml ";
    if (!m_version.empty())
        text += "version=\"" + m_version + "\" ";
    if (!m_encoding.empty())
        text += "encoding=\"" + m_encoding + "\" ";
    if (!m_standalone.empty())
        text += "standalone=\"" + m_standalone + "\" ";
    return text + "?>";
}

std::unique_ptr<CXmlNode> CXmlUnknown::Clone() const
{
    auto copy = std::make_unique<CXmlUnknown>(Value());
    CloneChildrenInto(*copy);
    return copy;
}

bool CXmlUnknown::Accept(CXmlVisitor& visitor) const
{
    return visitor.Visit(*this);
}
