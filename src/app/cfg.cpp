#include "app/cfg.h"

#include "app/log.h"
#include "app/regularfile.h"
#include "app/textutil.h"
#include "app/trace.h"

#include <QSaveFile>
#include <QString>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <cmath>
#include <filesystem>
#include <system_error>

using namespace Qt::Literals::StringLiterals;

namespace {

// ---- Reading ----

// The bools of "Screensaver" count as set only when their integer value is 1.
bool ReadIntFlag(const QXmlStreamAttributes& attributes, QLatin1StringView name)
{
    return attributes.value(name).toInt() == 1;
}

// The bools of "Config" and "Screen" count as set only when the text is "1".
bool ReadTextFlag(const QXmlStreamAttributes& attributes, QLatin1StringView name)
{
    return attributes.value(name) == u"1";
}

int ReadInt(const QXmlStreamAttributes& attributes, QLatin1StringView name)
{
    return attributes.value(name).toInt();
}

double ReadDouble(const QXmlStreamAttributes& attributes, QLatin1StringView name)
{
    return attributes.value(name).toDouble();
}

// A "%" may stand anywhere in the text; it never changes the number.
double WithoutPercent(QStringView text)
{
    return text.toString().remove(u'%').toDouble();
}

void SkipRest(QXmlStreamReader& reader)
{
    while (reader.readNextStartElement())
        reader.skipCurrentElement();
}

void ReadScene(QXmlStreamReader& reader, CCfg& cfg)
{
    const QXmlStreamAttributes attributes = reader.attributes();
    cfg.MinRunTime = ReadInt(attributes, "MinRunTime"_L1);
    cfg.MaxRunTime = ReadInt(attributes, "MaxRunTime"_L1);
    // Whole percents only: "33.9%" is 0.33.
    cfg.PostProcessingProbability = static_cast<float>(
        std::trunc(WithoutPercent(attributes.value("PostProcessingProbability"_L1))) / 100.0);
    reader.skipCurrentElement();
}

void ReadTransition(QXmlStreamReader& reader, CCfg& cfg)
{
    const QXmlStreamAttributes attributes = reader.attributes();
    cfg.Time = static_cast<float>(ReadDouble(attributes, "Time"_L1));
    cfg.SceneFromScale =
        static_cast<float>(WithoutPercent(attributes.value("SceneFromScale"_L1)) / 100.0);
    cfg.SceneToScale = static_cast<float>(WithoutPercent(attributes.value("SceneToScale"_L1)) / 100.0);
    reader.skipCurrentElement();
}

void ReadScreens(QXmlStreamReader& reader, CCfg& cfg)
{
    cfg.Screens.clear();
    while (reader.readNextStartElement()) {
        if (reader.name() == u"Screen") {
            const QXmlStreamAttributes attributes = reader.attributes();
            CCfgScreen screen;
            screen.Id = attributes.value("Id"_L1).toString().toStdString();
            screen.LeaveBlack = ReadTextFlag(attributes, "LeaveBlack"_L1);
            screen.SectionX = ReadDouble(attributes, "SectionX"_L1);
            screen.SectionY = ReadDouble(attributes, "SectionY"_L1);
            screen.SectionWidth = ReadDouble(attributes, "SectionWidth"_L1);
            screen.SectionHeight = ReadDouble(attributes, "SectionHeight"_L1);
            // A monitor that neither stays black nor shows anything is no setting.
            if (screen.LeaveBlack || (screen.SectionWidth > 0.0 && screen.SectionHeight > 0.0))
                cfg.Screens.push_back(std::move(screen));
        }
        reader.skipCurrentElement();
    }
}

void ReadRenderer(QXmlStreamReader& reader, CCfg& cfg)
{
    const QXmlStreamAttributes attributes = reader.attributes();
    const QStringView width = attributes.value("RenderTargetWidth"_L1);
    const QStringView height = attributes.value("RenderTargetHeight"_L1);
    if (!width.isEmpty() && !height.isEmpty()) {
        // The width's form decides for both values.
        cfg.RenderTargetRelative = width.contains(u'%');
        const double divisor = cfg.RenderTargetRelative ? 100.0 : 1.0;
        cfg.RenderTargetWidth = WithoutPercent(width) / divisor;
        cfg.RenderTargetHeight = WithoutPercent(height) / divisor;
    }

    if (!reader.readNextStartElement())
        return;
    if (reader.name() == u"RenderOGL")
        ReadScreens(reader, cfg);
    else
        reader.skipCurrentElement();
    SkipRest(reader);
}

void ReadScreensaver(QXmlStreamReader& reader, CCfg& cfg)
{
    const QXmlStreamAttributes attributes = reader.attributes();
    cfg.Playlist = attributes.value("Playlist"_L1).toString().toStdString();
    cfg.AutoGotoNextScene = ReadIntFlag(attributes, "AutoGotoNextScene"_L1);
    cfg.RandomizeScene = ReadIntFlag(attributes, "RandomizeScene"_L1);
    cfg.CaptureSound = ReadIntFlag(attributes, "CaptureSound"_L1);
    cfg.MaxSilenceTime = ReadInt(attributes, "MaxSilenceTime"_L1);
    cfg.AudioSource = attributes.value("AudioSource"_L1).toString().toStdString();

    while (reader.readNextStartElement()) {
        if (reader.name() == u"Scene")
            ReadScene(reader, cfg);
        else if (reader.name() == u"Transition")
            ReadTransition(reader, cfg);
        else if (reader.name() == u"Renderer")
            ReadRenderer(reader, cfg);
        else
            reader.skipCurrentElement();
    }
}

void ReadConfig(QXmlStreamReader& reader, CCfg& cfg)
{
    const QXmlStreamAttributes attributes = reader.attributes();
    cfg.CheckForNewVersion = ReadTextFlag(attributes, "CheckForNewVersion"_L1);
    cfg.SendAnonymousUsageInfo = ReadTextFlag(attributes, "SendAnonymousUsageInfo"_L1);
    reader.skipCurrentElement();
}

bool ReadDocument(QXmlStreamReader& reader, CCfg& cfg)
{
    if (!reader.readNextStartElement())
        return false;
    if (reader.name() != u"Lumora") {
        reader.raiseError(QStringLiteral("Root element <%1> instead of <Lumora>")
                              .arg(reader.name().toString()));
        return false;
    }
    while (reader.readNextStartElement()) {
        if (reader.name() == u"Screensaver")
            ReadScreensaver(reader, cfg);
        else if (reader.name() == u"Config")
            ReadConfig(reader, cfg);
        else
            reader.skipCurrentElement();
    }
    // Read on to the end so that a cut-off file or junk behind the root counts
    // as broken rather than as a complete set of settings.
    while (!reader.atEnd())
        reader.readNext();
    return !reader.hasError();
}

// ---- Writing ----

QString Flag(bool value)
{
    return value ? QStringLiteral("1") : QStringLiteral("0");
}

QString Number(double value)
{
    return QString::number(value, 'g', 6);
}

QString Percent(double factor)
{
    return Number(factor * 100.0) + u'%';
}

// Rounded to the digits a float holds before cutting: 0.53f is 52.9999995
// underneath, and cutting that would lose a percent on every save.
QString WholePercent(float factor)
{
    const double percent = Number(static_cast<double>(factor) * 100.0).toDouble();
    return QString::number(std::trunc(percent), 'f', 0) + u'%';
}

void WriteScreen(QXmlStreamWriter& writer, const CCfgScreen& screen)
{
    writer.writeEmptyElement(QStringLiteral("Screen"));
    writer.writeAttribute(QStringLiteral("Id"), ToQt(screen.Id));
    writer.writeAttribute(QStringLiteral("LeaveBlack"), Flag(screen.LeaveBlack));
    writer.writeAttribute(QStringLiteral("SectionX"), Number(screen.SectionX));
    writer.writeAttribute(QStringLiteral("SectionY"), Number(screen.SectionY));
    writer.writeAttribute(QStringLiteral("SectionWidth"), Number(screen.SectionWidth));
    writer.writeAttribute(QStringLiteral("SectionHeight"), Number(screen.SectionHeight));
}

void WriteRenderer(QXmlStreamWriter& writer, const CCfg& cfg)
{
    writer.writeStartElement(QStringLiteral("Renderer"));
    const auto size = cfg.RenderTargetRelative ? Percent : Number;
    writer.writeAttribute(QStringLiteral("RenderTargetWidth"), size(cfg.RenderTargetWidth));
    writer.writeAttribute(QStringLiteral("RenderTargetHeight"), size(cfg.RenderTargetHeight));
    // Written even when empty, so that a saved empty list reads back empty.
    writer.writeStartElement(QStringLiteral("RenderOGL"));
    for (const CCfgScreen& screen : cfg.Screens)
        WriteScreen(writer, screen);
    writer.writeEndElement();
    writer.writeEndElement();
}

void WriteScreensaver(QXmlStreamWriter& writer, const CCfg& cfg)
{
    writer.writeStartElement(QStringLiteral("Screensaver"));
    writer.writeAttribute(QStringLiteral("Playlist"), ToQt(cfg.Playlist));
    writer.writeAttribute(QStringLiteral("AutoGotoNextScene"), Flag(cfg.AutoGotoNextScene));
    writer.writeAttribute(QStringLiteral("RandomizeScene"), Flag(cfg.RandomizeScene));
    writer.writeAttribute(QStringLiteral("CaptureSound"), Flag(cfg.CaptureSound));
    writer.writeAttribute(QStringLiteral("MaxSilenceTime"), QString::number(cfg.MaxSilenceTime));
    // Written only when set, so files stay as other versions write them.
    if (!cfg.AudioSource.empty())
        writer.writeAttribute(QStringLiteral("AudioSource"), ToQt(cfg.AudioSource));

    writer.writeEmptyElement(QStringLiteral("Scene"));
    writer.writeAttribute(QStringLiteral("MinRunTime"), QString::number(cfg.MinRunTime));
    writer.writeAttribute(QStringLiteral("MaxRunTime"), QString::number(cfg.MaxRunTime));
    writer.writeAttribute(QStringLiteral("PostProcessingProbability"),
                          WholePercent(cfg.PostProcessingProbability));

    writer.writeEmptyElement(QStringLiteral("Transition"));
    writer.writeAttribute(QStringLiteral("Time"), Number(cfg.Time));
    writer.writeAttribute(QStringLiteral("SceneFromScale"), Percent(cfg.SceneFromScale));
    writer.writeAttribute(QStringLiteral("SceneToScale"), Percent(cfg.SceneToScale));

    WriteRenderer(writer, cfg);
    writer.writeEndElement();
}

void LogSettings(const CCfg& cfg)
{
    Log("Configuration. RandomizeScene:%ld AutoGoto:%ld RunTime:%ld-%ld CaptureSound:%ld "
        "MaxSilence:%ld TransitionTime:%.2f ScaleFrom:%0.2f ScaleTo:%0.2f "
        "PostProcessingProbability: %0.2f",
        static_cast<long>(cfg.RandomizeScene), static_cast<long>(cfg.AutoGotoNextScene),
        static_cast<long>(cfg.MinRunTime), static_cast<long>(cfg.MaxRunTime),
        static_cast<long>(cfg.CaptureSound), static_cast<long>(cfg.MaxSilenceTime),
        static_cast<double>(cfg.Time), static_cast<double>(cfg.SceneFromScale),
        static_cast<double>(cfg.SceneToScale), static_cast<double>(cfg.PostProcessingProbability));
    Log("\tPlaylist requested \"%s\"", cfg.Playlist.c_str());
    if (cfg.RenderTargetRelative)
        Log("\tRender target size: %.2f%% %.2f%%", cfg.RenderTargetWidth * 100.0,
            cfg.RenderTargetHeight * 100.0);
    else
        Log("\tRender target size: %ldpx %ldpx", static_cast<long>(cfg.RenderTargetWidth),
            static_cast<long>(cfg.RenderTargetHeight));
    for (const CCfgScreen& screen : cfg.Screens) {
        const QString text =
            QStringLiteral("\tScreen \"%1\" LeaveBlack: %2 SectionToRender:%3,%4,%5,%6")
                .arg(ToQt(screen.Id), QString::number(static_cast<int>(screen.LeaveBlack)),
                     QString::number(screen.SectionX), QString::number(screen.SectionY),
                     QString::number(screen.SectionWidth), QString::number(screen.SectionHeight));
        Log("%s", qPrintable(text));
    }
}

// Keeps a file that failed to read beside the settings, so that the next save
// doesn't silently destroy what the user may want to repair.
void SetAside(const std::string& path)
{
    std::error_code error;
    const std::string badPath = path + ".bad";
    std::filesystem::rename(path, badPath, error);
    if (error)
        Error("Could not keep the unreadable config file as \"%s\": %s", badPath.c_str(),
              error.message().c_str());
}

} // namespace

bool CCfg::Load(const std::string& path)
{
    TRACE("CCfg::Load");
    QByteArray content;
    std::string why;
    if (!ReadRegularFile(path, FileLimit::Config, content, why)) {
        // A missing file is the usual first run; anything else is worth a line.
        std::error_code ignored;
        if (std::filesystem::exists(path, ignored))
            Error("Config file \"%s\" %s; the defaults apply", path.c_str(), why.c_str());
        return false;
    }

    QXmlStreamReader reader(content);
    reader.setNamespaceProcessing(false);
    if (!Deserialize(reader)) {
        const QString text = QStringLiteral("Failed to read config file \"%1\" at %2, %3")
                                 .arg(reader.errorString(), QString::number(reader.lineNumber()),
                                      QString::number(reader.columnNumber()));
        Error("%s", qPrintable(text));
        SetAside(path);
        return false;
    }
    LogSettings(*this);
    return true;
}

bool CCfg::Save(const std::string& path) const
{
    TRACE("CCfg::Save");
    QSaveFile file(ToQt(path));
    if (!file.open(QIODevice::WriteOnly))
        return false;

    QXmlStreamWriter writer(&file);
    writer.setAutoFormatting(true);
    // Nothing replaces the old file unless every byte reached the disk. The
    // explicit flush matters: commit() misses a failure of the buffered write
    // it flushes itself (seen with Qt 6.4) and would rename a cut-off file.
    if (!Serialize(writer) || !file.flush() || !file.commit()) {
        const QString text = QStringLiteral("Failed to write config file \"%1\"").arg(ToQt(path));
        return Error("%s", qPrintable(text));
    }
    return true;
}

bool CCfg::Deserialize(QXmlStreamReader& reader)
{
    TRACE("CCfg::Deserialize");
    // Read into a copy so that a broken document changes nothing; the fields
    // the file doesn't hold come along unchanged.
    CCfg read = *this;
    if (!ReadDocument(reader, read))
        return false;
    *this = std::move(read);
    return true;
}

bool CCfg::Serialize(QXmlStreamWriter& writer) const
{
    TRACE("CCfg::Serialize");
    writer.writeStartDocument();
    writer.writeStartElement(QStringLiteral("Lumora"));
    WriteScreensaver(writer, *this);
    writer.writeEmptyElement(QStringLiteral("Config"));
    writer.writeAttribute(QStringLiteral("CheckForNewVersion"), Flag(CheckForNewVersion));
    writer.writeAttribute(QStringLiteral("SendAnonymousUsageInfo"), Flag(SendAnonymousUsageInfo));
    writer.writeEndElement();
    writer.writeEndDocument();
    return !writer.hasError();
}
