#include "scene/nodefactory.h"

#include "app/log.h"
#include "app/trace.h"
#include "ports/port.h"
#include "scene/node.h"
#include "scene/nodedeclaration.h"
#include "services/scriptengine.h"

#include <QXmlStreamWriter>
#include <algorithm>

namespace {

void SerializePorts(QXmlStreamWriter* writer, const char* element, const std::vector<std::unique_ptr<CPort>>& ports)
{
    writer->writeStartElement(element);
    for (const auto& port : ports) {
        writer->writeStartElement("Port");
        port->Serialize(writer, true);
        writer->writeEndElement();
    }
    writer->writeEndElement();
}

SCommandResult NodeTypesGet(CScriptEngine& engine, CScriptRequest& request, void* context)
{
    static_cast<const CNodeFactory*>(context)->SerializeNodeTypes(&request.Writer());
    engine.SendAnswer(request);
    return SCommandResult::Done();
}

} // namespace

CNodeFactory::CNodeFactory() : m_scriptEngine(CScriptEngine::Get())
{
    m_scriptEngine->AddCommand("NodeTypesGet", NodeTypesGet, this);
}

CNodeFactory::~CNodeFactory()
{
    m_scriptEngine->RemoveCommands(this);
    m_scriptEngine->Release();
}

void CNodeFactory::Init(std::span<const SNodeType> types)
{
    TRACE_LOG("CNodeFactory::Init");
    if (m_initialized)
        return;
    m_initialized = true;
    std::vector<const SNodeType*> built;
    for (const SNodeType& type : types) {
        if (type.m_declare)
            built.push_back(&type);
    }
    std::stable_sort(built.begin(), built.end(),
                     [](const SNodeType* a, const SNodeType* b) { return a->m_position < b->m_position; });
    for (const SNodeType* type : built) {
        m_declared.push_back(type->m_declare().MakeInfo(type->m_group, type->m_name, type->m_desc));
        Add(m_declared.back().get());
    }
}

void CNodeFactory::Add(CNodeInfo* info)
{
    if (!info)
        return;
    if (FindNodeInfo(info->m_name)) {
        Error("Node name isn't unique (%s)", info->m_name.c_str());
        return;
    }
    m_nodeInfos.push_back(info);
}

std::unique_ptr<CNode> CNodeFactory::Create(std::string_view type, CSceneContext* context)
{
    const CNodeInfo* info = FindNodeInfo(type);
    if (!info) {
        Error("Unknown node: \"%s\"", std::string(type).c_str());
        return nullptr;
    }
    std::unique_ptr<CNode> node(info->m_create());
    node->SetType(*info);
    node->m_context = context;
    node->Init();
    return node;
}

const CNodeInfo* CNodeFactory::FindNodeInfo(std::string_view type) const
{
    for (const CNodeInfo* info : m_nodeInfos) {
        if (info->m_name == type)
            return info;
    }
    return nullptr;
}

void CNodeFactory::SerializeNodeTypes(QXmlStreamWriter* writer) const
{
    writer->writeStartElement("NodeTypes");
    for (const CNodeInfo* info : m_nodeInfos) {
        writer->writeStartElement("NodeInfo");
        writer->writeAttribute("Type", QString::fromStdString(info->m_name));
        writer->writeAttribute("Desc", QString::fromStdString(info->m_desc));
        writer->writeAttribute("Group", QString::number(info->m_group));
        SerializePorts(writer, "InPorts", info->m_inPorts);
        SerializePorts(writer, "OutPorts", info->m_outPorts);
        writer->writeEndElement();
    }
    writer->writeEndElement();
}

std::string CNodeFactory::GetNodeTypesXml() const
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    SerializeNodeTypes(&writer);
    return xml.toStdString();
}
