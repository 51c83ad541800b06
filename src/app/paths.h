#pragma once

#include <string>
#include <string_view>

// Where this run finds its data and keeps the user's files. Paths use "/"
// and keep their case; none ends with a slash.
struct CPaths
{
    // The environment the directories are found from; Setup() reads the real one.
    struct SEnvironment
    {
        std::string appPathOverride; // LUMORA_APPPATH
        std::string xdgConfigHome;   // XDG_CONFIG_HOME
        std::string home;            // HOME
        std::string executableDir;   // directory of the running program
        std::string currentDir;
    };

    // Finds the directories, makes the user directory and starts the log
    // there as "log.txt".
    void Setup();
    void Setup(const SEnvironment& environment);

    // "[apppath]" and "[userpath]" become the directories.
    std::string ExpandPath(std::string_view path) const;
    // The directories become "[apppath]" and "[userpath]".
    std::string CompressPath(std::string_view path) const;

    // Lumora's data: nodedata/, scenes/, playlists/.
    std::string m_appPath;
    // The user's config.xml, log.txt, stats.dat, scenes/ and playlists/.
    std::string m_userPath;
    std::string m_configPath;
};

// The paths of this run; the host sets them up at start.
extern CPaths g_paths;

std::string ExpandPath(std::string_view path);
std::string CompressPath(std::string_view path);
