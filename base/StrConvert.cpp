// StrConvert.cpp — numbers read from texts, heap copies of a string's text (narrow and wide), and
// single characters between the narrow and wide forms.
//
// Classification follows the current locale and always receives the byte as an unsigned char.
#include "base/Str.h"
#include "base/internal/CaseFold.h"

#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>

using StrImplementation::AsByte;

namespace {

// Whole-text number check: the parse must have consumed every character of the text.
template <typename T> T CheckNumber(const Str& s, const char* end, T value, signed char* failed) {
    const char* text = s;
    if (end == nullptr || end == text + s.GetLength()) {
        if (failed)
            *failed = 0;
        return value;
    }
    if (!failed)
        s.Error(Str::ecNotNumber);
    *failed = 1;
    return T(0);
}

} // namespace

namespace StrImplementation {

// --- Numbers -------------------------------------------------------------------------------

long STR_strtol(const char* s, char** end, int base) {
    const char* p = s;
    while (std::isspace(AsByte(*p)))
        ++p;
    bool negative = false;
    if (*p == '+') {
        ++p;
    } else if (*p == '-') {
        negative = true;
        ++p;
    }
    if (base < 0 || base == 1 || base > 36) {
        if (end)
            *end = const_cast<char*>(s);
        return 0;
    }
    const bool hexPrefix = p[0] == '0' && (p[1] == 'x' || p[1] == 'X');
    if (base == 0)
        base = hexPrefix ? 16 : (p[0] == '0' ? 8 : 10);
    if (base == 16 && hexPrefix)
        p += 2;

    std::uint32_t value = 0;
    const char* digits = p;
    for (;; ++p) {
        const unsigned char c = AsByte(*p);
        unsigned int d;
        if (c >= '0' && c <= '9')
            d = c - '0';
        else if (c >= 'a' && c <= 'z')
            d = c - 'a' + 10;
        else if (c >= 'A' && c <= 'Z')
            d = c - 'A' + 10;
        else
            break;
        if (d >= static_cast<unsigned int>(base))
            break;
        value = value * static_cast<std::uint32_t>(base) + d; // wraps modulo 2^32, never clamped
    }
    if (p == digits) {
        if (end)
            *end = const_cast<char*>(s);
        return 0;
    }
    if (end)
        *end = const_cast<char*>(p);
    if (negative)
        value = 0u - value;
    return static_cast<long>(static_cast<std::int32_t>(value));
}

double STR_strtod(const char* s, char** end) {
    return std::strtod(s, end);
}

} // namespace StrImplementation

int Str::ToInt(signed char* failed) const {
    char* end = nullptr;
    const long v = StrImplementation::STR_strtol(dptr, &end, 10);
    return CheckNumber(*this, end, static_cast<int>(v), failed);
}

float Str::ToFloat(signed char* failed) const {
    char* end = nullptr;
    const double v = StrImplementation::STR_strtod(dptr, &end);
    return CheckNumber(*this, end, static_cast<float>(v), failed);
}

double Str::ToDouble(signed char* failed) const {
    char* end = nullptr;
    const double v = StrImplementation::STR_strtod(dptr, &end);
    return CheckNumber(*this, end, v, failed);
}

// --- Heap copies and single characters ---------------------------------------------------------

char* Str::GetStringA() const {
    const std::size_t n = static_cast<std::size_t>(GetLength()) + 1;
    char* p = static_cast<char*>(std::malloc(n));
    if (!p)
        throw std::bad_alloc();
    std::memcpy(p, dptr, n);
    return p;
}

wchar_t* Str::GetStringW() const {
    const std::size_t len = std::strlen(dptr);
    if (len > 4294967294u)
        Error(ecTooLong);
    wchar_t* w = static_cast<wchar_t*>(std::malloc((len + 1) * sizeof(wchar_t)));
    if (!w)
        throw std::bad_alloc();
    // Character by character so that a byte sequence the locale rejects becomes one '?' and the
    // rest still converts.
    std::mbstate_t state{};
    std::size_t in = 0, out = 0;
    while (in < len) {
        wchar_t wc;
        const std::size_t r = std::mbrtowc(&wc, dptr + in, len - in, &state);
        if (r == static_cast<std::size_t>(-1) || r == static_cast<std::size_t>(-2) || r == 0) {
            wc = L'?';
            state = std::mbstate_t{};
            ++in;
        } else {
            in += r;
        }
        w[out++] = wc;
    }
    w[out] = 0;
    return w;
}

namespace Char {

char ToANSI(wchar_t ch) {
    if (ch == 0)
        return 0;
    char buf[MB_LEN_MAX];
    std::mbstate_t state{};
    return std::wcrtomb(buf, ch, &state) == 1 ? buf[0] : '?';
}

wchar_t ToUnicode(char ch) {
    if (ch == 0)
        return 0;
    wchar_t wc;
    std::mbstate_t state{};
    return std::mbrtowc(&wc, &ch, 1, &state) == 1 ? wc : L'?';
}

} // namespace Char
