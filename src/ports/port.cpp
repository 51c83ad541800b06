#include "ports/port.h"

#include "ports/types/dataports.h"
#include "ports/types/portbool.h"
#include "ports/types/portcolor.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portrect.h"
#include "ports/types/portstring.h"
#include "ports/types/portvector.h"
#include "scene/node.h"

#include <QXmlStreamWriter>
#include <algorithm>

namespace {
constexpr const char* kPortTypeNames[] = {"None",   "Bool",   "Int",    "Float",   "Color", "String", "Rect",
                                          "Render", "Vector", "Object", "Effect", "Texture", "Mesh"};
}

const char* PortTypeName(int type)
{
    if (type < 0 || type > PT_Mesh)
        return "None";
    return kPortTypeNames[type];
}

bool IsValuePortType(int type)
{
    return (type >= PT_Bool && type <= PT_Rect) || type == PT_Vector;
}

CPort::CPort(int type, std::string_view name, std::string_view desc) : m_type(type), m_name(name), m_desc(desc)
{
}

CPort::CPort(const CPort& other)
    : m_type(other.m_type),
      m_name(other.m_name),
      m_desc(other.m_desc),
      m_node(other.m_node),
      m_isInput(other.m_isInput),
      m_changed(true),
      m_subPorts(other.m_subPorts)
{
}

CPort::~CPort()
{
    // Leave no peer pointing at a port that is gone.
    for (CPort* peer : m_connections)
        peer->RemoveConnection(this);
}

CPort* CPort::GetSubPort(std::string_view)
{
    return nullptr;
}

CPort* CPort::GetSubPort(int)
{
    return nullptr;
}

std::string CPort::GetComponent(std::string_view)
{
    return GetValue();
}

std::string CPort::GetValue()
{
    return "<Missing>";
}

void CPort::SetComponent(std::string_view, std::string_view text)
{
    SetValue(text);
}

void CPort::SetValue(std::string_view)
{
}

void CPort::Serialize(QXmlStreamWriter* writer, bool describe)
{
    if (!describe)
        return;
    writer->writeAttribute("Type", PortTypeName(m_type));
    writer->writeAttribute("Name", QString::fromStdString(m_name));
    writer->writeAttribute("Desc", QString::fromStdString(m_desc));
    writer->writeAttribute("Input", m_isInput ? "1" : "0");
}

void CPort::Deserialize(QXmlStreamReader*)
{
}

void CPort::Connect(CPort* out)
{
    if (!m_connections.empty())
        Disconnect(nullptr);
    m_connections.push_back(out);
    out->m_connections.push_back(this);
}

void CPort::Disconnect(CPort* other)
{
    if (m_connections.empty())
        return;
    if (!other) {
        m_connections.front()->RemoveConnection(this);
        m_connections.clear();
        return;
    }
    RemoveConnection(other);
}

void CPort::RemoveConnection(CPort* other)
{
    std::erase(m_connections, other);
}

CNode* CPort::GetConnectedNode() const
{
    return m_connections.empty() ? nullptr : m_connections.front()->m_node;
}

void CPort::SetNode(CNode* node)
{
    m_node = node;
    for (int i = 0; i < m_subPorts; ++i)
        GetSubPort(i)->SetNode(node);
}

void CPort::SetInput(bool isInput)
{
    m_isInput = isInput;
    for (int i = 0; i < m_subPorts; ++i)
        GetSubPort(i)->SetInput(isInput);
}

void CPort::ClearChanged()
{
    m_changed = false;
    for (int i = 0; i < m_subPorts; ++i)
        GetSubPort(i)->ClearChanged();
}

CPort* CPort::PullConnected(float time)
{
    if (m_connections.empty())
        return nullptr;
    CPort* source = m_connections.front();
    if (source->m_node && m_node)
        source->m_node->Pull(m_node->m_context, time);
    if (source->m_changed)
        m_changed = true;
    return source;
}

std::unique_ptr<CPort> CPort::Clone(const CPort& port)
{
    switch (port.m_type) {
    case PT_Bool: return std::make_unique<CPortBool>(static_cast<const CPortBool&>(port));
    case PT_Int: return std::make_unique<CPortInt>(static_cast<const CPortInt&>(port));
    case PT_Float: return std::make_unique<CPortFloat>(static_cast<const CPortFloat&>(port));
    case PT_Color: return std::make_unique<CPortColor>(static_cast<const CPortColor&>(port));
    case PT_String: return std::make_unique<CPortString>(static_cast<const CPortString&>(port));
    case PT_Rect: return std::make_unique<CPortRect>(static_cast<const CPortRect&>(port));
    case PT_Render: return std::make_unique<CPortRender>(static_cast<const CPortRender&>(port));
    case PT_Vector: return std::make_unique<CPortVector>(static_cast<const CPortVector&>(port));
    case PT_Object: return std::make_unique<CPortObject>(static_cast<const CPortObject&>(port));
    case PT_Effect: return std::make_unique<CPortEffect>(static_cast<const CPortEffect&>(port));
    case PT_Texture: return std::make_unique<CPortTexture>(static_cast<const CPortTexture&>(port));
    case PT_Mesh: return std::make_unique<CPortMesh>(static_cast<const CPortMesh&>(port));
    default: return nullptr;
    }
}
