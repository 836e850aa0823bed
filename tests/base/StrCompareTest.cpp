// The ordering comparisons the lists and filenames sort with: results are -1, 0 or 1, bytes order
// as unsigned values in the exact form and as signed chars in the case-insensitive forms, which
// fold to upper case.
#include "base/Str.h"

#include <gtest/gtest.h>

using namespace StrImplementation;

namespace {

struct OrderRow {
    const char* a;
    const char* b;
    int exact;  // STR_strcmp_ex
    int noCase; // STR_stricmp and STR_stricmp_ex
    const char* why;
};

const OrderRow kOrderRows[] = {
    {"abc", "abc", 0, 0, "equal"},
    {"", "", 0, 0, "both empty"},
    {"abc", "abd", -1, -1, "last character decides"},
    {"abc", "ABD", 1, -1, "case only matters to the exact form"},
    {"ABC", "abc", -1, 0, "same letters"},
    {"ab", "abc", -1, -1, "a prefix orders first"},
    {"abc", "ab", 1, 1, "a longer string orders after its prefix"},
    {"", "a", -1, -1, "empty orders first"},
    {"\xC8", "A", 1, -1, "200 is above ASCII exactly, but negative without case"},
    {"A", "\xFF", -1, 1, "0xFF is 255 exactly and -1 without case"},
    {"\x80", "\xFF", -1, -1, "0x80 is the smallest byte"},
    {"_", "a", -1, 1, "folding to upper case puts '_' (95) after 'A' (65)"},
    {"a[", "A_", 1, -1, "'[' (91) before '_' (95) once the letters fold"},
    {"zzzz", "zzzZ", 1, 0, "difference in the last position"},
};

TEST(StrCompare, OrderingTable) {
    for (const OrderRow& r : kOrderRows) {
        SCOPED_TRACE(r.why);
        EXPECT_EQ(STR_strcmp_ex(r.a, r.b), r.exact);
        EXPECT_EQ(STR_strcmp_ex(r.b, r.a), -r.exact);
        EXPECT_EQ(STR_stricmp(r.a, r.b), r.noCase);
        EXPECT_EQ(STR_stricmp_ex(r.a, r.b), r.noCase);
        EXPECT_EQ(STR_stricmp_ex(r.b, r.a), -r.noCase);
    }
}

struct PrefixRow {
    const char* a;
    const char* b;
    int n;
    int expected;
    const char* why;
};

const PrefixRow kPrefixRows[] = {
    {"abcX", "ABCy", 3, 0, "only n characters count"},
    {"abc", "abd", 2, 0, "difference beyond n"},
    {"abc", "abd", 3, -1, "difference at n - 1"},
    {"anything", "else", 0, 0, "n = 0 compares nothing"},
    {"ab", "ab", 10, 0, "both end before n"},
    {"ab", "abc", 3, -1, "the end takes part as 0"},
    {"ab", "ab\xC8", 3, 1, "the end (0) orders after a negative byte"},
    {"_", "a", 1, 1, "folds to upper case"},
    {"x", "X", -5, 0, "negative n compares nothing"},
};

TEST(StrCompare, PrefixTable) {
    for (const PrefixRow& r : kPrefixRows) {
        SCOPED_TRACE(r.why);
        EXPECT_EQ(STR_strnicmp(r.a, r.b, r.n), r.expected);
        EXPECT_EQ(STR_strnicmp(r.b, r.a, r.n), -r.expected);
    }
}

TEST(StrCompare, NullTextOrdersAsEmpty) {
    EXPECT_EQ(STR_strcmp_ex(nullptr, ""), 0);
    EXPECT_EQ(STR_stricmp_ex(nullptr, "a"), -1);
    EXPECT_EQ(STR_strnicmp("a", nullptr, 1), 1);
}

} // namespace
