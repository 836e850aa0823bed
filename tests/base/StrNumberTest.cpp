// Number parsing (the library's own integer parser, the whole-text conversions and their number
// check) and the heap and single-character conversions between narrow and wide text.
#include "base/Str.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <functional>
#include <string>

using StrImplementation::STR_strtol;

namespace {

int CodeOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const StrException& e) {
        return e.code;
    }
    return 0;
}

struct StrtolRow {
    const char* text;
    int base;
    long value;
    int end; // offset of *end
    const char* why;
};

const StrtolRow kStrtolRows[] = {
    {"0x1A", 0, 26, 4, "base 0 reads a hex prefix"},
    {"0X1f", 16, 31, 4, "base 16 skips the prefix too"},
    {"017", 0, 15, 3, "base 0 reads a leading zero as octal"},
    {"08", 0, 0, 1, "octal stops at 8"},
    {"9", 8, 0, 0, "no digit of the base: end at the start"},
    {"zz", 36, 1295, 2, "letters of either case"},
    {"ZZ", 36, 1295, 2, "letters of either case"},
    {"12", 1, 0, 0, "base 1 is rejected"},
    {"12", 37, 0, 0, "base 37 is rejected"},
    {"12", -2, 0, 0, "negative base is rejected"},
    {"  -42abc", 10, -42, 5, "leading space, sign, trailing text"},
    {"+7", 10, 7, 2, "plus sign"},
    {"-", 10, 0, 0, "sign alone has no digits"},
    {"   ", 10, 0, 0, "space alone has no digits"},
    {"0x", 16, 0, 0, "a prefix without digits is no number"},
    {"0xg", 0, 0, 0, "a prefix without digits is no number"},
    {"4294967297", 10, 1, 10, "2^32 + 1 wraps to 1"},
    {"4294967295", 10, -1, 10, "the 32-bit result is sign-extended"},
    {"2147483648", 10, -2147483647L - 1, 10, "2^31 wraps to INT_MIN"},
    {"-2147483648", 10, -2147483647L - 1, 11, "INT_MIN"},
    {"-4294967295", 10, 1, 11, "negation is 32-bit too"},
    {"99999999999999999999", 10, 1661992959, 20, "long inputs keep wrapping, never clamp"},
    {"1010", 2, 10, 4, "binary"},
    {"\t\n 12", 10, 12, 5, "any white space"},
};

TEST(StrNumber, StrtolTable) {
    for (const StrtolRow& r : kStrtolRows) {
        SCOPED_TRACE(std::string(r.why) + ": '" + r.text + "' base " + std::to_string(r.base));
        char* end = nullptr;
        EXPECT_EQ(STR_strtol(r.text, &end, r.base), r.value);
        EXPECT_EQ(end - r.text, r.end);
        EXPECT_EQ(STR_strtol(r.text, nullptr, r.base), r.value);
    }
}

struct IntRow {
    const char* text;
    int value;
    bool ok;
};

const IntRow kIntRows[] = {
    {" 42", 42, true},       {"42 ", 0, false}, {"", 0, true},       {"-12", -12, true},
    {"4294967297", 1, true}, {"abc", 0, false}, {"12abc", 0, false}, {"0x10", 0, false},
    {"+0", 0, true},         {" ", 0, false},
};

TEST(StrNumber, ToIntNumberCheck) {
    for (const IntRow& r : kIntRows) {
        SCOPED_TRACE(std::string("'") + r.text + "'");
        const Str s(r.text);
        signed char failed = 7;
        EXPECT_EQ(s.ToInt(&failed), r.value);
        EXPECT_EQ(failed, r.ok ? 0 : 1);
        EXPECT_EQ(CodeOf([&] { s.ToInt(); }), r.ok ? 0 : Str::ecNotNumber);
    }
}

TEST(StrNumber, ToIntFailsOnTextAfterEmbeddedZero) {
    Str s("12");
    s.AppendChars("\0"
                  "3",
                  2);
    signed char failed = 0;
    EXPECT_EQ(s.ToInt(&failed), 0);
    EXPECT_EQ(failed, 1);
}

TEST(StrNumber, NotNumberErrorCarriesTheText) {
    try {
        Str("7 dwarfs").ToDouble();
        FAIL() << "no exception";
    } catch (const StrException& e) {
        EXPECT_EQ(e.code, Str::ecNotNumber);
        EXPECT_STREQ(static_cast<const char*>(e.text), "7 dwarfs");
    }
}

TEST(StrNumber, FloatingConversionsTable) {
    struct Row {
        const char* text;
        double value;
        bool ok;
    } rows[] = {
        {"1.5", 1.5, true},     {" 2e3", 2000.0, true},    {"1.5x", 0.0, false}, {"", 0.0, true},
        {"-0.25", -0.25, true}, {"1e400", HUGE_VAL, true}, {"0x10", 16.0, true}, {".", 0.0, false},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(std::string("'") + r.text + "'");
        const Str s(r.text);
        signed char failed = 7;
        EXPECT_EQ(s.ToDouble(&failed), r.value);
        EXPECT_EQ(failed, r.ok ? 0 : 1);
        failed = 7;
        EXPECT_EQ(s.ToFloat(&failed), static_cast<float>(r.value));
        EXPECT_EQ(failed, r.ok ? 0 : 1);
        EXPECT_EQ(CodeOf([&] { s.ToFloat(); }), r.ok ? 0 : Str::ecNotNumber);
    }
}

TEST(StrNumber, GetStringACopiesWholeLength) {
    Str s("ab");
    s.AppendChars("\0c", 2);
    char* copy = s.GetStringA();
    EXPECT_EQ(std::memcmp(copy, "ab\0c", 5), 0);
    std::free(copy);
    char* empty = Str().GetStringA();
    EXPECT_STREQ(empty, "");
    std::free(empty);
}

TEST(StrNumber, GetStringWConvertsAndMarksUnconvertibleBytes) {
    struct Row {
        const char* text;
        const wchar_t* wide;
    } rows[] = {
        {"", L""}, {"abc", L"abc"}, {"a\xE9z", L"a?z"}, // the C locale has no character for 0xE9
    };
    for (const auto& r : rows) {
        wchar_t* w = Str(r.text).GetStringW();
        EXPECT_STREQ(w, r.wide) << r.text;
        std::free(w);
    }
}

TEST(StrNumber, SingleCharacterConversions) {
    EXPECT_EQ(Char::ToANSI(L'A'), 'A');
    EXPECT_EQ(Char::ToANSI(L'\0'), '\0');
    EXPECT_EQ(Char::ToANSI(static_cast<wchar_t>(0x263A)), '?');
    EXPECT_EQ(Char::ToUnicode('z'), L'z');
    EXPECT_EQ(Char::ToUnicode('\0'), L'\0');
    EXPECT_EQ(Char::ToUnicode('\xE9'), L'?');
}

} // namespace
