#include "sound/loopbackcapture.h"

#include "app/log.h"
#include "app/trace.h"

#include <chrono>
#include <cmath>

CLoopbackCapture::CLoopbackCapture(std::unique_ptr<CCaptureDevice> device, MillisecondClock clock)
    : m_device(std::move(device)), m_clock(std::move(clock))
{
}

CLoopbackCapture::~CLoopbackCapture()
{
    Stop();
}

double CLoopbackCapture::SteadyMilliseconds()
{
    using namespace std::chrono;
    return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

bool CLoopbackCapture::Start()
{
    TRACE_LOG("CLoopbackCapture::Start");
    if (m_open)
        return true;
    if (!m_device || !m_device->Open())
        return Error("Unable to capture audio from default device");

    m_channels = m_device->Channels();
    Log("Capture format. Channels:%ld SamplesPerSec:%ld", static_cast<long>(m_channels),
        static_cast<long>(m_device->SampleRate()));
    if (m_channels < 1) {
        m_device->Close();
        return Error("Can't read captured sound with %ld channels", static_cast<long>(m_channels));
    }
    m_open = true;
    m_silent = true;
    return true;
}

void CLoopbackCapture::Stop()
{
    if (!m_open)
        return;
    m_device->Close();
    m_open = false;
}

bool CLoopbackCapture::Fail(const char* step)
{
    Error("Capture device %s failed after %ld frames", step, m_framesSeen);
    Stop();
    // No sound will come any more, so let the silence rule turn the music off.
    m_silent = true;
    return true;
}

bool CLoopbackCapture::Poll()
{
    TRACE("CLoopbackCapture::Poll");
    if (!m_open)
        return false;
    const double now = m_clock();
    if (m_polled && now - m_lastPoll < MinPollInterval)
        return false;
    m_polled = true;
    m_lastPoll = now;
    m_silent = false;

    // A bounded number of reads, so that one stalled frame can't make the
    // next one run long while it catches up.
    for (int read = 0; read < MaxPacketsPerPoll; ++read) {
        CCapturePacket packet;
        const CaptureResult result = m_device->NextPacket(packet);
        if (result == CaptureResult::Failed)
            return Fail("read");
        if (result == CaptureResult::Empty) {
            if (read == 0) {
                QueueSilentBlock();
                m_silent = true;
            }
            return true;
        }
        if (packet.frames <= 0) {
            if (packet.silent && read == 0) {
                QueueSilentBlock();
                m_silent = true;
            }
            return m_device->Release() ? true : Fail("release");
        }
        const float sum = CopyFrames(packet);
        if (std::fabs(sum) < SilenceSum)
            m_silent = true;
        m_framesSeen += packet.frames;
        if (!m_device->Release())
            return Fail("release");
    }
    return true;
}

float CLoopbackCapture::CopyFrames(const CCapturePacket& packet)
{
    const int channels = m_channels;
    float sum = 0.0f;
    for (int i = 0; i < packet.frames; ++i) {
        if (!m_current)
            m_current = NewPacket();
        float left = 0.0f;
        float right = 0.0f;
        // A silent packet may come without data; it counts as zeros.
        if (packet.data) {
            const float* frame = packet.data + static_cast<size_t>(i) * channels;
            left = frame[0];
            right = channels == 1 ? frame[0] : frame[1];
        }
        float* out = m_current->data.data() + m_current->frames * 2;
        out[0] = left;
        out[1] = right;
        sum += left + right;
        if (++m_current->frames == SoundPacket::Frames) {
            PushReady(m_current);
            m_current = nullptr;
        }
    }
    return sum;
}

void CLoopbackCapture::QueueSilentBlock()
{
    // Whatever was partly filled is dropped: it is stale by now.
    SoundPacket* packet = m_current ? m_current : NewPacket();
    m_current = nullptr;
    packet->frames = 0;
    packet->data.fill(0.0f);
    PushReady(packet);
}

SoundPacket* CLoopbackCapture::NewPacket()
{
    if (!m_free) {
        auto block = std::make_unique<SoundPacket[]>(PoolBlock);
        for (int i = 0; i < PoolBlock; ++i) {
            block[i].next = m_free;
            m_free = &block[i];
        }
        m_pool.push_back(std::move(block));
    }
    SoundPacket* packet = m_free;
    m_free = packet->next;
    packet->next = nullptr;
    packet->frames = 0;
    return packet;
}

void CLoopbackCapture::PushReady(SoundPacket* packet)
{
    packet->next = nullptr;
    if (m_readyTail)
        m_readyTail->next = packet;
    else
        m_readyHead = packet;
    m_readyTail = packet;
}

SoundPacket* CLoopbackCapture::PopReady()
{
    SoundPacket* packet = m_readyHead;
    if (!packet)
        return nullptr;
    m_readyHead = packet->next;
    if (!m_readyHead)
        m_readyTail = nullptr;
    packet->next = nullptr;
    return packet;
}

void CLoopbackCapture::Recycle(SoundPacket* packet)
{
    if (!packet)
        return;
    packet->next = m_free;
    m_free = packet;
}
