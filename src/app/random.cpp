#include "app/random.h"

#include <ctime>

CRandom g_random;

namespace {
uint32_t Step(uint32_t v)
{
    v ^= v << 13;
    v ^= v >> 17;
    v ^= v << 5;
    return v;
}
} // namespace

CRandom::CRandom() : CRandom(static_cast<uint32_t>(time(nullptr)))
{
}

CRandom::CRandom(uint32_t seed)
{
    Seed(seed);
}

void CRandom::Seed(uint32_t seed)
{
    uint32_t s = seed ^ 0x92d68ca2u;
    m_x = s = Step(s);
    m_y = s = Step(s) ^ 0x32378fc7u;
    m_z = s = Step(s) ^ 0xd55f8767u;
    m_w = s = Step(s) ^ 0x104aa1adu;
}

uint32_t CRandom::Next()
{
    const uint32_t t = m_x ^ (m_x << 11);
    m_x = m_y;
    m_y = m_z;
    m_z = m_w;
    m_w = (((m_w >> 11) ^ t) >> 8) ^ m_w ^ t;
    return m_w;
}

float CRandom::NextUnit()
{
    return static_cast<float>(Next()) * 2.3283064e-10f;
}

float CRandom::NextSigned()
{
    return static_cast<float>(static_cast<int32_t>(Next())) * 4.656613e-10f;
}

int CRandom::NextInt(int n)
{
    return static_cast<int>(NextUnit() * static_cast<float>(n));
}

float CRandom::NextRange(float a, float b)
{
    return a + (b - a) * NextUnit();
}
