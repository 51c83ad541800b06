#include "scene/scenefile.h"

#include "app/log.h"
#include "app/paths.h"
#include "app/regularfile.h"
#include "app/textutil.h"
#include "ports/port.h"
#include "scene/node.h"
#include "scene/scene.h"
#include "scene/scenecontainer.h"
#include "scene/sceneimages.h"
#include "scene/scenemigration.h"

#include <QFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>
#include <cmath>

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

std::string PortPath(const CPort* port)
{
    return port->m_node->m_name + "." + port->m_name;
}

} // namespace

// ---- Reading ----

bool CSceneFile::Deserialize(QXmlStreamReader* reader, bool loadGraph)
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
            m_scene.m_author = reader->readElementText(QXmlStreamReader::SkipChildElements).toStdString();
        } else if (name == u"Desc") {
            m_scene.m_desc = reader->readElementText(QXmlStreamReader::SkipChildElements).toStdString();
        } else if (name == u"Tags") {
            const QString text = reader->readElementText(QXmlStreamReader::SkipChildElements);
            if (!text.isEmpty()) {
                m_scene.m_tags.clear();
                for (const QString& tag : text.split(u','))
                    m_scene.m_tags.push_back(tag.toStdString());
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

void CSceneFile::ReadAttributes(QXmlStreamReader* reader)
{
    const QXmlStreamAttributes attributes = reader->attributes();
    const auto text = [&](QLatin1StringView name) { return attributes.value(name).toString().toStdString(); };
    m_scene.m_id = attributes.value("Id"_L1).toString().toLower().toStdString();
    m_scene.m_parentId = text("ParentId"_L1);
    m_scene.m_desc = text("Desc"_L1);
    m_scene.m_author = text("Author"_L1);
    // Warm-up runs before anything shows: a file can't ask for an endless one.
    const float warmup = attributes.value("WarmupTime"_L1).toFloat();
    m_scene.m_warmupTime = std::isfinite(warmup) ? std::clamp(warmup, 0.0f, CScene::MaxWarmupTime) : 0.0f;
    m_scene.m_sceneType = attributes.value("SceneType"_L1).toInt();
    m_scene.m_version = attributes.value("Version"_L1).toInt();
    m_scene.m_created = SSceneTime::Parse(text("Created"_L1));
    m_scene.m_lastModified = SSceneTime::Parse(text("LastModified"_L1));
}

void CSceneFile::ReadNodes(QXmlStreamReader* reader)
{
    while (reader->readNextStartElement()) {
        if (reader->name() != u"Node") {
            reader->skipCurrentElement();
            continue;
        }
        const std::string type = Attribute(reader, "Type"_L1);
        CNode* node = m_scene.AddNode(type);
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
        const bool taken = std::any_of(m_scene.m_nodes.begin(), m_scene.m_nodes.end(), [&](const auto& other) {
            return other.get() != node && other->m_name == node->m_name;
        });
        if (node->m_name.empty() || taken) {
            const std::string stored = node->m_name;
            node->m_name = stored.empty() ? given : m_scene.UniqueName(stored);
            Log("Node name \"%s\" is taken; the node is called \"%s\"", stored.c_str(), node->m_name.c_str());
        }
    }
}

void CSceneFile::ReadConnections(QXmlStreamReader* reader)
{
    while (reader->readNextStartElement()) {
        const std::string out = Attribute(reader, "Out"_L1);
        const std::string in = Attribute(reader, "In"_L1);
        if (!m_scene.Connect(out, in))
            Error("Failed to create connection from \"%s\" to \"%s\"", out.c_str(), in.c_str());
        reader->skipCurrentElement();
    }
}

void CSceneFile::ReadCompatibility(QXmlStreamReader* reader)
{
    while (reader->readNextStartElement()) {
        std::vector<std::string>* list = nullptr;
        if (reader->name() == u"GoodScenes")
            list = &m_scene.m_goodScenes;
        else if (reader->name() == u"BadScenes")
            list = &m_scene.m_badScenes;
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

void CSceneFile::ReadLicense(QXmlStreamReader* reader)
{
    const QXmlStreamAttributes attributes = reader->attributes();
    m_scene.m_licenseType = attributes.value("Type"_L1).toString().toStdString();
    if (attributes.hasAttribute("RelicensingPossible"_L1))
        m_scene.m_relicensingPossible = attributes.value("RelicensingPossible"_L1).toInt() != 0;
    m_scene.m_licenseText = reader->readElementText(QXmlStreamReader::SkipChildElements).toStdString();
}

void CSceneFile::DetectFeedback()
{
    for (const auto& node : m_scene.m_nodes) {
        for (const auto& port : node->m_inPorts) {
            if (port->m_type != PT_Texture || port->m_connections.empty())
                continue;
            const CPort* source = port->m_connections.front();
            if (source->m_name == "ColorNext" && source->m_node &&
                std::string_view(source->m_node->GetTypeName()) == "RenderToTexture")
                m_scene.m_feedback = true;
        }
    }
}

void CSceneFile::RewriteOldShaders()
{
    // Older shaders transformed the full-screen rectangle themselves; the
    // render now hands it over in clip space.
    static const std::string kOld = "mul( gWVP, float4(vi.pos.xyz, 1.0));";
    static const std::string kNew = "float4(vi.pos.xyz, 1.0);";
    for (const auto& node : m_scene.m_nodes) {
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

bool CSceneFile::Load(std::string_view path, bool loadGraph)
{
    if (path.empty())
        return true;
    m_scene.m_fileName = path;
    m_scene.m_readFailed = false;
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
    m_scene.m_readFailed = !complete;
    if (!complete)
        Error("Failed to read scene file \"%s\" at %lld, %lld", qPrintable(reader.errorString()),
              static_cast<long long>(reader.lineNumber()), static_cast<long long>(reader.columnNumber()));
    return true;
}

// ---- Writing ----

void CSceneFile::Serialize(QXmlStreamWriter* writer, bool document)
{
    if (m_scene.m_id.empty())
        m_scene.GenerateId();
    if (!m_scene.m_created.IsSet())
        m_scene.m_created = SSceneTime::NowUtc();
    if (!m_scene.m_lastModified.IsSet())
        m_scene.m_lastModified = SSceneTime::NowUtc();

    if (document)
        writer->writeStartDocument();
    writer->writeStartElement("LumoraScene"_L1);
    writer->writeAttribute("Id"_L1, ToQt(m_scene.m_id));
    writer->writeAttribute("ParentId"_L1, ToQt(m_scene.m_parentId));
    writer->writeAttribute("WarmupTime"_L1, QString::number(double(m_scene.m_warmupTime), 'g', 6));
    writer->writeAttribute("SceneType"_L1, QString::number(m_scene.m_sceneType));
    writer->writeAttribute("Version"_L1, QString::number(m_scene.m_version));
    writer->writeAttribute("Created"_L1, ToQt(m_scene.m_created.Format()));
    writer->writeAttribute("LastModified"_L1, ToQt(m_scene.m_lastModified.Format()));
    if (!document)
        writer->writeAttribute("File"_L1, ToQt(m_scene.m_fileName));

    writer->writeTextElement("Author"_L1, ToQt(m_scene.m_author));
    writer->writeTextElement("Desc"_L1, ToQt(m_scene.m_desc));
    QStringList tags;
    for (const std::string& tag : m_scene.m_tags)
        tags.append(ToQt(tag));
    writer->writeTextElement("Tags"_L1, tags.join(u','));

    writer->writeStartElement("License"_L1);
    writer->writeAttribute("Type"_L1, ToQt(m_scene.m_licenseType));
    writer->writeAttribute("RelicensingPossible"_L1, m_scene.m_relicensingPossible ? "1"_L1 : "0"_L1);
    writer->writeCharacters(ToQt(m_scene.m_licenseText));
    writer->writeEndElement();

    writer->writeStartElement("Nodes"_L1);
    for (const auto& node : m_scene.m_nodes)
        node->Serialize(writer);
    writer->writeEndElement();

    WriteConnections(writer);
    WriteCompatibility(writer);
    writer->writeEndElement();
    if (document)
        writer->writeEndDocument();
}

void CSceneFile::WriteConnections(QXmlStreamWriter* writer) const
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
    for (const auto& node : m_scene.m_nodes) {
        for (const auto& port : node->m_inPorts) {
            write(port.get(), PortPath(port.get()));
            // A sub-port's own name holds its port's: "Rect.x".
            for (int i = 0; i < port->m_subPorts; ++i)
                write(port->GetSubPort(i), PortPath(port->GetSubPort(i)));
        }
    }
    writer->writeEndElement();
}

void CSceneFile::WriteCompatibility(QXmlStreamWriter* writer) const
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
    writeList("GoodScenes"_L1, m_scene.m_goodScenes);
    writeList("BadScenes"_L1, m_scene.m_badScenes);
    writer->writeEndElement();
}

bool CSceneFile::Save(std::string_view path, bool makeImages)
{
    const SSceneTime created = m_scene.m_created;
    const SSceneTime lastModified = m_scene.m_lastModified;
    const int32_t version = m_scene.m_version;
    const std::string fileName = m_scene.m_fileName;
    if (!m_scene.m_created.IsSet())
        m_scene.m_created = SSceneTime::NowUtc();
    ++m_scene.m_version;
    m_scene.m_lastModified = SSceneTime::NowUtc();

    std::string target(path);
    if (target.ends_with(".lms"))
        target.replace(target.size() - 4, 4, ".lmc");
    m_scene.m_fileName = target;
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
        if (SnapshotSource()(m_scene, picture) && images.Make(picture)) {
            entries.push_back({u"scene.jpg"_s, images.m_sceneJpg});
            entries.push_back({u"preview.jpg"_s, images.m_previewJpg});
        }
    }

    if (!CSceneContainer::Write(expanded, entries)) {
        Error("Unable to save scene file \"%s\"; the file as it was is kept.", expanded.c_str());
        // Nothing was saved, so nothing counts as saved.
        m_scene.m_created = created;
        m_scene.m_lastModified = lastModified;
        m_scene.m_version = version;
        m_scene.m_fileName = fileName;
        return false;
    }
    if (expanded.ends_with(".lmc")) {
        const std::string old = expanded.substr(0, expanded.size() - 4) + ".lms";
        QFile::remove(QString::fromStdString(old));
    }
    return true;
}

void CSceneFile::SetSnapshotSource(SceneSnapshotSource source)
{
    SnapshotSource() = std::move(source);
}
