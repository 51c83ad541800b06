#pragma once

#include "render/runmode.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

class CHttpRequest;
class CXmlDocument;

// Anonymous figures of how much each kind of run is used, kept in
// "[userpath]stats.dat" and sent to the statistics endpoint at most once a
// week. Does nothing at all unless the user opted in (`m_send`).
class CStats
{
public:
    // One kind of run's figures.
    struct SRunRecord
    {
        int32_t m_runCount = 0;
        int32_t m_runTime = 0; // seconds
        double m_avgFps = 0.0;
        std::string m_lastRun; // "YYYY-MM-DD", local date
        int32_t m_scenes = 0;  // scenes started, transitions not counted
    };

    // The records the file holds, in its order of children.
    static constexpr std::array<std::pair<EAppType, const char*>, 6> kRecords = {{
        {EAppType::Screensaver, "screensaver"},
        {EAppType::Winamp, "winampvis"},
        {EAppType::MediaPlayer, "wmpvis"},
        {EAppType::Editor, "editor"},
        {EAppType::ConfigFrontEnd, "config"},
        {EAppType::Visualizer, "visualizer"},
    }};
    // Uploads come at least this many seconds apart.
    static constexpr int64_t kUploadInterval = 7 * 24 * 3600;
    // Longest wait of Exit for an upload still under way.
    static constexpr std::chrono::milliseconds kExitWait{50};
    // A larger file is no file of ours.
    static constexpr size_t kMaxFileBytes = 64 * 1024;

    // The run's one object.
    static CStats& Instance();

    CStats();
    ~CStats();
    CStats(const CStats&) = delete;
    CStats& operator=(const CStats&) = delete;

    // At the start of a run, once the host has set the fields below: reads
    // the file, and sends it when a week has passed since the last upload.
    void Init();
    // At the end of the run: counts the run and writes the file.
    void Exit();
    // A scene, or a transition when `transition`, starts or ends playing.
    void SceneStart(std::string_view name, bool transition = false);
    void SceneEnd();
    // Per update step and per frame.
    void AddSceneTime(float seconds) { m_sceneTime += seconds; }
    void FrameFinished();

    // Set by the host before Init.
    bool m_send = false;
    EAppType m_appType = EAppType::Visualizer;
    EWindowMode m_windowMode = EWindowMode::FullScreen;
    std::string m_openGl;      // "vendor, renderer, version"
    std::string m_desktopSize; // "WxHxBits" of the primary monitor
    std::string m_virtualSize; // "WxH" of all monitors together
    int32_t m_numMonitors = 0;
    // Where the file is and where it goes; empty takes "[userpath]stats.dat"
    // and LUMORA_STATS_URL, or the endpoint the build names.
    std::string m_path;
    std::string m_url;
    // The time now, as seconds since 1970 (UTC); replaceable for tests.
    std::function<std::time_t()> m_now;

    // This run's figures.
    const SRunRecord* Record(EAppType type) const;
    int32_t Frames() const { return m_frames; }
    int32_t SceneFrames() const { return m_sceneFrames; }
    float SceneTime() const { return m_sceneTime; }
    const std::string& SceneName() const { return m_sceneName; }
    const std::string& InstallId() const { return m_installId; }
    // The time of the last upload that reached the endpoint, 0 for none.
    std::time_t LastUpload() const { return m_lastUpload; }
    // The file's text as it is written and sent.
    std::string Report() const;
    // The endpoint this run sends to; empty sends nothing.
    std::string EndpointUrl() const;

private:
    SRunRecord* MutableRecord(EAppType type);
    bool Read(const CXmlDocument& document);
    void StartAfresh();
    void StartUpload();
    void FinishUpload();
    bool MayUpload() const;
    std::string FilePath() const;

    std::string m_installDate;
    std::string m_installId;
    std::array<SRunRecord, kRecords.size()> m_records;
    std::time_t m_lastUpload = 0;
    std::time_t m_start = 0;
    int32_t m_frames = 0;
    std::time_t m_sceneStart = 0;
    int32_t m_sceneFrames = 0;
    float m_sceneTime = 0.0f;
    std::string m_sceneName;
    bool m_noUpload = false;
    std::unique_ptr<CHttpRequest> m_upload;
    std::time_t m_uploadStarted = 0;
};
