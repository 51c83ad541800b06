// lumora: the visualizer. It sets up the engine's services, opens its
// windows and runs the frame loop with the application object until a window
// closes, Escape is pressed, a signal asks it to stop or --frames is reached.

#include "app/cfg.h"
#include "app/log.h"
#include "app/paths.h"
#include "app/qtmessages.h"
#include "app/stoprequest.h"
#include "app/textnumber.h"
#include "app/trace.h"
#include "app/host/apptypewin.h"
#include "app/player/headlessrun.h"
#include "app/director/lumora.h"
#include "app/director/lumoraapp.h"
#include "app/host/clock.h"
#include "nodes/nodetypes.h"
#include "platform/audiosources.h"
#include "platform/crashhandler.h"
#include "platform/editorframing.h"
#include "platform/editorserver.h"
#include "render/render.h"
#include "renderogl/renderogl.h"
#include "render/userapp3d.h"
#include "scene/nodefactory.h"
#include "services/scriptengine.h"

#include <QCommandLineParser>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kUsage =
    "Usage: lumora [options]\n"
    "\n"
    "Options:\n"
    "  -f <file>           play this playlist (.lmp) or scene (.lmc or .lms), or the\n"
    "                      layered scene \"background;foreground;postprocessing\"\n"
    "                      (default: [apppath]playlists/Default.lmp)\n"
    "  --fullscreen        one full-screen window per monitor (the default)\n"
    "  --window            a plain window of 1280x720\n"
    "  --frames <n>        end by itself after n frames\n"
    "  --editor            let an editor or lumora-cmd drive the run through the\n"
    "                      socket $XDG_RUNTIME_DIR/lumora/editor.sock\n"
    "  --list-node-types   print the catalogue of node types as XML and exit\n"
    "  --list-audio-sources  print the sound sources that can be captured and exit\n"
    "  --song <file>       hear this song file (any format FFmpeg reads) instead of\n"
    "                      what the computer plays\n"
    "  --help              show this text and exit\n"
    "\n"
    "Headless recording (no window; every frame becomes a PNG picture or a movie\n"
    "frame):\n"
    "  --headless          record the scene or playlist of -f (or the default\n"
    "                      playlist) on simulated time\n"
    "  --out <dir>         where frame-00001.png and onwards go\n"
    "  --movie <file>      a movie instead (.mp4, .mkv or .avi; H.264), with the\n"
    "                      song of --song as its sound track\n"
    "  --encoder <name>    the FFmpeg video encoder of the movie (default libx264)\n"
    "  --size <WxH>        picture size (default 1280x720)\n"
    "  --fps <f>           frames per second of scene time (default 30)\n"
    "  --seconds <s>       seconds of scene time (default 10)\n"
    "  --seed <n>          seed every random generator: the same command gives\n"
    "                      the same pictures\n";

enum class EAction
{
    Run,
    ListNodeTypes,
    ListAudioSources,
    Help,
    Bad,
};

struct SOptions
{
    EAction action = EAction::Run;
    EWindowMode windowMode = EWindowMode::FullScreen;
    int frames = 0;
    bool editor = false;
    std::string startScene;
    bool headless = false;
    std::string songPath;
    SHeadlessOptions recording;
};

// Latin-1 takes each byte to one character and back, so that file names that
// are not UTF-8 pass through unchanged.
std::string Bytes(const QString& text)
{
    return text.toLatin1().toStdString();
}

// Bad command lines end in one line that says why, then the usage text.
SOptions Bad(const QString& why)
{
    fprintf(stderr, "lumora: %s\n\n", Bytes(why).c_str());
    SOptions options;
    options.action = EAction::Bad;
    return options;
}

// Every value given must read; the last one counts.
template <class TRead>
bool ReadValues(const QCommandLineParser& parser, const QCommandLineOption& option, TRead read, QString& error)
{
    for (const QString& text : parser.values(option)) {
        if (!read(Bytes(text))) {
            error = QStringLiteral("bad value \"%1\" for --%2").arg(text, option.names().front());
            return false;
        }
    }
    return true;
}

template <class T>
auto Bounded(T low, T high, T& out)
{
    return [low, high, &out](const std::string& text) { return ParseBounded(text, low, high, out); };
}

SOptions ParseCommandLine(int argc, char** argv)
{
    const QCommandLineOption help(QStringList{"h", "help"}), window("window"), fullScreen("fullscreen"),
        listNodeTypes("list-node-types"), listAudioSources("list-audio-sources"), headless("headless"),
        editor("editor"), scene("f", {}, "file"), song("song", {}, "file"), frames("frames", {}, "n"), out("out", {}, "dir"),
        movie("movie", {}, "file"), encoder("encoder", {}, "name"),
        size("size", {}, "WxH"), fps("fps", {}, "f"), seconds("seconds", {}, "s"), seed("seed", {}, "n");
    QCommandLineParser parser;
    parser.addOptions({help, window, fullScreen, listNodeTypes, listAudioSources, headless, editor, scene, song, frames, out,
                       movie, encoder, size, fps, seconds, seed});
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLatin1(argv[i]);
    if (!parser.parse(arguments))
        return Bad(parser.errorText());
    if (!parser.positionalArguments().isEmpty())
        return Bad(QStringLiteral("unexpected argument \"%1\"").arg(parser.positionalArguments().front()));

    SOptions options;
    if (parser.isSet(help)) {
        options.action = EAction::Help;
        return options;
    }
    // Of the switches that choose the same thing, the last one given counts.
    for (const QString& name : parser.optionNames()) {
        if (name == "window")
            options.windowMode = EWindowMode::Window;
        else if (name == "fullscreen")
            options.windowMode = EWindowMode::FullScreen;
        else if (name == "list-node-types")
            options.action = EAction::ListNodeTypes;
        else if (name == "list-audio-sources")
            options.action = EAction::ListAudioSources;
    }
    options.headless = parser.isSet(headless);
    options.editor = parser.isSet(editor);
    options.startScene = Bytes(parser.value(scene));
    options.songPath = Bytes(parser.value(song));
    options.recording.m_outDirectory = Bytes(parser.value(out));
    options.recording.m_moviePath = Bytes(parser.value(movie));
    options.recording.m_encoder = Bytes(parser.value(encoder));
    options.recording.m_seeded = parser.isSet(seed);
    SHeadlessOptions& recording = options.recording;
    const auto frameSize = [&recording](const std::string& text) {
        return ParseFrameSize(text, recording.m_width, recording.m_height);
    };
    QString error;
    if (!ReadValues(parser, frames, Bounded(1, 1000000000, options.frames), error) ||
        !ReadValues(parser, size, frameSize, error) ||
        !ReadValues(parser, fps, Bounded(1.0f, 1000.0f, recording.m_fps), error) ||
        !ReadValues(parser, seconds, Bounded(0.001f, 86400.0f, recording.m_seconds), error) ||
        !ReadValues(parser, seed, Bounded(0u, 0xFFFFFFFFu, recording.m_seed), error))
        return Bad(error);
    if (options.action == EAction::Run && options.headless && recording.m_outDirectory.empty() &&
        recording.m_moviePath.empty())
        return Bad(QStringLiteral("--headless needs a directory for the pictures (--out) or a movie file (--movie)"));
    if (!recording.m_outDirectory.empty() && !recording.m_moviePath.empty())
        return Bad(QStringLiteral("--out and --movie exclude each other"));
    if (!recording.m_moviePath.empty() && recording.m_fps != std::round(recording.m_fps))
        return Bad(QStringLiteral("a movie needs a whole number of frames per second (--fps)"));
    recording.m_scenePath = options.startScene;
    recording.m_songPath = options.songPath;
    return options;
}

constexpr const char* kDefaultPlaylist = "[apppath]playlists/Default.lmp";

int PrintAudioSources()
{
    std::vector<CAudioSource> sources;
    if (!ListAudioSources(sources)) {
        fprintf(stderr, "lumora: no sound server answers; nothing can be captured\n");
        return 1;
    }
    printf("Sound sources (set one as AudioSource in config.xml; the default is what the default output plays):\n");
    for (const CAudioSource& source : sources)
        printf("  %s%s\n      %s\n", source.Name.c_str(), source.Monitor ? "  (what an output plays)" : "",
               source.Description.c_str());
    return 0;
}

// A signal while the run starts ends it as one in the frame loop would.
bool StoppedWhileStarting(CAppTypeWin& host)
{
    if (!StopRequested())
        return false;
    Log("Stop requested by signal %d while starting", StopSignal());
    host.ShutdownApp();
    return true;
}

int RunVisualizer(const SOptions& options)
{
    CLumoraApp app(CClock::System());
    CAppTypeWin host(&app, MakeRenderOGL);
    host.m_appType = EAppType::Visualizer;
    host.m_windowMode = options.windowMode;
    host.m_maxFrames = options.frames;
    if (!host.Init())
        return 3;
    if (!host.m_render->HasDisplay()) {
        const bool named = getenv("DISPLAY") || getenv("WAYLAND_DISPLAY");
        const std::string text = std::string("no display to show the visualizer on (") +
                                 (named ? "the display named by DISPLAY or WAYLAND_DISPLAY does not answer"
                                        : "DISPLAY and WAYLAND_DISPLAY are not set") +
                                 "); --headless --out <dir> records pictures without a screen";
        fprintf(stderr, "lumora: %s\n", text.c_str());
        Error("%s", text.c_str());
        return 4;
    }
    if (!options.startScene.empty())
        host.m_config->StartScene = options.startScene;
    if (!options.songPath.empty())
        host.m_config->SongFile = options.songPath;
    if (!host.CreateWindows()) {
        Error("Unable to open the visualizer windows");
        return 4;
    }
    if (StoppedWhileStarting(host))
        return 0;
    app.Start(*host.m_config, host.m_render.get(), host.RunInfo());
    std::string path = options.startScene;
    if (path.empty())
        path = host.m_config->Playlist.empty() ? std::string(kDefaultPlaylist) : host.m_config->Playlist;
    std::string error;
    const bool playing = app.Play(path, error);
    if (StoppedWhileStarting(host))
        return 0;
    if (!playing) {
        fprintf(stderr, "lumora: %s\n", error.c_str());
        Error("%s", error.c_str());
        return 1;
    }
    app.Director()->m_requestClose = [&host] { host.ShutdownApp(); };
    app.Director()->m_frameLoop = &host;
    std::unique_ptr<CEditorServer> editor;
    if (options.editor) {
        CEditorServer::SOptions editorOptions;
        editorOptions.m_path = CEditorServer::DefaultPath(g_paths.m_userPath);
        editorOptions.m_maxMessage = kEditorMaxMessage;
        editor = std::make_unique<CEditorServer>(*CScriptEngine::Get(), std::move(editorOptions));
        // The director holds the interpreter for as long as the server lives.
        CScriptEngine::Get()->Release();
        if (!editor->Start()) {
            fprintf(stderr, "lumora: the editor connection cannot start; the log tells why\n");
            editor.reset();
        } else {
            fprintf(stderr, "lumora: an editor can connect at %s\n", editor->Path().c_str());
        }
    }
    host.RunApp();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    CCrashHandler crashHandler("");
    InstallQtMessageHandler();

    SOptions options = ParseCommandLine(argc, argv);
    if (options.action == EAction::Help || options.action == EAction::Bad) {
        fputs(kUsage, options.action == EAction::Bad ? stderr : stdout);
        return options.action == EAction::Bad ? 2 : 0;
    }
    // Before anything slow, so that a signal at any moment of a run ends it
    // the normal way; the listings end by themselves.
    if (options.action == EAction::Run)
        InstallStopSignals();

    g_paths.Setup();
    crashHandler.SetDirectory(g_paths.m_userPath);
    TRACE_LOG("main");

    if (!std::filesystem::exists(g_paths.m_configPath))
        Log("No configuration file \"%s\" yet; the defaults apply", g_paths.m_configPath.c_str());

    CNodeFactory* factory = CNodeFactory::Get();
    factory->Init(NodeTypes());

    RegisterSoundSources();
    int result = 0;
    if (options.action == EAction::ListNodeTypes) {
        printf("%s\n", factory->GetNodeTypesXml().c_str());
    } else if (options.action == EAction::ListAudioSources) {
        result = PrintAudioSources();
    } else {
        Log("Lumora starting");
        if (options.headless) {
            options.recording.m_showProgress = isatty(fileno(stderr)) != 0;
            if (options.recording.m_scenePath.empty())
                options.recording.m_scenePath = kDefaultPlaylist;
            result = RunHeadless(options.recording, MakeRenderOGL);
        } else {
            result = RunVisualizer(options);
        }
        Log("Lumora stopped with exit code %d", result);
    }

    factory->Release();
    return result;
}
