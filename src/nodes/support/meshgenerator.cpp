#include "nodes/support/meshgenerator.h"

#include "ports/types/dataports.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "scene/nodedeclaration.h"

#include <algorithm>

TPorts<CMeshGeneratorNode> CMeshGeneratorNode::Ports()
{
    return {Out(&CMeshGeneratorNode::m_meshOut, "Mesh", "The mesh")};
}

void CMeshGeneratorNode::Update(float time, CSceneContext*)
{
    m_meshOut->m_value = this;
    if (UpdateInPorts(time))
        m_meshOut->m_changed = true;
}

int CMeshGeneratorNode::Clamped(const CPortInt* port)
{
    return std::clamp(port->m_value, port->m_min, std::max(port->m_min, port->m_max));
}

float CMeshGeneratorNode::Clamped(const CPortFloat* port)
{
    return std::clamp(port->m_value, port->m_min, std::max(port->m_min, port->m_max));
}
