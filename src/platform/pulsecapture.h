#pragma once

#include "sound/loopbackcapture.h"

#include <chrono>
#include <string>

struct pa_context;
struct pa_mainloop;
struct pa_stream;

// Captures a PulseAudio source (by default the monitor of the default
// output) as float stereo at 44100 Hz. Everything runs from NextPacket on the
// frame thread through a main loop that is never allowed to wait. A server
// that is missing or goes away is logged once and looked for again every
// couple of seconds, so capture comes back by itself.
class CPulseCapture final : public CCaptureDevice
{
public:
    static constexpr int Rate = 44100;
    static constexpr int FrameBytes = 2 * sizeof(float);

    explicit CPulseCapture(std::string sourceName, std::chrono::milliseconds retryInterval = std::chrono::seconds(2));
    ~CPulseCapture() override;
    CPulseCapture(const CPulseCapture&) = delete;
    CPulseCapture& operator=(const CPulseCapture&) = delete;

    bool Open() override;
    int Channels() const override { return 2; }
    int SampleRate() const override { return Rate; }
    CaptureResult NextPacket(CCapturePacket& packet) override;
    bool Release() override;
    void Close() override;

private:
    using Clock = std::chrono::steady_clock;
    enum class Problem { None, NoServer, ServerLost, Source, Other };

    void Dispatch();
    void Connect();
    void ConnectStream();
    bool StreamReady();
    // Logs a problem when it differs from the one logged last, drops the
    // connection and waits for the next attempt.
    void Lost(Problem problem, const char* why);
    void Disconnect();
    const char* SourceName() const;
    // Once there was a server, its absence is a loss, not a first failure.
    Problem ServerProblem() const { return m_everConnected ? Problem::ServerLost : Problem::NoServer; }

    std::string m_sourceName;
    Clock::duration m_retryInterval;
    Clock::time_point m_nextAttempt{};
    pa_mainloop* m_mainloop = nullptr;
    pa_context* m_context = nullptr;
    pa_stream* m_stream = nullptr;
    bool m_peeked = false;
    bool m_streaming = false;
    // The problem in the log since capture last worked, so retries stay quiet.
    Problem m_reported = Problem::None;
    bool m_everConnected = false;
};
