#include "app/player/headlessrun.h"

#include "app/cfg.h"
#include "app/host/apptypewin.h"
#include "app/log.h"
#include "app/director/lumoraapp.h"
#include "app/director/playlist.h"
#include "app/host/clock.h"
#include "app/paths.h"
#include "app/random.h"
#include "app/regularfile.h"
#include "app/stoprequest.h"
#include "app/textnumber.h"
#include "services/movierecorder.h"
#include "services/picturesequencewriter.h"

#include <chrono>
#include <csignal>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int MaxSide = 16384;

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Redraws one terminal line, a few times a second at most.
class CProgressLine
{
public:
    CProgressLine(int total, bool enabled) : m_total(total), m_enabled(enabled) {}

    void Show(int done)
    {
        if (!m_enabled)
            return;
        const double elapsed = SecondsSince(m_start);
        if (done < m_total && elapsed - m_lastShown < 0.2)
            return;
        m_lastShown = elapsed;
        const double rate = elapsed > 0.0 ? done / elapsed : 0.0;
        const double left = rate > 0.0 ? (m_total - done) / rate : 0.0;
        fprintf(stderr, "\r  frame %d/%d  %.1f frames/s  %d:%02d left   ", done, m_total, rate, int(left) / 60,
                int(left) % 60);
        if (done >= m_total)
            fputc('\n', stderr);
        fflush(stderr);
    }

    void Finish(int done)
    {
        if (m_enabled && done < m_total)
            fputc('\n', stderr);
    }

private:
    Clock::time_point m_start = Clock::now();
    double m_lastShown = -1.0;
    int m_total;
    bool m_enabled;
};

int Fail(int code, const std::string& message)
{
    fprintf(stderr, "lumora: %s\n", message.c_str());
    Error("Headless run: %s", message.c_str());
    return code;
}

// A recording cut short by a signal is no failure of its own, but it is not
// the recording asked for either: the shell's code for "ended by a signal".
int Stopped(CAppTypeWin& host, int framesWritten, int frames)
{
    host.ShutdownApp();
    fprintf(stderr, "lumora: stopped by a signal after %d of %d pictures\n", framesWritten, frames);
    Log("Headless run stopped by signal %d after %d of %d pictures", StopSignal(), framesWritten, frames);
    return 128 + StopSignal();
}

} // namespace

int HeadlessFrameCount(const SHeadlessOptions& options)
{
    const double frames = std::floor(double(options.m_seconds) * options.m_fps + 0.5);
    return frames < 1.0 ? 1 : frames > 1e8 ? 100000000 : int(frames);
}

bool ParseFrameSize(std::string_view text, int& width, int& height)
{
    const size_t x = text.find('x');
    if (x == std::string_view::npos)
        return false;
    int w = 0, h = 0;
    if (!ParseBounded(text.substr(0, x), 1, MaxSide, w) || !ParseBounded(text.substr(x + 1), 1, MaxSide, h))
        return false;
    width = w;
    height = h;
    return true;
}

int RunHeadless(const SHeadlessOptions& options, const RenderFactory& makeRender)
{
    const auto start = Clock::now();
    // Headless means no display: SDL draws through EGL into memory unless the
    // caller chose a driver.
    setenv("SDL_VIDEODRIVER", "offscreen", 0);
    // A file grown past the file size limit fails its write and is reported,
    // instead of ending the process.
    signal(SIGXFSZ, SIG_IGN);

    // A layered entry's files are checked when it is played.
    if (!CPlaylist::IsLayered(options.m_scenePath)) {
        if (const std::string why = WhyNotRegularFile(ExpandPath(options.m_scenePath)); !why.empty())
            return Fail(1, "the file \"" + options.m_scenePath + "\" " + why);
    }

    const int frames = HeadlessFrameCount(options);
    CLumoraApp app(CClock::System());
    CAppTypeWin host(&app, makeRender);
    host.m_appType = EAppType::Visualizer;
    host.m_windowMode = EWindowMode::Record;
    host.m_recordStart = 0.0f;
    host.m_recordLength = options.m_seconds;
    host.m_recordFps = options.m_fps;
    host.m_maxFrames = frames;
    if (!host.Init())
        return Fail(3, "OpenGL could not be initialised; the log tells why");
    host.m_config->StartScene = options.m_scenePath;
    host.m_config->SongFile = options.m_songPath;
    host.m_config->CaptureSound = !options.m_songPath.empty();
    const bool movie = !options.m_moviePath.empty();
    host.m_config->MovieFile = movie ? options.m_moviePath : options.m_outDirectory;
    host.m_render->m_recordWidth = options.m_width;
    host.m_render->m_recordHeight = options.m_height;
    if (!host.CreateWindows())
        return Fail(4, "the drawing surface could not be made; the log tells why");
    if (StopRequested())
        return Stopped(host, 0, frames);

    // Seeded after the host, which may seed from the clock, and before the
    // director picks anything, so that the same command gives the same pictures.
    if (options.m_seeded) {
        g_random.Seed(options.m_seed);
        std::srand(options.m_seed);
    }
    app.Start(*host.m_config, host.m_render.get(), host.RunInfo());
    std::string error;
    const bool playing = app.Play(options.m_scenePath, error);
    if (StopRequested())
        return Stopped(host, 0, frames);
    if (!playing)
        return Fail(1, error);

    CPictureSequenceWriter pictures(host.m_render.get());
    CMovieRecorder movieWriter(host.m_render.get(),
                               {int(std::lround(options.m_fps)), options.m_encoder, options.m_songPath});
    CProgressLine progress(frames, options.m_showProgress);
    pictures.m_onFrame = movieWriter.m_onFrame = [&progress](int done) { progress.Show(done); };
    host.m_recorder = movie ? static_cast<CFrameRecorder*>(&movieWriter) : &pictures;
    host.RunApp();
    const int written = movie ? movieWriter.FramesWritten() : pictures.FramesWritten();
    progress.Finish(written);

    const double seconds = SecondsSince(start);
    const std::string& target = movie ? options.m_moviePath : options.m_outDirectory;
    if (written < frames && StopRequested()) {
        if (movie && movieWriter.IsFinished())
            fprintf(stderr, "lumora: the movie \"%s\" holds the %d frames recorded\n", target.c_str(), written);
        return Stopped(host, written, frames);
    }
    if (movie && !movieWriter.IsFinished())
        return Fail(5, "the movie \"" + target + "\" could not be written: " + movieWriter.GetError());
    if (written < frames) {
        return Fail(5, "only " + std::to_string(written) + " of " + std::to_string(frames) +
                           " pictures could be written to \"" + target + "\"");
    }
    printf("lumora: %d frames of %dx%d at %g fps (%g s of scene time) written to %s in %.1f s, %.1f frames/s\n",
           frames, options.m_width, options.m_height, double(options.m_fps), double(frames / options.m_fps),
           target.c_str(), seconds, seconds > 0.0 ? frames / seconds : 0.0);
    fflush(stdout);
    return 0;
}
