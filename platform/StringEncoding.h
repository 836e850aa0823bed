/// @file
/// StringEncoding.h — stands for the platform string's byte conversions
/// (stringWithCString:encoding:, cStringUsingEncoding:) with the two encodings the preferences code
/// uses.
///
/// Plain functions over std::string: a platform string is modelled as valid UTF-8 text without a
/// NUL byte. Nothing is owned beyond the returned values; a conversion that the platform would
/// refuse gives no string (std::nullopt) rather than a damaged one.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// The platform's encoding numbers; only these two are supported.
enum StringEncoding : unsigned {
    ASCIIStringEncoding = 1, ///< 7-bit ASCII: any byte >= 0x80 makes the conversion fail
    UTF8StringEncoding = 4,  ///< UTF-8: overlong forms, surrogates and values past U+10FFFF fail
};

/// True when `bytes` is well-formed UTF-8 (shortest forms, no surrogates, at most U+10FFFF).
bool isValidUTF8(std::string_view bytes);

/// A platform string from the NUL-terminated `bytes` read in `encoding`; nullopt when the bytes are
/// not valid in that encoding or `bytes` is null. Does not accept any other encoding number.
std::optional<std::string> stringWithCString(const char* bytes, StringEncoding encoding);

/// The bytes of the platform string `text` in `encoding` (without the terminating NUL); nullopt
/// when `text` holds a character the encoding cannot represent.
std::optional<std::string> cStringUsingEncoding(std::string_view text, StringEncoding encoding);

} // namespace platform
