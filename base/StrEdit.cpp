// StrEdit.cpp — the operations that change a string's text or build a new string from pieces:
// wide assignment, appending, concatenation, insertion, deletion, replacement, extraction,
// trimming and direct buffer access. Every change goes through PrepareWrite and releases the
// replaced block only after the change, so text may be taken from the string itself.
#include "base/Str.h"
#include "base/internal/Alias.h"

#include <climits>
#include <cstdint>
#include <cstring>

using StrImplementation::PointsInto;
using StrImplementation::SBlock;
using StrImplementation::syncstr;
using StrImplementation::verifymt;

namespace StrImplementation {
const char trim_defaultcharset[] = " \t\r\n";
} // namespace StrImplementation

namespace {

bool InSet(const char* set, char c) {
    return c != 0 && std::strchr(set, c) != nullptr;
}

// strlen(s), with a null s read as the empty text; a text beyond the 32-bit length limit cannot be
// held and is reported as an allocation failure.
int MeasuredLength(const char* s) {
    const std::size_t n = s ? std::strlen(s) : 0;
    if (n > INT_MAX)
        throw std::bad_alloc();
    return static_cast<int>(n);
}

int TotalLength(long long a, long long b) {
    if (a + b > INT_MAX)
        throw std::bad_alloc();
    return static_cast<int>(a + b);
}

} // namespace

void Str::Copy_FromUni(const wchar_t* s) {
    const std::size_t len = s ? std::wcslen(s) : 0;
    if (len == 0) {
        Reset();
        return;
    }
    syncstr held;
    PrepareWrite(CapacityFor(static_cast<long long>(len)), false, true, held);
    for (std::size_t i = 0; i < len; ++i)
        dptr[i] = Char::ToANSI(s[i]);
    dptr[len] = 0;
    Block()->length = static_cast<int>(len);
    ReleaseHeld(held);
}

void Str::CoreAppendChars(const char* s, int n, verifymt& vm) {
    if (n <= 0)
        return;
    Str& str = *vm.str;
    const int len = str.Block()->length;
    const int newLen = TotalLength(len, n);
    // A source inside the string's own text is read by offset: the preparation keeps the text,
    // whether it writes in place, copies into a new block or resizes the block.
    const bool own = PointsInto(s, str.dptr, str.dptr + len);
    const std::ptrdiff_t offset = own ? s - str.dptr : 0;
    syncstr held;
    str.PrepareWrite(newLen | 63, true, true, held, true);
    if (own)
        s = str.dptr + offset;
    std::memcpy(str.dptr + len, s, static_cast<std::size_t>(n));
    str.dptr[newLen] = 0;
    str.Block()->length = newLen;
    ReleaseHeld(held);
}

void Str::AppendChars(const char* s, int n) {
    if (n == -1)
        n = MeasuredLength(s);
    verifymt vm{this};
    CoreAppendChars(s, n, vm);
}

Str& Str::operator+=(const char* s) {
    AppendChars(s, -1);
    return *this;
}

Str& Str::operator+=(const wchar_t* s) {
    Str narrow;
    narrow.Copy_FromUni(s);
    return *this += narrow;
}

Str& Str::operator+=(const Str& s) {
    verifymt vm{this};
    CoreAppendChars(s.dptr, s.Block()->length, vm);
    return *this;
}

Str& Str::AppendCharGrow(char ch) {
    const int len = Block()->length;
    const int newLen = TotalLength(len, 1);
    syncstr held;
    PrepareWrite(newLen | 63, true, true, held, true);
    dptr[len] = ch;
    dptr[newLen] = 0;
    Block()->length = newLen;
    ReleaseHeld(held);
    return *this;
}

Str& Str::AppendChar(wchar_t ch) {
    const wchar_t one[2] = {ch, 0};
    return *this += one;
}

Str& Str::EndInSlash() {
    const int len = Block()->length;
    if (len > 0 && dptr[len - 1] != '/')
        AppendChar('/');
    return *this;
}

Str operator+(Str const& a, Str const& b) {
    Str r;
    r.Preallocate(TotalLength(a.GetLength(), b.GetLength()));
    r += a;
    r += b;
    return r;
}

Str operator+(Str const& a, char const* s) {
    const int n = MeasuredLength(s);
    Str r;
    r.Preallocate(TotalLength(n, a.GetLength()));
    r += a;
    r.AppendChars(s, n);
    return r;
}

Str operator+(Str const& a, char ch) {
    Str r;
    r.Preallocate(TotalLength(a.GetLength(), 1));
    r += a;
    r.AppendChar(ch);
    return r;
}

Str operator+(char const* s, Str const& b) {
    const int n = MeasuredLength(s);
    Str r;
    r.Preallocate(TotalLength(n, b.GetLength()));
    r.Copy_Native(s);
    r += b;
    return r;
}

Str operator+(char ch, Str const& b) {
    Str r;
    r.Preallocate(TotalLength(b.GetLength(), 1));
    r.AppendChar(ch);
    r += b;
    return r;
}

Str& Str::Insert(const char* s, int pos, int count) {
    std::size_t n = 0;
    if (s)
        n = count == -1 ? std::strlen(s)
                        : strnlen(s, count < 0 ? 0 : static_cast<std::size_t>(count));
    if (n == 0)
        return *this;
    const int len = Block()->length;
    if (pos < 0 || pos > len)
        Error(ecIndexRange);
    if (PointsInto(s, dptr, dptr + len)) {
        // The move below could overtake a source inside this text; take a copy first.
        Str piece;
        piece.AppendChars(s, static_cast<int>(n));
        return Insert(piece, pos, -1);
    }
    const int newLen = TotalLength(len, static_cast<long long>(n));
    syncstr held;
    PrepareWrite(newLen | 63, true, true, held);
    std::memmove(dptr + pos + n, dptr + pos, static_cast<std::size_t>(len - pos) + 1);
    std::memcpy(dptr + pos, s, n);
    Block()->length = newLen;
    ReleaseHeld(held);
    return *this;
}

Str& Str::Delete(int pos, int count) {
    const int len = Block()->length;
    if (pos < 0)
        Error(ecIndexRange);
    if (pos >= len)
        return Empty();
    if (count < 0)
        count = 0;
    syncstr held;
    PrepareWrite(0, true, false, held);
    if (count < len - pos) {
        std::memmove(dptr + pos, dptr + pos + count,
                     static_cast<std::size_t>(len - pos - count) + 1);
        Block()->length = len - count;
    } else {
        dptr[pos] = 0;
        Block()->length = pos;
    }
    ReleaseHeld(held);
    return *this;
}

Str& Str::DeleteLeft(int n) {
    const int len = Block()->length;
    if (n >= len)
        return Empty();
    if (n <= 0)
        return *this;
    syncstr held;
    PrepareWrite(0, true, false, held);
    std::memmove(dptr, dptr + n, static_cast<std::size_t>(len - n) + 1);
    Block()->length = len - n;
    ReleaseHeld(held);
    return *this;
}

Str& Str::DeleteRight(int n) {
    const int len = Block()->length;
    if (n < 0)
        n = 0;
    if (len > n)
        TruncateAt(len - n);
    else
        Empty();
    return *this;
}

void Str::TruncateAt(int n) {
    if (n < 0)
        n = 0;
    if (Block()->length <= n)
        return;
    syncstr held;
    PrepareWrite(0, true, false, held);
    dptr[n] = 0;
    Block()->length = n;
    ReleaseHeld(held);
}

int Str::Remove(char ch) {
    if (ch == 0)
        Error(ecZeroChar);
    const int len = Block()->length;
    const void* first = std::memchr(dptr, ch, static_cast<std::size_t>(len));
    if (!first)
        return 0;
    const int at = static_cast<int>(static_cast<const char*>(first) - dptr);
    syncstr held;
    PrepareWrite(0, true, false, held);
    // One pass that closes every gap as it goes: the same result as removing the characters one
    // at a time, in linear time.
    int out = at;
    for (int in = at; in < len; ++in) {
        if (dptr[in] != ch)
            dptr[out++] = dptr[in];
    }
    dptr[out] = 0;
    Block()->length = out;
    ReleaseHeld(held);
    return len - out;
}

void Str::SetAt(int i, char ch) {
    if (i < 0 || i >= Block()->length)
        Error(ecIndexRange);
    syncstr held;
    PrepareWrite(0, true, false, held);
    dptr[i] = ch;
    ReleaseHeld(held);
}

Str& Str::ReplaceAt(int pos, int count, const char* s) {
    const int len = Block()->length;
    if (count <= 0 || pos < 0 || pos > len - count)
        Error(ecIndexRange);
    const std::size_t n = s ? std::strlen(s) : 0;
    if (PointsInto(s, dptr, dptr + len)) {
        const Str piece(s);
        return ReplaceAt(pos, count, piece);
    }
    const int newLen = TotalLength(len - count, static_cast<long long>(n));
    const int capacity = Block()->capacity;
    // A shared block is first copied at its own capacity, and grows only when the result
    // needs more room than that.
    syncstr held;
    PrepareWrite(newLen <= capacity ? capacity : newLen | 63, true, true, held);
    if (n != static_cast<std::size_t>(count)) {
        std::memmove(dptr + pos + n, dptr + pos + count,
                     static_cast<std::size_t>(len - pos - count) + 1);
        Block()->length = newLen;
    }
    std::memcpy(dptr + pos, s, n);
    ReleaseHeld(held);
    return *this;
}

Str Str::Mid(int start, int count) const {
    if (start < 0)
        Error(ecIndexRange);
    Str r;
    const int len = Block()->length;
    if (count > 0 && start < len)
        r.NewFromString(dptr + start, count < len - start ? count : len - start, 0, 0);
    return r;
}

Str Str::Right(int n) const {
    const int len = Block()->length;
    if (n < 0)
        return Str();
    if (len > n)
        return Mid(len - n, n);
    return *this;
}

char Str::GetLastChar() const {
    const int len = Block()->length;
    return len > 0 ? dptr[len - 1] : 0;
}

Str& Str::TrimLeft(const char* set) {
    ImpTrimLeft(set);
    return *this;
}

Str& Str::TrimRight(const char* set) {
    ImpTrimRight(set);
    return *this;
}

Str& Str::Trim(const char* set) {
    ImpTrimRight(set);
    ImpTrimLeft(set);
    return *this;
}

void Str::ImpTrimLeft(const char* set) {
    if (!set)
        set = StrImplementation::trim_defaultcharset;
    int n = 0;
    while (InSet(set, dptr[n]))
        ++n;
    if (n > 0)
        DeleteLeft(n);
}

void Str::ImpTrimRight(const char* set) {
    if (!set)
        set = StrImplementation::trim_defaultcharset;
    int end = Block()->length;
    while (end > 0 && InSet(set, dptr[end - 1]))
        --end;
    TruncateAt(end);
}

void Str::Preallocate(int n) {
    syncstr held;
    PrepareWrite((n < 0 ? 0 : n) | 63, true, true, held);
    ReleaseHeld(held);
}

char* Str::GetBuffer() {
    syncstr held;
    PrepareWrite(0, true, false, held);
    ReleaseHeld(held);
    return dptr;
}

int Str::ReleaseBuffer(int n) {
    if (IsEmptyBlock())
        return 0;
    syncstr held;
    PrepareWrite(0, true, false, held);
    const int capacity = Block()->capacity;
    if (n == -1)
        n = static_cast<int>(strnlen(dptr, static_cast<std::size_t>(capacity)));
    n = n < 0 ? 0 : (n > capacity ? capacity : n);
    dptr[n] = 0;
    Block()->length = n;
    ReleaseHeld(held);
    return n;
}

char* Str::GetBufferSetLength(int n) {
    if (n < 0)
        n = 0;
    Preallocate(n);
    char* buf = GetBuffer();
    buf[n] = 0;
    Block()->length = n;
    return buf;
}

void Str::Compact(int slack) {
    if (IsEmptyBlock())
        return;
    SBlock* b = Block();
    const int len = b->length;
    if (b->refCount > 1 || b->capacity - len <= slack || (len | 63) - len <= slack)
        return;
    if (len == 0) {
        Reset();
        return;
    }
    SBlock* nb = StrImplementation::STR_get_block_rls(len | 63);
    nb->length = len;
    std::memcpy(nb->text(), dptr, static_cast<std::size_t>(len) + 1);
    Release();
    dptr = nb->text();
}
