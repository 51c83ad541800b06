#pragma once

#include <string>
#include <vector>

class QXmlStreamReader;
class QXmlStreamWriter;

// One monitor's settings, matched to a monitor by its device name.
struct CCfgScreen
{
    std::string Id;
    bool LeaveBlack = false;
    // The part of the whole picture this monitor shows, as fractions of it.
    double SectionX = 0.0;
    double SectionY = 0.0;
    double SectionWidth = 0.0;
    double SectionHeight = 0.0;

    bool operator==(const CCfgScreen&) const = default;
};

// The user's settings, kept in "config.xml". The engine reads the file once at
// start; the configuration front end edits and saves it.
class CCfg
{
public:
    // Fails without a log line when the file can't be opened, so a first run
    // simply keeps the defaults. A file that can't be read leaves the settings
    // untouched, logs why, and is moved aside to "<path>.bad".
    bool Load(const std::string& path);
    // Writes through a temporary file renamed into place, so a failed save
    // leaves the previous file as it was.
    bool Save(const std::string& path) const;

    // Reads a whole document; on failure the settings stay as they were.
    bool Deserialize(QXmlStreamReader& reader);
    bool Serialize(QXmlStreamWriter& writer) const;

    bool operator==(const CCfg&) const = default;

    // Empty means "[apppath]playlists/Default.lmp". UTF-8.
    std::string Playlist;
    // Both ask the network, so both wait for the user's consent.
    bool SendAnonymousUsageInfo = false;
    bool CheckForNewVersion = false;
    bool AutoGotoNextScene = true;
    bool RandomizeScene = true;
    bool CaptureSound = true;
    // The sound source to capture, as the sound server names it; empty takes
    // what the default output plays. UTF-8.
    std::string AudioSource;
    int MaxSilenceTime = 10;
    int MinRunTime = 9;
    int MaxRunTime = 14;
    // Seconds, for transition scenes without a run time of their own.
    float Time = 3.0f;
    float SceneFromScale = 1.0f;
    float SceneToScale = 0.5f;
    float PostProcessingProbability = 0.3f;
    // When relative, width and height are factors of the window's size,
    // otherwise pixels.
    bool RenderTargetRelative = true;
    double RenderTargetWidth = 1.0;
    double RenderTargetHeight = 1.0;
    std::vector<CCfgScreen> Screens;

    // Set by the host for one run; never read from or written to the file.
    std::string StartScene;
    std::string SongFile;
    std::string MovieFile;
};
