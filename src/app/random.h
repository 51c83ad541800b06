#pragma once

#include <cstdint>

// xorshift128. Seeded from the wall clock at one-second resolution, so
// generators made within the same second give the same sequence.
class CRandom
{
public:
    CRandom();
    explicit CRandom(uint32_t seed);

    void Seed(uint32_t seed);
    // Starts from a state of four words, for generators that must not depend
    // on any seed.
    void SetState(uint32_t x, uint32_t y, uint32_t z, uint32_t w)
    {
        m_x = x;
        m_y = y;
        m_z = z;
        m_w = w;
    }

    // 0 to 1, the 1 included through rounding.
    float NextUnit();
    // -1 to 1.
    float NextSigned();
    // 0 to n, by truncation.
    int NextInt(int n);
    float NextRange(float a, float b);

private:
    uint32_t Next();

    uint32_t m_x = 0, m_y = 0, m_z = 0, m_w = 0;
};

// Serves every random choice of the director and the nodes.
extern CRandom g_random;
