#include "scene/scene.h"

#include "app/cfg.h"
#include "app/log.h"
#include "app/paths.h"
#include "app/random.h"
#include "app/regularfile.h"
#include "app/runinfo.h"
#include "app/textutil.h"
#include "app/trace.h"
#include "ports/port.h"
#include "ports/types/dataports.h"
#include "render/render.h"
#include "scene/node.h"
#include "scene/nodefactory.h"
#include "scene/nodeinfo.h"
#include "scene/pdmesh.h"
#include "scene/scenecontainer.h"
#include "scene/sceneimages.h"
#include "scene/scenemigration.h"

#include <QDate>
#include <QDateTime>
#include <QFile>
#include <QTime>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

SceneSnapshotSource& SnapshotSource()
{
    static SceneSnapshotSource source;
    return source;
}

std::string Attribute(QXmlStreamReader* reader, QLatin1StringView name)
{
    return reader->attributes().value(name).toString().toStdString();
}

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

std::string PortPath(const CPort* port)
{
    return port->m_node->m_name + "." + port->m_name;
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

// ---- SSceneTime ----

SSceneTime SSceneTime::NowUtc()
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDate date = now.date();
    const QTime time = now.time();
    return {uint16_t(date.year()),   uint16_t(date.month()),  uint16_t(date.day()),
            uint16_t(time.hour()),   uint16_t(time.minute()), uint16_t(time.second())};
}

std::string SSceneTime::Format() const
{
    if (!IsSet())
        return {};
    char text[32];
    snprintf(text, sizeof(text), "%4ld%02ld%02ld %02ld:%02ld", long(m_year), long(m_month), long(m_day),
             long(m_hour), long(m_minute));
    return text;
}

SSceneTime SSceneTime::Parse(std::string_view text)
{
    if (text.size() < 14)
        return {};
    const auto field = [&](size_t at, size_t length, int& value) {
        bool ok = false;
        value = QByteArrayView(text.data() + at, qsizetype(length)).toInt(&ok);
        return ok;
    };
    int year = 0, month = 0, day = 0, hour = 0, minute = 0;
    if (!field(0, 4, year) || !field(4, 2, month) || !field(6, 2, day) || !field(9, 2, hour) ||
        !field(12, 2, minute))
        return {};
    if (!QDate(year, month, day).isValid() || !QTime(hour, minute).isValid())
        return {};
    return {uint16_t(year), uint16_t(month), uint16_t(day), uint16_t(hour), uint16_t(minute), 0};
}

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
            length = g_runInfo.m_config ? g_runInfo.m_config->Time : CCfg().Time;
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
            mesh->GenerateMesh(mesh);
            mesh->m_meshDeviceDirty = 0xFFFFFFFFu;
            mesh->m_meshDirty = false;
        }
    }
}

bool CScene::IsPreviewRun()
{
    if (g_runInfo.m_appType == 5)
        return true;
    return g_runInfo.m_windowMode == 2 && g_runInfo.m_config &&
           g_runInfo.m_config->StartScene.find(".lmc") != std::string::npos;
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
    std::unique_ptr<CNode> node = m_factory->Create(type);
    if (!node)
        return nullptr;
    node->m_name = UniqueName(type);
    node->m_context = &m_context;
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

// ---- Reading ----

bool CScene::Deserialize(QXmlStreamReader* reader, bool loadGraph)
{
    reader->setNamespaceProcessing(false);
    if (!reader->readNextStartElement())
        return false;
    const bool oldForm = reader->name() == u"Lumora";
    if (!oldForm && reader->name() != u"LumoraScene") {
        Log("Invalid scene file. Unknown start element: %s", qPrintable(reader->name().toString()));
        return false;
    }
    if (oldForm) {
        // The scene sits below "Scenes"; everything else on the way is passed over.
        for (;;) {
            if (reader->atEnd())
                return false;
            reader->readNext();
            if (!reader->isStartElement())
                continue;
            if (reader->name() == u"Scene")
                break;
            if (reader->name() != u"Scenes")
                reader->skipCurrentElement();
        }
    }
    ReadAttributes(reader);

    while (!reader->atEnd()) {
        reader->readNext();
        if (!reader->isStartElement())
            continue;
        const QStringView name = reader->name();
        if (name == u"Nodes" && loadGraph) {
            ReadNodes(reader);
        } else if (name == u"Connections" && loadGraph) {
            ReadConnections(reader);
        } else if (name == u"SceneCompatibility" && loadGraph) {
            ReadCompatibility(reader);
        } else if (name == u"Author") {
            m_author = reader->readElementText(QXmlStreamReader::SkipChildElements).toStdString();
        } else if (name == u"Desc") {
            m_desc = reader->readElementText(QXmlStreamReader::SkipChildElements).toStdString();
        } else if (name == u"Tags") {
            const QString text = reader->readElementText(QXmlStreamReader::SkipChildElements);
            if (!text.isEmpty()) {
                m_tags.clear();
                for (const QString& tag : text.split(u','))
                    m_tags.push_back(tag.toStdString());
            }
        } else if (name == u"License") {
            ReadLicense(reader);
        } else {
            reader->skipCurrentElement();
        }
    }
    DetectFeedback();
    return !reader->hasError();
}

void CScene::ReadAttributes(QXmlStreamReader* reader)
{
    const QXmlStreamAttributes attributes = reader->attributes();
    const auto text = [&](QLatin1StringView name) { return attributes.value(name).toString().toStdString(); };
    m_id = attributes.value("Id"_L1).toString().toLower().toStdString();
    m_parentId = text("ParentId"_L1);
    m_desc = text("Desc"_L1);
    m_author = text("Author"_L1);
    // Warm-up runs before anything shows: a file can't ask for an endless one.
    const float warmup = attributes.value("WarmupTime"_L1).toFloat();
    m_warmupTime = std::isfinite(warmup) ? std::clamp(warmup, 0.0f, MaxWarmupTime) : 0.0f;
    m_sceneType = attributes.value("SceneType"_L1).toInt();
    m_version = attributes.value("Version"_L1).toInt();
    m_created = SSceneTime::Parse(text("Created"_L1));
    m_lastModified = SSceneTime::Parse(text("LastModified"_L1));
}

void CScene::ReadNodes(QXmlStreamReader* reader)
{
    while (reader->readNextStartElement()) {
        if (reader->name() != u"Node") {
            reader->skipCurrentElement();
            continue;
        }
        const std::string type = Attribute(reader, "Type"_L1);
        CNode* node = AddNode(type);
        if (!node) {
            Error("Unknown node type \"%s\"!", type.c_str());
            reader->skipCurrentElement();
            continue;
        }
        const std::string given = node->m_name;
        node->Deserialize(reader);
        if (!reader->isEndElement())
            reader->skipCurrentElement();

        // Connections find nodes by name, so a name must be unique; a file
        // that repeats one keeps the first node under it.
        const bool taken = std::any_of(m_nodes.begin(), m_nodes.end(), [&](const auto& other) {
            return other.get() != node && other->m_name == node->m_name;
        });
        if (node->m_name.empty() || taken) {
            const std::string stored = node->m_name;
            node->m_name = stored.empty() ? given : UniqueName(stored);
            Log("Node name \"%s\" is taken; the node is called \"%s\"", stored.c_str(), node->m_name.c_str());
        }
    }
}

void CScene::ReadConnections(QXmlStreamReader* reader)
{
    while (reader->readNextStartElement()) {
        const std::string out = Attribute(reader, "Out"_L1);
        const std::string in = Attribute(reader, "In"_L1);
        if (!Connect(out, in))
            Error("Failed to create connection from \"%s\" to \"%s\"", out.c_str(), in.c_str());
        reader->skipCurrentElement();
    }
}

void CScene::ReadCompatibility(QXmlStreamReader* reader)
{
    while (reader->readNextStartElement()) {
        std::vector<std::string>* list = nullptr;
        if (reader->name() == u"GoodScenes")
            list = &m_goodScenes;
        else if (reader->name() == u"BadScenes")
            list = &m_badScenes;
        if (!list) {
            reader->skipCurrentElement();
            continue;
        }
        while (reader->readNextStartElement()) {
            list->push_back(Attribute(reader, "Name"_L1));
            reader->skipCurrentElement();
        }
    }
}

void CScene::ReadLicense(QXmlStreamReader* reader)
{
    const QXmlStreamAttributes attributes = reader->attributes();
    m_licenseType = attributes.value("Type"_L1).toString().toStdString();
    if (attributes.hasAttribute("RelicensingPossible"_L1))
        m_relicensingPossible = attributes.value("RelicensingPossible"_L1).toInt() != 0;
    m_licenseText = reader->readElementText(QXmlStreamReader::SkipChildElements).toStdString();
}

void CScene::DetectFeedback()
{
    for (const auto& node : m_nodes) {
        for (const auto& port : node->m_inPorts) {
            if (port->m_type != PT_Texture || port->m_connections.empty())
                continue;
            const CPort* source = port->m_connections.front();
            if (source->m_name == "ColorNext" && source->m_node &&
                std::string_view(source->m_node->GetTypeName()) == "RenderToTexture")
                m_feedback = true;
        }
    }
}

void CScene::RewriteOldShaders()
{
    // Older shaders transformed the full-screen rectangle themselves; the
    // render now hands it over in clip space.
    static const std::string kOld = "mul( gWVP, float4(vi.pos.xyz, 1.0));";
    static const std::string kNew = "float4(vi.pos.xyz, 1.0);";
    for (const auto& node : m_nodes) {
        const std::string_view type = node->GetTypeName();
        if (type != "RenderRect" && type != "RenderToTexture")
            continue;
        const CPort* effect = node->GetInPort("Effect");
        CNode* source = effect ? effect->GetConnectedNode() : nullptr;
        CPort* shader = source ? source->GetInPort("Shader") : nullptr;
        if (!shader || shader->m_type != PT_String)
            continue;
        std::string text = shader->GetValue();
        for (size_t at = text.find(kOld); at != std::string::npos; at = text.find(kOld, at + kNew.size()))
            text.replace(at, kOld.size(), kNew);
        shader->SetValue(text);
        shader->m_changed = true;
    }
}

bool CScene::Load(std::string_view path, bool loadGraph)
{
    TRACE("CScene::Load");
    if (path.empty())
        return true;
    m_fileName = path;
    m_readFailed = false;
    const std::string expanded = ExpandPath(WithSlashes(path));

    QByteArray text;
    const bool container = expanded.ends_with(".lmc");
    if (container) {
        CSceneContainer archive;
        if (!archive.Open(expanded) || !archive.Read(u"scene.xml"_s, text))
            return Error("Unable to load scene file \"%s\".", expanded.c_str());
    } else {
        std::string why;
        if (!ReadRegularFile(expanded, FileLimit::Scene, text, why)) {
            Error("Scene file \"%s\" %s", expanded.c_str(), why.c_str());
            return Error("Unable to load scene file \"%s\".", expanded.c_str());
        }
        if (SceneMigration::IsOldestForm(text))
            text = SceneMigration::MigrateOldestForm(std::move(text));
    }

    QXmlStreamReader reader(text);
    const bool complete = Deserialize(&reader, loadGraph);
    if (!container && expanded.ends_with(".lms"))
        RewriteOldShaders();
    m_readFailed = !complete;
    if (!complete)
        Error("Failed to read scene file \"%s\" at %lld, %lld", qPrintable(reader.errorString()),
              static_cast<long long>(reader.lineNumber()), static_cast<long long>(reader.columnNumber()));
    return true;
}

// ---- Writing ----

void CScene::Serialize(QXmlStreamWriter* writer, bool document)
{
    if (m_id.empty())
        GenerateId();
    if (!m_created.IsSet())
        m_created = SSceneTime::NowUtc();
    if (!m_lastModified.IsSet())
        m_lastModified = SSceneTime::NowUtc();

    if (document)
        writer->writeStartDocument();
    writer->writeStartElement("LumoraScene"_L1);
    writer->writeAttribute("Id"_L1, ToQt(m_id));
    writer->writeAttribute("ParentId"_L1, ToQt(m_parentId));
    writer->writeAttribute("WarmupTime"_L1, QString::number(double(m_warmupTime), 'g', 6));
    writer->writeAttribute("SceneType"_L1, QString::number(m_sceneType));
    writer->writeAttribute("Version"_L1, QString::number(m_version));
    writer->writeAttribute("Created"_L1, ToQt(m_created.Format()));
    writer->writeAttribute("LastModified"_L1, ToQt(m_lastModified.Format()));
    if (!document)
        writer->writeAttribute("File"_L1, ToQt(m_fileName));

    writer->writeTextElement("Author"_L1, ToQt(m_author));
    writer->writeTextElement("Desc"_L1, ToQt(m_desc));
    QStringList tags;
    for (const std::string& tag : m_tags)
        tags.append(ToQt(tag));
    writer->writeTextElement("Tags"_L1, tags.join(u','));

    writer->writeStartElement("License"_L1);
    writer->writeAttribute("Type"_L1, ToQt(m_licenseType));
    writer->writeAttribute("RelicensingPossible"_L1, m_relicensingPossible ? "1"_L1 : "0"_L1);
    writer->writeCharacters(ToQt(m_licenseText));
    writer->writeEndElement();

    writer->writeStartElement("Nodes"_L1);
    for (const auto& node : m_nodes)
        node->Serialize(writer);
    writer->writeEndElement();

    WriteConnections(writer);
    WriteCompatibility(writer);
    writer->writeEndElement();
    if (document)
        writer->writeEndDocument();
}

void CScene::WriteConnections(QXmlStreamWriter* writer) const
{
    const auto write = [&](const CPort* in, const std::string& inPath) {
        if (in->m_connections.empty())
            return;
        writer->writeStartElement("Connection"_L1);
        writer->writeAttribute("Out"_L1, ToQt(PortPath(in->m_connections.front())));
        writer->writeAttribute("In"_L1, ToQt(inPath));
        writer->writeEndElement();
    };
    writer->writeStartElement("Connections"_L1);
    for (const auto& node : m_nodes) {
        for (const auto& port : node->m_inPorts) {
            write(port.get(), PortPath(port.get()));
            // A sub-port's own name holds its port's: "Rect.x".
            for (int i = 0; i < port->m_subPorts; ++i)
                write(port->GetSubPort(i), PortPath(port->GetSubPort(i)));
        }
    }
    writer->writeEndElement();
}

void CScene::WriteCompatibility(QXmlStreamWriter* writer) const
{
    const auto writeList = [&](QLatin1StringView element, const std::vector<std::string>& names) {
        writer->writeStartElement(element);
        for (const std::string& name : names) {
            writer->writeStartElement("Scene"_L1);
            writer->writeAttribute("Name"_L1, ToQt(name));
            writer->writeEndElement();
        }
        writer->writeEndElement();
    };
    writer->writeStartElement("SceneCompatibility"_L1);
    writeList("GoodScenes"_L1, m_goodScenes);
    writeList("BadScenes"_L1, m_badScenes);
    writer->writeEndElement();
}

bool CScene::Save(std::string_view path, bool makeImages)
{
    TRACE("CScene::Save");
    const SSceneTime created = m_created;
    const SSceneTime lastModified = m_lastModified;
    const int32_t version = m_version;
    const std::string fileName = m_fileName;
    if (!m_created.IsSet())
        m_created = SSceneTime::NowUtc();
    ++m_version;
    m_lastModified = SSceneTime::NowUtc();

    std::string target(path);
    if (target.ends_with(".lms"))
        target.replace(target.size() - 4, 4, ".lmc");
    m_fileName = target;
    const std::string expanded = ExpandPath(WithSlashes(target));

    std::vector<CSceneContainer::SEntry> entries;
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    writer.setAutoFormatting(true);
    writer.setAutoFormattingIndent(-1);
    Serialize(&writer, true);
    entries.push_back({u"scene.xml"_s, xml});

    if (!makeImages) {
        // The pictures of the old container stay with the scene.
        CSceneContainer old;
        QByteArray scene, preview;
        if (QFile::exists(QString::fromStdString(expanded)) && old.Open(expanded) &&
            old.Read(u"scene.jpg"_s, scene) && old.Read(u"preview.jpg"_s, preview)) {
            entries.push_back({u"scene.jpg"_s, scene});
            entries.push_back({u"preview.jpg"_s, preview});
        }
    } else if (SnapshotSource()) {
        CSceneSnapshot picture;
        CSceneImages images;
        if (SnapshotSource()(*this, picture) && images.Make(picture)) {
            entries.push_back({u"scene.jpg"_s, images.m_sceneJpg});
            entries.push_back({u"preview.jpg"_s, images.m_previewJpg});
        }
    }

    if (!CSceneContainer::Write(expanded, entries)) {
        Error("Unable to save scene file \"%s\"; the file as it was is kept.", expanded.c_str());
        // Nothing was saved, so nothing counts as saved.
        m_created = created;
        m_lastModified = lastModified;
        m_version = version;
        m_fileName = fileName;
        return false;
    }
    if (expanded.ends_with(".lmc")) {
        const std::string old = expanded.substr(0, expanded.size() - 4) + ".lms";
        QFile::remove(QString::fromStdString(old));
    }
    return true;
}

void CScene::SetSnapshotSource(SceneSnapshotSource source)
{
    SnapshotSource() = std::move(source);
}
