#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

// A block of captured sound on its way to the analysis: up to 576 stereo
// frames of interleaved floats. Packets are recycled, never freed mid-run.
struct SoundPacket
{
    static constexpr int Frames = 576;
    static constexpr int Capacity = Frames * 2;

    SoundPacket* next = nullptr;
    int frames = 0;
    std::array<float, Capacity> data{};
};

// What a capture device hands over: float samples of `Channels()` interleaved
// channels. `silent` marks a packet the device knows to be silence.
struct CCapturePacket
{
    const float* data = nullptr;
    int frames = 0;
    bool silent = false;
};

enum class CaptureResult { Packet, Empty, Failed };

// The platform's tap on what the computer plays. Polled from the frame
// thread; no call may wait for the sound system.
class CCaptureDevice
{
public:
    virtual ~CCaptureDevice() = default;
    // False after logging why.
    virtual bool Open() = 0;
    virtual int Channels() const = 0;
    virtual int SampleRate() const = 0;
    // Packet: `packet` is valid until Release. Empty: nothing is waiting,
    // which is also what a device without a server or a suspended stream
    // says. Failed: the device is unusable, after logging why.
    virtual CaptureResult NextPacket(CCapturePacket& packet) = 0;
    virtual bool Release() = 0;
    virtual void Close() = 0;
};

// Makes the platform's device for a source name (empty: the default output).
using CaptureDeviceFactory = std::unique_ptr<CCaptureDevice> (*)(const std::string& sourceName);
// Set by the platform layer at start-up; null where there is no capture.
inline CaptureDeviceFactory g_captureDeviceFactory = nullptr;

// Reads the device at most 60 times a second, at most 5 device packets each
// time, and cuts what it gives into SoundPackets of 576 stereo frames on a
// ready queue. An idle device yields one zero block per poll so that the
// spectrum decays.
class CLoopbackCapture
{
public:
    using MillisecondClock = std::function<double()>;

    static constexpr double MinPollInterval = 1000.0 / 60.0;
    static constexpr int MaxPacketsPerPoll = 5;
    static constexpr float SilenceSum = 0.001f;

    explicit CLoopbackCapture(std::unique_ptr<CCaptureDevice> device, MillisecondClock clock = SteadyMilliseconds);
    ~CLoopbackCapture();
    CLoopbackCapture(const CLoopbackCapture&) = delete;
    CLoopbackCapture& operator=(const CLoopbackCapture&) = delete;

    bool Start();
    // True when the device was read, false when the rate limit or a stopped
    // device left it alone.
    bool Poll();
    void Stop();

    bool IsCapturing() const { return m_open; }
    bool IsSilent() const { return m_silent; }
    long FramesSeen() const { return m_framesSeen; }
    double Milliseconds() const { return m_clock(); }

    // The oldest packet waiting for the analysis, or null; give it back with Recycle.
    SoundPacket* PopReady();
    void Recycle(SoundPacket* packet);
    // Packets made so far; stays put once the pool covers the traffic.
    int PoolSize() const { return static_cast<int>(m_pool.size()) * PoolBlock; }

    static double SteadyMilliseconds();

private:
    static constexpr int PoolBlock = 5;

    SoundPacket* NewPacket();
    void PushReady(SoundPacket* packet);
    void QueueSilentBlock();
    // Returns the float sum of what was copied.
    float CopyFrames(const CCapturePacket& packet);
    bool Fail(const char* step);

    std::unique_ptr<CCaptureDevice> m_device;
    MillisecondClock m_clock;
    bool m_open = false;
    int m_channels = 0;
    long m_framesSeen = 0;
    bool m_silent = true;
    double m_lastPoll = 0.0;
    bool m_polled = false;

    std::vector<std::unique_ptr<SoundPacket[]>> m_pool;
    SoundPacket* m_free = nullptr;
    SoundPacket* m_readyHead = nullptr;
    SoundPacket* m_readyTail = nullptr;
    SoundPacket* m_current = nullptr;
};
