#pragma once

#include <cstdint>

// What kind of program hosts the engine. The values are those the editor
// protocol and the statistics use ("AppType").
enum class EAppType : int32_t
{
    Visualizer = 0,
    Screensaver = 1,
    Editor = 5,
    ConfigFrontEnd = 6,
    Winamp = 7,
    MediaPlayer = 8,
    OtherPlayer = 9,
};

// How the run shows its pictures. Modes 1 to 6 are also the window kinds
// that CRender::CreateScreen makes.
enum class EWindowMode : int32_t
{
    Preview = 1,
    FullScreen = 2,
    Window = 3,
    Child = 4,
    Record = 5,
    Screenshot = 6,
    PlayerContext = 7,
};

inline constexpr EWindowMode WK_Preview = EWindowMode::Preview;
inline constexpr EWindowMode WK_FullScreen = EWindowMode::FullScreen;
inline constexpr EWindowMode WK_Window = EWindowMode::Window;
inline constexpr EWindowMode WK_Child = EWindowMode::Child;
inline constexpr EWindowMode WK_Record = EWindowMode::Record;
inline constexpr EWindowMode WK_Screenshot = EWindowMode::Screenshot;

// A media player's plug-in: the player feeds the sound, and the scenes
// switch by themselves also in a child window.
constexpr bool IsPlayerPlugin(EAppType type)
{
    return type == EAppType::Winamp || type == EAppType::MediaPlayer || type == EAppType::OtherPlayer;
}
