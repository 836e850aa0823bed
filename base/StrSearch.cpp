// StrSearch.cpp — finding characters and texts in a string, with or without case, and replacing
// every match.
//
// A text search ends at the first zero byte after its start. Case mapping follows the current
// locale and always receives the byte as an unsigned char.
#include "base/Str.h"
#include "base/internal/Alias.h"
#include "base/internal/CaseFold.h"
#include "base/internal/TextBuf.h"

#include <climits>
#include <cstdint>
#include <cstring>
#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#endif
#include <new>
#include <string>
#include <vector>

using StrImplementation::AsByte;
using StrImplementation::CaseMap;
using StrImplementation::FoldCase;
using StrImplementation::PointsInto;
using StrImplementation::TextBuf;

namespace {

// True when a zero byte lies in [from, to): a text search ends at the first zero byte after its
// start, so a match beyond one does not count.
bool SearchedTextEnd(const char* from, const char* to) {
    return std::memchr(from, 0, static_cast<std::size_t>(to - from)) != nullptr;
}

// True when the text at p begins with s (non-empty, no zero byte). The comparison stops at the
// first difference, so it never reads past the text's terminator.
inline bool StartsWith(const char* p, const char* s) {
    std::size_t j = 1;
    while (s[j] != 0 && p[j] == s[j])
        ++j;
    return s[j] == 0;
}

// The first s (non-empty, no zero byte) in text at or after from, where the search ends at the
// first zero byte; -1 when there is none. A match can never run past that zero, so no other bound
// is needed: one pass over the text finds both the candidates and the end.
long ScanPortable(const char* text, long from, const char* s) {
    for (const char* p = text + from;; ++p) {
        p = std::strchr(p, s[0]);
        if (!p)
            return -1;
        if (StartsWith(p, s))
            return p - text;
    }
}

#if defined(__x86_64__) && defined(__GNUC__)
// The 64 aligned bytes at at, zero exactly where a byte equals f's or is a zero byte.
__attribute__((target("avx512bw"), always_inline)) inline __m512i Marks(const char* at, __m512i f) {
    const __m512i v = _mm512_load_si512(at);
    return _mm512_min_epu8(_mm512_xor_si512(v, f), v);
}

// The same scan 256 bytes at a time: one test per 256 bytes tells whether they hold the first
// character or a zero byte, and only then are the candidates taken one by one. Loads are aligned
// and stay within the len + 1 bytes of text and terminator.
__attribute__((target("avx512bw"))) long ScanWide(const char* text, long from, long len,
                                                  const char* s) {
    const char* p = text + from;
    const char* const stop = text + len + 1;
    const char first = s[0];
    for (; (reinterpret_cast<std::uintptr_t>(p) & 63) != 0; ++p) {
        if (p >= stop || *p == 0)
            return -1;
        if (*p == first && StartsWith(p, s))
            return p - text;
    }
    const __m512i f = _mm512_set1_epi8(first);
    for (; p + 256 <= stop; p += 256) {
        const __m512i all = _mm512_min_epu8(_mm512_min_epu8(Marks(p, f), Marks(p + 64, f)),
                                            _mm512_min_epu8(Marks(p + 128, f), Marks(p + 192, f)));
        if (_mm512_testn_epi8_mask(all, all) == 0)
            continue;
        for (const char* block = p; block < p + 256; block += 64) {
            const __m512i m = Marks(block, f);
            for (std::uint64_t k = _mm512_testn_epi8_mask(m, m); k != 0; k &= k - 1) {
                const char* c = block + __builtin_ctzll(k);
                if (*c == 0)
                    return -1;
                if (StartsWith(c, s))
                    return c - text;
            }
        }
    }
    return ScanPortable(text, p - text, s);
}

bool HaveWideScan() {
    static const bool have = __builtin_cpu_supports("avx512bw");
    return have;
}
#endif

// The text search on a text of len characters whose terminator is at len.
long ScanText(const char* text, long from, long len, const char* s) {
#if defined(__x86_64__) && defined(__GNUC__)
    if (HaveWideScan())
        return ScanWide(text, from, len, s);
#endif
    (void)len;
    return ScanPortable(text, from, s);
}

// The no-case text search: where the lower-case copy of a text would hold the lower-case needle,
// found in place. Candidates for the first character are the bytes that lower to it (usually one
// letter in both cases), each found with memchr, and the rest is compared through the case table.
// One finder serves a series of searches over the same unchanged text, so the candidates found
// ahead by one search are reused by the next.
class LoweredFinder {
public:
    LoweredFinder(const char* text, long len, const char* needle, std::size_t m)
        : text_(text), len_(len), needle_(needle), m_(m), lower_(false) {
        for (int c = 1; c < 256 && nFirsts_ <= 2; ++c) {
            if (lower_(static_cast<unsigned char>(c)) == AsByte(needle[0])) {
                if (nFirsts_ < 2)
                    firsts_[nFirsts_] = static_cast<char>(c);
                ++nFirsts_;
            }
        }
    }

    // The first match at or after start (which lies in the text's first zero-free run) and before
    // the next zero byte, or -1.
    long Next(long start) {
        const long last = len_ - static_cast<long>(m_);
        for (long i = start; i <= last;) {
            long at = LONG_MAX;
            if (nFirsts_ <= 2) {
                for (int k = 0; k < nFirsts_; ++k) {
                    if (nextAt_[k] < i) {
                        const void* hit = std::memchr(text_ + i, firsts_[k],
                                                      static_cast<std::size_t>(last - i) + 1);
                        nextAt_[k] = hit ? static_cast<const char*>(hit) - text_ : LONG_MAX;
                    }
                    at = nextAt_[k] < at ? nextAt_[k] : at;
                }
            } else {
                for (long j = i; j <= last && at == LONG_MAX; ++j)
                    if (lower_(AsByte(text_[j])) == AsByte(needle_[0]))
                        at = j;
            }
            if (at == LONG_MAX)
                return -1;
            const char* p = text_ + at;
            std::size_t j = 1;
            while (j < m_ && lower_(AsByte(p[j])) == AsByte(needle_[j]))
                ++j;
            if (j == m_)
                return SearchedTextEnd(text_ + start, p) ? -1 : at;
            i = at + 1;
        }
        return -1;
    }

private:
    const char* text_;
    long len_;
    const char* needle_;
    std::size_t m_;
    CaseMap lower_;
    char firsts_[2] = {0, 0};
    int nFirsts_ = 0;
    // Offset of the next candidate of each first byte: below the scan position it is out of date,
    // LONG_MAX means there is none left.
    long nextAt_[2] = {-1, -1};
};

} // namespace

namespace StrImplementation {

// --- Replacing -----------------------------------------------------------------------------

int STR_ReplaceCore(Str& str, const char* find, const char* repl, signed char nocase) {
    if (!find || *find == 0)
        str.Error(Str::ecEmptyArg);
    if (!repl)
        repl = "";
    // Texts taken from the string itself would change (or vanish) under the first replacement.
    Str findCopy, replCopy;
    if (PointsInto(str, find)) {
        findCopy = find;
        find = findCopy;
    }
    if (PointsInto(str, repl)) {
        replCopy = repl;
        repl = replCopy;
    }
    const int m = static_cast<int>(std::strlen(find));
    const int r = static_cast<int>(std::strlen(repl));
    // Each search resumes right after the text just put in, so the matches are exactly the
    // non-overlapping ones of the original text, left to right: find them all first, then move
    // every byte once instead of once per replacement.
    std::string lowFind;
    if (nocase) {
        lowFind = find;
        STR_ToLower(lowFind.data(), static_cast<unsigned int>(m));
    }
    std::vector<int> at;
    // Every search starts inside the first zero-free run, where the no-case search needs no
    // lower-case copy of the text.
    LoweredFinder lowered(str, str.GetLength(), lowFind.c_str(), static_cast<std::size_t>(m));
    for (int from = 0; from <= str.GetLength() - m;) {
        const int found = nocase ? static_cast<int>(lowered.Next(from)) : str.Find(find, from);
        if (found < 0)
            break;
        at.push_back(found);
        from = found + m;
    }
    if (at.empty())
        return 0;
    const long long len = str.GetLength();
    const long long total = len + static_cast<long long>(at.size()) * (r - m);
    if (total > INT_MAX)
        throw std::bad_alloc();
    const int newLen = static_cast<int>(total);
    if (r > m) {
        // The capacity replacing one match at a time ends with: the block's own while the result
        // fits in it, else the result's length rounded up.
        const int capacity = SBlock::of(str)->capacity;
        str.Preallocate(newLen <= capacity ? capacity : newLen);
    }
    char* text = str.GetBuffer();
    if (r <= m) {
        // Shrinking or equal: front to back, the write position never passes the read position.
        int out = at[0];
        for (std::size_t k = 0; k < at.size(); ++k) {
            std::memcpy(text + out, repl, static_cast<std::size_t>(r));
            out += r;
            const int in = at[k] + m;
            const int end = k + 1 < at.size() ? at[k + 1] : static_cast<int>(len);
            std::memmove(text + out, text + in, static_cast<std::size_t>(end - in));
            out += end - in;
        }
    } else {
        // Growing: back to front, the write position never falls behind the read position.
        int out = newLen;
        for (std::size_t k = at.size(); k-- > 0;) {
            const int in = at[k] + m;
            const int end = k + 1 < at.size() ? at[k + 1] : static_cast<int>(len);
            out -= end - in;
            std::memmove(text + out, text + in, static_cast<std::size_t>(end - in));
            out -= r;
            std::memcpy(text + out, repl, static_cast<std::size_t>(r));
        }
    }
    str.ReleaseBuffer(newLen);
    return static_cast<int>(at.size());
}

} // namespace StrImplementation

// --- Character searches ----------------------------------------------------------------------

int Str::Find(char ch, int start) const {
    if (start < 0 || start > GetLength())
        Error(ecIndexRange);
    if (dptr[start] == 0)
        return -1;
    const char* p = std::strchr(dptr + start, ch);
    return p ? static_cast<int>(p - dptr) : -1;
}

int Str::ReverseFind(char ch, int start) const {
    const int len = GetLength();
    if (start == -1) {
        if (len == 0)
            return -1;
        start = len - 1;
    } else if (start >= len) {
        Error(ecIndexRange);
    } else if (start < 0) {
        return -1;
    }
    const void* p = memrchr(dptr, ch, static_cast<std::size_t>(start) + 1);
    return p ? static_cast<int>(static_cast<const char*>(p) - dptr) : -1;
}

int Str::FindNoCase(char ch, int start) const {
    Str lower(*this);
    lower.Str_MakeUL(0);
    return lower.Find(static_cast<char>(FoldCase(AsByte(ch), false)), start);
}

int Str::ReverseFindNoCase(char ch, int start) const {
    Str lower(*this);
    lower.Str_MakeUL(0);
    return lower.ReverseFind(static_cast<char>(FoldCase(AsByte(ch), false)), start);
}

// --- Text searches -----------------------------------------------------------------------------

int Str::Find(const char* s, int start) const {
    if (start < 0)
        Error(ecIndexRange);
    if (!s || *s == 0)
        return -1;
    const long len = GetLength();
    // A start past the last place s could begin finds nothing, and is never read from.
    if (static_cast<long>(strnlen(s, static_cast<std::size_t>(len) + 1)) > len - start)
        return -1;
    return static_cast<int>(ScanText(dptr, start, len, s));
}

int Str::FindNoCase(const char* s, int start) const {
    if (!s)
        s = "";
    const std::size_t m = std::strlen(s);
    TextBuf needle(m + 1);
    std::memcpy(needle.data(), s, m + 1);
    StrImplementation::STR_ToLower(needle.data(), static_cast<unsigned int>(m));
    const long len = GetLength();
    if (start >= 0 && m > 0 && !SearchedTextEnd(dptr, dptr + (start < len ? start : len)))
        return static_cast<int>(LoweredFinder(dptr, len, needle.data(), m).Next(start));
    // Outside the text's first zero-free run the lower-case copy may differ from the text beyond
    // it; the range error names that copy too. Search the copy itself.
    Str lower(*this);
    lower.Str_MakeUL(0);
    return lower.Find(needle.data(), start);
}

int Str::FindOneOf(const char* set, int start) const {
    if (!set || *set == 0)
        Error(ecEmptyArg);
    if (start < 0 || (start >= 1 && start >= GetLength()))
        Error(ecIndexRange);
    const int r = StringSpanExcluding(dptr + start, set);
    return r < 0 ? -1 : start + r;
}
