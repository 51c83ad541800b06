#include "app/host/clock.h"

#include <chrono>
#include <thread>

namespace {

class CSteadyClock : public CClock
{
public:
    int64_t Counter() override
    {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
            .count();
    }
    int64_t Frequency() override { return 1000000000; }
    uint32_t Milliseconds() override { return static_cast<uint32_t>(Counter() / 1000000); }
    void Sleep(int milliseconds) override
    {
        if (milliseconds <= 0)
            std::this_thread::yield();
        else
            std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }
};

} // namespace

CClock& CClock::System()
{
    static CSteadyClock clock;
    return clock;
}
