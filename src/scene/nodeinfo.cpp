#include "scene/nodeinfo.h"

#include "ports/port.h"

CNodeInfo::CNodeInfo(int group, std::string_view name, CreateFunction create)
    : m_create(create), m_group(group), m_name(name)
{
}

CNodeInfo::~CNodeInfo() = default;

CPort* CNodeInfo::AddPort(std::unique_ptr<CPort> port, bool isInput)
{
    port->SetInput(isInput);
    auto& ports = isInput ? m_inPorts : m_outPorts;
    ports.push_back(std::move(port));
    return ports.back().get();
}
