// StrSearch.cpp — the read-only side of Str: searching, spans and tokens, equality, the ordering
// comparisons, case conversion, number parsing and the wide/narrow copies.
//
// Character classification and case mapping follow the current locale and always receive the
// byte as an unsigned char; ordering compares bytes as signed chars, so bytes 128-255 sort before
// the ASCII range.
#include "base/Str.h"
#include "base/internal/Alias.h"
#include "base/internal/ByteOrder.h"
#include "base/internal/CaseFold.h"
#include "base/internal/SortOrder.h"
#include "base/internal/TextBuf.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#endif
#include <new>
#include <string>
#include <vector>

using StrImplementation::CaseMap;
using StrImplementation::FoldCase;
using StrImplementation::LoadBigEndian8;
using StrImplementation::PointsInto;
using StrImplementation::SBlock;
using StrImplementation::TextBuf;

namespace {

inline unsigned char U(char c) {
    return static_cast<unsigned char>(c);
}

inline signed char UpperForOrdering(const CaseMap& map, char c) {
    return static_cast<signed char>(map(U(c)));
}

// 1 when a orders after b as signed bytes, else -1.
inline int SignedOrder(signed char a, signed char b) {
    return a > b ? 1 : -1;
}

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
            if (lower_(static_cast<unsigned char>(c)) == U(needle[0])) {
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
                    if (lower_(U(text_[j])) == U(needle_[0]))
                        at = j;
            }
            if (at == LONG_MAX)
                return -1;
            const char* p = text_ + at;
            std::size_t j = 1;
            while (j < m_ && lower_(U(p[j])) == U(needle_[j]))
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

// --- Ordering comparisons ------------------------------------------------------------------

namespace StrImplementation {

int STR_strcmp_ex(const char* a, const char* b) {
    if (!a)
        a = "";
    if (!b)
        b = "";
    // The exact ordering is the C library's: bytes compare as unsigned values, unlike the
    // case-insensitive forms below, which order them as signed chars.
    const int r = std::strcmp(a, b);
    return (r > 0) - (r < 0);
}

int STR_stricmp(const char* a, const char* b) {
    if (!a)
        a = "";
    if (!b)
        b = "";
    const CaseMap map(true);
    for (;; ++a, ++b) {
        const char ca = *a, cb = *b;
        if (ca == 0)
            return cb == 0 ? 0 : -1;
        if (cb == 0)
            return 1;
        if (ca == cb)
            continue;
        const signed char ua = UpperForOrdering(map, ca), ub = UpperForOrdering(map, cb);
        if (ua != ub)
            return SignedOrder(ua, ub);
    }
}

int STR_stricmp_ex(const char* a, const char* b) {
    const int r = STR_stricmp(a, b);
    return r < 0 ? -1 : (r > 0 ? 1 : 0);
}

int STR_strnicmp(const char* a, const char* b, int n) {
    if (!a)
        a = "";
    if (!b)
        b = "";
    const CaseMap map(true);
    for (int i = 0; i < n; ++i) {
        const char ca = a[i], cb = b[i];
        if (ca == cb) {
            if (ca == 0)
                return 0;
            continue;
        }
        // A string that ends here takes part as the value 0.
        const signed char ua = UpperForOrdering(map, ca), ub = UpperForOrdering(map, cb);
        if (ua != ub)
            return SignedOrder(ua, ub);
    }
    return 0;
}

// Keys whose folded tails are reserved up front, at most.
constexpr std::size_t kReserveKeys = std::size_t{1} << 20;
// Folded bytes an entry holds itself; only a longer key keeps the rest in folded_.
constexpr std::size_t kInEntry = 16;

// Folded bytes: the upper-case mapping as a signed char, moved to unsigned order. Folded keys
// compare with memcmp, a shorter key first when one is a prefix of the other, exactly as
// STR_stricmp compares the keys. An entry holds the first 16 folded bytes as two big-endian
// numbers, which settle most comparisons; the tails of longer keys wait in folded_.
CaseOrder::CaseOrder(std::size_t expected) {
    entries_.reserve(expected);
    offsets_.reserve(expected);
    // Generous, so that the tails are rarely copied as they grow (pages never written are never
    // touched), but bounded, since this is only a hint.
    folded_.reserve(std::min<std::size_t>(expected, kReserveKeys) * 32);
}

void CaseOrder::Fold(const char* text, std::size_t n) {
    const CaseMap map(true);
    const std::size_t at = folded_.size();
    folded_.resize(at + n);
    unsigned char* out = folded_.data() + at;
    for (std::size_t j = 0; j < n; ++j)
        out[j] = static_cast<unsigned char>(UpperForOrdering(map, text[j])) ^ 0x80u;
}

void CaseOrder::Close(std::size_t offset) {
    const std::size_t length = folded_.size() - offset;
    // Keys are the texts of strings, whose lengths are ints; the element count is 32-bit too, and
    // so are the offsets of the tails.
    if (length > UINT32_MAX || entries_.size() >= UINT32_MAX || offset > UINT32_MAX)
        throw std::bad_alloc();
    unsigned char* key = folded_.data() + offset;
    std::uint64_t head = 0, next = 0;
    for (std::size_t j = 0; j < length && j < 8; ++j)
        head |= static_cast<std::uint64_t>(key[j]) << (56 - 8 * j);
    for (std::size_t j = 8; j < length && j < kInEntry; ++j)
        next |= static_cast<std::uint64_t>(key[j]) << (56 - 8 * (j - 8));
    entries_.push_back({head, next, static_cast<std::uint32_t>(entries_.size()),
                        static_cast<std::uint32_t>(length)});
    offsets_.push_back(static_cast<std::uint32_t>(offset));
    // Only the tail stays.
    const std::size_t tail = length > kInEntry ? length - kInEntry : 0;
    if (tail != 0)
        std::memmove(key, key + kInEntry, tail);
    folded_.resize(offset + tail);
}

void CaseOrder::Add(const char* key) {
    const std::size_t offset = folded_.size();
    if (key)
        Fold(key, std::strlen(key));
    Close(offset);
}

void CaseOrder::AddJoined(const Str* const* parts, int count, char separator) {
    const std::size_t offset = folded_.size();
    for (int i = 0; i < count; ++i) {
        if (i > 0) {
            if (separator == 0)
                break;
            Fold(&separator, 1);
        }
        const std::size_t length = static_cast<std::size_t>(parts[i]->GetLength());
        const std::size_t n = strnlen(*parts[i], length);
        Fold(*parts[i], n);
        if (n < length)
            break;
    }
    Close(offset);
}

std::vector<std::uint32_t> CaseOrder::Order() {
    const unsigned char* base = folded_.data();
    const std::uint32_t* offsets = offsets_.data();
    // Equal keys are ordered by their index, which makes the order total: an in-place sort then
    // gives the stable order without a merge buffer.
    std::sort(entries_.begin(), entries_.end(), [base, offsets](const Entry& a, const Entry& b) {
        if (a.head != b.head)
            return a.head < b.head;
        if (a.next != b.next)
            return a.next < b.next;
        // Equal beginnings: the tails of keys that share a long one (a folder)
        // are compared 8 bytes at a time.
        if (a.length <= kInEntry || b.length <= kInEntry)
            return a.length != b.length ? a.length < b.length : a.index < b.index;
        const std::size_t common = (a.length < b.length ? a.length : b.length) - kInEntry;
        const unsigned char* p = base + offsets[a.index];
        const unsigned char* q = base + offsets[b.index];
        std::size_t at = 0;
        for (; at + 8 <= common; at += 8) {
            const std::uint64_t x = LoadBigEndian8(p + at), y = LoadBigEndian8(q + at);
            if (x != y)
                return x < y;
        }
        for (; at < common; ++at)
            if (p[at] != q[at])
                return p[at] < q[at];
        return a.length != b.length ? a.length < b.length : a.index < b.index;
    });
    std::vector<std::uint32_t> order(entries_.size());
    for (std::size_t r = 0; r < order.size(); ++r)
        order[r] = entries_[r].index;
    return order;
}

// --- Case conversion -----------------------------------------------------------------------

void STR_ToUpper(char* s, unsigned int n) {
    const CaseMap map(true);
    for (unsigned int i = 0; i < n && s[i] != 0; ++i)
        s[i] = static_cast<char>(map(U(s[i])));
}

void STR_ToLower(char* s, unsigned int n) {
    const CaseMap map(false);
    for (unsigned int i = 0; i < n && s[i] != 0; ++i)
        s[i] = static_cast<char>(map(U(s[i])));
}

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

// --- Numbers -------------------------------------------------------------------------------

long STR_strtol(const char* s, char** end, int base) {
    const char* p = s;
    while (std::isspace(U(*p)))
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
        const unsigned char c = U(*p);
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
    return lower.Find(static_cast<char>(FoldCase(U(ch), false)), start);
}

int Str::ReverseFindNoCase(char ch, int start) const {
    Str lower(*this);
    lower.Str_MakeUL(0);
    return lower.ReverseFind(static_cast<char>(FoldCase(U(ch), false)), start);
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
    return static_cast<int>(std::strspn(str, set));
}

int Str::StringSpanExcluding(const char* str, const char* set) {
    if (!str || !set || *set == 0)
        return -1;
    const std::size_t n = std::strcspn(str, set);
    return str[n] == 0 ? -1 : static_cast<int>(n);
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
        const int start = pos + StringSpanIncluding(dptr + pos, set);
        if (dptr[start] != 0) {
            int n = StringSpanExcluding(dptr + start, set);
            if (n < 0)
                n = len - start;
            pos = start + n < len ? start + n : -1;
            return Mid(start, n);
        }
    }
    pos = -1;
    return Str();
}

// --- Equality ----------------------------------------------------------------------------------

bool operator==(Str const& a, Str const& b) {
    const int n = a.GetLength();
    return n == b.GetLength() &&
           std::memcmp(static_cast<const char*>(a), static_cast<const char*>(b), n) == 0;
}

bool operator==(Str const& a, char const* s) {
    if (!s)
        s = "";
    const std::size_t n = std::strlen(s);
    return n == static_cast<std::size_t>(a.GetLength()) &&
           std::memcmp(static_cast<const char*>(a), s, n) == 0;
}

// --- Case and numbers --------------------------------------------------------------------------

void Str::Str_MakeUL(signed char upper) {
    const int len = GetLength();
    // Find the first character the conversion changes; text already in the wanted case is left
    // alone, so a shared block stays shared and nothing is allocated.
    const CaseMap map(upper != 0);
    int first = 0;
    for (; first < len && dptr[first] != 0; ++first) {
        const unsigned char c = U(dptr[first]);
        if (map(c) != c)
            break;
    }
    if (first >= len || dptr[first] == 0)
        return;
    TextBuf scratch(static_cast<std::size_t>(len) + 1);
    char* s = scratch.data();
    std::memcpy(s, dptr, static_cast<std::size_t>(len) + 1);
    const unsigned int rest = static_cast<unsigned int>(len - first);
    if (upper)
        StrImplementation::STR_ToUpper(s + first, rest);
    else
        StrImplementation::STR_ToLower(s + first, rest);
    Copy_Native(s);
}

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
