#include "tools/PlistText.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

using platform::PropertyValue;
using Kind = PropertyValue::Kind;

namespace {

// Seconds from the Unix epoch to 2001-01-01 00:00:00 UTC, where dates count from.
constexpr std::int64_t kDateEpoch = 978307200;
// Years 1 to 9999, as seconds from kDateEpoch: the dates the text form can write.
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

// Old-style texts need no quotes only when made of these.
bool IsBareWord(const std::string& text) {
    if (text.empty())
        return false;
    for (unsigned char c : text)
        if (!std::isalnum(c) && !std::strchr("_.$/:", c))
            return false;
    return true;
}

std::string Quoted(const std::string& text) {
    if (IsBareWord(text))
        return text;
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c < 0x20 || c == 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\%03o", c);
            out += escape;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string Hex(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string text = "<";
    for (unsigned char byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text + ">";
}

std::string NumberText(const PropertyValue& value) {
    switch (value.kind) {
    case Kind::Boolean:
        return value.bits ? "1" : "0";
    case Kind::Integer:
        return value.wide ? std::to_string(value.bits)
                          : std::to_string(static_cast<std::int64_t>(value.bits));
    case Kind::Uid:
        return std::to_string(value.bits);
    default:
        return platform::RealDescription(value.real());
    }
}

} // namespace

std::string OldStyleText(const PropertyValue& value, int indent) {
    const std::string inner(static_cast<std::size_t>(indent) + 4, ' '),
        outer(static_cast<std::size_t>(indent), ' ');
    switch (value.kind) {
    case Kind::Null:
        return "<null>";
    case Kind::Boolean:
    case Kind::Integer:
    case Kind::Real:
        return NumberText(value);
    case Kind::Date:
        return Quoted(DateText(value.real()));
    case Kind::Data:
        return Hex(value.bytes);
    case Kind::String:
        return Quoted(value.bytes);
    case Kind::Uid:
        return "{\n" + inner + "\"CF$UID\" = " + NumberText(value) + ";\n" + outer + "}";
    case Kind::Array:
    case Kind::Set: {
        std::string text = "(\n";
        for (std::size_t i = 0; i < value.items.size(); ++i)
            text += inner + OldStyleText(value.items[i], indent + 4) +
                    (i + 1 < value.items.size() ? ",\n" : "\n");
        return text + outer + ")";
    }
    case Kind::Dictionary: {
        std::string text = "{\n";
        for (std::size_t i = 0; i < value.items.size(); ++i)
            text += inner + Quoted(value.keys[i]) + " = " +
                    OldStyleText(value.items[i], indent + 4) + ";\n";
        return text + outer + "}";
    }
    }
    return {};
}

std::string BareText(const PropertyValue& value) {
    switch (value.kind) {
    case Kind::String:
        return value.bytes;
    case Kind::Date:
        return DateText(value.real());
    default:
        return OldStyleText(value);
    }
}

std::string KindName(const PropertyValue& value) {
    switch (value.kind) {
    case Kind::Null:
        return "null";
    case Kind::Boolean:
        return "boolean";
    case Kind::Integer:
        return "integer";
    case Kind::Real:
        return "float";
    case Kind::Date:
        return "date";
    case Kind::Data:
        return "data";
    case Kind::String:
        return "string";
    case Kind::Uid:
        return "uid";
    case Kind::Array:
    case Kind::Set:
        return "array";
    case Kind::Dictionary:
        return "dictionary";
    }
    return {};
}

std::optional<double> ParseDate(const std::string& text) {
    unsigned year, month, day, hour, minute, second, zoneHours = 0, zoneMinutes = 0;
    if (!Digits(text, 0, 4, year) || text.size() < 19 || text[4] != '-' ||
        !Digits(text, 5, 2, month) || text[7] != '-' || !Digits(text, 8, 2, day) ||
        !Digits(text, 11, 2, hour) || text[13] != ':' || !Digits(text, 14, 2, minute) ||
        text[16] != ':' || !Digits(text, 17, 2, second))
        return std::nullopt;
    int zoneSign = 1;
    if (text[10] == 'T') {
        if (text.size() != 20 || text[19] != 'Z')
            return std::nullopt;
    } else if (text[10] == ' ') {
        if (text.size() != 25 || text[19] != ' ' || (text[20] != '+' && text[20] != '-') ||
            !Digits(text, 21, 2, zoneHours) || !Digits(text, 23, 2, zoneMinutes) ||
            zoneHours > 23 || zoneMinutes > 59)
            return std::nullopt;
        zoneSign = text[20] == '-' ? -1 : 1;
    } else {
        return std::nullopt;
    }
    if (year == 0 || month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month) ||
        hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    const std::int64_t unix = DaysFromCivil(year, month, day) * 86400 + hour * 3600 + minute * 60 +
                              second -
                              zoneSign * static_cast<int>(zoneHours * 3600 + zoneMinutes * 60);
    return static_cast<double>(unix - kDateEpoch);
}

std::string DateText(double seconds) {
    if (!(seconds >= kFirstDate && seconds <= kLastDate))
        return "(a date beyond the years 1 to 9999)";
    const auto unix = static_cast<std::int64_t>(std::floor(seconds)) + kDateEpoch;
    const std::int64_t days = (unix >= 0 ? unix : unix - 86399) / 86400, time = unix - days * 86400;
    std::int64_t year;
    unsigned month, day;
    CivilFromDays(days, year, month, day);
    char text[96];
    std::snprintf(text, sizeof text, "%04lld-%02u-%02u %02lld:%02lld:%02lld +0000",
                  static_cast<long long>(year), month, day, static_cast<long long>(time / 3600),
                  static_cast<long long>(time / 60 % 60), static_cast<long long>(time % 60));
    return text;
}
