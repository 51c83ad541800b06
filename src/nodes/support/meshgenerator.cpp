#include "nodes/support/meshgenerator.h"

#include "mesh/meshplacement.h"
#include "ports/types/dataports.h"
#include "ports/types/portfloat.h"
#include "ports/types/portint.h"
#include "ports/types/portvector.h"
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

SMeshPlacement CMeshGeneratorNode::Placement(const CPortVector* pos, const CPortVector* rot, const CPortVector* scale)
{
    const auto& p = pos->m_value;
    const auto& r = rot->m_value;
    const auto& s = scale->m_value;
    SMeshPlacement placement;
    placement.position = {p[0], p[1], p[2]};
    placement.rotation = {r[0], r[1], r[2]};
    placement.scale = {s[0], s[1], s[2]};
    return placement;
}

bool CMeshGeneratorNode::GenerateInto(const CPortMesh* port, CPDMesh& into)
{
    CPDMesh* source = port->m_value;
    if (!source)
        return false;
    into.m_mesh.Clear();
    return source->GenerateMesh(&into);
}
