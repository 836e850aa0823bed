// CaseFold.h — the library's case mappings of a byte: the locale's, and ASCII's (not installed).
#pragma once

#include <cctype>
#include <cstdint>
#include <cstring>

namespace StrImplementation {

// A char as the byte the classification and case functions take: never a negative value.
inline unsigned char AsByte(char c) {
    return static_cast<unsigned char>(c);
}

// The current locale's upper- or lower-case form of byte c: the one place the library asks the C
// library how a byte changes case.
inline unsigned char FoldCase(unsigned char c, bool upper) {
    return static_cast<unsigned char>(upper ? std::toupper(c) : std::tolower(c));
}

// The lower-case form of an ASCII letter, any other byte as it is, whatever the locale: for texts
// that compare the same everywhere, such as tags.
inline unsigned char LowerAscii(unsigned char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c - 'A' + 'a') : c;
}

// The upper-case form of an ASCII letter, any other byte as it is, whatever the locale.
inline unsigned char UpperAscii(unsigned char c) {
    return c >= 'a' && c <= 'z' ? static_cast<unsigned char>(c - 'a' + 'A') : c;
}

// FoldCase for one operation over many bytes: each distinct byte is asked once and remembered, so
// a long text costs a table read per byte. The locale is the one in force when a byte is first
// met; an operation does not follow a locale that changes while it runs.
class CaseMap {
public:
    explicit CaseMap(bool upper) : upper_(upper) { std::memset(map_, 0xFF, sizeof map_); }
    unsigned char operator()(unsigned char c) const {
        if (map_[c] < 0)
            map_[c] = FoldCase(c, upper_);
        return static_cast<unsigned char>(map_[c]);
    }

private:
    bool upper_;
    mutable std::int16_t map_[256]; // -1 until the byte is first met
};

} // namespace StrImplementation
