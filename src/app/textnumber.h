#pragma once

#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>

// Number text in the "C" locale, whatever locale the process runs in: stored
// files always use a point as decimal separator.

// printf's "%.<precision>g".
std::string FormatG(double value, int precision = 6);

// Reads one number the way strtof/strtol do (leading blanks, sign, trailing
// rubbish ignored). Returns false and leaves `out` alone when nothing is read.
bool ParseFloat(std::string_view text, float& out);
// `used`, when given, receives the number of characters read.
bool ParseDouble(std::string_view text, double& out, size_t* used = nullptr);
bool ParseLong(std::string_view text, long& out);

// sscanf(text, "%f %f ...") for `count` fields: returns how many were read.
int ScanFloats(std::string_view text, float* out, int count);

// The whole text is one number from `low` to `high`: no blanks, no '+', no
// rubbish after it. Leaves `out` alone otherwise.
template <class T>
bool ParseBounded(std::string_view text, T low, T high, T& out)
{
    T value{};
    const char* end = text.data() + text.size();
    const std::from_chars_result read = std::from_chars(text.data(), end, value);
    if (text.empty() || read.ec != std::errc{} || read.ptr != end || !(value >= low && value <= high))
        return false;
    out = value;
    return true;
}
