#include "tools/PlistText.h"

#include "platform/internal/Calendar.h"
#include "tools/Ascii.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

using platform::PropertyValue;
using Kind = PropertyValue::Kind;

namespace {

// Old-style texts need no quotes only when made of these.
bool IsBareWord(const std::string& text) {
    if (text.empty())
        return false;
    for (char c : text)
        // strchr would find the terminating NUL of its set.
        if (!IsAsciiLetterOrDigit(c) && (c == '\0' || !std::strchr("_.$/:", c)))
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
        // Printed bare, a NUL would end the text early and other control characters would act
        // on the terminal: such a text is shown quoted, with its escapes.
        for (unsigned char c : value.bytes)
            if ((c < 0x20 && c != '\t' && c != '\n') || c == 0x7F)
                return Quoted(value.bytes);
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
    return platform::internal::ParseDate(text, true);
}

std::string DateText(double seconds) {
    const auto t = platform::internal::CivilFromSeconds(seconds);
    if (!t)
        return "(a date beyond the years 1 to 9999)";
    char text[96];
    std::snprintf(text, sizeof text, "%04lld-%02u-%02u %02u:%02u:%02u +0000",
                  static_cast<long long>(t->year), t->month, t->day, t->hour, t->minute, t->second);
    return text;
}
