#include "services/stats.h"

#include "app/log.h"
#include "app/paths.h"
#include "app/regularfile.h"
#include "app/trace.h"
#include "platform/httprequest.h"
#include "services/crc32.h"
#include "services/xmldocument.h"
#include "services/xmlprinter.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>
#include <unistd.h>

#ifndef LUMORA_STATS_ENDPOINT
#define LUMORA_STATS_ENDPOINT ""
#endif

namespace {

// Text that came from outside (the GL driver's strings) is cut, so that the
// file and the report stay small whatever a driver says.
constexpr size_t kMaxTextLength = 200;

std::tm LocalTime(std::time_t time)
{
    std::tm parts{};
    localtime_r(&time, &parts);
    return parts;
}

std::string Date(std::time_t time)
{
    const std::tm parts = LocalTime(time);
    char text[32];
    snprintf(text, sizeof(text), "%04d-%02d-%02d", parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday);
    return text;
}

bool IsDate(const std::string& text)
{
    int year = 0, month = 0, day = 0;
    return text.size() == 10 && sscanf(text.c_str(), "%4d-%2d-%2d", &year, &month, &day) == 3 && month >= 1 &&
           month <= 12 && day >= 1 && day <= 31;
}

// "YYYYMMDD hh:mm" in UTC; empty for no upload.
std::string UploadTimeText(std::time_t time)
{
    if (time == 0)
        return {};
    std::tm parts{};
    gmtime_r(&time, &parts);
    char text[32];
    snprintf(text, sizeof(text), "%4d%02d%02d %02d:%02d", parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
             parts.tm_hour, parts.tm_min);
    return text;
}

std::time_t ParseUploadTime(const std::string* text)
{
    std::tm parts{};
    // Shorter texts count as no upload.
    if (!text || text->size() < 14 ||
        sscanf(text->c_str(), "%4d%2d%2d %2d:%2d", &parts.tm_year, &parts.tm_mon, &parts.tm_mday, &parts.tm_hour,
               &parts.tm_min) != 5)
        return 0;
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    const std::time_t time = timegm(&parts);
    return time > 0 ? time : 0;
}

std::string Hex32(uint32_t value)
{
    char text[9];
    snprintf(text, sizeof(text), "%08x", value);
    return text;
}

// 32 random hexadecimal digits followed by 8 that guard them.
std::string NewInstallId()
{
    std::random_device device;
    std::string id;
    for (int i = 0; i < 4; ++i)
        id += Hex32(device());
    return id + Hex32(Crc32(id));
}

bool IsInstallId(const std::string& text)
{
    return text.size() == 40 && text.find_first_not_of("0123456789abcdef") == std::string::npos &&
           text.substr(32) == Hex32(Crc32(std::string_view(text).substr(0, 32)));
}

int32_t NonNegative(const CXmlElement& element, const char* name)
{
    int value = 0;
    return element.QueryIntAttribute(name, value) && value > 0 ? value : 0;
}

long MegaBytes(int pagesName)
{
    const long pages = sysconf(pagesName), size = sysconf(_SC_PAGESIZE);
    return pages > 0 && size > 0 ? long((int64_t(pages) * size) >> 20) : 0;
}

std::string Bounded(std::string text)
{
    if (text.size() > kMaxTextLength)
        text.resize(kMaxTextLength);
    return text;
}

} // namespace

CStats& CStats::Instance()
{
    static CStats stats;
    return stats;
}

CStats::CStats() : m_now([] { return std::time(nullptr); })
{
}

CStats::~CStats() = default;

std::string CStats::FilePath() const
{
    return m_path.empty() ? g_paths.m_userPath + "/stats.dat" : m_path;
}

std::string CStats::EndpointUrl() const
{
    if (!m_url.empty())
        return m_url;
    if (const char* url = getenv("LUMORA_STATS_URL"))
        return url;
    return LUMORA_STATS_ENDPOINT;
}

const CStats::SRunRecord* CStats::Record(EAppType type) const
{
    return const_cast<CStats*>(this)->MutableRecord(type);
}

CStats::SRunRecord* CStats::MutableRecord(EAppType type)
{
    for (size_t i = 0; i < kRecords.size(); ++i)
        if (kRecords[i].first == type)
            return &m_records[i];
    return nullptr;
}

bool CStats::MayUpload() const
{
    return !m_noUpload && m_windowMode != EWindowMode::Preview && m_appType != EAppType::Editor &&
           m_appType != EAppType::ConfigFrontEnd;
}

void CStats::Init()
{
    TRACE_LOG("CStats::Init");
    m_start = m_now();
    m_frames = 0;
    m_sceneFrames = 0;
    m_sceneTime = 0.0f;
    m_sceneName.clear();
    m_sceneStart = 0;
    m_noUpload = false;
    m_upload.reset();
    if (!m_send)
        return;

    CXmlDocument document;
    const std::string path = FilePath();
    if (!document.LoadFile(path, kMaxFileBytes)) {
        if (document.ErrorId() != CXmlDocument::Error_OpeningFile)
            Error("Usage statistics \"%s\" are unreadable (%s, line %d); they start anew", path.c_str(),
                  document.ErrorDescription().c_str(), document.ErrorRow());
        StartAfresh();
    } else if (!Read(document)) {
        Error("Usage statistics \"%s\" are not Lumora's; they start anew", path.c_str());
        StartAfresh();
    }
    if (MayUpload() && m_now() - m_lastUpload > kUploadInterval)
        StartUpload();
}

void CStats::StartAfresh()
{
    m_installDate = Date(m_now());
    m_installId = NewInstallId();
    m_records = {};
    m_lastUpload = 0;
    // A first run has nothing to send.
    m_noUpload = true;
}

bool CStats::Read(const CXmlDocument& document)
{
    const CXmlElement* root = document.FirstChildElement("lmstats");
    const std::string* date = root ? root->Attribute("installdate") : nullptr;
    const std::string* id = root ? root->Attribute("installid") : nullptr;
    if (!date || !id || !IsDate(*date) || !IsInstallId(*id))
        return false;
    m_installDate = *date;
    m_installId = *id;
    m_lastUpload = ParseUploadTime(root->Attribute("lastupload"));
    for (size_t i = 0; i < kRecords.size(); ++i) {
        SRunRecord& record = m_records[i] = {};
        const CXmlElement* element = root->FirstChildElement(kRecords[i].second);
        if (!element)
            continue;
        record.m_runCount = NonNegative(*element, "runcount");
        record.m_runTime = NonNegative(*element, "runtime");
        record.m_avgFps = NonNegative(*element, "avgfps");
        record.m_scenes = NonNegative(*element, "scenes");
        const std::string* lastRun = element->Attribute("lastrun");
        record.m_lastRun = lastRun && IsDate(*lastRun) ? *lastRun : std::string();
    }
    return true;
}

void CStats::StartUpload()
{
    // A run sends at most once, and only what the last run wrote.
    m_noUpload = true;
    const std::string url = EndpointUrl();
    if (url.empty())
        return;
    std::string text, error;
    if (!ReadRegularFile(FilePath(), int64_t(kMaxFileBytes), text, error))
        return;
    Log("Uploading anonymous usage statistics");
    CHttpRequest::SOptions options;
    options.m_url = url;
    options.m_body = std::move(text);
    options.m_contentType = "text/xml";
    m_uploadStarted = m_now();
    m_upload = CHttpRequest::Start(std::move(options));
    if (!m_upload)
        Log("No internet connection found. Postponing upload of anonymous usage statistics.");
}

void CStats::FinishUpload()
{
    if (!m_upload)
        return;
    switch (m_upload->Wait(kExitWait)) {
    case CHttpRequest::EState::Succeeded:
        m_lastUpload = m_uploadStarted;
        Log("Anonymous usage statistics sent");
        break;
    case CHttpRequest::EState::Failed:
        Log("Anonymous usage statistics not sent (%s); they go with a later run", m_upload->Failure().c_str());
        break;
    case CHttpRequest::EState::Running:
        Log("Anonymous usage statistics not sent in time; they go with a later run");
        break;
    }
    // A request still running ends by itself within its timeout.
    m_upload.reset();
}

void CStats::SceneStart(std::string_view name, bool transition)
{
    if (!m_send || m_appType == EAppType::Editor || m_appType == EAppType::ConfigFrontEnd)
        return;
    m_sceneName = Bounded(std::string(name));
    m_sceneStart = m_now();
    m_sceneFrames = 0;
    m_sceneTime = 0.0f;
    SRunRecord* record = MutableRecord(m_appType);
    if (record && !transition)
        ++record->m_scenes;
}

void CStats::SceneEnd()
{
    if (m_sceneName.empty() || m_sceneStart == 0 || !m_send)
        return;
    m_sceneName.clear();
    m_sceneStart = 0;
    m_sceneFrames = 0;
    m_sceneTime = 0.0f;
}

void CStats::FrameFinished()
{
    ++m_frames;
    if (m_send && m_sceneStart != 0 && m_appType != EAppType::Editor && m_appType != EAppType::ConfigFrontEnd)
        ++m_sceneFrames;
    // An upload that ended during the run is settled at once.
    if (m_upload && m_upload->State() != CHttpRequest::EState::Running)
        FinishUpload();
}

void CStats::Exit()
{
    if (m_start == 0)
        return;
    const int64_t seconds = std::max<int64_t>(0, int64_t(m_now() - m_start));
    const double fps = seconds > 0 ? double(m_frames) / double(seconds) : 0.0;
    Log("Runtime: %" PRId64 " Frames: %ld Fps: %f", seconds, long(m_frames), fps);
    m_start = 0;
    if (!m_send)
        return;
    FinishUpload();
    SceneEnd();
    SRunRecord* record = MutableRecord(m_appType);
    if (!record)
        return;
    record->m_runCount += 1;
    record->m_runTime += int32_t(seconds);
    // Short runs say little about the frame rate.
    if (m_frames > 0 && seconds > 10)
        record->m_avgFps = record->m_avgFps >= 0.01 ? fps * 0.75 + record->m_avgFps * 0.25 : fps;
    record->m_lastRun = Date(m_now());

    // Written whole beside the file and renamed over it, so that a run that
    // ends half-way never leaves half a file.
    CXmlDocument document;
    document.Parse(Report());
    const std::string path = FilePath(), temporary = path + ".new";
    if (!document.SaveFile(temporary) || rename(temporary.c_str(), path.c_str()) != 0)
        Log("Usage statistics could not be written to \"%s\"", path.c_str());
}

std::string CStats::Report() const
{
    CXmlElement root("lmstats");
    root.SetAttribute("installdate", m_installDate);
    root.SetAttribute("opengl", Bounded(m_openGl));
    root.SetAttribute("desktopsize", Bounded(m_desktopSize));
    root.SetAttribute("virtualsize", Bounded(m_virtualSize));
    root.SetAttribute("nummonitors", m_numMonitors);
    root.SetAttribute("installid", m_installId);
    root.SetAttribute("lastupload", UploadTimeText(m_lastUpload));
    root.SetAttribute("cores", int(std::thread::hardware_concurrency()));
    root.SetAttribute("mem", int(MegaBytes(_SC_PHYS_PAGES)));
    root.SetAttribute("memfree", int(MegaBytes(_SC_AVPHYS_PAGES)));
    // The check sum covers the id and each record's count and time; the
    // visualizer's record takes the first of the two spare places.
    std::string checked = m_installId;
    for (const SRunRecord& record : m_records)
        checked += std::to_string(long(record.m_runCount) + long(record.m_runTime));
    checked += "0";
    root.SetAttribute("c", std::to_string(Crc32(checked)));
    for (size_t i = 0; i < kRecords.size(); ++i) {
        const SRunRecord& record = m_records[i];
        CXmlElement child(kRecords[i].second);
        child.SetAttribute("runcount", record.m_runCount);
        child.SetAttribute("runtime", record.m_runTime);
        child.SetAttribute("lastrun", record.m_lastRun);
        child.SetAttribute("avgfps", int(record.m_avgFps));
        child.SetAttribute("scenes", record.m_scenes);
        root.InsertEndChild(child);
    }
    CXmlPrinter printer;
    root.Accept(printer);
    return printer.Text() + "\n";
}
