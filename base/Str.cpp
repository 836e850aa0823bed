// Str.cpp — the string handle: blocks, the block pool, construction, copying, the write
// preparation's spawn, return to empty, errors and pool control.
//
// Block layout. A block is one heap allocation of capacity + 17 bytes:
//
//     [refCount][flags][capacity][length] text[0] ... text[capacity] (terminator)
//      four 32-bit words = 16 bytes      ^ a Str's dptr points here
//
// Capacities are always 64*k - 1 (63 is OR-ed into every request), so all blocks of one pool
// chain have the same heap size and are interchangeable.
//
// Pool layout. Str_Repos[i] heads a last-in, first-out chain of free blocks of capacity
// 64*i - 1; Str_ReposCnt[i] counts them. A block is pooled only while capacity + 17 <= 639, and
// chain i holds at most 5 * (10 - i) blocks, so the smallest sizes are kept in the largest
// numbers. The link to the next pooled block cannot live in the 32-bit refCount word on a 64-bit
// machine; it is kept in the first 8 bytes of the pooled block's text area instead (a pooled
// block has a capacity of at least 63, so the pointer always fits), and refCount reads 0 while
// the block waits in its chain.
//
// The empty block (oInitializer) is recognised by its address and carries a count of 2 that is
// never changed, so every "sole holder" test is false for it and it is never written or freed.
//
// Draining. Nothing drains the pool on its own: the library does no work at exit, and the blocks
// still pooled then go back with the process (the chain heads keep them reachable, so a leak
// checker counts them as reachable, never as leaked). A program that wants the memory back calls
// Str::CompactFreeMemory(), which frees every pooled block and keeps pooling, or
// Str::SetShutdownFlag(1), which does the same and then frees each released block at once until
// SetShutdownFlag(0). Neither the pane nor the hosts call them; each test program drains once
// its tests are done (tests/support/PoolDrain.cpp), so that a leak checker sees only real leaks.
#include "base/Str.h"

#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kChains = 11;
constexpr int kHeaderBytes = static_cast<int>(sizeof(StrImplementation::SBlock));
// Largest heap request (header, text area and terminator) that the pool keeps.
constexpr int kPooledBytesMax = 639;

StrImplementation::SBlock* Str_Repos[kChains];
std::int32_t Str_ReposCnt[kChains];

bool Pooled(int capacity) {
    return capacity + kHeaderBytes + 1 <= kPooledBytesMax;
}
int ChainOf(int capacity) {
    return (capacity + 1) / 64;
}
int ChainLimit(int chain) {
    return 5 * (10 - chain);
}

StrImplementation::SBlock* NextPooled(StrImplementation::SBlock* b) {
    StrImplementation::SBlock* next;
    std::memcpy(&next, b->text(), sizeof next);
    return next;
}

void SetNextPooled(StrImplementation::SBlock* b, StrImplementation::SBlock* next) {
    std::memcpy(b->text(), &next, sizeof next);
}

// The pool's side of STR_get_block_rls, inlined into the constructors that take a block.
inline StrImplementation::SBlock* TakeBlock(int capacity) {
    using StrImplementation::SBlock;
    // Callers pass capacities of the form 64*k - 1; forcing it here keeps a stray request from
    // receiving a smaller pooled block of the same chain.
    capacity = (capacity < 0 ? 0 : capacity) | 63;
    // The block's byte count (header, text, terminator) must stay an int like every size the
    // pool computes; a larger request is one the heap would not serve anyway.
    if (capacity > INT_MAX - kHeaderBytes - 1)
        throw std::bad_alloc();
    SBlock* b = nullptr;
    if (Pooled(capacity)) {
        const int i = ChainOf(capacity);
        b = Str_Repos[i];
        if (b) {
            Str_Repos[i] = NextPooled(b);
            --Str_ReposCnt[i];
        }
    }
    if (!b) {
        b = static_cast<SBlock*>(
            std::malloc(static_cast<std::size_t>(capacity) + kHeaderBytes + 1));
        if (!b)
            throw std::bad_alloc();
    }
    b->refCount = 1;
    b->flags = 0;
    b->capacity = capacity;
    return b;
}

} // namespace

namespace StrImplementation {

STR_Initializer oInitializer;
Str gEmptyStr;
signed char STR_Shutting = 0;

SBlock* STR_get_block_rls(int capacity) {
    return TakeBlock(capacity);
}

void STR_rls_block_realrelease(SBlock* b) {
    if (!Pooled(b->capacity) || STR_Shutting) {
        std::free(b);
        return;
    }
    const int i = ChainOf(b->capacity);
    if (Str_ReposCnt[i] >= ChainLimit(i)) {
        std::free(b);
        return;
    }
    b->refCount = 0;
    SetNextPooled(b, Str_Repos[i]);
    Str_Repos[i] = b;
    ++Str_ReposCnt[i];
}

void STR_rls_chain(unsigned int i) {
    if (i >= static_cast<unsigned int>(kChains))
        return;
    while (SBlock* b = Str_Repos[i]) {
        Str_Repos[i] = NextPooled(b);
        --Str_ReposCnt[i];
        std::free(b);
    }
}

void STR_rls_block(verifymt& vm) {
    if (!vm.str->IsEmptyBlock())
        vm.str->Release();
}

char* NewEmptyMTForceNI(int n) {
    SBlock* b = STR_get_block_rls((n < 0 ? 0 : n) | 63);
    b->flags = 1;
    b->length = 0;
    b->text()[0] = 0;
    return b->text();
}

char* STR_CsCopyCore(Str* dst, Str const& src) {
    if (dst->dptr == src.dptr)
        return src.dptr;
    // The increment comes first, so assigning between two holders of one block never frees it.
    if (!src.IsEmptyBlock())
        ++src.Block()->refCount;
    if (!dst->IsEmptyBlock())
        dst->Release();
    return src.dptr;
}

void* STR_malloc(unsigned long size) {
    return std::malloc(size);
}

void STR_free(void* p) {
    std::free(p);
}

} // namespace StrImplementation

StrMTType _gStrMT{1};
const StrMTType& _StrMT = _gStrMT;

const Str& Str::EmptyStr = StrImplementation::gEmptyStr;

const char* STR_get_debugname() {
    return "this application";
}

using StrImplementation::SBlock;
using StrImplementation::syncstr;

namespace {

// The text pointer of a new block holding len characters from s, or the empty block's.
inline char* NewText(const char* s, int len, int prealloc, signed char mt) {
    if (len < 0)
        len = 0;
    const int n = len > prealloc ? len : prealloc;
    if (n <= 0)
        return StrImplementation::oInitializer.text;
    SBlock* b = TakeBlock(n | 63);
    if (mt)
        b->flags |= 1;
    b->length = len;
    char* text = b->text();
    if (len > 0)
        std::memcpy(text, s, static_cast<std::size_t>(len));
    text[len] = 0;
    return text;
}

} // namespace

void Str::NewFromString(const char* s, int prealloc, signed char mt) {
    const std::size_t len = s ? std::strlen(s) : 0;
    if (len > INT_MAX)
        throw std::bad_alloc();
    dptr = NewText(s, static_cast<int>(len), prealloc, mt);
}

void Str::NewFromString(const char* s, int len, int prealloc, signed char mt) {
    dptr = NewText(s, len, prealloc, mt);
}

void Str::ConstructAt(Str* p, int n) {
    for (int i = 0; i < n; ++i)
        new (p + i) Str();
}

void Str::ConstructAt(Str* p, int n, StrMTType const&) {
    ConstructAt(p, n);
}

void Str::DestructAt(Str* p, int n) {
    for (int i = 0; i < n; ++i)
        p[i].~Str();
}

void Str::Copy_Native(const char* s) {
    const std::size_t len = s ? std::strlen(s) : 0;
    if (len == 0) {
        Reset();
        return;
    }
    syncstr held;
    PrepareWrite(CapacityFor(static_cast<long long>(len)), false, true, held);
    // In place, s may lie inside this text: it starts at or after the text's first byte, so an
    // overlapping move is enough. After a spawn, s still reads the held former block.
    std::memmove(dptr, s, len + 1);
    Block()->length = static_cast<int>(len);
    ReleaseHeld(held);
}

void Str::li_spawn(int capacity, signed char keep, syncstr* held) {
    SBlock* old = Block();
    const int oldLength = old->length;
    SBlock* b =
        StrImplementation::STR_get_block_rls((oldLength > capacity ? oldLength : capacity) | 63);
    b->flags |= old->flags & 1u;
    char* text = b->text();
    if (keep) {
        std::memcpy(text, dptr, static_cast<std::size_t>(oldLength));
        text[oldLength] = 0;
        b->length = oldLength;
    } else {
        text[0] = 0;
        b->length = 0;
    }
    const bool wasEmpty = IsEmptyBlock();
    dptr = text;
    if (wasEmpty)
        return;
    if (held) {
        held->block = old;
    } else if (--old->refCount == 0) {
        StrImplementation::STR_rls_block_realrelease(old);
    }
}

void Str::GrowUnshared(int capacity, syncstr& held) {
    SBlock* old = Block();
    // Blocks the pool would keep are cheap to copy and must keep their pooled sizes.
    if (Pooled(old->capacity) || Pooled(capacity)) {
        li_spawn(capacity, 1, &held);
        return;
    }
    void* grown = std::realloc(old, static_cast<std::size_t>(capacity) + kHeaderBytes + 1);
    if (!grown)
        throw std::bad_alloc();
    SBlock* b = static_cast<SBlock*>(grown);
    b->capacity = capacity;
    dptr = b->text();
}

Str& Str::Reset() {
    if (!IsEmptyBlock()) {
        Release();
        dptr = StrImplementation::oInitializer.text;
    }
    return *this;
}

Str& Str::Empty() {
    if (IsEmptyBlock())
        return *this;
    syncstr held;
    PrepareWrite(0, false, false, held);
    dptr[0] = 0;
    Block()->length = 0;
    ReleaseHeld(held);
    return *this;
}

void Str::Error(StrEC ec) const {
    throw StrException{*this, ec};
}

void Str::ErrorNoObject(StrEC ec) {
    throw StrException{Str(), ec};
}

void Str::CompactFreeMemory() {
    for (unsigned int i = 0; i < static_cast<unsigned int>(kChains); ++i)
        StrImplementation::STR_rls_chain(i);
}

signed char Str::SetShutdownFlag(signed char on) {
    if (on) {
        CompactFreeMemory();
        StrImplementation::STR_Shutting = 1;
    } else {
        StrImplementation::STR_Shutting = 0;
    }
    return StrImplementation::STR_Shutting;
}
