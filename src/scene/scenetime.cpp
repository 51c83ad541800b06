#include "scene/scenetime.h"

#include <QByteArrayView>
#include <QDate>
#include <QDateTime>
#include <QTime>

#include <cstdio>

SSceneTime SSceneTime::NowUtc()
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDate date = now.date();
    const QTime time = now.time();
    return {uint16_t(date.year()),   uint16_t(date.month()),  uint16_t(date.day()),
            uint16_t(time.hour()),   uint16_t(time.minute()), uint16_t(time.second())};
}

std::string SSceneTime::Format() const
{
    if (!IsSet())
        return {};
    char text[32];
    snprintf(text, sizeof(text), "%4ld%02ld%02ld %02ld:%02ld", long(m_year), long(m_month), long(m_day),
             long(m_hour), long(m_minute));
    return text;
}

SSceneTime SSceneTime::Parse(std::string_view text)
{
    if (text.size() < 14)
        return {};
    const auto field = [&](size_t at, size_t length, int& value) {
        bool ok = false;
        value = QByteArrayView(text.data() + at, qsizetype(length)).toInt(&ok);
        return ok;
    };
    int year = 0, month = 0, day = 0, hour = 0, minute = 0;
    if (!field(0, 4, year) || !field(4, 2, month) || !field(6, 2, day) || !field(9, 2, hour) ||
        !field(12, 2, minute))
        return {};
    if (!QDate(year, month, day).isValid() || !QTime(hour, minute).isValid())
        return {};
    return {uint16_t(year), uint16_t(month), uint16_t(day), uint16_t(hour), uint16_t(minute), 0};
}
