// Calendar.h — platform-internal: dates of the property lists (seconds since 2001-01-01 00:00:00
// UTC) and the civil forms they are written in, on the proleptic Gregorian calendar.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform::internal {

// A moment in UTC, to the second.
struct CivilTime {
    std::int64_t year = 2001;
    unsigned month = 1, day = 1, hour = 0, minute = 0, second = 0;
};

// The civil time of `seconds`, rounded down to the whole second; nullopt outside the years 1 to
// 9999, which the text forms cannot write.
std::optional<CivilTime> CivilFromSeconds(double seconds);
// Seconds since 2001-01-01 of `time` shifted by `zoneSeconds` east of UTC; nullopt for a day or
// time that does not exist (the 30th of February, minute 60) or a year outside 1 to 9999.
std::optional<double> SecondsFromCivil(const CivilTime& time, std::int64_t zoneSeconds = 0);

// `YYYY-MM-DDTHH:MM:SSZ`, exactly, as the XML form writes a date; with `withZone` also
// `YYYY-MM-DD HH:MM:SS +ZZZZ`. nullopt for anything else.
std::optional<double> ParseDate(const std::string& text, bool withZone);
// `seconds` as `YYYY-MM-DDTHH:MM:SSZ`; nullopt when it is not a whole second of the years 1 to
// 9999.
std::optional<std::string> IsoDate(double seconds);

} // namespace platform::internal
