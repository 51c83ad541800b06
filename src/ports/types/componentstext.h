#pragma once

#include <array>
#include <string>

// Text forms shared by the ports that carry several floats.

// "%g %g ..." of the components.
template <size_t N>
std::string JoinComponents(const std::array<float, N>& values);

// Reads N components with "%f %f ..."; unless all are read nothing changes.
// Each read component is clamped to its own range.
template <size_t N>
bool ReadComponents(std::string_view text, std::array<float, N>& values, const std::array<float, N>& min,
                    const std::array<float, N>& max);

float ClampComponent(float value, float min, float max);

#include "app/textnumber.h"

template <size_t N>
std::string JoinComponents(const std::array<float, N>& values)
{
    std::string text;
    for (size_t i = 0; i < N; ++i) {
        if (i)
            text += ' ';
        text += FormatG(values[i]);
    }
    return text;
}

template <size_t N>
bool ReadComponents(std::string_view text, std::array<float, N>& values, const std::array<float, N>& min,
                    const std::array<float, N>& max)
{
    std::array<float, N> read{};
    if (ScanFloats(text, read.data(), int(N)) != int(N))
        return false;
    for (size_t i = 0; i < N; ++i)
        values[i] = ClampComponent(read[i], min[i], max[i]);
    return true;
}

inline float ClampComponent(float value, float min, float max)
{
    return value <= min ? min : value >= max ? max : value;
}
