// StrSoundex.cpp — the phonetic key of a word and percent-encoding for URLs and form data. Both
// treat only the ASCII letters as letters, whatever the locale.
#include "base/Str.h"
#include "base/internal/CaseFold.h"

#include <cstring>
#include <utility>

namespace {

// Digit of each upper-case letter, 'A' first.
constexpr std::int32_t s_tab[26] = {
    0, 1, 2, 3, 0, 1, 2, 0, 0, 2, 2, 4, 5, // A-M
    5, 0, 1, 2, 6, 2, 3, 0, 1, 0, 2, 0, 2, // N-Z
};

constexpr std::uint32_t CodedMask() {
    std::uint32_t mask = 0;
    for (int k = 0; k < 26; ++k) {
        if (s_tab[k] != 0)
            mask |= 1u << k;
    }
    return mask;
}

// Bit k stands for 'A' + k: the letters with a non-zero digit, the only ones that are coded.
constexpr std::uint32_t kCodedLetters = CodedMask();

// The letter's upper-case form, or 0 for anything that is not an ASCII letter.
char UpperLetter(char c) {
    const unsigned char u = StrImplementation::UpperAscii(static_cast<unsigned char>(c));
    return u >= 'A' && u <= 'Z' ? static_cast<char>(u) : 0;
}

bool Unreserved(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

} // namespace

Str Str::Soundex() const {
    const int len = Block()->length;
    int i = 0;
    while (i < len && !UpperLetter(dptr[i]))
        ++i;
    if (i == len)
        return Str();
    char key[5];
    int n = 0;
    key[n++] = UpperLetter(dptr[i]);
    // Only a repetition of the identical byte is collapsed; vowels, H, W and Y add nothing and
    // separate nothing.
    for (++i; i < len && n < 4; ++i) {
        const char upper = UpperLetter(dptr[i]);
        if (!upper || dptr[i] == dptr[i - 1])
            continue;
        const int k = upper - 'A';
        if (kCodedLetters & (1u << k))
            key[n++] = static_cast<char>('0' + s_tab[k]);
    }
    while (n < 4)
        key[n++] = '0';
    key[n] = 0;
    return Str(key);
}

void Str::UrlEncode(Str& out, signed char spaceAsPlus) const {
    if (&out == this) {
        Str encoded;
        UrlEncode(encoded, spaceAsPlus);
        out = std::move(encoded);
        return;
    }
    static const char kHex[] = "0123456789ABCDEF";
    const std::size_t len = std::strlen(dptr);
    // Size the result exactly once; the capacity is what appending piece by piece would reach.
    long long encodedLen = 0;
    for (std::size_t i = 0; i < len; ++i) {
        const unsigned char c = static_cast<unsigned char>(dptr[i]);
        encodedLen += (Unreserved(c) || (c == ' ' && spaceAsPlus)) ? 1 : 3;
    }
    const int capacity = CapacityFor(encodedLen);
    out.Empty();
    out.Preallocate(capacity);
    char* w = out.dptr;
    for (std::size_t i = 0; i < len; ++i) {
        const unsigned char c = static_cast<unsigned char>(dptr[i]);
        if (c == ' ' && spaceAsPlus) {
            *w++ = '+';
        } else if (Unreserved(c)) {
            *w++ = static_cast<char>(c);
        } else {
            *w++ = '%';
            *w++ = kHex[c >> 4];
            *w++ = kHex[c & 15];
        }
    }
    *w = 0;
    out.Block()->length = static_cast<int>(encodedLen);
}
