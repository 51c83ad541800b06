#include "scene/scene.h"

#include "app/cfg.h"
#include "app/log.h"
#include "app/random.h"
#include "app/textutil.h"
#include "app/trace.h"
#include "ports/port.h"
#include "ports/types/dataports.h"
#include "render/render.h"
#include "scene/node.h"
#include "scene/nodefactory.h"
#include "scene/nodeinfo.h"
#include "scene/pdmesh.h"
#include "scene/scenefile.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

bool ContainsIgnoringCase(const std::vector<std::string>& names, const std::string& name)
{
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& entry) { return EqualNoCase(entry, name); });
}

// Bool, Int and Float convert into each other; every other type only meets its own.
bool TypesConnect(int outType, int inType)
{
    const auto numeric = [](int type) { return type == PT_Bool || type == PT_Int || type == PT_Float; };
    return outType == inType || (numeric(outType) && numeric(inType));
}

struct SPortPath
{
    std::string_view node;
    std::string_view port;
    std::string_view rest;
    bool hasRest = false;
};

SPortPath SplitPath(std::string_view path)
{
    SPortPath parts;
    const size_t first = path.find('.');
    parts.node = path.substr(0, first);
    if (first == std::string_view::npos)
        return parts;
    const std::string_view tail = path.substr(first + 1);
    const size_t second = tail.find('.');
    parts.port = tail.substr(0, second);
    if (second != std::string_view::npos) {
        parts.rest = tail.substr(second + 1);
        parts.hasRest = true;
    }
    return parts;
}

struct SLicense
{
    std::string_view type;
    std::string_view work;
    std::string_view address;
};

constexpr std::string_view kCc0Text =
    "To the extent possible under law, the person who associated CC0 with this work has waived all copyright "
    "and related or neighboring rights to this work.";

constexpr std::array<SLicense, 8> kLicenses = {{
    {"CC BY 4.0", "Attribution", "https://creativecommons.org/licenses/by/4.0/"},
    {"CC BY 3.0", "Attribution", "https://creativecommons.org/licenses/by/3.0/"},
    {"CC BY-SA 4.0", "Attribution-ShareAlike", "https://creativecommons.org/licenses/by-sa/4.0/"},
    {"CC BY-SA 3.0", "Attribution-ShareAlike", "https://creativecommons.org/licenses/by-sa/3.0/"},
    {"CC BY-NC 4.0", "Attribution-NonCommercial", "https://creativecommons.org/licenses/by-nc/4.0/"},
    {"CC BY-NC 3.0", "Attribution-NonCommercial", "https://creativecommons.org/licenses/by-nc/3.0/"},
    {"CC BY-NC-SA 4.0", "Attribution-NonCommercial-ShareAlike", "https://creativecommons.org/licenses/by-nc-sa/4.0/"},
    {"CC BY-NC-SA 3.0", "Attribution-NonCommercial-ShareAlike", "https://creativecommons.org/licenses/by-nc-sa/3.0/"},
}};

} // namespace

// ---- Life and the runtime interface ----

CScene::CScene() : CSceneBase(Kind_Scene), m_licenseText(GetLicenseText(DefaultLicenseType)),
    m_factory(CNodeFactory::Get())
{
}

CScene::~CScene()
{
    // Nodes go before the factory reference: their types live in it.
    m_root = nullptr;
    m_nodes.clear();
    m_factory->Release();
}

bool CScene::Prepare()
{
    return true;
}

void CScene::Update(float deltaTime, CRender* render)
{
    if (!m_root)
        return;
    m_context.m_timeScale = 1.0f;
    float step = deltaTime;
    if (m_sceneType & SceneType_Transition) {
        // A transition's time runs from 0 to 1 over its length.
        float length = m_runTime;
        if (!(length > 0.0f))
            length = m_context.m_run->m_config ? m_context.m_run->m_config->Time : CCfg().Time;
        if (!(length > 0.0f))
            length = MinTransitionLength;
        step = deltaTime / length;
        m_context.m_timeScale = 1.0f / length;
        if (IsPreviewRun()) {
            if (m_context.m_time > 1.0f) {
                m_context.m_time = 0.0f;
                m_context.m_frame = 0;
            }
        } else if (m_context.m_time + step > 1.0f) {
            m_context.m_time = 1.0f - step;
        }
    }
    if (m_context.m_firstUpdate || m_context.m_restarted)
        m_context.m_frame = 0;

    // Warm-up: fixed steps of simulation before the first shown frame, so
    // particles and feedback have settled when the scene appears.
    constexpr float WarmupStep = 1.0f / 30.0f;
    while (m_elapsed + step < m_warmupTime) {
        UpdateGraph(WarmupStep, true, render);
        m_elapsed += WarmupStep;
    }
    UpdateGraph(step, false, render);

    m_renderList.Reset();
    m_root->BuildRenderList(&m_renderList, &m_renderList.GetRootList(), nullptr);
    m_elapsed += step;
}

void CScene::UpdateGraph(float step, bool warmingUp, CRender* render)
{
    if (m_context.m_restarted && m_feedback) {
        m_elapsed = 0.0f;
        m_context.m_time = 0.0f;
    }
    for (const auto& node : m_nodes)
        node->m_updated = false;

    m_context.m_render = render;
    if (render) {
        m_context.m_width = float(render->m_virtualRect.Width());
        m_context.m_height = float(render->m_virtualRect.Height());
        m_context.m_aspect = render->GetAspect();
    }
    m_context.m_warmingUp = warmingUp;
    m_context.m_deltaTime = step;
    m_context.m_time += step;

    m_root->Pull(&m_context, m_context.m_time);
    GenerateMeshes();
    for (const auto& node : m_nodes) {
        if (node->m_updated)
            node->ClearChangedFlags();
    }
    m_context.m_lastAspect = m_context.m_aspect;
    m_context.m_firstUpdate = false;
    m_context.m_restarted = false;
}

void CScene::GenerateMeshes()
{
    for (const auto& node : m_nodes) {
        for (const auto& port : node->m_outPorts) {
            if (port->m_type != PT_Mesh)
                continue;
            CPDMesh* mesh = static_cast<CPortMesh*>(port.get())->m_value;
            if (!mesh || !mesh->m_meshDirty)
                continue;
            // Each rebuild runs the whole chain into this mesh from scratch.
            mesh->m_mesh.Clear();
            mesh->GenerateMesh(mesh);
            mesh->m_meshDeviceDirty = 0xFFFFFFFFu;
            mesh->m_meshDirty = false;
        }
    }
}

bool CScene::IsPreviewRun() const
{
    const SRunInfo& run = *m_context.m_run;
    if (run.IsEditor())
        return true;
    // The front end previews a scene by starting a full-screen run of it.
    return run.m_windowMode == EWindowMode::FullScreen && run.m_config &&
           run.m_config->StartScene.find(".lmc") != std::string::npos;
}

void CScene::FrameFinished()
{
    for (const auto& node : m_nodes)
        node->FrameFinished();
    ++m_context.m_frame;
}

bool CScene::RestoreDevice(CRender* render)
{
    TRACE_LOG("CScene::RestoreDevice");
    if (!render)
        return false;
    const uint32_t bit = DeviceBit(render->GetDeviceIndex());
    for (const auto& node : m_nodes) {
        node->m_deviceDirty &= ~bit;
        if (!node->RestoreDevice(render))
            return false;
        for (const auto& port : node->m_inPorts) {
            if (port->m_type != PT_Mesh)
                continue;
            if (CPDMesh* mesh = static_cast<CPortMesh*>(port.get())->m_value)
                mesh->MeshRestoreDevice(render);
        }
    }
    return true;
}

void CScene::InvalidateDevice(CRender* render)
{
    TRACE_LOG("CScene::InvalidateDevice");
    if (!render)
        return;
    for (const auto& node : m_nodes) {
        node->InvalidateDevice(render);
        for (const auto& port : node->m_inPorts) {
            if (port->m_type != PT_Mesh)
                continue;
            if (CPDMesh* mesh = static_cast<CPortMesh*>(port.get())->m_value)
                mesh->MeshInvalidateDevice(render);
        }
    }
}

void CScene::Draw(CRender* render)
{
    if (!m_root || !render)
        return;
    // Nodes that no pull reached still get their device resources here.
    const uint32_t bit = DeviceBit(render->GetDeviceIndex());
    for (const auto& node : m_nodes) {
        if (node->m_deviceDirty & bit) {
            node->m_deviceDirty &= ~bit;
            node->ResetDevice(render);
        }
        for (const auto& port : node->m_outPorts) {
            if (port->m_type != PT_Mesh)
                continue;
            CPDMesh* mesh = static_cast<CPortMesh*>(port.get())->m_value;
            if (mesh && (mesh->m_meshDeviceDirty & bit)) {
                mesh->m_meshDeviceDirty &= ~bit;
                mesh->MeshResetDevice(render);
            }
        }
    }
    m_renderList.Draw(render);
}

void CScene::ForceRestore()
{
    for (const auto& node : m_nodes) {
        node->m_deviceDirty = 0xFFFFFFFFu;
        if (std::string_view(node->GetTypeName()) != "MeshObject")
            continue;
        for (const auto& port : node->m_inPorts) {
            if (port->m_type != PT_Mesh)
                continue;
            if (CPDMesh* mesh = static_cast<CPortMesh*>(port.get())->m_value)
                mesh->m_meshDirty = true;
        }
    }
}

std::string CScene::GetName() const
{
    const std::string path = WithSlashes(m_fileName);
    const size_t slash = path.rfind('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    return name.size() < 4 ? name : name.substr(0, name.size() - 4);
}

void CScene::Restart()
{
    m_context.m_restarted = true;
}

int32_t CScene::CheckCompatibility(const CSceneBase* other) const
{
    if (!other || other->m_kind == Kind_Layered)
        return Compatibility_Neutral;
    const std::string name = GetName();
    const std::string otherName = other->GetName();
    const auto* otherScene = dynamic_cast<const CScene*>(other);
    if (ContainsIgnoringCase(m_badScenes, otherName) ||
        (otherScene && ContainsIgnoringCase(otherScene->m_badScenes, name)))
        return Compatibility_Bad;
    if (ContainsIgnoringCase(m_goodScenes, otherName) ||
        (otherScene && ContainsIgnoringCase(otherScene->m_goodScenes, name)))
        return Compatibility_Good;
    return Compatibility_Neutral;
}

// ---- The node list ----

CNode* CScene::AddNode(std::string_view type)
{
    std::unique_ptr<CNode> node = m_factory->Create(type, &m_context);
    if (!node)
        return nullptr;
    node->m_name = UniqueName(type);
    CNode* added = node.get();
    m_nodes.push_back(std::move(node));
    if (!m_root && type == "Screen")
        m_root = added;
    return added;
}

std::string CScene::UniqueName(std::string_view base) const
{
    std::string name;
    for (long n = 1; n <= 999; ++n) {
        name = std::string(base) + std::to_string(n);
        if (!FindNode(name))
            return name;
    }
    return std::string(base) + std::to_string(long(g_random.NextInt(1 << 30)) + 1000);
}

CNode* CScene::FindNode(std::string_view name) const
{
    for (const auto& node : m_nodes) {
        if (node->m_name == name)
            return node.get();
    }
    return nullptr;
}

bool CScene::RemoveNode(std::string_view name)
{
    const auto found =
        std::find_if(m_nodes.begin(), m_nodes.end(), [&](const auto& node) { return node->m_name == name; });
    if (found == m_nodes.end())
        return false;
    CNode* node = found->get();
    if (m_root == node)
        m_root = nullptr;
    for (const auto& other : m_nodes) {
        if (other.get() != node)
            other->DisconnectFrom(node);
    }
    // The node's own ports leave the lists of the outputs they read as they go.
    m_nodes.erase(found);
    return true;
}

CPort* CScene::FindPort(std::string_view path, bool input, std::string* component) const
{
    const SPortPath parts = SplitPath(path);
    const CNode* node = FindNode(parts.node);
    if (!node)
        return nullptr;
    CPort* port = nullptr;
    for (const auto& candidate : input ? node->m_inPorts : node->m_outPorts) {
        if (candidate->m_name == parts.port) {
            port = candidate.get();
            break;
        }
    }
    if (!port)
        return nullptr;
    if (parts.hasRest && component)
        *component = parts.rest;
    // A third part that names a sub-port leads to it; any other is a
    // component, which a connection doesn't care about.
    if (parts.hasRest) {
        if (CPort* sub = port->GetSubPort(parts.rest))
            return sub;
    }
    return port;
}

CPort* CScene::FindInPort(std::string_view path, std::string* component) const
{
    return FindPort(path, true, component);
}

CPort* CScene::FindOutPort(std::string_view path) const
{
    return FindPort(path, false, nullptr);
}

bool CScene::Connect(std::string_view from, std::string_view to)
{
    CPort* out = FindOutPort(from);
    std::string component;
    CPort* in = FindInPort(to, &component);
    if (!out || !in)
        return false;
    if (!TypesConnect(out->m_type, in->m_type))
        return Error("Unable to created a connection between nodes of different type %ld -> %ld", long(out->m_type),
                     long(in->m_type));
    // The node refuses a loop that its pull could never leave.
    if (!in->m_node->Connect(in->m_name, out->m_node, out->m_name))
        return false;
    if (in->m_type == PT_Mesh)
        in->m_changed = true;
    return true;
}

bool CScene::Disconnect(std::string_view from, std::string_view to)
{
    CPort* out = FindOutPort(from);
    std::string component;
    CPort* in = FindInPort(to, &component);
    if (!out || !in)
        return false;
    in->Disconnect(nullptr);
    if (in->m_type == PT_Mesh)
        in->m_changed = true;
    return true;
}

void CScene::GenerateId()
{
    static constexpr std::string_view kDigits = "1234567890abcdefghijklmnopqrstuvwxyz";
    m_id.clear();
    for (int i = 0; i < 10; ++i) {
        // NextUnit can round up to 1, which would index one past the end.
        const size_t index = std::min(size_t(std::floor(g_random.NextUnit() * 36.0f)), kDigits.size() - 1);
        m_id += kDigits[index];
    }
}

// ---- Content licence ----

void CScene::SetLicenseType(std::string_view type)
{
    m_licenseType = type;
    m_licenseText = GetLicenseText(type);
}

std::string CScene::GetLicenseText(std::string_view type)
{
    if (type == "CC0")
        return std::string(kCc0Text);
    for (const SLicense& license : kLicenses) {
        if (license.type != type)
            continue;
        const std::string_view version = type.substr(type.size() - 3);
        return "This work is licensed under the Creative Commons " + std::string(license.work) + " " +
               std::string(version) + " Unported License. To view a copy of this license, visit " +
               std::string(license.address);
    }
    return {};
}

// ---- Files ----

bool CScene::Load(std::string_view path, bool loadGraph)
{
    TRACE("CScene::Load");
    return CSceneFile(*this).Load(path, loadGraph);
}

bool CScene::Save(std::string_view path, bool makeImages)
{
    TRACE("CScene::Save");
    return CSceneFile(*this).Save(path, makeImages);
}

void CScene::Serialize(QXmlStreamWriter* writer, bool document)
{
    CSceneFile(*this).Serialize(writer, document);
}

bool CScene::Deserialize(QXmlStreamReader* reader, bool loadGraph)
{
    return CSceneFile(*this).Deserialize(reader, loadGraph);
}

void CScene::SetSnapshotSource(SceneSnapshotSource source)
{
    CSceneFile::SetSnapshotSource(std::move(source));
}
