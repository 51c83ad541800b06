#include "support/allocationcount.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<bool> g_counting{false};
std::atomic<long> g_allocations{0};

} // namespace

void* operator new(size_t size)
{
    if (g_counting)
        ++g_allocations;
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept
{
    std::free(p);
}
void operator delete(void* p, size_t) noexcept
{
    std::free(p);
}

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
