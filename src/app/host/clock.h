#pragma once

#include <cstdint>

// The time source of the frame loop. The host uses the steady clock; tests
// give a fake one so that pacing and steps can be checked exactly.
class CClock
{
public:
    virtual ~CClock() = default;
    // Counts of a high-resolution counter, and counts a second; a frequency of
    // 0 or less means there is no such counter.
    virtual int64_t Counter() = 0;
    virtual int64_t Frequency() = 0;
    // A millisecond clock for when there is no high-resolution counter.
    virtual uint32_t Milliseconds() = 0;
    // 0 only yields the processor.
    virtual void Sleep(int milliseconds) = 0;

    // The steady clock of the process.
    static CClock& System();
};
