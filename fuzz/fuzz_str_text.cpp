// Searching, tokenising and number reading on arbitrary text. The first byte picks a character
// and a start position, the second a delimiter set length; the rest is the text. Results are
// checked against what they claim (a found character is there, tokens hold no delimiter and
// appear in order, a number that parses reads back the same value), and the conversions are
// compared with the C library where the two must agree.
#include "FuzzCheck.h"
#include "base/Str.h"

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

bool InSet(char c, const char* set) {
    return c != 0 && std::strchr(set, c) != nullptr;
}

void Tokens(const Str& s, const char* set) {
    int pos = 0;
    int last = -1;
    for (int guard = 0; pos >= 0; ++guard) {
        FUZZ_CHECK(guard <= s.GetLength() + 1);
        const Str token = s.Tokenize(set, pos);
        if (pos < 0)
            break;
        FUZZ_CHECK(pos > last && pos <= s.GetLength());
        last = pos;
        FUZZ_CHECK(!token.IsEmpty());
        for (const char* p = token; *p; ++p)
            FUZZ_CHECK(!InSet(*p, set));
        FUZZ_CHECK(std::memcmp(static_cast<const char*>(s) + pos - token.GetLength(), token,
                               static_cast<std::size_t>(token.GetLength())) == 0);
    }
}

void Searches(const Str& s, char ch, int start, const char* set) {
    const int len = s.GetLength();
    const char* text = s;
    try {
        const int at = s.Find(ch, start);
        FUZZ_CHECK(at == -1 || (at >= start && at <= len && text[at] == ch));
    } catch (const StrException& e) {
        FUZZ_CHECK(e.code == Str::ecIndexRange && (start < 0 || start > len));
    }
    try {
        const int at = s.ReverseFind(ch, start);
        FUZZ_CHECK(at == -1 || ((start == -1 || at <= start) && at < len && text[at] == ch));
    } catch (const StrException& e) {
        FUZZ_CHECK(e.code == Str::ecIndexRange && start >= len);
    }
    try {
        const int at = s.FindNoCase(ch, start);
        FUZZ_CHECK(at == -1 || (at >= start && at <= len));
    } catch (const StrException& e) {
        FUZZ_CHECK(e.code == Str::ecIndexRange);
    }
    try {
        const int at = s.Find(set, start);
        FUZZ_CHECK(at == -1 ||
                   (at >= start && std::strncmp(text + at, set, std::strlen(set)) == 0));
    } catch (const StrException& e) {
        FUZZ_CHECK(e.code == Str::ecIndexRange && start < 0);
    }
    try {
        const int at = s.FindNoCase(set, start);
        FUZZ_CHECK(at == -1 || (at >= start && at < len));
    } catch (const StrException& e) {
        FUZZ_CHECK(e.code == Str::ecIndexRange && start < 0);
    }
    try {
        const int at = s.FindOneOf(set, start);
        FUZZ_CHECK(at == -1 || (at >= start && InSet(text[at], set)));
    } catch (const StrException& e) {
        FUZZ_CHECK(e.code == Str::ecEmptyArg || e.code == Str::ecIndexRange);
    }
    const Str in = s.SpanIncluding(set);
    const Str ex = s.SpanExcluding(set);
    FUZZ_CHECK(in.GetLength() <= len && ex.GetLength() <= len);
}

void Numbers(const Str& s) {
    static const int bases[] = {0, 2, 8, 10, 16, 36, 1, 37, -1};
    for (int base : bases) {
        char* end = nullptr;
        const long v = StrImplementation::STR_strtol(s, &end, base);
        FUZZ_CHECK(end >= static_cast<const char*>(s) &&
                   end <= static_cast<const char*>(s) + s.GetLength());
        FUZZ_CHECK(v >= INT32_MIN && v <= INT32_MAX);
        if (base == 1 || base == 37 || base == -1) {
            FUZZ_CHECK(v == 0 && end == static_cast<const char*>(s));
            continue;
        }
        // Within 32 bits the result agrees with the C library, and so does the end when digits
        // were read (a "0x" with no hex digit behind it counts as no digits here, not as "0").
        errno = 0;
        char* cend = nullptr;
        const long long c = std::strtoll(s, &cend, base);
        if (errno == 0 && c >= INT32_MIN && c <= INT32_MAX) {
            FUZZ_CHECK(v == c);
            if (end != static_cast<const char*>(s))
                FUZZ_CHECK(end == cend);
        }
    }

    signed char failed = 2;
    const int i = s.ToInt(&failed);
    FUZZ_CHECK(failed == 0 || (failed == 1 && i == 0));
    try {
        FUZZ_CHECK(s.ToInt() == i);
        FUZZ_CHECK(failed == 0);
    } catch (const StrException& e) {
        FUZZ_CHECK(e.code == Str::ecNotNumber && failed == 1);
    }

    failed = 2;
    const double d = s.ToDouble(&failed);
    FUZZ_CHECK(failed == 0 || (failed == 1 && d == 0));
    try {
        const double again = s.ToDouble();
        FUZZ_CHECK(again == d || (std::isnan(again) && std::isnan(d)));
        FUZZ_CHECK(failed == 0);
    } catch (const StrException& e) {
        FUZZ_CHECK(e.code == Str::ecNotNumber && failed == 1);
    }
    s.ToFloat(&failed);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const char ch = static_cast<char>(data[0]);
    const int start = static_cast<int>(data[0] % 40) - 4;
    const std::size_t setLength = data[1] % 5;
    const std::string rest(reinterpret_cast<const char*>(data + 2), size - 2);
    const std::string set = rest.substr(0, std::min(setLength, rest.size()));
    const Str s(rest.c_str() + set.size());

    Tokens(s, set.c_str());
    Tokens(s, " \t,;");
    Searches(s, ch, start, set.c_str());
    Searches(s, ch, -1, " ");
    Numbers(s);
    return 0;
}
