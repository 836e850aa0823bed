// StrCompare.cpp — the orderings and equality of texts, the sort keys of the list sorts, and case
// conversion.
//
// Case mapping follows the current locale; ordering compares bytes as signed chars in the
// case-insensitive forms, so bytes 128-255 sort before the ASCII range, and as unsigned bytes in
// the exact one.
#include "base/Str.h"
#include "base/internal/ByteOrder.h"
#include "base/internal/CaseFold.h"
#include "base/internal/SortOrder.h"
#include "base/internal/TextBuf.h"

#include <algorithm>
#include <cstring>
#include <vector>

using StrImplementation::AsByte;
using StrImplementation::CaseMap;
using StrImplementation::LoadBigEndian8;
using StrImplementation::TextBuf;

namespace {

inline signed char UpperForOrdering(const CaseMap& map, char c) {
    return static_cast<signed char>(map(AsByte(c)));
}

// 1 when a orders after b as signed bytes, else -1.
inline int SignedOrder(signed char a, signed char b) {
    return a > b ? 1 : -1;
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
        s[i] = static_cast<char>(map(AsByte(s[i])));
}

void STR_ToLower(char* s, unsigned int n) {
    const CaseMap map(false);
    for (unsigned int i = 0; i < n && s[i] != 0; ++i)
        s[i] = static_cast<char>(map(AsByte(s[i])));
}

} // namespace StrImplementation

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
        const unsigned char c = AsByte(dptr[first]);
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
