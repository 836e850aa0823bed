// Conversions between the string's 8-bit text and heap copies or wide text, and the multi-thread
// mark, which is carried from block to block and never consulted.
#include "StrTestProbe.h"

#include "support/Testing.h"

#include <cwchar>

using strtest::Header;
using strtest::Text;

TEST(StrConvert, HeapCopiesAndWideTextFollowTheLocale) {
    Str s("ab\x7F");
    char* narrow = s.GetStringA();
    EXPECT_STREQ(narrow, "ab\x7F");
    std::free(narrow);
    wchar_t* wide = s.GetStringW();
    EXPECT_STREQ(wide, L"ab\x7F");
    std::free(wide);
    wide = Str().GetStringW();
    EXPECT_STREQ(wide, L"");
    std::free(wide);
    // In the C locale bytes above 0x7F and wide characters above it have no counterpart.
    EXPECT_EQ(Char::ToANSI(L'x'), 'x');
    EXPECT_EQ(Char::ToANSI(L'\001'), '\001');
    EXPECT_EQ(Char::ToANSI(L'\0'), '\0');
    EXPECT_EQ(Char::ToANSI(L'\x263A'), '?');
    EXPECT_EQ(Char::ToUnicode('x'), L'x');
    Str w;
    w = L"h\x263Ai";
    EXPECT_STREQ(w, "h?i");
    w += L"!";
    w.AppendChar(L'?');
    EXPECT_STREQ(w, "h?i!?");
    const Str sharer = w;
    w = L"x";
    EXPECT_EQ(Header(sharer).refCount, 1) << "the block given up is released";
}

TEST(StrConvert, MultiThreadMarkTravelsWithTheText) {
    Str marked;
    Str("a block the pool hands out next").Reset();
    // A Str is its text pointer: the new block is placed the way its callers place it.
    *reinterpret_cast<char**>(&marked) = StrImplementation::NewEmptyMTForceNI(10);
    EXPECT_EQ(Text(marked), "") << "a reused block is emptied";
    EXPECT_STREQ(marked, "");
    EXPECT_EQ(Header(marked).flags, 1u);
    EXPECT_EQ(Header(marked).capacity, 63);
    marked.AppendChars(std::string(100, 'x').c_str());
    EXPECT_EQ(Header(marked).flags, 1u) << "carried to the larger block";
    EXPECT_EQ(Header(Str(static_cast<const char*>(marked))).flags, 0u)
        << "not to a copy of the text";

    alignas(Str) unsigned char raw[2 * sizeof(Str)];
    Str* strings = reinterpret_cast<Str*>(raw);
    Str::ConstructAt(strings, 2, _StrMT);
    strings[1] = marked;
    StrImplementation::verifymt vm{&strings[1]};
    StrImplementation::STR_rls_block(vm);
    EXPECT_EQ(Header(marked).refCount, 1) << "the release dropped the shared count";
    EXPECT_STREQ(STR_get_debugname(), "this application");
}
