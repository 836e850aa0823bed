#include "platform/internal/Calendar.h"

#include <cmath>
#include <cstdio>

namespace platform::internal {

namespace {

// Seconds from the Unix epoch to 2001-01-01 00:00:00 UTC, where dates count from.
constexpr std::int64_t kDateEpoch = 978307200;
// The first and last second of the years 1 to 9999, counted from 2001.
constexpr double kFirstDate = -62135596800.0 - kDateEpoch, kLastDate = 253402300799.0 - kDateEpoch;

// Days since 1970-01-01 of a day of the proleptic Gregorian calendar.
std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day) {
    year -= month <= 2;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const auto yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468;
}

void CivilFromDays(std::int64_t days, std::int64_t& year, unsigned& month, unsigned& day) {
    days += 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const auto dayOfEra = static_cast<unsigned>(days - era * 146097);
    const unsigned yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned shifted = (5 * dayOfYear + 2) / 153;
    day = dayOfYear - (153 * shifted + 2) / 5 + 1;
    month = shifted < 10 ? shifted + 3 : shifted - 9;
    year = static_cast<std::int64_t>(yearOfEra) + era * 400 + (month <= 2);
}

unsigned DaysInMonth(std::int64_t year, unsigned month) {
    static const unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : days[month - 1];
}

// Reads `count` digits at `at` of `text`; false when any is not a digit.
bool Digits(const std::string& text, std::size_t at, std::size_t count, unsigned& value) {
    value = 0;
    if (at + count > text.size())
        return false;
    for (std::size_t i = at; i < at + count; ++i) {
        if (text[i] < '0' || text[i] > '9')
            return false;
        value = value * 10 + static_cast<unsigned>(text[i] - '0');
    }
    return true;
}

} // namespace

std::optional<CivilTime> CivilFromSeconds(double seconds) {
    if (!(seconds >= kFirstDate && seconds <= kLastDate))
        return std::nullopt;
    const auto unix = static_cast<std::int64_t>(std::floor(seconds)) + kDateEpoch;
    const std::int64_t days = (unix >= 0 ? unix : unix - 86399) / 86400, time = unix - days * 86400;
    CivilTime civil;
    CivilFromDays(days, civil.year, civil.month, civil.day);
    civil.hour = static_cast<unsigned>(time / 3600);
    civil.minute = static_cast<unsigned>(time / 60 % 60);
    civil.second = static_cast<unsigned>(time % 60);
    return civil;
}

std::optional<double> SecondsFromCivil(const CivilTime& t, std::int64_t zoneSeconds) {
    if (t.year < 1 || t.year > 9999 || t.month < 1 || t.month > 12 || t.day < 1 ||
        t.day > DaysInMonth(t.year, t.month) || t.hour > 23 || t.minute > 59 || t.second > 59)
        return std::nullopt;
    const std::int64_t unix = DaysFromCivil(t.year, t.month, t.day) * 86400 + t.hour * 3600 +
                              t.minute * 60 + t.second - zoneSeconds;
    return static_cast<double>(unix - kDateEpoch);
}

std::optional<double> ParseDate(const std::string& text, bool withZone) {
    CivilTime t;
    unsigned year = 0, zoneHours = 0, zoneMinutes = 0;
    if (text.size() < 19 || !Digits(text, 0, 4, year) || text[4] != '-' ||
        !Digits(text, 5, 2, t.month) || text[7] != '-' || !Digits(text, 8, 2, t.day) ||
        !Digits(text, 11, 2, t.hour) || text[13] != ':' || !Digits(text, 14, 2, t.minute) ||
        text[16] != ':' || !Digits(text, 17, 2, t.second))
        return std::nullopt;
    t.year = year;
    int zoneSign = 1;
    if (text[10] == 'T') {
        if (text.size() != 20 || text[19] != 'Z')
            return std::nullopt;
    } else if (withZone && text[10] == ' ') {
        if (text.size() != 25 || text[19] != ' ' || (text[20] != '+' && text[20] != '-') ||
            !Digits(text, 21, 2, zoneHours) || !Digits(text, 23, 2, zoneMinutes) ||
            zoneHours > 23 || zoneMinutes > 59)
            return std::nullopt;
        zoneSign = text[20] == '-' ? -1 : 1;
    } else {
        return std::nullopt;
    }
    return SecondsFromCivil(t, zoneSign *
                                   static_cast<std::int64_t>(zoneHours * 3600 + zoneMinutes * 60));
}

std::optional<std::string> IsoDate(double seconds) {
    const auto t = CivilFromSeconds(seconds);
    if (!t || std::floor(seconds) != seconds)
        return std::nullopt;
    char text[32];
    std::snprintf(text, sizeof text, "%04lld-%02u-%02uT%02u:%02u:%02uZ",
                  static_cast<long long>(t->year), t->month, t->day, t->hour, t->minute, t->second);
    return std::string(text);
}

} // namespace platform::internal
