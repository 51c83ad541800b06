#include "app/director/playlist.h"

#include "app/log.h"
#include "app/paths.h"
#include "app/regularfile.h"
#include "app/textnumber.h"
#include "app/textutil.h"
#include "app/trace.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QString>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <array>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

// Through "%s" so that no "%" of a path or an error text is taken as a format.
void LogText(const QString& text)
{
    Log("%s", text.toUtf8().constData());
}

// The file form of a path: forward slashes, the directories as macros.
QString Stored(std::string_view path)
{
    return ToQt(CompressPath(WithSlashes(path)));
}

struct SList
{
    const char16_t* element;
    CPlaylist::Entries CPlaylist::* entries;
};

// In the order they are written.
constexpr std::array<SList, 5> Lists = {{
    {u"Transitions", &CPlaylist::m_transitions},
    {u"Scenes", &CPlaylist::m_scenes},
    {u"BackgroundScenes", &CPlaylist::m_backgrounds},
    {u"ForegroundScenes", &CPlaylist::m_foregrounds},
    {u"PostprocessingScenes", &CPlaylist::m_postprocessings},
}};

const SList* FindList(QStringView element)
{
    for (const SList& list : Lists) {
        if (element == list.element)
            return &list;
    }
    return nullptr;
}

// Whole seconds; missing, rubbish and negative values all mean no wish.
float ReadRunTime(QStringView text)
{
    long seconds = 0;
    if (!ParseLong(ToStd(text), seconds) || seconds < 0)
        return 0.0f;
    return static_cast<float>(seconds);
}

void ReadEntries(QXmlStreamReader& reader, CPlaylist& playlist, CPlaylist::Entries& list)
{
    const QString listName = reader.name().toString();
    while (reader.readNextStartElement()) {
        if (reader.name() == u"Scene") {
            const QXmlStreamAttributes attributes = reader.attributes();
            const std::string file = ExpandPath(WithSlashes(ToStd(attributes.value("File"_L1))));
            if (file.empty()) {
                // A scene without a file can't be played; the others still can.
                LogText(QStringLiteral("Playlist entry without a file in <%1> at line %2 dropped")
                            .arg(listName, QString::number(reader.lineNumber())));
            } else {
                playlist.Add(list, file, ToStd(attributes.value("Id"_L1)),
                             ReadRunTime(attributes.value("ShowTimeMax"_L1)));
            }
        }
        reader.skipCurrentElement();
    }
}

void WriteEntries(QXmlStreamWriter& writer, const SList& list, const CPlaylist::Entries& entries)
{
    writer.writeStartElement(QString::fromUtf16(list.element));
    for (const std::unique_ptr<CScene>& entry : entries) {
        if (!entry)
            continue;
        writer.writeEmptyElement(QStringLiteral("Scene"));
        writer.writeAttribute(QStringLiteral("File"), Stored(entry->m_fileName));
        if (!entry->m_id.empty())
            writer.writeAttribute(QStringLiteral("Id"), ToQt(entry->m_id));
        if (entry->m_runTime > 0.0f && std::isfinite(entry->m_runTime))
            writer.writeAttribute(QStringLiteral("ShowTimeMax"),
                                  QString::number(std::trunc(static_cast<double>(entry->m_runTime)), 'f', 0));
    }
    writer.writeEndElement();
}

} // namespace

bool CPlaylist::Load(std::string_view path)
{
    TRACE("CPlaylist::Load");
    const QString name = ToQt(ExpandPath(WithSlashes(path)));
    QByteArray text;
    std::string why;
    if (!ReadRegularFile(name.toStdString(), MaxFileSize, text, why)) {
        LogText(QStringLiteral("Playlist file \"%1\" %2").arg(name, QString::fromStdString(why)));
        LogText(QStringLiteral("Failed to open playlist file for reading \"%1\"").arg(name));
        return false;
    }

    Entries* lists[] = {&m_transitions, &m_scenes, &m_backgrounds, &m_foregrounds, &m_postprocessings};
    size_t before[5];
    for (size_t i = 0; i < 5; ++i)
        before[i] = lists[i]->size();

    QXmlStreamReader reader(text);
    reader.setNamespaceProcessing(false);
    const bool read = Deserialize(reader);
    // A relative path names a file beside the playlist, wherever it is run from.
    const QDir base = QFileInfo(name).absoluteDir();
    for (size_t i = 0; i < 5; ++i) {
        for (size_t e = before[i]; e < lists[i]->size(); ++e) {
            CScene& entry = *(*lists[i])[e];
            QStringList parts = ToQt(entry.m_fileName).split(u';');
            for (QString& part : parts) {
                if (!part.isEmpty() && QDir::isRelativePath(part))
                    part = QDir::cleanPath(base.absoluteFilePath(part));
            }
            entry.m_fileName = parts.join(u';').toStdString();
        }
    }
    if (!read) {
        LogText(QStringLiteral("Failed to read playlist file \"%1\" at %2, %3")
                    .arg(reader.errorString(), QString::number(reader.lineNumber()),
                         QString::number(reader.columnNumber())));
        return false;
    }
    if (reader.hasError())
        LogText(QStringLiteral("Playlist file \"%1\" is broken at %2, %3 (%4); the entries before stay")
                    .arg(name, QString::number(reader.lineNumber()), QString::number(reader.columnNumber()),
                         reader.errorString()));
    return true;
}

bool CPlaylist::Save(std::string_view path) const
{
    TRACE("CPlaylist::Save");
    const QString name = ToQt(ExpandPath(WithSlashes(path)));
    QSaveFile file(name);
    if (!file.open(QIODevice::WriteOnly)) {
        LogText(QStringLiteral("Failed to open playlist file for writing \"%1\"").arg(name));
        return false;
    }

    QXmlStreamWriter writer(&file);
    writer.setAutoFormatting(true);
    // commit() alone can miss a failed write of its own final flush and rename
    // a cut-off file into place.
    if (!Serialize(writer) || !file.flush() || !file.commit()) {
        LogText(QStringLiteral("Failed to write playlist file \"%1\"").arg(name));
        return false;
    }
    return true;
}

bool CPlaylist::Deserialize(QXmlStreamReader& reader)
{
    TRACE("CPlaylist::Deserialize");
    if (!reader.readNextStartElement())
        return false;
    if (reader.name() != u"Lumora") {
        reader.raiseError(QStringLiteral("Root element <%1> instead of <Lumora>").arg(reader.name()));
        return false;
    }

    // A document that breaks off ends this loop early; what was read stays.
    while (reader.readNextStartElement()) {
        if (reader.name() == u"Playlist") {
            m_activeSceneFile = ExpandPath(WithSlashes(ToStd(reader.attributes().value("ActiveSceneFile"_L1))));
            if (!m_activeSceneFile.empty())
                Log("ActiveScene: '%s'", m_activeSceneFile.c_str());
            reader.skipCurrentElement();
        } else if (const SList* list = FindList(reader.name())) {
            ReadEntries(reader, *this, this->*(list->entries));
        } else {
            reader.skipCurrentElement();
        }
    }
    return true;
}

bool CPlaylist::Serialize(QXmlStreamWriter& writer) const
{
    TRACE("CPlaylist::Serialize");
    writer.writeStartDocument();
    writer.writeStartElement(QStringLiteral("Lumora"));
    writer.writeEmptyElement(QStringLiteral("Playlist"));
    writer.writeAttribute(QStringLiteral("ActiveSceneFile"), Stored(m_activeSceneFile));
    // Empty lists too, so that every list of a saved playlist reads back as saved.
    for (const SList& list : Lists)
        WriteEntries(writer, list, this->*(list.entries));
    writer.writeEndElement();
    writer.writeEndDocument();
    return !writer.hasError();
}

CScene& CPlaylist::Add(Entries& list, std::string_view fileName, std::string_view id, float runTime)
{
    auto entry = std::make_unique<CScene>();
    entry->m_fileName = fileName;
    entry->m_id = id;
    entry->m_runTime = runTime;
    m_hasLayered = m_hasLayered || IsLayered(fileName);
    list.push_back(std::move(entry));
    return *list.back();
}

bool CPlaylist::SplitLayered(std::string_view fileName, std::array<std::string, 3>& parts)
{
    const size_t first = fileName.find(';');
    const size_t second = first == std::string_view::npos ? first : fileName.find(';', first + 1);
    if (second == std::string_view::npos)
        return false;
    parts[0] = fileName.substr(0, first);
    parts[1] = fileName.substr(first + 1, second - first - 1);
    parts[2] = fileName.substr(second + 1);
    return true;
}
