#include "scene/node.h"

#include "app/log.h"
#include "ports/port.h"
#include "render/render.h"
#include "scene/nodeinfo.h"
#include "scene/scenecontext.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>
#include <unordered_set>

namespace {

int g_pullDepth = 0;

CPort* FindPort(const std::vector<std::unique_ptr<CPort>>& ports, std::string_view name)
{
    for (const auto& port : ports) {
        if (port->m_name == name)
            return port.get();
    }
    for (const auto& port : ports) {
        for (int i = 0; i < port->m_subPorts; ++i) {
            CPort* sub = port->GetSubPort(i);
            if (sub->m_name == name)
                return sub;
        }
    }
    return nullptr;
}

// Calls `visit` on every input port and every sub-port of one.
template <class Visit>
void ForEachInPort(const std::vector<std::unique_ptr<CPort>>& ports, Visit&& visit)
{
    for (const auto& port : ports) {
        visit(port.get());
        for (int i = 0; i < port->m_subPorts; ++i)
            visit(port->GetSubPort(i));
    }
}

} // namespace

CNode::~CNode() = default;

bool CNode::Init()
{
    return true;
}

void CNode::Update(float, CSceneContext*)
{
}

void CNode::FrameFinished()
{
}

bool CNode::RestoreDevice(CRender*)
{
    return true;
}

void CNode::InvalidateDevice(CRender*)
{
}

bool CNode::ResetDevice(CRender* render)
{
    InvalidateDevice(render);
    RestoreDevice(render);
    return true;
}

void CNode::BuildRenderList(CRenderList*, CRenderItemList*, CCamera*)
{
}

void CNode::Serialize(QXmlStreamWriter* writer)
{
    writer->writeStartElement("Node");
    writer->writeAttribute("Type", GetTypeName());
    writer->writeAttribute("Name", QString::fromStdString(m_name));
    for (const auto& port : m_inPorts) {
        if (!IsValuePortType(port->m_type))
            continue;
        writer->writeStartElement("Port");
        writer->writeAttribute("Id", QString::fromStdString(port->m_name));
        port->Serialize(writer, false);
        writer->writeEndElement();
    }
    writer->writeEndElement();
}

void CNode::Deserialize(QXmlStreamReader* reader)
{
    m_name = reader->attributes().value("Name").toString().toStdString();
    while (reader->readNextStartElement()) {
        if (reader->name() != u"Port") {
            reader->skipCurrentElement();
            continue;
        }
        const std::string id = reader->attributes().value("Id").toString().toStdString();
        for (const auto& port : m_inPorts) {
            if (port->m_name == id) {
                port->Deserialize(reader);
                break;
            }
        }
        // A port may have read its element to the end already.
        if (!reader->isEndElement())
            reader->skipCurrentElement();
    }
}

void CNode::SetType(const CNodeInfo& info)
{
    m_info = &info;
    for (const auto& prototype : info.m_inPorts) {
        m_inPorts.push_back(CPort::Clone(*prototype));
        m_inPorts.back()->SetNode(this);
    }
    for (const auto& prototype : info.m_outPorts) {
        m_outPorts.push_back(CPort::Clone(*prototype));
        m_outPorts.back()->SetNode(this);
    }
    m_updateOnce = info.m_updateOnce;
    if (info.m_bindPorts)
        info.m_bindPorts(*this);
}

bool CNode::UpdateInPorts(float time)
{
    bool changed = false;
    for (const auto& port : m_inPorts) {
        port->Update(time);
        changed |= port->m_changed;
    }
    return changed;
}

void CNode::Pull(CSceneContext* context, float time)
{
    m_context = context;
    if (m_updateOnce && m_updated)
        return;
    if (g_pullDepth >= MaxPullDepth) {
        static bool reported = false;
        if (!reported) {
            reported = true;
            Error("Scene graph deeper than %ld nodes at \"%s\"; evaluation stops there", long(MaxPullDepth),
                  m_name.c_str());
        }
        return;
    }
    ++g_pullDepth;
    m_updated = true;
    Update(time, context);
    --g_pullDepth;

    // Device resources are made from the state that the first Update left.
    CRender* render = context ? context->m_render : nullptr;
    if (!render)
        return;
    const uint32_t bit = DeviceBit(render->GetDeviceIndex());
    if (m_deviceDirty & bit) {
        m_deviceDirty &= ~bit;
        ResetDevice(render);
    }
}

bool CNode::Connect(std::string_view inPort, CNode* from, std::string_view outPort)
{
    const std::string in(inPort), out(outPort);
    if (!from)
        return Error("Connection node is null (%s -> %s)", in.c_str(), out.c_str());
    CPort* input = GetInPort(inPort);
    if (!input)
        return Error("Unknown in port (%s -> %s)", in.c_str(), out.c_str());
    CPort* output = from->GetOutPort(outPort);
    if (!output)
        return Error("Unknown out port (%s -> %s)", in.c_str(), out.c_str());
    if (WouldMakeEndlessCycle(from))
        return Error("Connection would close a loop of nodes that are evaluated on every pull (%s -> %s)",
                     in.c_str(), out.c_str());
    input->Connect(output);
    return true;
}

bool CNode::WouldMakeEndlessCycle(const CNode* from) const
{
    // A loop stops at any node that is evaluated once a frame.
    if (m_updateOnce || from->m_updateOnce)
        return false;
    std::vector<const CNode*> pending{from};
    std::unordered_set<const CNode*> seen{from};
    while (!pending.empty()) {
        const CNode* node = pending.back();
        pending.pop_back();
        if (node == this)
            return true;
        ForEachInPort(node->m_inPorts, [&](const CPort* port) {
            const CNode* source = port->GetConnectedNode();
            if (source && !source->m_updateOnce && seen.insert(source).second)
                pending.push_back(source);
        });
    }
    return false;
}

void CNode::DisconnectFrom(CNode* other)
{
    ForEachInPort(m_inPorts, [&](CPort* port) {
        if (port->GetConnectedNode() == other)
            port->Disconnect(nullptr);
    });
}

void CNode::ClearChangedFlags()
{
    for (const auto& port : m_inPorts)
        port->ClearChanged();
    for (const auto& port : m_outPorts)
        port->ClearChanged();
}

CPort* CNode::GetInPort(std::string_view name) const
{
    return FindPort(m_inPorts, name);
}

CPort* CNode::GetOutPort(std::string_view name) const
{
    return FindPort(m_outPorts, name);
}

const char* CNode::GetTypeName() const
{
    return m_info ? m_info->m_name.c_str() : "";
}

const SRunInfo& CNode::Run() const
{
    return m_context ? *m_context->m_run : SRunInfo::Standalone();
}
