#include "support/allocationcount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> g_counting{false};
std::atomic<long> g_allocations{0};

} // namespace

void StartCountingAllocations()
{
    g_allocations = 0;
    g_counting = true;
}

long StopCountingAllocations()
{
    g_counting = false;
    return g_allocations.load();
}

void* operator new(std::size_t size)
{
    if (g_counting.load(std::memory_order_relaxed))
        g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}
