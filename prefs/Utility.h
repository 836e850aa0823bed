/// @file
/// Utility.h — converts between Str and the platform string (modelled as std::string holding
/// UTF-8 text), for code that exchanges strings with the platform. Both directions read the text
/// as 7-bit ASCII.
///
/// Ownership: no state; results are values owned by the caller. Copying costs nothing.
#pragma once

#include "base/Str.h"

#include <optional>
#include <string>

/// Conversions between Str and the platform string (see Utility.h).
class Utility {
public:
    /// strFromNSString: — the same characters when `string` is pure ASCII; the empty Str when it
    /// is empty or holds any character outside ASCII.
    Str strFromNSString(const std::string& string) const;
    /// nsStringFromStr: — a new platform string from the Str's bytes read as ASCII; no string
    /// when a byte is >= 0x80, which the caller must allow for.
    std::optional<std::string> nsStringFromStr(Str str) const;
};
