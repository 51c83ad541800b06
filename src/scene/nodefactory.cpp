#include "scene/nodefactory.h"

#include "app/log.h"
#include "app/trace.h"
#include "ports/port.h"
#include "scene/node.h"
#include "scene/nodedeclaration.h"
#include "scene/nodeinfo.h"

#include <QXmlStreamWriter>
#include <algorithm>
#include <array>

namespace {

constexpr std::array<std::string_view, 83> kFactoryOrder = {
    "SignalGenerator", "Sin",          "Screen",          "Clear",          "RGBAToColor",   "Vector",
    "MinMax",          "RenderObject", "PingPong",        "Driftcrest",     "Starfield",     "FileTexture",
    "MeshObject",      "Cube",         "Blur",            "RenderToTexture", "RenderRect",   "MatrixTrails",
    "LineBounce",      "DelayedTransform", "Particles",   "Clone",          "Transform",     "Beat",
    "Spectrum",        "Waveform",     "Oscilloscope",    "Bars",           "Lines",         "HSVAToColor",
    "HSLAToColor",     "Grass",        "Metaballs",       "Expression",     "CloneExpression", "Asteroids",
    "Voronoi",         "Rotator",      "Clock",           "TextWriter",     "Galaxy",        "Lightning",
    "NoiseTexture",    "RandomTexture", "ExpressionTexture", "Ribbons",     "Fluid2d",       "Gradient",
    "TuringPattern",   "SoundTexture", "CopyTexture",     "PreviousLayer",  "Shatter",       "Maze",
    "Subdivide",       "Extrude",      "SelectMesh",      "Weld",           "Bevel",         "Facette",
    "Plane",           "Sphere",       "Cylinder",        "Transition",     "Disc",          "Torus",
    "InvertMesh",      "DeleteFaces",  "MirrorMesh",      "CenterMesh",     "Randomize",     "NoiseMesh",
    "CloneMeshExpression", "TransformMesh", "TransformEx", "CloneMesh",     "Shader",        "PoissonSolver",
    "MeshInstancer",   "Roller",       "Bloom",           "Streak",         "PersistentTexture",
};

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

} // namespace

std::span<const std::string_view> CNodeFactory::FactoryOrder()
{
    return kFactoryOrder;
}

void CNodeFactory::Init()
{
    TRACE_LOG("CNodeFactory::Init");
    if (m_initialized)
        return;
    m_initialized = true;
    AddInOrder(DeclaredNodeTypes());
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

void CNodeFactory::AddInOrder(std::span<CNodeInfo* const> infos)
{
    for (std::string_view name : kFactoryOrder) {
        for (CNodeInfo* info : infos) {
            if (info && info->m_name == name)
                Add(info);
        }
    }
    for (CNodeInfo* info : infos) {
        if (info && std::find(kFactoryOrder.begin(), kFactoryOrder.end(), info->m_name) == kFactoryOrder.end())
            Error("Node type \"%s\" has no place in the factory order and is left out", info->m_name.c_str());
    }
}

std::unique_ptr<CNode> CNodeFactory::Create(std::string_view type)
{
    const CNodeInfo* info = FindNodeInfo(type);
    if (!info) {
        Error("Unknown node: \"%s\"", std::string(type).c_str());
        return nullptr;
    }
    std::unique_ptr<CNode> node(info->m_create());
    node->SetType(*info);
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
