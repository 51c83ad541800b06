#include "platform/audiosources.h"
#include "platform/ffmpegsongdecoder.h"
#include "platform/pulsecapture.h"
#include "sound/loopbackcapture.h"
#include "sound/songdecoder.h"
#include "sound/soundanalyzer.h"

#include "support/logcapture.h"
#include "support/pulseserver.h"
#include "support/soundfixtures.h"
#include "support/tempdir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <deque>
#include <functional>
#include <optional>
#include <thread>

namespace {

using namespace std::chrono_literals;

// A capture device fed by the test: packets wait in a queue; `m_endless`
// hands out the same packet at every read.
class CFakeDevice : public CCaptureDevice
{
public:
    struct SPacket
    {
        std::vector<float> samples;
        int frames = 0;
        bool silent = false;
    };

    bool Open() override
    {
        ++m_opens;
        return m_openResult;
    }
    int Channels() const override { return m_channels; }
    int SampleRate() const override { return 44100; }
    CaptureResult NextPacket(CCapturePacket& packet) override
    {
        ++m_reads;
        const SPacket* next = m_endless ? &*m_endless : m_waiting.empty() ? nullptr : &m_waiting.front();
        if (m_fail || !next)
            return m_fail ? CaptureResult::Failed : CaptureResult::Empty;
        packet = {next->samples.empty() ? nullptr : next->samples.data(), next->frames, next->silent};
        return CaptureResult::Packet;
    }
    bool Release() override
    {
        ++m_releases;
        if (!m_endless)
            m_waiting.pop_front();
        return true;
    }
    void Close() override { ++m_closes; }

    void Add(std::vector<float> samples)
    {
        const int frames = static_cast<int>(samples.size()) / m_channels;
        m_waiting.push_back({std::move(samples), frames, false});
    }

    int m_channels = 2;
    bool m_openResult = true;
    bool m_fail = false;
    std::optional<SPacket> m_endless;
    std::deque<SPacket> m_waiting;
    int m_opens = 0, m_reads = 0, m_releases = 0, m_closes = 0;
};

// Sample `frame` of channel `channel`, different for every pair.
float Sample(int frame, int channel)
{
    return 0.01f * static_cast<float>(channel + 1) + 1e-6f * static_cast<float>(frame);
}

std::vector<float> Ramp(int frames, int channels, int first = 0)
{
    std::vector<float> samples;
    for (int i = 0; i < frames; ++i) {
        for (int c = 0; c < channels; ++c)
            samples.push_back(Sample(first + i, c));
    }
    return samples;
}

std::vector<float> Constant(int frames, float value) { return std::vector<float>(frames * 2, value); }

// The loudest bin of the left channel's raw spectrum, over the quarter that queries reach.
int PeakBin(const CSoundAnalyzer& analyzer)
{
    const float* spectrum = analyzer.m_rawSpectrum[0];
    return static_cast<int>(std::max_element(spectrum, spectrum + 256) - spectrum);
}

// A capture on a fake device and a fake millisecond clock.
struct SCaptureRig
{
    explicit SCaptureRig(int channels = 2)
    {
        auto fake = std::make_unique<CFakeDevice>();
        fake->m_channels = channels;
        device = fake.get();
        capture = std::make_unique<CLoopbackCapture>(std::move(fake), [this] { return now; });
    }
    // Polls after the rate limit has surely passed.
    bool PollLater()
    {
        now += 20.0;
        return capture->Poll();
    }
    std::vector<SoundPacket> Drain()
    {
        std::vector<SoundPacket> packets;
        while (SoundPacket* packet = capture->PopReady()) {
            packets.push_back(*packet);
            capture->Recycle(packet);
        }
        return packets;
    }

    double now = 5000.0;
    CFakeDevice* device;
    std::unique_ptr<CLoopbackCapture> capture;
};

} // namespace

TEST(LoopbackCapture, DevicePacketSplitsOverSoundPackets)
{
    SCaptureRig rig;
    ASSERT_TRUE(rig.capture->Start());
    rig.device->Add(Ramp(1000, 2));
    rig.PollLater();
    auto ready = rig.Drain();
    ASSERT_EQ(ready.size(), 1u) << "the 424 frames left over wait for more";
    EXPECT_EQ(ready[0].frames, 576);
    EXPECT_EQ(ready[0].data[0], Sample(0, 0));
    EXPECT_EQ(ready[0].data[2 * 575 + 1], Sample(575, 1));

    rig.device->Add(Ramp(200, 2, 1000));
    rig.PollLater();
    ready = rig.Drain();
    ASSERT_EQ(ready.size(), 1u);
    EXPECT_EQ(ready[0].frames, 576);
    for (int i = 0; i < 576; ++i) {
        ASSERT_EQ(ready[0].data[2 * i], Sample(576 + i, 0)) << "frame " << i;
        ASSERT_EQ(ready[0].data[2 * i + 1], Sample(576 + i, 1)) << "frame " << i;
    }
    EXPECT_EQ(rig.capture->FramesSeen(), 1200);
}

TEST(LoopbackCapture, ChannelsReduceToStereo)
{
    struct SCase
    {
        int channels;
        int rightFrom;
    };
    for (const SCase& c : {SCase{1, 0}, SCase{2, 1}, SCase{6, 1}}) {
        SCOPED_TRACE(c.channels);
        SCaptureRig rig(c.channels);
        ASSERT_TRUE(rig.capture->Start());
        rig.device->Add(Ramp(576, c.channels));
        rig.PollLater();
        const auto ready = rig.Drain();
        ASSERT_EQ(ready.size(), 1u);
        for (int i = 0; i < 576; ++i) {
            ASSERT_EQ(ready[0].data[2 * i], Sample(i, 0));
            ASSERT_EQ(ready[0].data[2 * i + 1], Sample(i, c.rightFrom));
        }
    }
}

TEST(LoopbackCapture, IdleDeviceGivesOneZeroBlockPerPoll)
{
    SCaptureRig rig;
    ASSERT_TRUE(rig.capture->Start());
    // Part of a block in hand is dropped when the device falls silent.
    rig.device->Add(Ramp(100, 2));
    rig.PollLater();
    EXPECT_FALSE(rig.capture->IsSilent());
    EXPECT_TRUE(rig.Drain().empty());

    for (int poll = 0; poll < 3; ++poll) {
        // Nothing waiting, then a zero-length packet the device marks silent.
        if (poll == 2)
            rig.device->m_waiting.push_back({{}, 0, true});
        rig.PollLater();
        const auto ready = rig.Drain();
        ASSERT_EQ(ready.size(), 1u) << "poll " << poll;
        EXPECT_EQ(ready[0].frames, 0);
        EXPECT_TRUE(std::all_of(ready[0].data.begin(), ready[0].data.end(), [](float s) { return s == 0.0f; }));
        EXPECT_TRUE(rig.capture->IsSilent());
    }
    EXPECT_TRUE(rig.device->m_waiting.empty()) << "the silent packet was released";
}

TEST(LoopbackCapture, PacketWhoseSignedSumIsNearZeroCountsAsSilence)
{
    std::vector<float> sine;
    for (int i = 0; i < 441; ++i) {
        const float s = 0.5f * static_cast<float>(std::sin(2.0 * M_PI * i / 441.0 * 10.0));
        sine.insert(sine.end(), {s, s});
    }
    struct SCase
    {
        const char* name;
        std::vector<std::vector<float>> packets;
        bool silent;
    };
    const SCase cases[] = {
        {"loud sine of whole periods", {sine}, true},
        {"small offset", {Constant(300, 0.01f)}, false},
        {"zeros", {Constant(300, 0.0f)}, true},
        {"sound then zeros in one poll", {Constant(300, 0.2f), Constant(300, 0.0f)}, true},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.name);
        SCaptureRig rig;
        ASSERT_TRUE(rig.capture->Start());
        for (const auto& packet : c.packets)
            rig.device->Add(packet);
        rig.PollLater();
        EXPECT_EQ(rig.capture->IsSilent(), c.silent);
        // Only for that poll: the next loud packet is sound again.
        rig.device->Add(Constant(100, 0.2f));
        rig.PollLater();
        EXPECT_FALSE(rig.capture->IsSilent());
    }
}

TEST(LoopbackCapture, PollsAtMostSixtyTimesASecond)
{
    SCaptureRig rig;
    ASSERT_TRUE(rig.capture->Start());
    EXPECT_TRUE(rig.capture->Poll()) << "the first poll reads";
    rig.now += 16.6;
    EXPECT_FALSE(rig.capture->Poll());
    EXPECT_EQ(rig.device->m_reads, 1);
    rig.now += 0.1;
    EXPECT_TRUE(rig.capture->Poll()) << "a 60th of a second after the last read";

    // A frame loop far faster than the limit still reads 60 times a second.
    int reads = 0;
    for (int ms = 0; ms < 3000; ++ms) {
        rig.now += 1.0;
        reads += rig.capture->Poll();
    }
    EXPECT_GE(reads, 3 * 58);
    EXPECT_LE(reads, 3 * 60);
}

TEST(LoopbackCapture, ReadsAtMostFiveDevicePacketsAPoll)
{
    SCaptureRig rig;
    ASSERT_TRUE(rig.capture->Start());
    for (int i = 0; i < 8; ++i)
        rig.device->Add(Constant(100, 0.1f));
    rig.PollLater();
    EXPECT_EQ(rig.device->m_reads, 5);
    EXPECT_EQ(rig.capture->FramesSeen(), 500);
    rig.PollLater();
    EXPECT_EQ(rig.capture->FramesSeen(), 800);
    EXPECT_EQ(rig.device->m_releases, 8);
}

TEST(LoopbackCapture, PoolStopsGrowingInSteadyState)
{
    SCaptureRig rig;
    ASSERT_TRUE(rig.capture->Start());
    rig.device->m_endless = CFakeDevice::SPacket{Constant(700, 0.1f), 700, false};
    int warm = 0;
    for (int poll = 0; poll < 300; ++poll) {
        rig.PollLater();
        EXPECT_GT(rig.Drain().size(), 0u);
        if (poll == 10)
            warm = rig.capture->PoolSize();
    }
    EXPECT_EQ(rig.capture->PoolSize(), warm);
}

TEST(LoopbackCapture, FailuresAreLoggedAndEndTheCapture)
{
    CLogCapture log;
    {
        SCaptureRig rig;
        rig.device->m_openResult = false;
        EXPECT_FALSE(rig.capture->Start());
        EXPECT_FALSE(rig.capture->IsCapturing());
        EXPECT_FALSE(rig.PollLater());
    }
    EXPECT_TRUE(log.Contains("Unable to capture audio from default device"));

    SCaptureRig rig;
    ASSERT_TRUE(rig.capture->Start());
    rig.device->Add(Constant(100, 0.3f));
    rig.PollLater();
    EXPECT_FALSE(rig.capture->IsSilent());
    rig.device->m_fail = true;
    rig.PollLater();
    EXPECT_TRUE(log.Contains("failed after 100 frames"));
    EXPECT_FALSE(rig.capture->IsCapturing());
    EXPECT_EQ(rig.device->m_closes, 1);
    EXPECT_TRUE(rig.capture->IsSilent()) << "a dead device lets the silence rule turn the music off";
    const int reads = rig.device->m_reads;
    EXPECT_FALSE(rig.PollLater());
    EXPECT_EQ(rig.device->m_reads, reads);
}

namespace {

// The analyzer on a fake device, updated at 30 frames a second of fake time.
struct SAnalyzerRig : SCaptureRig
{
    SAnalyzerRig()
    {
        analyzer.m_captureEnabled = true;
        analyzer.m_capture = std::move(capture);
    }
    void Run(double seconds)
    {
        for (int frames = static_cast<int>(std::lround(seconds * 30.0)); frames > 0; --frames) {
            analyzer.Update(1.0f / 30.0f);
            now += 1000.0 / 30.0;
        }
    }
    void Loud() { device->m_endless = CFakeDevice::SPacket{Constant(576, 0.25f), 576, false}; }
    void Quiet() { device->m_endless.reset(); }

    CSoundAnalyzer analyzer;
};

} // namespace

TEST(SoundAnalyzerSource, WithoutCaptureOrSongNothingHappens)
{
    SAnalyzerRig rig;
    rig.analyzer.m_captureEnabled = false;
    rig.Loud();
    rig.Run(2.0);
    EXPECT_FALSE(rig.analyzer.m_started);
    EXPECT_EQ(rig.device->m_opens, 0);
    EXPECT_EQ(rig.device->m_reads, 0);
    EXPECT_EQ(rig.analyzer.m_blocks, 0);
    EXPECT_FALSE(rig.analyzer.IsMusicActive());
}

TEST(SoundAnalyzerSource, OpensAtFirstUpdateAndReadsAfterIt)
{
    SAnalyzerRig rig;
    rig.Loud();
    rig.Run(1.0 / 30.0);
    EXPECT_TRUE(rig.analyzer.m_started);
    EXPECT_EQ(rig.device->m_opens, 1);
    EXPECT_EQ(rig.device->m_reads, 0);
    rig.Run(1.0);
    EXPECT_EQ(rig.analyzer.m_blocks, 30 * 5) << "five whole packets a poll, one poll a frame";
    EXPECT_EQ(rig.analyzer.m_lastFrames, 576);
    EXPECT_TRUE(rig.analyzer.IsMusicActive());
    EXPECT_NEAR(rig.analyzer.m_playTime, 1.0f, 1e-5f);
}

TEST(SoundAnalyzerSource, SilentDeviceGivesZeroBlocksAndNoMusic)
{
    SAnalyzerRig rig;
    rig.Run(3.0);
    EXPECT_EQ(rig.analyzer.m_blocks, 89) << "one zero block per frame after the first";
    EXPECT_EQ(rig.analyzer.m_lastFrames, 0);
    EXPECT_FALSE(rig.analyzer.m_hasMusic);
    EXPECT_FLOAT_EQ(rig.analyzer.m_waveMax, 0.01f);
}

TEST(SoundAnalyzerSource, SilenceRuleTurnsMusicOffAfterMaxSilence)
{
    struct SCase
    {
        int maxSilence;
        double silence;
        bool music;
    };
    for (const SCase& c : {SCase{10, 9.0, true}, SCase{10, 11.0, false}, SCase{2, 1.5, true}, SCase{2, 2.5, false}}) {
        SCOPED_TRACE(testing::Message() << c.silence << " s of silence with MaxSilenceTime " << c.maxSilence);
        SAnalyzerRig rig;
        rig.analyzer.m_maxSilence = c.maxSilence;
        rig.Loud();
        rig.Run(1.0);
        ASSERT_TRUE(rig.analyzer.IsMusicActive());
        EXPECT_FLOAT_EQ(rig.analyzer.m_waveMax, 0.25f);
        rig.Quiet();
        rig.Run(c.silence);
        EXPECT_EQ(rig.analyzer.m_hasMusic, c.music);
        EXPECT_FLOAT_EQ(rig.analyzer.m_waveMax, c.music ? 0.25f : 0.01f) << "the peak goes with the music";

        // The first audible poll brings the music back.
        rig.Loud();
        rig.Run(1.0 / 30.0);
        EXPECT_TRUE(rig.analyzer.IsMusicActive());
        EXPECT_EQ(rig.analyzer.m_silenceStart, 0.0);
    }
}

namespace {

struct SSongFiles
{
    SSongFiles()
    {
        ok = MakeTone(dir.File("tone.wav"), 440.0, 2.0) && MakeTone(dir.File("tone.ogg"), 440.0, 2.0) &&
             MakeTone(dir.File("low.wav"), 60.0, 2.0) && MakeTone(dir.File("low.ogg"), 60.0, 2.0) &&
             MakeTone(dir.File("mono.wav"), 440.0, 2.0, 0.5, 1) && MakeNoise(dir.File("noise.wav"), 2.0) &&
             MakeSilence(dir.File("silence.wav"), 2.0) && MakeClicks(dir.File("clicks.wav"), 120.0, 2.0);
    }
    std::string File(const std::string& name) const { return dir.File(name); }

    CTempDir dir;
    bool ok = false;
};

struct SDecoded
{
    std::vector<int> blocks;
    std::vector<float> samples;
    double position = 0.0;
    double Rms(int channel) const
    {
        double sum = 0.0;
        for (size_t i = channel; i < samples.size(); i += 2)
            sum += double(samples[i]) * samples[i];
        return std::sqrt(sum / double(samples.size() / 2));
    }
};

SDecoded DecodeAll(const std::string& path)
{
    CFfmpegSongDecoder decoder;
    SDecoded decoded;
    std::array<float, CSongDecoder::BlockFloats> block;
    if (!decoder.Open(path))
        return decoded;
    for (int frames; (frames = decoder.Decode(block)) > 0;) {
        decoded.blocks.push_back(frames);
        decoded.samples.insert(decoded.samples.end(), block.begin(), block.begin() + frames * 2);
    }
    decoded.position = decoder.Position();
    return decoded;
}

// An analyzer that plays a song, capture off unless asked.
struct SSongRig
{
    explicit SSongRig(const std::string& path)
    {
        analyzer.m_songPath = path;
        analyzer.m_decoder = std::make_unique<CFfmpegSongDecoder>();
        analyzer.Update(0.0f);
    }
    CSoundAnalyzer analyzer;
};

const SSongFiles& Songs()
{
    static const SSongFiles songs;
    return songs;
}

} // namespace

TEST(SongFile, DecodesWholeBlocksAtTheFilesLevel)
{
    ASSERT_TRUE(Songs().ok) << "sox could not make the fixtures";
    struct SCase
    {
        const char* file;
        double rms;
        double tolerance;
    };
    const SCase cases[] = {
        {"tone.wav", 0.5 / std::sqrt(2.0), 0.001},  {"tone.ogg", 0.5 / std::sqrt(2.0), 0.01},
        {"mono.wav", 0.5 / std::sqrt(2.0), 0.001},
        // sox's white noise is near Gaussian: its own `stat` gives an RMS of 0.2699 here.
        {"noise.wav", 0.27, 0.002},
        {"silence.wav", 0.0, 1e-6},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.file);
        const SDecoded decoded = DecodeAll(Songs().File(c.file));
        ASSERT_FALSE(decoded.blocks.empty());
        EXPECT_EQ(decoded.samples.size() / 2, 88200u) << "2 s at 44100 Hz";
        EXPECT_TRUE(std::all_of(decoded.blocks.begin(), decoded.blocks.end() - 1, [](int f) { return f == 576; }));
        EXPECT_DOUBLE_EQ(decoded.position, 2.0);
        EXPECT_NEAR(decoded.Rms(0), c.rms, c.tolerance);
        EXPECT_NEAR(decoded.Rms(1), c.rms, c.tolerance);
    }
}

TEST(SongFile, ClicksComeAtTheirTempo)
{
    ASSERT_TRUE(Songs().ok);
    const SDecoded decoded = DecodeAll(Songs().File("clicks.wav"));
    std::vector<double> onsets;
    for (size_t frame = 0; frame < decoded.samples.size() / 2; ++frame) {
        if (std::fabs(decoded.samples[2 * frame]) > 0.1f && (onsets.empty() || frame / 44100.0 - onsets.back() > 0.1))
            onsets.push_back(frame / 44100.0);
    }
    ASSERT_EQ(onsets.size(), 4u) << "120 beats a minute for 2 s";
    for (size_t i = 0; i < onsets.size(); ++i)
        EXPECT_NEAR(onsets[i], 0.5 * i, 0.001);
}

TEST(SongFile, WavAndOggOfOneToneGiveTheSamePeak)
{
    ASSERT_TRUE(Songs().ok);
    for (const char* tone : {"tone", "low"}) {
        SCOPED_TRACE(tone);
        SSongRig wav(Songs().File(std::string(tone) + ".wav"));
        SSongRig ogg(Songs().File(std::string(tone) + ".ogg"));
        for (int frame = 0; frame < 30; ++frame) {
            wav.analyzer.Update(1.0f / 30.0f);
            ogg.analyzer.Update(1.0f / 30.0f);
        }
        EXPECT_EQ(PeakBin(wav.analyzer), PeakBin(ogg.analyzer));
        EXPECT_NEAR(wav.analyzer.m_waveMax, ogg.analyzer.m_waveMax, 0.02f);
        if (std::string(tone) == "tone") {
            EXPECT_EQ(PeakBin(wav.analyzer), 10) << "440 Hz in bins of 44100 / 1024 Hz";
        }
        EXPECT_TRUE(wav.analyzer.m_hasMusic);
        EXPECT_FALSE(wav.analyzer.IsMusicActive()) << "capture is off, so consumers see no music";
    }
}

TEST(SongFile, DecodingFollowsTheEngineClock)
{
    ASSERT_TRUE(Songs().ok);
    SSongRig rig(Songs().File("tone.wav"));
    // Frames shorter and longer than a block, and none at all.
    const float steps[] = {1.0f / 30, 1.0f / 30, 0.2f, 0.001f, 0.0f, 1.0f / 200, 1.0f / 200, 0.5f, 1.0f / 30};
    for (const float step : steps) {
        SCOPED_TRACE(step);
        rig.analyzer.Update(step);
        const double position = rig.analyzer.m_decoder->Position();
        const double playTime = rig.analyzer.m_playTime;
        EXPECT_GE(position, playTime);
        EXPECT_LT(position - playTime, 576.0 / 44100.0) << "less than a block ahead";
        EXPECT_EQ(rig.analyzer.m_blocks, static_cast<int>(std::ceil(playTime * 44100.0 / 576.0)))
            << "every decoded block was analysed";
    }
    // The end of the song turns the music off.
    rig.analyzer.Update(2.0f);
    EXPECT_FALSE(rig.analyzer.m_hasMusic);
    EXPECT_DOUBLE_EQ(rig.analyzer.m_decoder->Position(), 2.0);
}

TEST(SongFile, MissingOrDamagedFileGivesALogLineAndSilence)
{
    ASSERT_TRUE(Songs().ok);
    const CTempDir dir;
    WriteFile(dir.File("noise.ogg"), std::string(5000, '\x5a'));
    WriteFile(dir.File("empty.wav"), "");
    // A real header whose data ends early: what is there plays, then the song ends.
    WriteFile(dir.File("cut.wav"), ReadFile(Songs().File("tone.wav")).substr(0, 44 + 4 * 44100 / 2));
    // Nothing writes to it: FFmpeg would wait for ever.
    MakeFifo(dir.File("fifo.wav"));
    struct SCase
    {
        std::string path;
        const char* message;
        int blocks;
    };
    const SCase cases[] = {
        {dir.File("missing.mp3"), "Can't open song", 0},
        {dir.File("noise.ogg"), "Can't open song", 0},
        {dir.File("empty.wav"), "Can't open song", 0},
        {dir.File("cut.wav"), nullptr, (44100 / 2 + 575) / 576},
        {dir.File("fifo.wav"), "is a FIFO, not a regular file", 0},
        {"/dev/zero", "is a device, not a regular file", 0},
    };
    for (const SCase& c : cases) {
        SCOPED_TRACE(c.path);
        CHangGuard guard;
        CLogCapture log;
        SSongRig rig(c.path);
        for (int frame = 0; frame < 60; ++frame)
            rig.analyzer.Update(1.0f / 30.0f);
        if (c.message) {
            EXPECT_TRUE(log.Contains(c.message));
            EXPECT_TRUE(log.Contains("Can't play file"));
        }
        EXPECT_EQ(rig.analyzer.m_blocks, c.blocks);
        EXPECT_FALSE(rig.analyzer.m_hasMusic);
    }
}

TEST(SongFile, RegisteredPlatformMakesTheRealSources)
{
    ASSERT_TRUE(Songs().ok);
    RegisterSoundSources();
    CSoundAnalyzer analyzer;
    analyzer.m_songPath = Songs().File("tone.ogg");
    analyzer.Update(0.0f);
    analyzer.Update(0.1f);
    g_captureDeviceFactory = nullptr;
    g_songDecoderFactory = nullptr;
    EXPECT_NE(dynamic_cast<CFfmpegSongDecoder*>(analyzer.m_decoder.get()), nullptr);
    ASSERT_NE(analyzer.m_capture, nullptr);
    EXPECT_TRUE(analyzer.m_capture->IsCapturing()) << "opened, though a song is read instead";
    EXPECT_TRUE(analyzer.m_hasMusic);
}

namespace {

// The analyzer on a real PulseAudio capture, updated at about 60 frames a
// second of real time.
struct SPulseRig
{
    explicit SPulseRig(const std::string& source = "", std::chrono::milliseconds retry = 2s)
    {
        analyzer.m_captureEnabled = true;
        analyzer.m_capture = std::make_unique<CLoopbackCapture>(std::make_unique<CPulseCapture>(source, retry));
        analyzer.Update(0.0f);
    }
    void Step()
    {
        const auto start = std::chrono::steady_clock::now();
        analyzer.Update(1.0f / 60.0f);
        longest = std::max(longest, std::chrono::steady_clock::now() - start);
    }
    bool Music() const { return analyzer.IsMusicActive(); }

    CSoundAnalyzer analyzer;
    std::chrono::steady_clock::duration longest{};
};

// Updates the rigs side by side until `done` holds or the time is up.
bool RunUntil(std::initializer_list<SPulseRig*> rigs, const std::function<bool()>& done,
              std::chrono::milliseconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < end) {
        for (SPulseRig* rig : rigs)
            rig->Step();
        if (done && done())
            return true;
        std::this_thread::sleep_for(16ms);
    }
    return false;
}

int Count(CLogCapture& log, const std::string& text)
{
    const auto messages = log.Messages();
    return static_cast<int>(std::count_if(messages.begin(), messages.end(), [&](const std::string& m) {
        return m.find(text) != std::string::npos;
    }));
}

} // namespace

TEST(PulseCapture, PlayedToneReachesTheAnalyzer)
{
    const CTempDir dir;
    ASSERT_TRUE(MakeTone(dir.File("tone.wav"), 440.0, 30.0));
    CPulseServer server;
    ASSERT_TRUE(server.Start()) << server.Output();
    for (const std::string& source : {std::string(), server.MonitorName()}) {
        SCOPED_TRACE("source \"" + source + "\"");
        CLogCapture log;
        SPulseRig rig(source);
        // The null sink's monitor delivers silence before anything plays.
        ASSERT_TRUE(RunUntil({&rig}, [&] { return rig.analyzer.m_blocks > 5; }, 3s));
        EXPECT_FALSE(rig.analyzer.m_hasMusic);
        ASSERT_TRUE(server.Play(dir.File("tone.wav")));
        ASSERT_TRUE(RunUntil({&rig}, [&] { return rig.Music(); }, 3s)) << server.Output();
        RunUntil({&rig}, nullptr, 500ms);
        server.StopPlaying();
        EXPECT_NEAR(rig.analyzer.m_waveMax, 0.5f, 0.02f) << "the sink passes the tone unchanged";
        EXPECT_EQ(PeakBin(rig.analyzer), 10);
        EXPECT_TRUE(log.Contains("Capturing sound from \"" + server.MonitorName() + "\""));
        EXPECT_LT(rig.longest, 250ms);
    }
}

TEST(PulseCapture, LostServerIsLoggedOnceAndCaptureComesBack)
{
    const CTempDir dir;
    ASSERT_TRUE(MakeTone(dir.File("tone.wav"), 440.0, 30.0));
    CPulseServer server;
    ASSERT_TRUE(server.Start()) << server.Output();
    CLogCapture log;
    SPulseRig rig;
    rig.analyzer.m_maxSilence = 1;
    ASSERT_TRUE(server.Play(dir.File("tone.wav")));
    ASSERT_TRUE(RunUntil({&rig}, [&] { return rig.Music(); }, 4s)) << server.Output();

    server.Kill();
    EXPECT_TRUE(RunUntil({&rig}, [&] { return !rig.Music(); }, 3s)) << "silence since the loss ends the music";
    RunUntil({&rig}, nullptr, 3s);
    EXPECT_EQ(Count(log, "Sound server lost"), 1) << "retries are quiet";
    EXPECT_LT(rig.longest, 250ms) << "the frame loop never waits for the server";

    ASSERT_TRUE(server.Start()) << server.Output();
    ASSERT_TRUE(server.Play(dir.File("tone.wav")));
    EXPECT_TRUE(RunUntil({&rig}, [&] { return rig.Music(); }, 8s)) << "capture resumes with the new server";
    RunUntil({&rig}, nullptr, 500ms);
    EXPECT_EQ(PeakBin(rig.analyzer), 10);
    EXPECT_EQ(Count(log, "Capturing sound from"), 2);
    EXPECT_LT(rig.longest, 250ms);
}

TEST(PulseCapture, MissingServerOrSourceIsLoggedOnceAndRetried)
{
    const CTempDir dir;
    ASSERT_TRUE(MakeTone(dir.File("tone.wav"), 440.0, 30.0));
    CPulseServer server;
    CLogCapture log;
    SPulseRig noServer("", 300ms);
    SPulseRig noSource("lumora_no_such_source", 300ms);
    EXPECT_FALSE(RunUntil({&noServer, &noSource}, [&] { return noServer.Music(); }, 1500ms));
    EXPECT_EQ(Count(log, "No sound server for capture"), 2) << "once for each capture";
    EXPECT_LT(noServer.longest, 250ms);

    ASSERT_TRUE(server.Start()) << server.Output();
    ASSERT_TRUE(server.Play(dir.File("tone.wav")));
    EXPECT_TRUE(RunUntil({&noServer, &noSource}, [&] { return noServer.Music(); }, 5s))
        << "a server that appears later is found";
    RunUntil({&noServer, &noSource}, nullptr, 1s);
    EXPECT_FALSE(noSource.Music());
    EXPECT_EQ(Count(log, "Can't capture sound from \"lumora_no_such_source\""), 1);
    EXPECT_EQ(Count(log, "No sound server for capture"), 2);
    EXPECT_LT(noSource.longest, 250ms);
}

TEST(PulseCapture, ListsTheSourcesAUserCanName)
{
    std::vector<CAudioSource> sources;
    CPulseServer server;
    {
        CLogCapture log;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(ListAudioSources(sources));
        EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
        EXPECT_TRUE(log.Contains("No sound server to list sources"));
    }
    ASSERT_TRUE(server.Start()) << server.Output();
    ASSERT_TRUE(ListAudioSources(sources));
    const auto monitor = std::find_if(sources.begin(), sources.end(),
                                      [&](const CAudioSource& s) { return s.Name == server.MonitorName(); });
    ASSERT_NE(monitor, sources.end());
    EXPECT_TRUE(monitor->Monitor);
    EXPECT_FALSE(monitor->Description.empty());
}
