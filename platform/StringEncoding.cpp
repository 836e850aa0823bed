#include "platform/StringEncoding.h"

#include <cstring>

namespace platform {

namespace {

bool IsASCII(std::string_view bytes) {
    for (unsigned char c : bytes)
        if (c >= 0x80)
            return false;
    return true;
}

bool IsValidIn(std::string_view bytes, StringEncoding encoding) {
    switch (encoding) {
    case ASCIIStringEncoding:
        return IsASCII(bytes);
    case UTF8StringEncoding:
        return isValidUTF8(bytes);
    }
    return false;
}

} // namespace

bool isValidUTF8(std::string_view bytes) {
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* end = p + bytes.size();
    while (p < end) {
        unsigned char c = *p;
        if (c < 0x80) {
            ++p;
            continue;
        }
        int extra;
        unsigned lo = 0x80, hi = 0xBF; // allowed range of the first continuation byte
        if (c >= 0xC2 && c <= 0xDF) {
            extra = 1;
        } else if (c >= 0xE0 && c <= 0xEF) {
            extra = 2;
            if (c == 0xE0)
                lo = 0xA0; // overlong below U+0800
            if (c == 0xED)
                hi = 0x9F; // UTF-16 surrogates
        } else if (c >= 0xF0 && c <= 0xF4) {
            extra = 3;
            if (c == 0xF0)
                lo = 0x90; // overlong below U+10000
            if (c == 0xF4)
                hi = 0x8F; // past U+10FFFF
        } else {
            return false;
        }
        if (end - p <= extra)
            return false;
        if (p[1] < lo || p[1] > hi)
            return false;
        for (int i = 2; i <= extra; ++i)
            if ((p[i] & 0xC0) != 0x80)
                return false;
        p += extra + 1;
    }
    return true;
}

std::optional<std::string> stringWithCString(const char* bytes, StringEncoding encoding) {
    if (!bytes)
        return std::nullopt;
    std::string_view view(bytes, std::strlen(bytes));
    if (!IsValidIn(view, encoding))
        return std::nullopt;
    return std::string(view);
}

std::optional<std::string> cStringUsingEncoding(std::string_view text, StringEncoding encoding) {
    if (!IsValidIn(text, encoding))
        return std::nullopt;
    return std::string(text);
}

} // namespace platform
