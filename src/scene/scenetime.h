#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// A point in time in UTC, to the second, as a scene file stores its dates.
// All zero means unset.
struct SSceneTime
{
    uint16_t m_year = 0;
    uint16_t m_month = 0;
    uint16_t m_day = 0;
    uint16_t m_hour = 0;
    uint16_t m_minute = 0;
    uint16_t m_second = 0;

    bool IsSet() const { return m_year || m_month || m_day || m_hour || m_minute || m_second; }
    static SSceneTime NowUtc();
    // "YYYYMMDD hh:mm", or an empty text for an unset time.
    std::string Format() const;
    // Unset when the text is shorter than 14 characters or holds no valid date.
    static SSceneTime Parse(std::string_view text);
    bool operator==(const SSceneTime&) const = default;
};
