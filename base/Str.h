/// @file
/// Str.h — the library's string value: a counted, zero-terminated 8-bit string whose text lives in
/// a reference-counted heap block that copies share until one of them changes (copy on write).
///
/// Memory: a Str is exactly one pointer, `dptr`, to the first character of the text. The block
/// header (four 32-bit words: refCount, flags, capacity, length) lies immediately before the text,
/// so the length is reached without further indirection. An empty string points at the text of
/// one static empty block, which is recognised by its address and never counted, written or freed.
/// Blocks of capacity up to 575 are recycled through a small process-wide pool.
///
/// Invariant: `dptr` is never null; text[length] is 0 after every operation (except between
/// GetBuffer and ReleaseBuffer); every block made here has a capacity of the form 64*k - 1.
///
/// Copying costs one pointer copy and one count increment (nothing for the empty string). Every
/// change goes through one write preparation that gives the string its own block first when the
/// block is shared, is the empty block, or is too small; other holders never see the change.
///
/// Errors are reported by throwing StrException with a StrEC code; arguments are checked before
/// anything changes. Not thread-safe: strings sharing a block must be used from one thread.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cwchar>
#include <new>

class Str;

namespace StrImplementation {

/// Header of a string block; the text follows it directly.
struct SBlock {
    std::int32_t refCount; ///< holders of the block (Str objects and exceptions)
    std::uint32_t flags;   ///< bit 0: the multi-thread mark; carried along, consulted by nothing
    std::int32_t capacity; ///< characters the text area holds, terminator not counted
    std::int32_t length;   ///< characters in use

    /// The block's text, right after the header.
    char* text() { return reinterpret_cast<char*>(this + 1); }
    /// The block whose text starts at `text`.
    static SBlock* of(const char* text) {
        return reinterpret_cast<SBlock*>(const_cast<char*>(text)) - 1;
    }
};
static_assert(sizeof(SBlock) == 16, "the block header is four 32-bit words");

/// The shared empty block: a header (refCount 2, capacity 63, length 0) and a one-byte text area
/// holding the terminator. Constant-initialised, so it is ready before any other code runs.
struct STR_Initializer {
    SBlock header; ///< the empty block's header
    char text[1];  ///< its text: the terminator alone
    constexpr STR_Initializer() : header{2, 0, 63, 0}, text{0} {}
};
extern STR_Initializer oInitializer; ///< the shared empty block
extern Str gEmptyStr;                ///< the string behind Str::EmptyStr

/// While non-zero, released blocks go straight back to the heap instead of into the pool.
extern signed char STR_Shutting;

/// Operation context of the core routines: names the string being changed.
struct verifymt {
    Str* str; ///< the string the operation changes
};

/// Holder of the block that li_spawn replaced; the operation releases it once it has finished, so
/// the change may still read the string's former text.
struct syncstr {
    SBlock* block = nullptr; ///< the replaced block; null when none
};

/// The formatting engine's argument list: a va_list in a struct so that it can be passed by
/// reference and advanced by the routine that consumes an argument.
struct StrArgList {
    va_list ap; ///< the arguments not consumed yet
};

extern const char trim_defaultcharset[]; ///< what the trims remove by default: space, tab, CR, LF

///@{
/// Block pool.
SBlock* STR_get_block_rls(int capacity);
void STR_rls_block_realrelease(SBlock* b);
void STR_rls_chain(unsigned int i);
void STR_rls_block(verifymt& vm);
char* NewEmptyMTForceNI(int n);
char* STR_CsCopyCore(Str* dst, Str const& src);
void* STR_malloc(unsigned long size);
void STR_free(void* p);
///@}

///@{
/// Orderings on zero-terminated strings, each giving -1, 0 or 1; a null pointer reads as "".
/// The exact ordering compares bytes as unsigned values, as strcmp does; the case-insensitive ones
/// compare the upper-cased bytes as signed chars, so bytes from 0x80 sort before ASCII there.
int STR_strcmp_ex(const char* a, const char* b);
int STR_stricmp(const char* a, const char* b);
int STR_stricmp_ex(const char* a, const char* b);
int STR_strnicmp(const char* a, const char* b, int n);
///@}

/// Replaces every occurrence of find in str by repl; returns the number of replacements.
int STR_ReplaceCore(Str& str, const char* find, const char* repl, signed char nocase);

///@{
/// Case conversion of at most n characters in place, stopping at a zero byte.
void STR_ToUpper(char* s, unsigned int n);
void STR_ToLower(char* s, unsigned int n);
///@}

/// Integer parser: 32-bit wrapping accumulation, bases 0 and 2-36; returns the 32-bit result.
long STR_strtol(const char* s, char** end, int base);
/// Real parser: the C library's strtod.
double STR_strtod(const char* s, char** end);

///@{
/// Format one int or one pointer into buf, which must hold the whole result.
int STR_sprintf_i(char* buf, unsigned long size, const char* fmt, int v);
int STR_sprintf_p(char* buf, unsigned long size, const char* fmt, void* p);
///@}

} // namespace StrImplementation

/// Tag type selecting the ConstructAt overload for strings meant for multi-threaded use.
struct StrMTType {
    int value; ///< carried along; consulted by nothing
};
extern StrMTType _gStrMT;       ///< the tag value
extern const StrMTType& _StrMT; ///< what callers pass to select the multi-threaded overload

/// The library's copy-on-write string: one pointer to the text of a counted block, taken from
/// the string pool or the heap, shared by copies until one of them changes.
class Str {
public:
    /// The codes of StrException.
    enum StrEC : std::int32_t {
        ecIndexRange = 2,
        ecEmptyArg = 3,
        ecTooLong = 4,
        ecFormatStars = 5,
        ecFormatN = 6,
        ecZeroChar = 7,
        ecNotNumber = 10,
    };

    /// The library's canonical empty string.
    static const Str& EmptyStr;

    // --- Construction, copying, destruction -----------------------------------------------

    /// Points at the empty block; allocates nothing and changes no count.
    constexpr Str() noexcept : dptr(StrImplementation::oInitializer.text) {}
    /// A copy of the zero-terminated s; "" gives the empty block.
    Str(const char* s) { NewFromString(s, 0, 0); }
    /// Shares other's block (one count increment; none for the empty block).
    Str(const Str& other) noexcept : dptr(other.dptr) {
        if (!other.IsEmptyBlock())
            ++Block()->refCount;
    }
    /// Takes other's block; other is left on the empty block. No count changes.
    Str(Str&& other) noexcept : dptr(other.dptr) {
        other.dptr = StrImplementation::oInitializer.text;
    }
    /// Releases the block: the last holder gives it back to the pool or the heap.
    ~Str() {
        if (!IsEmptyBlock())
            Release();
    }

    /// Shares src's block; assigning a string to itself or to one sharing its block changes
    /// nothing.
    Str& operator=(const Str& src) {
        dptr = StrImplementation::STR_CsCopyCore(this, src);
        return *this;
    }
    /// Swaps blocks with src, which releases this string's old block when it is destroyed.
    Str& operator=(Str&& src) noexcept {
        char* mine = dptr;
        dptr = src.dptr;
        src.dptr = mine;
        return *this;
    }
    ///@{
    /// The same as Copy_Native / Copy_FromUni.
    Str& operator=(const char* s) {
        Copy_Native(s);
        return *this;
    }
    Str& operator=(const wchar_t* s) {
        Copy_FromUni(s);
        return *this;
    }
    ///@}

    /// Initialises this string, which holds no block yet, from strlen(s) characters.
    void NewFromString(const char* s, int prealloc, signed char mt);
    /// Initialises this string from len characters at s, followed by a terminator of its own (s
    /// need not have one at len). Capacity is max(len, prealloc) | 63; len and prealloc both 0
    /// give the empty block.
    void NewFromString(const char* s, int len, int prealloc, signed char mt);

    ///@{
    /// Set n consecutive raw Str slots to the empty string (no counts change); n <= 0 does nothing.
    static void ConstructAt(Str* p, int n);
    static void ConstructAt(Str* p, int n, StrMTType const& mt);
    ///@}
    /// Release n consecutive strings, first to last; n <= 0 does nothing.
    static void DestructAt(Str* p, int n);

    // --- Access ---------------------------------------------------------------------------

    /// Number of characters, embedded zeros included.
    int GetLength() const { return Block()->length; }
    /// Whether the length is 0.
    bool IsEmpty() const { return Block()->length == 0; }
    /// The text; valid until the string is next changed or destroyed.
    operator const char*() const { return dptr; }

    // --- Assignment from text -------------------------------------------------------------

    /// The string becomes a copy of the zero-terminated s (which may lie inside its own text).
    void Copy_Native(const char* s);
    /// The string becomes the narrow form of s, one byte per wide character ('?' where the
    /// locale has no single byte for it).
    void Copy_FromUni(const wchar_t* s);

    // --- Write preparation and return to empty -------------------------------------------

    /// Gives the string a new unshared block of capacity max(old length, capacity) | 63, keeping
    /// the text when keep is non-zero; the replaced block goes into *held for the caller to
    /// release.
    void li_spawn(int capacity, signed char keep, StrImplementation::syncstr* held);
    /// Drops the block and returns to the empty block.
    Str& Reset();
    /// Makes the length 0 but keeps a block of the same capacity (a fresh one if shared).
    Str& Empty();

    // --- Errors ---------------------------------------------------------------------------

    /// Throws StrException carrying a shared copy of this string and ec.
    [[noreturn]] void Error(StrEC ec) const;
    /// Throws StrException with an empty text and ec.
    [[noreturn]] static void ErrorNoObject(StrEC ec);

    // --- Pool control ---------------------------------------------------------------------

    /// Frees every pooled block; the pooling mode is unchanged.
    static void CompactFreeMemory();
    /// Non-zero: drain the pool and free released blocks at once from now on; zero: pool again.
    /// Returns the value stored.
    static signed char SetShutdownFlag(signed char on);

    // --- Appending ------------------------------------------------------------------------

    /// Appends n characters from s (which may point into this string's own text).
    void CoreAppendChars(const char* s, int n, StrImplementation::verifymt& vm);
    /// Appends n characters from s, or all of s when n is -1.
    void AppendChars(const char* s, int n = -1);
    /// Appends s up to its terminator.
    Str& operator+=(const char* s);
    /// Appends the narrow form of s ('?' where the locale has no single byte for a character).
    Str& operator+=(const wchar_t* s);
    /// Appends the whole of s, embedded zeros included.
    Str& operator+=(const Str& s);
    /// Inline while the string is the sole holder of a block with room; otherwise AppendCharGrow.
    Str& AppendChar(char ch) {
        StrImplementation::SBlock* b = Block();
        if (b->refCount != 1 || b->length >= b->capacity)
            return AppendCharGrow(ch);
        dptr[b->length] = ch;
        dptr[++b->length] = 0;
        return *this;
    }
    /// Appends the narrow form of ch ('?' where the locale has none).
    Str& AppendChar(wchar_t ch);
    /// Appends '/' unless the string is empty or already ends in '/'.
    Str& EndInSlash();

    // --- Insertion, deletion, truncation, replacement -------------------------------------

    /// Inserts the first count characters of s (all when -1) before pos; pos > length raises
    /// ecIndexRange.
    Str& Insert(const char* s, int pos, int count = -1);
    /// Deletes count characters from pos; pos at or past the end empties the string.
    Str& Delete(int pos, int count = 1);
    /// Deletes the first n characters (all of them when n is the length or more).
    Str& DeleteLeft(int n);
    /// Deletes the last n characters (all of them when n is the length or more).
    Str& DeleteRight(int n);
    /// Cuts the string to its first n characters; keeps the block and its capacity.
    void TruncateAt(int n);
    /// Deletes every ch and returns how many; ch 0 raises ecZeroChar.
    int Remove(char ch);
    /// Sets character i; an i outside the text raises ecIndexRange.
    void SetAt(int i, char ch);
    /// Replaces the count characters at pos by s; count 0 or a range past the end raises
    /// ecIndexRange.
    Str& ReplaceAt(int pos, int count, const char* s);

    // --- Extraction (never change this string) ---------------------------------------------

    /// count characters from start, cut to the string; a negative start raises ecIndexRange.
    Str Mid(int start, int count) const;
    /// The last n characters; a string no longer than n is returned as a shared copy.
    Str Right(int n) const;
    /// The last character, or 0 for an empty string.
    char GetLastChar() const;

    // --- Trimming (a null set means space, tab, CR and LF) --------------------------------

    /// Removes the leading characters found in set.
    Str& TrimLeft(const char* set = nullptr);
    /// Removes the trailing characters found in set.
    Str& TrimRight(const char* set = nullptr);
    /// Removes the leading and trailing characters found in set.
    Str& Trim(const char* set = nullptr);
    /// TrimLeft with a set that is never null.
    void ImpTrimLeft(const char* set);
    /// TrimRight with a set that is never null.
    void ImpTrimRight(const char* set);

    // --- Buffer access --------------------------------------------------------------------

    /// Makes sure the string holds an unshared block for n characters, keeping the text.
    void Preallocate(int n);
    /// A writable pointer to the string's own unshared text, for up to capacity characters.
    char* GetBuffer();
    /// Sets the length to n (strlen of the buffer when -1) and writes the terminator.
    int ReleaseBuffer(int n = -1);
    /// Preallocate(n), GetBuffer(), length n with a terminator at n.
    char* GetBufferSetLength(int n);
    /// Trades a block with more than slack spare characters for a smaller one.
    void Compact(int slack);

    // --- Formatting -----------------------------------------------------------------------
    //
    // The conversions are printf's, with h, l, ll and L as this platform's printf reads them and
    // '*' taking an int wherever printf takes one, except where this table says otherwise:
    //
    //   format                    printf                        here
    //   %10s, %-10s               pads to the width             no padding: a string takes
    //                                                           only a precision
    //   %.s (a bare '.')          precision 0: nothing          no precision: the whole string
    //   %.2s of a null pointer    nothing                       "(n": "(null)" cut by the
    //                                                           precision
    //   %ls in a narrow format    a wide string                 a narrow string, as %s (%S takes
    //                                                           a wide one; a wide format swaps
    //                                                           the two)
    //   %z %j %t %F %a %A         conversions                   the letter is printed and no
    //                                                           argument is taken, so the
    //                                                           arguments after it shift
    //   %n                        stores the count              throws ecFormatN
    //   three or more '*'         (undefined)                   throws ecFormatStars
    //   %5-d, %LLd (outside       (undefined)                   printed as it stands; its
    //   printf's grammar)                                       argument is taken
    //   a wide character the      fails                         '?'
    //   locale cannot write
    //   %!                        (none)                        the Str at the address given,
    //                                                           embedded zeros included

    ///@{
    /// Replaces the text with the formatted result.
    Str& Format(const char* fmt, ...);
    Str& Format(const wchar_t* fmt, ...);
    Str& FormatVA(const char* fmt, va_list ap);
    Str& FormatVA(const wchar_t* fmt, va_list ap);
    ///@}
    /// Prior buffer and core with the caller's list, left advanced past the arguments used.
    void FormatVaArg(const char* fmt, StrImplementation::StrArgList& ap, signed char wide);
    /// Appends the formatted result to the present text.
    Str& AppendFormat(const char* fmt, ...);
    /// Appends v in decimal.
    Str& AppendInt(int v);
    /// Appends v with min(digits, 32) digits after the point.
    Str& AppendFloat(float v, unsigned int digits);
    /// Appends v with min(digits, 48) digits after the point.
    Str& AppendDouble(double v, unsigned int digits);

    ///@{
    /// Engine routines.
    void FmtPriorBuffer(const char* fmt, StrImplementation::verifymt& vm);
    void FormatCore(const char* fmt, StrImplementation::verifymt& vm,
                    StrImplementation::StrArgList& ap, signed char wide);
    int FmtOneValue(const char*& fmt, StrImplementation::verifymt& vm,
                    StrImplementation::StrArgList& ap, signed char wide);
    ///@}

    // --- Searching (never change this string; -1 when nothing is found) -------------------

    /// Index of the first ch at or after start.
    int Find(char ch, int start = 0) const;
    /// Index of the last ch at or before start (-1: from the end).
    int ReverseFind(char ch, int start = -1) const;
    /// Find, ignoring case.
    int FindNoCase(char ch, int start = 0) const;
    /// ReverseFind, ignoring case.
    int ReverseFindNoCase(char ch, int start = -1) const;
    /// Index of the first occurrence of s at or after start.
    int Find(const char* s, int start = 0) const;
    /// Find of a text, ignoring case.
    int FindNoCase(const char* s, int start = 0) const;
    /// Index of the first character at or after start that occurs in set.
    int FindOneOf(const char* set, int start = 0) const;

    /// Number of leading characters of str that occur in set.
    static int StringSpanIncluding(const char* str, const char* set);
    /// Smallest index in str of any character of set, or -1.
    static int StringSpanExcluding(const char* str, const char* set);
    /// The leading characters that occur in set.
    Str SpanIncluding(const char* set) const;
    /// The leading characters that do not occur in set.
    Str SpanExcluding(const char* set) const;
    /// The next token delimited by characters of set, starting at pos; pos becomes the index of
    /// the delimiter that ended it, or -1 once the end is reached.
    Str Tokenize(const char* set, int& pos) const;

    // --- Case and numbers -----------------------------------------------------------------

    /// Upper case (non-zero) or lower case (zero); writes only when the text changes.
    void Str_MakeUL(signed char upper);
    ///@{
    /// Whole-text conversions; trailing characters set *failed (or raise ecNotNumber when failed
    /// is null) and give 0.
    int ToInt(signed char* failed = nullptr) const;
    float ToFloat(signed char* failed = nullptr) const;
    double ToDouble(signed char* failed = nullptr) const;
    ///@}

    ///@{
    /// Heap copies owned by the caller (release with free).
    char* GetStringA() const;
    wchar_t* GetStringW() const;
    ///@}

    // --- Soundex and URL encoding ---------------------------------------------------------

    /// The four-character phonetic key, or the empty string when there is no ASCII letter.
    Str Soundex() const;
    /// Writes the percent-encoded form of this string into out; space becomes '+' when
    /// spaceAsPlus is non-zero, else "%20".
    void UrlEncode(Str& out, signed char spaceAsPlus) const;

private:
    friend char* StrImplementation::STR_CsCopyCore(Str* dst, Str const& src);
    friend void StrImplementation::STR_rls_block(StrImplementation::verifymt& vm);

    StrImplementation::SBlock* Block() const { return StrImplementation::SBlock::of(dptr); }
    bool IsEmptyBlock() const { return dptr == StrImplementation::oInitializer.text; }
    /// Drops this holder's count on a non-empty block, giving the block back when it was the last.
    void Release() noexcept {
        StrImplementation::SBlock* b = Block();
        if (--b->refCount == 0)
            StrImplementation::STR_rls_block_realrelease(b);
    }

    /// The write preparation every change goes through. The block is written in place only when
    /// this string is its sole holder (the empty block's fixed count of 2 excludes it) and, for a
    /// growing change, capacity fits; otherwise li_spawn replaces it (a non-growing change keeps
    /// the current capacity) and the old block waits in held until ReleaseHeld, so the change may
    /// still read the former text. An append passes resizable: it keeps the text, grows, and
    /// reads its source by offset, so a sole holder's block may instead be resized where it lies
    /// (GrowUnshared), which spares large strings built piece by piece a copy per 64 characters.
    void PrepareWrite(int capacity, bool keep, bool grows, StrImplementation::syncstr& held,
                      bool resizable = false) {
        const StrImplementation::SBlock* b = Block();
        if (b->refCount == 1 && (!grows || capacity <= b->capacity))
            return;
        if (resizable && b->refCount == 1)
            GrowUnshared(capacity, held);
        else
            li_spawn(grows ? capacity : b->capacity, keep, &held);
    }
    void GrowUnshared(int capacity, StrImplementation::syncstr& held);
    /// AppendChar when the block is shared, is the empty block or is full.
    Str& AppendCharGrow(char ch);
    static void ReleaseHeld(StrImplementation::syncstr& held) noexcept {
        if (held.block && --held.block->refCount == 0)
            StrImplementation::STR_rls_block_realrelease(held.block);
        held.block = nullptr;
    }
    /// The capacity requested for a text of length characters: length | 63. A length beyond the
    /// 32-bit limit of the header cannot be held and is reported as an allocation failure.
    static int CapacityFor(long long length) {
        if (length > INT32_MAX)
            throw std::bad_alloc();
        return static_cast<int>(length) | 63;
    }

    char* dptr;
};

static_assert(sizeof(Str) == sizeof(void*), "a Str is one pointer");

/// What Str operations throw: a shared copy of the string concerned (empty for ErrorNoObject)
/// and the code.
struct StrException {
    Str text;        ///< the string concerned
    Str::StrEC code; ///< what went wrong
};

///@{
/// Concatenation: the result is sized once for both parts before anything is copied.
Str operator+(Str const& a, Str const& b);
Str operator+(Str const& a, char const* s);
Str operator+(Str const& a, char ch);
Str operator+(char const* s, Str const& b);
Str operator+(char ch, Str const& b);
///@}

///@{
/// Equal lengths and identical bytes (strlen of s for the second form).
bool operator==(Str const& a, Str const& b);
bool operator==(Str const& a, char const* s);
///@}

namespace Char {
/// One wide character to one byte ('?' when the locale has none).
char ToANSI(wchar_t ch);
/// One byte to one wide character.
wchar_t ToUnicode(char ch);
} // namespace Char

/// The fixed text "this application".
const char* STR_get_debugname();
