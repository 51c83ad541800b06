#include "app/host/frametimer.h"

CFrameTimer::CFrameTimer(CClock& clock) : m_clock(clock)
{
    Init();
}

void CFrameTimer::Init()
{
    m_frequency = m_clock.Frequency();
    m_highResolution = m_frequency > 0;
    if (!m_highResolution)
        m_frequency = 0;
    m_last = Read();
    m_delta = 0.0f;
}

int64_t CFrameTimer::Read()
{
    return m_highResolution ? m_clock.Counter() : static_cast<int64_t>(m_clock.Milliseconds());
}

void CFrameTimer::Tick()
{
    const int64_t now = Read();
    const double counts = static_cast<double>(now - m_last);
    m_delta = static_cast<float>(m_highResolution ? counts / static_cast<double>(m_frequency) : counts / 1000.0);
    m_last = now;
}

double CFrameTimer::NowMs()
{
    if (m_highResolution)
        return static_cast<double>(m_clock.Counter()) * 1000.0 / static_cast<double>(m_frequency);
    return static_cast<double>(m_clock.Milliseconds());
}
