// StrFormat.cpp — the printf-style engine of Str. The engine walks the format itself: literal runs
// and strings are appended directly; each numeric conversion is handed, alone, to the C library's
// formatter, so its text is exactly what printf gives for that conversion and value.
//
// Every conversion is formatted into a buffer that grows to the size the formatter asks for, so a
// conversion is never cut and never overflows. Length modifiers mean what this platform's printf
// reads: h and hh an int, l a long, ll and L a long long (integers) or a long double (floating
// conversions); '*' takes an int wherever printf takes one.
#include "base/Str.h"
#include "base/internal/Alias.h"
#include "base/internal/TextBuf.h"

#include <cfenv>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#include <new>

using StrImplementation::PointsInto;
using StrImplementation::SBlock;
using StrImplementation::StrArgList;
using StrImplementation::TextBuf;
using StrImplementation::verifymt;

namespace {

// Ends an argument list, started or copied just before, on every path out of the scope, thrown
// exceptions included. va_start itself must stay in the variadic function.
class VaListEnd {
public:
    explicit VaListEnd(va_list& ap) : ap_(ap) {}
    ~VaListEnd() { va_end(ap_); }
    VaListEnd(const VaListEnd&) = delete;
    VaListEnd& operator=(const VaListEnd&) = delete;

private:
    va_list& ap_;
};

// Characters that may stand between '%' and the conversion letter.
constexpr char fprefix[] = "-+0 #*.123456789hlL";
// Conversions that take one integer (or character) argument.
constexpr char intletters[] = "cCdiouxX";
// Conversions that take one floating argument.
constexpr char Str_dblletters[] = "eEfgG";
// What a null string pointer prints as.
const char nulltext[] = "(null)";

// Membership of the tables above, one lookup per character.
enum : unsigned char { kPrefix = 1, kIntLetter = 2, kDblLetter = 4 };
struct CharClasses {
    unsigned char of[256];
    constexpr CharClasses() : of{} {
        for (const char* p = fprefix; *p != 0; ++p)
            of[static_cast<unsigned char>(*p)] |= kPrefix;
        for (const char* p = intletters; *p != 0; ++p)
            of[static_cast<unsigned char>(*p)] |= kIntLetter;
        for (const char* p = Str_dblletters; *p != 0; ++p)
            of[static_cast<unsigned char>(*p)] |= kDblLetter;
    }
    bool Is(char c, unsigned char what) const {
        return (of[static_cast<unsigned char>(c)] & what) != 0;
    }
};
constexpr CharClasses kClasses;

// Longest text a string may reach; beyond it the block size would not fit its header's fields.
constexpr std::size_t kMaxLength = INT_MAX - 1024;
// The size estimate of an empty string before formatting is a hint; it is capped so that an
// absurd format cannot ask for an absurd block up front.
constexpr long long kMaxEstimate = 1LL << 26;

// The one place that calls the C library's formatter.
int STR_dosprintf_X(char* buf, std::size_t size, const char* fmt, va_list ap) {
    return std::vsnprintf(buf, size, fmt, ap);
}

int DoSprintf(char* buf, std::size_t size, const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    const VaListEnd end(ap);
    return STR_dosprintf_X(buf, size, fmt, ap);
}

// Formats into out, growing it to the full result; returns the length, or -1 when the formatter
// reports an error (an unconvertible wide character, a result longer than INT_MAX).
int FormatInto(TextBuf& out, const char* fmt, ...) {
    va_list ap, again;
    va_start(ap, fmt);
    const VaListEnd endAp(ap);
    va_copy(again, ap);
    const VaListEnd endAgain(again);
    int n = STR_dosprintf_X(out.data(), out.capacity(), fmt, ap);
    if (n >= 0 && static_cast<std::size_t>(n) >= out.capacity()) {
        if (static_cast<std::size_t>(n) > kMaxLength ||
            !out.Reserve(static_cast<std::size_t>(n) + 1))
            throw std::bad_alloc();
        n = STR_dosprintf_X(out.data(), out.capacity(), fmt, again);
    }
    out.SetSize(n < 0 ? 0 : static_cast<std::size_t>(n));
    return n;
}

// One formatted value with the '*' arguments printf takes before it.
template <typename T> int Emit(TextBuf& out, const char* spec, const int* stars, int nstars, T v) {
    switch (nstars) {
    case 0:
        return FormatInto(out, spec, v);
    case 1:
        return FormatInto(out, spec, stars[0], v);
    default:
        return FormatInto(out, spec, stars[0], stars[1], v);
    }
}

// Appends to the string being formatted. Short pieces are gathered in a local buffer and written
// in one append; anything that reads the string (an error raised on it, a '!' argument, a string
// argument taken from its own text) flushes first, so the string reads as if every piece had been
// appended at once. The block the string held when formatting began is kept alive until the end,
// so that arguments pointing into its text stay readable even after an append has moved the
// string to a larger block.
class Sink {
public:
    Sink(Str& s, verifymt& vm) : s_(s), vm_(vm), origin_(s) {}
    // The string with every piece so far appended.
    Str& str() {
        Flush();
        return s_;
    }
    // True when p lies in the text area of the string's present block.
    bool Aliases(const void* p) const {
        const char* text = s_;
        const auto b = reinterpret_cast<std::uintptr_t>(text);
        const auto q = reinterpret_cast<std::uintptr_t>(p);
        return q >= b && q <= b + static_cast<std::uintptr_t>(SBlock::of(text)->capacity);
    }

    void Put(const char* p, std::size_t n) {
        if (n <= sizeof(pending_) - used_) {
            std::memcpy(pending_ + used_, p, n);
            used_ += n;
            return;
        }
        Flush();
        if (n <= sizeof(pending_)) {
            std::memcpy(pending_, p, n);
            used_ = n;
        } else {
            Append(p, n);
        }
    }

    void Flush() {
        if (used_ == 0)
            return;
        const std::size_t n = used_;
        used_ = 0;
        Append(pending_, n);
    }

private:
    void Append(const char* p, std::size_t n) {
        const std::size_t len = static_cast<std::size_t>(s_.GetLength());
        if (len > kMaxLength || n > kMaxLength - len)
            throw std::bad_alloc();
        const char* text = s_;
        if (!guarded_ && text == origin_ && text != StrImplementation::oInitializer.text &&
            len + n > static_cast<std::size_t>(SBlock::of(text)->capacity)) {
            keep_ = s_;
            guarded_ = true;
        }
        s_.CoreAppendChars(p, static_cast<int>(n), vm_);
    }

    Str& s_;
    verifymt& vm_;
    const char* origin_;
    Str keep_;
    bool guarded_ = false;
    std::size_t used_ = 0;
    char pending_[256];
};

// The '*' arguments of one conversion, taken in order; more than two raises ecFormatStars.
int TakeStars(Sink& sink, const char* prefix, std::size_t len, StrArgList& ap, int* stars) {
    int n = 0;
    for (std::size_t i = 0; i < len; ++i)
        n += prefix[i] == '*';
    if (n > 2)
        sink.str().Error(Str::ecFormatStars);
    for (int i = 0; i < n; ++i)
        stars[i] = va_arg(ap.ap, int);
    return n;
}

// Length class of a conversion: 0 for none, h or hh; 1 for l; 2 for ll or L.
int LengthClass(const char* prefix, std::size_t len) {
    int ls = 0;
    for (std::size_t i = 0; i < len; ++i) {
        if (prefix[i] == 'L')
            return 2;
        ls += prefix[i] == 'l';
    }
    return ls >= 2 ? 2 : ls;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// True when the prefix reads as printf's own grammar: flags, width, precision, one length
// modifier, in that order. Anything else is not handed to the formatter.
bool PrintfAccepts(const char* p, std::size_t len) {
    const char* end = p + len;
    while (p < end && (*p == '-' || *p == '+' || *p == ' ' || *p == '0' || *p == '#'))
        ++p;
    // A width, then a precision after its '.': each one star or a run of digits.
    const auto field = [&] {
        if (p < end && *p == '*')
            ++p;
        else
            while (p < end && IsDigit(*p))
                ++p;
    };
    field();
    if (p < end && *p == '.') {
        ++p;
        field();
    }
    if (p < end && (*p == 'h' || *p == 'l')) {
        const char m = *p++;
        if (p < end && *p == m)
            ++p;
    } else if (p < end && *p == 'L') {
        ++p;
    }
    return p == end;
}

// Appends the narrow form of n wide characters, one byte each.
void PutWide(Sink& sink, const wchar_t* w, std::size_t n) {
    TextBuf narrow;
    if (!narrow.Reserve(n + 1))
        throw std::bad_alloc();
    char* d = narrow.data();
    for (std::size_t i = 0; i < n; ++i)
        d[i] = Char::ToANSI(w[i]);
    sink.Put(d, n);
}

// The string conversions: no padding; only the precision counts.
void PutString(Sink& sink, TextBuf& spec, char letter, StrArgList& ap, signed char wide) {
    const char* prefix = spec.data() + 1;
    const std::size_t plen = spec.size() - 1;
    int stars[2];
    TakeStars(sink, prefix, plen, ap, stars);
    const bool narrow = (letter == 's') == (wide == 0);
    const char* s = nullptr;
    const wchar_t* w = nullptr;
    if (narrow)
        s = va_arg(ap.ap, const char*);
    else
        w = va_arg(ap.ap, const wchar_t*);
    if (narrow ? !s : !w) {
        s = nulltext;
        w = nullptr;
    }
    if (sink.Aliases(s ? static_cast<const void*>(s) : w))
        sink.Flush();

    long prec = -1;
    const char* dot = static_cast<const char*>(std::memchr(prefix, '.', plen));
    if (dot && dot[1] != 0) {
        if (dot[1] == '*') {
            int before = 0;
            for (const char* q = prefix; q <= dot; ++q)
                before += *q == '*';
            prec = stars[before];
        } else {
            prec = StrImplementation::STR_strtol(dot + 1, nullptr, 10);
        }
    }
    if (s) {
        const std::size_t n =
            prec >= 0 ? strnlen(s, static_cast<std::size_t>(prec)) : std::strlen(s);
        sink.Put(s, n);
    } else {
        const std::size_t n =
            prec >= 0 ? wcsnlen(w, static_cast<std::size_t>(prec)) : std::wcslen(w);
        PutWide(sink, w, n);
    }
}

// The text of a plain "%d" or "%u": the commonest conversion, written without the formatter's
// set-up cost. Returns the first character; the text ends at end.
char* Decimal(char* end, long long v, bool isSigned) {
    const bool negative = isSigned && v < 0;
    unsigned long long m =
        negative ? 0ull - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v);
    char* p = end;
    do {
        *--p = static_cast<char>('0' + m % 10);
        m /= 10;
    } while (m != 0);
    if (negative)
        *--p = '-';
    return p;
}

// Flags, width and precision of a conversion that printf's grammar accepts.
struct Conversion {
    bool minus = false, plus = false, space = false, zero = false, alt = false;
    long width = 0;
    long precision = -1; // -1: none given
};

// Widths and precisions beyond this are left to the C library, which sizes them itself.
constexpr long kMaxNativeField = 4096;

// Reads an accepted prefix; the '*' values come from stars in order, a negative width meaning '-'
// and a negative precision meaning none, as printf reads them.
Conversion ReadConversion(const char* p, std::size_t len, const int* stars) {
    Conversion c;
    const char* end = p + len;
    int star = 0;
    for (; p < end; ++p) {
        if (*p == '-')
            c.minus = true;
        else if (*p == '+')
            c.plus = true;
        else if (*p == ' ')
            c.space = true;
        else if (*p == '0')
            c.zero = true;
        else if (*p == '#')
            c.alt = true;
        else
            break;
    }
    const auto number = [&](long& out) {
        out = 0;
        for (; p < end && IsDigit(*p); ++p)
            out = out < kMaxNativeField ? out * 10 + (*p - '0') : out;
    };
    if (p < end && *p == '*') {
        const long w = stars[star++];
        c.minus = c.minus || w < 0;
        c.width = w < 0 ? -w : w;
        ++p;
    } else {
        number(c.width);
    }
    if (p < end && *p == '.') {
        ++p;
        if (p < end && *p == '*') {
            const int v = stars[star++];
            c.precision = v < 0 ? -1 : v;
            ++p;
        } else {
            number(c.precision);
        }
    }
    return c;
}

// Appends head, zeros and body padded to the width, as printf lays out a number.
void PutField(Sink& sink, const Conversion& c, const char* head, std::size_t nhead,
              std::size_t zeros, const char* body, std::size_t nbody, bool zeroPad) {
    const std::size_t used = nhead + zeros + nbody;
    const std::size_t width = static_cast<std::size_t>(c.width);
    const std::size_t pad = width > used ? width - used : 0;
    char local[512];
    TextBuf big;
    char* out = local;
    if (used + pad > sizeof(local)) {
        if (!big.Reserve(used + pad + 1))
            throw std::bad_alloc();
        out = big.data();
    }
    char* q = out;
    if (pad != 0 && !c.minus && !zeroPad)
        q = static_cast<char*>(std::memset(q, ' ', pad)) + pad;
    q = static_cast<char*>(std::memcpy(q, head, nhead)) + nhead;
    if (pad != 0 && !c.minus && zeroPad)
        zeros += pad;
    q = static_cast<char*>(std::memset(q, '0', zeros)) + zeros;
    q = static_cast<char*>(std::memcpy(q, body, nbody)) + nbody;
    if (pad != 0 && c.minus)
        q = static_cast<char*>(std::memset(q, ' ', pad)) + pad;
    sink.Put(out, static_cast<std::size_t>(q - out));
}

// An integer conversion (d i u o x X) of the given magnitude and sign, laid out as printf does.
void PutInteger(Sink& sink, const Conversion& c, char letter, unsigned long long magnitude,
                bool negative) {
    const int base = letter == 'o' ? 8 : (letter == 'x' || letter == 'X') ? 16 : 10;
    char digits[32];
    std::size_t n = static_cast<std::size_t>(
        std::to_chars(digits, digits + sizeof(digits), magnitude, base).ptr - digits);
    if (letter == 'X')
        for (std::size_t i = 0; i < n; ++i)
            digits[i] = digits[i] >= 'a' ? static_cast<char>(digits[i] - 'a' + 'A') : digits[i];
    if (c.precision == 0 && magnitude == 0)
        n = 0;
    std::size_t zeros =
        c.precision > static_cast<long>(n) ? static_cast<std::size_t>(c.precision) - n : 0;
    char head[2];
    std::size_t nhead = 0;
    if (letter == 'd' || letter == 'i') {
        if (negative)
            head[nhead++] = '-';
        else if (c.plus)
            head[nhead++] = '+';
        else if (c.space)
            head[nhead++] = ' ';
    } else if (c.alt && letter == 'o') {
        // '#' makes the first digit of an octal number a zero.
        if (zeros == 0 && (n == 0 || digits[0] != '0'))
            zeros = 1;
    } else if (c.alt && base == 16 && magnitude != 0) {
        head[nhead++] = '0';
        head[nhead++] = letter;
    }
    PutField(sink, c, head, nhead, zeros, digits, n, c.zero && !c.minus && c.precision < 0);
}

// True when this locale writes the decimal point as '.', as the shortest-path conversions do.
bool PointIsDot() {
    const char* radix = nl_langinfo(RADIXCHAR);
    return radix[0] == '.' && radix[1] == 0;
}

// The powers of ten that 64 bits hold.
struct PowersOfTen {
    static constexpr long count = 20;
    std::uint64_t of[count];
    constexpr PowersOfTen() : of{} {
        std::uint64_t p = 1;
        for (long i = 0; i < count; ++i, p *= 10)
            of[i] = p;
    }
};
constexpr PowersOfTen kPowers;

// |v| * 10^precision rounded to an integer, to nearest with ties to even, from the exact binary
// value, as printf rounds in that mode; false when 64 bits cannot hold the exact product (large
// values, long precisions), which are left to to_chars.
bool ScaledMagnitude(double v, long precision, std::uint64_t& scaled) {
    if (precision >= kPowers.count)
        return false;
    std::uint64_t bits;
    static_assert(sizeof(bits) == sizeof(v), "a double is IEEE-754 binary64");
    std::memcpy(&bits, &v, sizeof(bits));
    // v = mantissa * 2^exponent exactly.
    const int field = static_cast<int>(bits >> 52 & 0x7FF);
    std::uint64_t mantissa = bits & ((std::uint64_t{1} << 52) - 1);
    int exponent = -1074;
    if (field != 0) {
        mantissa |= std::uint64_t{1} << 52;
        exponent = field - 1075;
    }
    std::uint64_t product;
    if (__builtin_mul_overflow(mantissa, kPowers.of[precision], &product))
        return false;
    if (exponent >= 0) {
        if (exponent > 63 || product > (~std::uint64_t{0} >> exponent))
            return false;
        scaled = product << exponent;
        return true;
    }
    const int shift = -exponent;
    if (shift >= 64) {
        // Then v < 2^-11, and a product within 64 bits means a precision of at most 3 (a normal
        // mantissa is at least 2^52): less than half a unit, which rounds to 0.
        scaled = 0;
        return true;
    }
    const std::uint64_t whole = product >> shift;
    const std::uint64_t rest = product & ((std::uint64_t{1} << shift) - 1);
    const std::uint64_t half = std::uint64_t{1} << (shift - 1);
    scaled = whole + (rest > half || (rest == half && (whole & 1) != 0) ? 1 : 0);
    return true;
}

// The fixed-point conversion of a finite double, laid out as printf does; false when it is left
// to the C library (a precision too large for the local buffer, another decimal point, or a
// rounding mode other than to nearest: both ways here round to nearest, while printf rounds the
// last digit the way the floating-point environment says).
bool PutFixed(Sink& sink, const Conversion& c, double v) {
    const long precision = c.precision < 0 ? 6 : c.precision;
    if (!std::isfinite(v) || precision > 100 || std::fegetround() != FE_TONEAREST || !PointIsDot())
        return false;
    // The largest double has 309 integer digits; the precision adds at most 101 characters, and
    // the '#' flag a point.
    char text[448];
    const bool negative = std::signbit(v);
    const char* body;
    char* end;
    std::uint64_t scaled;
    if (ScaledMagnitude(v, precision, scaled)) {
        // The commonest case, a short precision of a moderate value: the digits of one integer.
        end = text + sizeof(text) - 1;
        char* p = end;
        for (long i = 0; i < precision; ++i, scaled /= 10)
            *--p = static_cast<char>('0' + scaled % 10);
        if (precision > 0)
            *--p = '.';
        do {
            *--p = static_cast<char>('0' + scaled % 10);
            scaled /= 10;
        } while (scaled != 0);
        body = p;
    } else {
        const std::to_chars_result r =
            std::to_chars(text, text + sizeof(text) - 1, v, std::chars_format::fixed,
                          static_cast<int>(precision));
        if (r.ec != std::errc())
            return false;
        end = r.ptr;
        body = text + (negative ? 1 : 0);
    }
    if (c.alt && precision == 0)
        *end++ = '.';
    const char head = negative ? '-' : c.plus ? '+' : ' ';
    const std::size_t nhead = negative || c.plus || c.space ? 1 : 0;
    PutField(sink, c, &head, nhead, 0, body, static_cast<std::size_t>(end - body),
             c.zero && !c.minus);
    return true;
}

// The conversions handed to the C library: integers, characters, floating values, pointers.
void PutNumber(Sink& sink, TextBuf& spec, char letter, StrArgList& ap) {
    const std::size_t plen = spec.size() - 1;
    if (plen == 0 && (letter == 'd' || letter == 'i' || letter == 'u')) {
        const int v = va_arg(ap.ap, int);
        char digits[24];
        char* end = digits + sizeof(digits);
        const char* first = letter == 'u' ? Decimal(end, static_cast<unsigned int>(v), false)
                                          : Decimal(end, v, true);
        sink.Put(first, static_cast<std::size_t>(end - first));
        return;
    }
    int stars[2];
    const int nstars = TakeStars(sink, spec.data() + 1, plen, ap, stars);
    const bool accepted = PrintfAccepts(spec.data() + 1, plen);
    const int length = LengthClass(spec.data() + 1, plen);
    spec.Push(letter);
    const char* f = spec.data();

    // The commonest conversions are laid out here; the rest, and every case these do not cover,
    // go to the C library. That includes any spec with an h modifier: printf shapes those its own
    // way (a float's zero flag survives a negative star width and pads on the right).
    const bool shortModifier = std::memchr(spec.data() + 1, 'h', plen) != nullptr;
    if (accepted && !shortModifier && length != 2 && letter != 'c' && letter != 'C' &&
        letter != 'p') {
        const Conversion c = ReadConversion(spec.data() + 1, plen, stars);
        if (c.width < kMaxNativeField && c.precision < kMaxNativeField) {
            if (letter == 'f') {
                const double v = va_arg(ap.ap, double);
                if (PutFixed(sink, c, v))
                    return;
                TextBuf out;
                const int n = Emit(out, f, stars, nstars, v);
                if (n > 0)
                    sink.Put(out.data(), static_cast<std::size_t>(n));
                return;
            }
            if (kClasses.Is(letter, kIntLetter)) {
                const bool isSigned = letter == 'd' || letter == 'i';
                unsigned long long magnitude;
                bool negative = false;
                if (length == 0) {
                    const int v = va_arg(ap.ap, int);
                    negative = isSigned && v < 0;
                    magnitude = isSigned ? (negative ? 0ull - static_cast<unsigned long long>(v)
                                                     : static_cast<unsigned long long>(v))
                                         : static_cast<unsigned int>(v);
                } else {
                    const long v = va_arg(ap.ap, long);
                    negative = isSigned && v < 0;
                    magnitude = isSigned ? (negative ? 0ull - static_cast<unsigned long long>(v)
                                                     : static_cast<unsigned long long>(v))
                                         : static_cast<unsigned long>(v);
                }
                PutInteger(sink, c, letter, magnitude, negative);
                return;
            }
        }
    }

    TextBuf out;
    int n = -1;
    if (letter == 'c' || letter == 'C') {
        const int v = va_arg(ap.ap, int);
        if (accepted) {
            n = Emit(out, f, stars, nstars, v);
            // A wide character the locale cannot write prints as '?', padded as asked.
            if (n < 0)
                n = Emit(out, f, stars, nstars, static_cast<int>('?'));
        }
    } else if (kClasses.Is(letter, kIntLetter)) {
        if (length == 0) {
            const int v = va_arg(ap.ap, int);
            if (accepted)
                n = Emit(out, f, stars, nstars, v);
        } else if (length == 1) {
            const long v = va_arg(ap.ap, long);
            if (accepted)
                n = Emit(out, f, stars, nstars, v);
        } else {
            const long long v = va_arg(ap.ap, long long);
            if (accepted)
                n = Emit(out, f, stars, nstars, v);
        }
    } else if (letter == 'p') {
        void* v = va_arg(ap.ap, void*);
        if (accepted)
            n = Emit(out, f, stars, nstars, v);
    } else if (length == 2) {
        const long double v = va_arg(ap.ap, long double);
        if (accepted)
            n = Emit(out, f, stars, nstars, v);
    } else {
        const double v = va_arg(ap.ap, double);
        if (accepted)
            n = Emit(out, f, stars, nstars, v);
    }
    // A specification printf would not parse is printed as it stands, its arguments consumed.
    if (!accepted)
        sink.Put(f, spec.size());
    else if (n > 0)
        sink.Put(out.data(), static_cast<std::size_t>(n));
}

int OneValue(Sink& sink, const char*& fmt, StrArgList& ap, signed char wide) {
    TextBuf spec;
    spec.Push('%');
    while (kClasses.Is(*fmt, kPrefix))
        spec.Push(*fmt++);
    if (*fmt == 0)
        return 0;
    const char letter = *fmt++;

    if (letter == '!') {
        const Str* s = va_arg(ap.ap, const Str*);
        sink.Flush();
        if (s)
            sink.Put(*s, static_cast<std::size_t>(s->GetLength()));
        else
            sink.Put(nulltext, sizeof(nulltext) - 1);
    } else if (letter == 's' || letter == 'S') {
        PutString(sink, spec, letter, ap, wide);
    } else if (kClasses.Is(letter, kIntLetter | kDblLetter) || letter == 'p') {
        PutNumber(sink, spec, letter, ap);
    } else if (letter == 'n') {
        sink.str().Error(Str::ecFormatN);
    } else {
        sink.Put(&letter, 1);
    }
    return 1;
}

} // namespace

namespace StrImplementation {

// Both format into the caller's buffer and never write past size bytes; the result is the full
// length, so a result of size or more tells the caller the text was cut.
int STR_sprintf_i(char* buf, unsigned long size, const char* fmt, int v) {
    return DoSprintf(buf, size, fmt, v);
}

int STR_sprintf_p(char* buf, unsigned long size, const char* fmt, void* p) {
    return DoSprintf(buf, size, fmt, p);
}

} // namespace StrImplementation

void Str::FmtPriorBuffer(const char* fmt, verifymt& vm) {
    Str& s = *vm.str;
    if (!s.IsEmptyBlock()) {
        s.Empty();
        return;
    }
    // Every character counts 1, a '%' 128 when a string conversion letter follows it and 32
    // otherwise: the length, and then only the '%' signs, each found with the C library's search.
    const std::size_t n = std::strlen(fmt);
    const char* const end = fmt + n;
    long long estimate = static_cast<long long>(n);
    for (const char* p = fmt; estimate < kMaxEstimate; ++p) {
        p = static_cast<const char*>(std::memchr(p, '%', static_cast<std::size_t>(end - p)));
        if (!p)
            break;
        estimate += p[1] == 's' || p[1] == 'S' ? 127 : 31;
    }
    if (estimate > kMaxEstimate)
        estimate = kMaxEstimate;
    s.Preallocate(static_cast<int>(estimate));
}

void Str::FormatCore(const char* fmt, verifymt& vm, StrArgList& ap, signed char wide) {
    if (!fmt)
        return;
    Str& s = *vm.str;
    // A format taken from the string's own text would change under the appends.
    Str own;
    if (PointsInto(s, fmt)) {
        own = fmt;
        fmt = own;
    }
    Sink sink(s, vm);
    while (*fmt != 0) {
        // Literal runs between conversions are short: a plain walk costs less than a call.
        const char* pct = fmt;
        while (*pct != 0 && *pct != '%')
            ++pct;
        sink.Put(fmt, static_cast<std::size_t>(pct - fmt));
        if (*pct == 0)
            break;
        fmt = pct + 1;
        if (!OneValue(sink, fmt, ap, wide))
            break;
    }
    sink.Flush();
}

int Str::FmtOneValue(const char*& fmt, verifymt& vm, StrArgList& ap, signed char wide) {
    Sink sink(*vm.str, vm);
    const int done = OneValue(sink, fmt, ap, wide);
    sink.Flush();
    return done;
}

void Str::FormatVaArg(const char* fmt, StrArgList& ap, signed char wide) {
    if (!fmt)
        fmt = "";
    Str own;
    if (PointsInto(*this, fmt)) {
        own = fmt;
        fmt = own;
    }
    verifymt vm{this};
    FmtPriorBuffer(fmt, vm);
    FormatCore(fmt, vm, ap, wide);
}

namespace {

// A wide format is narrowed first, as Copy_FromUni narrows any wide text.
Str Narrowed(const wchar_t* fmt) {
    Str narrow;
    if (fmt)
        narrow.Copy_FromUni(fmt);
    return narrow;
}

// Formats from a copy of ap, so that the caller's list is left where it was.
Str& FormatCopy(Str& s, const char* fmt, va_list ap, signed char wide) {
    StrArgList args;
    va_copy(args.ap, ap);
    const VaListEnd end(args.ap);
    s.FormatVaArg(fmt, args, wide);
    return s;
}

} // namespace

Str& Str::Format(const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    const VaListEnd end(ap);
    return FormatCopy(*this, fmt, ap, 0);
}

Str& Str::Format(const wchar_t* fmt, ...) {
    const Str narrow = Narrowed(fmt);
    va_list ap;
    va_start(ap, fmt);
    const VaListEnd end(ap);
    return FormatCopy(*this, narrow, ap, 1);
}

Str& Str::FormatVA(const char* fmt, va_list ap) {
    return FormatCopy(*this, fmt, ap, 0);
}

Str& Str::FormatVA(const wchar_t* fmt, va_list ap) {
    return FormatCopy(*this, Narrowed(fmt), ap, 1);
}

Str& Str::AppendFormat(const char* fmt, ...) {
    StrArgList args;
    va_start(args.ap, fmt);
    const VaListEnd end(args.ap);
    verifymt vm{this};
    FormatCore(fmt, vm, args, 0);
    return *this;
}

Str& Str::AppendInt(int v) {
    char digits[24];
    char* end = digits + sizeof(digits);
    const char* first = Decimal(end, v, true);
    verifymt vm{this};
    CoreAppendChars(first, static_cast<int>(end - first), vm);
    return *this;
}

Str& Str::AppendFloat(float v, unsigned int digits) {
    char f[16];
    DoSprintf(f, sizeof(f), "%%.%uf", digits <= 32 ? digits : 32u);
    TextBuf out;
    const int n = FormatInto(out, f, static_cast<double>(v));
    verifymt vm{this};
    CoreAppendChars(out.data(), n, vm);
    return *this;
}

Str& Str::AppendDouble(double v, unsigned int digits) {
    char f[16];
    DoSprintf(f, sizeof(f), "%%.%uf", digits <= 48 ? digits : 48u);
    TextBuf out;
    const int n = FormatInto(out, f, v);
    verifymt vm{this};
    CoreAppendChars(out.data(), n, vm);
    return *this;
}
