#include "scene/scenemigration.h"

#include <QDomDocument>
#include <QDomElement>
#include <QDomNamedNodeMap>
#include <QStringList>
#include <QXmlStreamReader>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray kUtf8Bom("\xEF\xBB\xBF");

bool TooDeep(const QByteArray& text)
{
    QXmlStreamReader reader(text);
    int depth = 0;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement() && ++depth > SceneMigration::MaxDepth)
            return true;
        if (reader.isEndElement())
            --depth;
    }
    return false;
}

QDomElement FindNode(const QDomElement& nodes, const QString& type)
{
    for (QDomElement node = nodes.firstChildElement(u"Node"_s); !node.isNull();
         node = node.nextSiblingElement(u"Node"_s)) {
        if (node.attribute(u"Type"_s) == type)
            return node;
    }
    return {};
}

// The camera moved from the first RenderObject node to the Screen node.
void MoveCamera(const QDomElement& nodes)
{
    const QDomElement renderObject = FindNode(nodes, u"RenderObject"_s);
    QDomElement screen = FindNode(nodes, u"Screen"_s);
    if (renderObject.isNull() || screen.isNull())
        return;
    for (const QString& name : {u"CamPos"_s, u"CamRot"_s, u"CamFov"_s, u"ScaleByAspect"_s})
        screen.setAttribute(name, renderObject.attribute(name));
}

// Port values become "Port" children; long texts go into a "Value" element.
void AttributesToPorts(QDomDocument& document, QDomElement& node)
{
    static const QStringList kTextPorts{u"Shader"_s, u"Expression"_s, u"TextLines"_s, u"Filename"_s};
    const QDomNamedNodeMap attributes = node.attributes();
    QStringList names;
    for (int i = 0; i < attributes.count(); ++i)
        names.append(attributes.item(i).nodeName());
    // The map has no order of its own; sorted, the output is the same on every run.
    names.sort();
    for (const QString& name : names) {
        if (name == u"Type" || name == u"Name")
            continue;
        const QString value = node.attribute(name);
        node.removeAttribute(name);
        QDomElement port = document.createElement(u"Port"_s);
        port.setAttribute(u"Id"_s, name);
        if (kTextPorts.contains(name)) {
            QDomElement valueElement = document.createElement(u"Value"_s);
            valueElement.appendChild(document.createTextNode(value));
            port.appendChild(valueElement);
        } else {
            port.setAttribute(u"Value"_s, value);
        }
        node.appendChild(port);
    }
}

} // namespace

bool SceneMigration::IsOldestForm(const QByteArray& text)
{
    const QByteArray body = text.startsWith(kUtf8Bom) ? text.mid(kUtf8Bom.size()) : text;
    return !body.startsWith("<?xml");
}

QByteArray SceneMigration::MigrateOldestForm(QByteArray text)
{
    if (text.startsWith(kUtf8Bom))
        text.remove(0, kUtf8Bom.size());
    // Blanks around the root would become character references outside it,
    // which no parser accepts.
    text = text.trimmed();
    text.replace('\r', QByteArray());
    text.replace("\t", "&#009;");
    text.replace("\n", "&#10;");
    text.replace("&#x0D;", QByteArray());

    if (TooDeep(text))
        return text;
    QDomDocument document;
    if (!document.setContent(text))
        return text;

    QDomElement nodes = document.documentElement()
                            .firstChildElement(u"Scenes"_s)
                            .firstChildElement(u"Scene"_s)
                            .firstChildElement(u"Nodes"_s);
    MoveCamera(nodes);
    for (QDomElement node = nodes.firstChildElement(u"Node"_s); !node.isNull();
         node = node.nextSiblingElement(u"Node"_s))
        AttributesToPorts(document, node);
    return document.toByteArray(4);
}
