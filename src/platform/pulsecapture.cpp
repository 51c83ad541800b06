#include "platform/pulsecapture.h"

#include "app/log.h"

#include <pulse/pulseaudio.h>


namespace {

// Enough main loop turns to take in what arrived since the last frame,
// bounded so that a chatty server can't hold the frame up.
constexpr int MaxDispatches = 16;

} // namespace

CPulseCapture::CPulseCapture(std::string sourceName, std::chrono::milliseconds retryInterval)
    : m_sourceName(std::move(sourceName)), m_retryInterval(retryInterval)
{
}

CPulseCapture::~CPulseCapture()
{
    Close();
}

const char* CPulseCapture::SourceName() const
{
    return m_sourceName.empty() ? "@DEFAULT_MONITOR@" : m_sourceName.c_str();
}

bool CPulseCapture::Open()
{
    if (m_mainloop)
        return true;
    m_mainloop = pa_mainloop_new();
    if (!m_mainloop)
        return Error("Can't make a PulseAudio main loop");
    // The server is first asked for at the first read, so a source that is
    // opened but never read costs nothing.
    m_nextAttempt = Clock::now();
    m_reported = Problem::None;
    return true;
}

void CPulseCapture::Close()
{
    Disconnect();
    if (m_mainloop) {
        pa_mainloop_free(m_mainloop);
        m_mainloop = nullptr;
    }
}

CaptureResult CPulseCapture::NextPacket(CCapturePacket& packet)
{
    packet = {};
    if (!m_mainloop) {
        Error("PulseAudio capture read before it was opened");
        return CaptureResult::Failed;
    }
    if (!m_context) {
        if (Clock::now() < m_nextAttempt)
            return CaptureResult::Empty;
        Connect();
        if (!m_context)
            return CaptureResult::Empty;
    }
    Dispatch();
    if (!StreamReady())
        return CaptureResult::Empty;

    const void* data = nullptr;
    size_t bytes = 0;
    if (pa_stream_peek(m_stream, &data, &bytes) < 0) {
        Lost(Problem::ServerLost, pa_strerror(pa_context_errno(m_context)));
        return CaptureResult::Empty;
    }
    if (bytes == 0)
        return CaptureResult::Empty;
    m_peeked = true;
    // A hole (no data) stands for sound that was lost: zeros of its length.
    packet.data = static_cast<const float*>(data);
    packet.frames = static_cast<int>(bytes / FrameBytes);
    packet.silent = data == nullptr;
    return CaptureResult::Packet;
}

bool CPulseCapture::Release()
{
    if (!m_peeked)
        return true;
    m_peeked = false;
    if (m_stream && pa_stream_drop(m_stream) < 0)
        Lost(Problem::ServerLost, pa_strerror(pa_context_errno(m_context)));
    return true;
}

void CPulseCapture::Dispatch()
{
    for (int i = 0; i < MaxDispatches; ++i) {
        if (pa_mainloop_iterate(m_mainloop, 0, nullptr) <= 0)
            break;
    }
}

void CPulseCapture::Connect()
{
    m_nextAttempt = Clock::now() + m_retryInterval;
    m_context = pa_context_new(pa_mainloop_get_api(m_mainloop), "Lumora");
    if (!m_context) {
        Lost(Problem::Other, "out of memory");
        return;
    }
    // Never spawn a server of our own: only the one that plays the music has
    // anything to capture.
    if (pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0)
        Lost(ServerProblem(), pa_strerror(pa_context_errno(m_context)));
}

void CPulseCapture::ConnectStream()
{
    static constexpr pa_sample_spec format{PA_SAMPLE_FLOAT32LE, Rate, 2};
    m_stream = pa_stream_new(m_context, "Lumora sound capture", &format, nullptr);
    if (!m_stream) {
        Lost(Problem::Other, pa_strerror(pa_context_errno(m_context)));
        return;
    }
    pa_buffer_attr attr;
    // 200 ms held at most, and fragments of one block: the analysis wants
    // fresh sound, not a backlog.
    attr.maxlength = Rate / 5 * FrameBytes;
    attr.fragsize = SoundPacket::Frames * FrameBytes;
    attr.tlength = attr.prebuf = attr.minreq = static_cast<uint32_t>(-1);
    if (pa_stream_connect_record(m_stream, SourceName(), &attr, PA_STREAM_ADJUST_LATENCY) < 0)
        Lost(Problem::Source, pa_strerror(pa_context_errno(m_context)));
}

bool CPulseCapture::StreamReady()
{
    switch (pa_context_get_state(m_context)) {
    case PA_CONTEXT_READY:
        break;
    case PA_CONTEXT_FAILED:
    case PA_CONTEXT_TERMINATED:
        Lost(ServerProblem(), pa_strerror(pa_context_errno(m_context)));
        return false;
    default:
        return false;
    }
    m_everConnected = true;
    if (!m_stream) {
        ConnectStream();
        return false;
    }

    switch (pa_stream_get_state(m_stream)) {
    case PA_STREAM_READY:
        if (!m_streaming) {
            m_streaming = true;
            m_reported = Problem::None;
            Log("Capturing sound from \"%s\"", pa_stream_get_device_name(m_stream));
        }
        return true;
    case PA_STREAM_FAILED:
    case PA_STREAM_TERMINATED:
        Lost(Problem::Source, pa_strerror(pa_context_errno(m_context)));
        return false;
    default:
        return false;
    }
}

void CPulseCapture::Lost(Problem problem, const char* why)
{
    if (problem != m_reported) {
        m_reported = problem;
        const double retry = std::chrono::duration<double>(m_retryInterval).count();
        switch (problem) {
        case Problem::NoServer:
            Error("No sound server for capture: %s. Looking again every %.1f s", why, retry);
            break;
        case Problem::ServerLost:
            Error("Sound server lost: %s. Looking again every %.1f s", why, retry);
            break;
        case Problem::Source:
            Error("Can't capture sound from \"%s\": %s. Trying again every %.1f s", SourceName(), why, retry);
            break;
        case Problem::Other:
        case Problem::None:
            Error("Can't start sound capture: %s. Trying again every %.1f s", why, retry);
            break;
        }
    }
    Disconnect();
    m_nextAttempt = Clock::now() + m_retryInterval;
}

void CPulseCapture::Disconnect()
{
    if (m_stream) {
        if (PA_STREAM_IS_GOOD(pa_stream_get_state(m_stream)))
            pa_stream_disconnect(m_stream);
        pa_stream_unref(m_stream);
        m_stream = nullptr;
    }
    if (m_context) {
        pa_context_disconnect(m_context);
        pa_context_unref(m_context);
        m_context = nullptr;
    }
    m_peeked = false;
    m_streaming = false;
}
