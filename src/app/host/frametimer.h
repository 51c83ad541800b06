#pragma once

#include "app/host/clock.h"

#include <cstdint>

// The timer of the host and of the director: the time between two ticks.
class CFrameTimer
{
public:
    explicit CFrameTimer(CClock& clock = CClock::System());

    // Reads the counter once and sets the delta to 0.
    void Init();
    // Stores the seconds since the last reading in m_delta.
    void Tick();
    double NowMs();
    CClock& Clock() { return m_clock; }

    bool m_highResolution = false;
    int64_t m_last = 0;
    int64_t m_frequency = 0;
    float m_delta = 0.0f;

private:
    int64_t Read();

    CClock& m_clock;
};
