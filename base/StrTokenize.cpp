// StrTokenize.cpp — spans of a character set and the tokens between separators.
//
// Every scan here ends at the first zero byte, as the C library's span functions do, even inside
// a string whose length counts bytes beyond it.
#include "base/Str.h"

#include <cstdint>
#include <cstring>

namespace {

// A set of bytes as 256 bits, built once per call, so that a membership test costs one lookup
// whatever the size of the set. The zero byte is never a member.
class ByteSet {
public:
    explicit ByteSet(const char* set) {
        for (const char* p = set; p && *p != 0; ++p)
            Add(static_cast<unsigned char>(*p));
    }
    bool Has(char c) const {
        const unsigned char b = static_cast<unsigned char>(c);
        return (bits_[b >> 6] >> (b & 63) & 1) != 0;
    }

private:
    void Add(unsigned char b) { bits_[b >> 6] |= std::uint64_t{1} << (b & 63); }
    std::uint64_t bits_[4] = {0, 0, 0, 0};
};

// Characters of str that belong to set, from the start.
int SpanOf(const char* str, const ByteSet& set) {
    int n = 0;
    while (set.Has(str[n]))
        ++n;
    return n;
}

// Characters of str before the first member of set or the zero byte.
int SpanBefore(const char* str, const ByteSet& set) {
    int n = 0;
    while (str[n] != 0 && !set.Has(str[n]))
        ++n;
    return n;
}

} // namespace

// --- Spans and tokens --------------------------------------------------------------------------

int Str::StringSpanIncluding(const char* str, const char* set) {
    if (!str || !set || *set == 0)
        return 0;
    if (set[1] == 0) {
        const char c = set[0];
        int n = 0;
        while (str[n] == c)
            ++n;
        return n;
    }
    return SpanOf(str, ByteSet(set));
}

int Str::StringSpanExcluding(const char* str, const char* set) {
    if (!str || !set || *set == 0)
        return -1;
    const int n = SpanBefore(str, ByteSet(set));
    return str[n] == 0 ? -1 : n;
}

Str Str::SpanIncluding(const char* set) const {
    const int n = StringSpanIncluding(dptr, set);
    return n < 1 ? Str() : Mid(0, n);
}

Str Str::SpanExcluding(const char* set) const {
    const int n = StringSpanExcluding(dptr, set);
    return n < 1 ? Str() : Mid(0, n);
}

Str Str::Tokenize(const char* set, int& pos) const {
    if (pos < 0)
        return Str();
    const int len = GetLength();
    if (pos < len) {
        // The token runs to the next delimiter; when the zero byte comes first (the end, or one
        // inside the text) it runs to the end of the string, zero bytes included.
        int start = pos;
        const char* end;
        if (set && set[0] != 0 && set[1] == 0) {
            // One delimiter, the common case: one scan for it or the end, with the C library's
            // character search, which uses the widest vectors the processor has.
            const char c = set[0];
            while (dptr[start] == c)
                ++start;
            end = std::strchr(dptr + start, c);
            if (!end)
                end = dptr + start + std::strlen(dptr + start);
        } else {
            const ByteSet delimiters(set);
            start += SpanOf(dptr + start, delimiters);
            end = dptr + start + SpanBefore(dptr + start, delimiters);
        }
        if (dptr[start] != 0) {
            const int n = *end != 0 ? static_cast<int>(end - dptr) - start : len - start;
            pos = start + n < len ? start + n : -1;
            // Mid(start, n) without its checks, which the bounds above already satisfy.
            Str token;
            token.NewFromString(dptr + start, n, 0, 0);
            return token;
        }
    }
    pos = -1;
    return Str();
}
