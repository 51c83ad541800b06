#include "app/textnumber.h"

#include <charconv>
#include <clocale>
#include <cstdlib>
#include <locale.h>

namespace {

locale_t CLocale()
{
    static const locale_t c = newlocale(LC_ALL_MASK, "C", nullptr);
    return c;
}

// Reads one float starting at `pos`; on success moves `pos` past it.
bool ReadFloatAt(const std::string& text, size_t& pos, float& out)
{
    const char* begin = text.c_str() + pos;
    char* end = nullptr;
    const float value = strtof_l(begin, &end, CLocale());
    if (end == begin)
        return false;
    pos += static_cast<size_t>(end - begin);
    out = value;
    return true;
}

} // namespace

std::string FormatG(double value, int precision)
{
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::general,
                                      precision);
    return std::string(buffer, result.ptr);
}

bool ParseFloat(std::string_view text, float& out)
{
    const std::string copy(text);
    size_t pos = 0;
    return ReadFloatAt(copy, pos, out);
}

bool ParseDouble(std::string_view text, double& out, size_t* used)
{
    const std::string copy(text);
    char* end = nullptr;
    const double value = strtod_l(copy.c_str(), &end, CLocale());
    if (end == copy.c_str())
        return false;
    if (used)
        *used = static_cast<size_t>(end - copy.c_str());
    out = value;
    return true;
}

bool ParseLong(std::string_view text, long& out)
{
    const std::string copy(text);
    char* end = nullptr;
    const long value = strtol(copy.c_str(), &end, 10);
    if (end == copy.c_str())
        return false;
    out = value;
    return true;
}

int ScanFloats(std::string_view text, float* out, int count)
{
    const std::string copy(text);
    size_t pos = 0;
    int read = 0;
    while (read < count && ReadFloatAt(copy, pos, out[read]))
        ++read;
    return read;
}
