// Searching, spans, tokenising, equality, case conversion and replacing: result and error tables,
// block sharing of the case conversion, and a seeded differential run against std::string.
#include "base/StrTestProbe.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

int RefCount(const Str& s) {
    return strtest::Header(s).refCount;
}

constexpr int kNoError = 0;

// The code of the StrException f throws, or 0; the text it carries goes to *text.
int CodeOf(const std::function<void()>& f, std::string* text = nullptr) {
    try {
        f();
    } catch (const StrException& e) {
        if (text)
            *text = static_cast<const char*>(e.text);
        return e.code;
    }
    return kNoError;
}

// --- Character searches ------------------------------------------------------------------------

using CharSearch = int (Str::*)(char, int) const;
constexpr CharSearch kFind = &Str::Find;
constexpr CharSearch kReverseFind = &Str::ReverseFind;
constexpr CharSearch kFindNoCase = &Str::FindNoCase;
constexpr CharSearch kReverseFindNoCase = &Str::ReverseFindNoCase;

struct CharRow {
    CharSearch op;
    const char* text;
    char ch;
    int start;
    int expected; // result, when no error is expected
    int error;
};

const CharRow kCharRows[] = {
    {kFind, "abc", 'c', 0, 2, kNoError},
    {kFind, "abc", 'c', 3, -1, kNoError},
    {kFind, "abc", 'c', 4, 0, Str::ecIndexRange},
    {kFind, "abc", 'a', -1, 0, Str::ecIndexRange},
    {kFind, "", 'x', 0, -1, kNoError},
    {kFind, "", 'x', 1, 0, Str::ecIndexRange},
    {kFind, "abcabc", 'b', 2, 4, kNoError},
    {kFind, "abcabc", 'z', 0, -1, kNoError},
    {kReverseFind, "abc", 'c', 3, 0, Str::ecIndexRange},
    {kReverseFind, "abc", 'a', -1, 0, kNoError},
    {kReverseFind, "abcabc", 'b', -1, 4, kNoError},
    {kReverseFind, "abcabc", 'b', 3, 1, kNoError},
    {kReverseFind, "abcabc", 'b', 0, -1, kNoError},
    {kReverseFind, "abcabc", 'a', -2, -1, kNoError},
    {kReverseFind, "", 'a', -1, -1, kNoError},
    {kReverseFind, "", 'a', 0, 0, Str::ecIndexRange},
    {kFindNoCase, "aBc", 'B', 0, 1, kNoError},
    {kFindNoCase, "aBc", 'b', 0, 1, kNoError},
    {kFindNoCase, "ABC", 'c', 3, -1, kNoError},
    {kFindNoCase, "ABC", 'c', 4, 0, Str::ecIndexRange},
    {kReverseFindNoCase, "AbAb", 'a', -1, 2, kNoError},
    {kReverseFindNoCase, "AbAb", 'B', 2, 1, kNoError},
    {kReverseFindNoCase, "AbAb", 'a', 4, 0, Str::ecIndexRange},
};

TEST(StrSearch, CharacterSearchTable) {
    for (const CharRow& r : kCharRows) {
        SCOPED_TRACE(std::string(r.text) + " / " + r.ch + " from " + std::to_string(r.start));
        const Str s(r.text);
        int got = 0;
        EXPECT_EQ(CodeOf([&] { got = (s.*r.op)(r.ch, r.start); }), r.error);
        if (r.error == kNoError) {
            EXPECT_EQ(got, r.expected);
        }
    }
}

TEST(StrSearch, NoCaseErrorCarriesTheLowerCaseText) {
    std::string text;
    EXPECT_EQ(CodeOf([] { Str("AbC").FindNoCase('a', 9); }, &text), Str::ecIndexRange);
    EXPECT_EQ(text, "abc");
}

// --- Text searches -----------------------------------------------------------------------------

struct TextRow {
    bool noCase;
    const char* text;
    const char* what;
    int start;
    int expected;
};

const TextRow kTextRows[] = {
    {false, "abcbc", "bc", 0, 1}, {false, "abcbc", "bc", 2, 3},      {false, "abcbc", "bc", 4, -1},
    {false, "abcbc", "", 0, -1},  {false, "abc", "abc", 0, 0},       {false, "abc", "abcd", 0, -1},
    {false, "aaab", "aab", 0, 1}, {false, "xyz", "yz", 0, 1},        {false, "xyz", "z", 2, 2},
    {false, "abc", "c", 3, -1},   {false, "abc", "c", 50, -1},       {false, "", "a", 0, -1},
    {false, "abab", "bab", 1, 1}, {false, "ab\xC8x", "\xC8x", 0, 2}, {true, "xabc", "BC", 0, 2},
    {true, "XABC", "bc", 0, 2},   {true, "aBc", "B", 0, 1},          {true, "ABC", "", 0, -1},
    {true, "ABCABC", "cA", 0, 2}, {true, "ABCABC", "Ca", 3, -1},
};

TEST(StrSearch, TextSearchTable) {
    for (const TextRow& r : kTextRows) {
        SCOPED_TRACE(std::string(r.text) + " / " + r.what + " from " + std::to_string(r.start));
        const Str s(r.text);
        EXPECT_EQ(r.noCase ? s.FindNoCase(r.what, r.start) : s.Find(r.what, r.start), r.expected);
    }
}

TEST(StrSearch, TextSearchRejectsNegativeStart) {
    EXPECT_EQ(CodeOf([] { Str("abc").Find("a", -1); }), Str::ecIndexRange);
}

TEST(StrSearch, SearchStopsAtEmbeddedZero) {
    Str s("ab");
    s.AppendChars("\0cd", 3); // "ab\0cd", length 5
    ASSERT_EQ(s.GetLength(), 5);
    EXPECT_EQ(s.Find('c'), -1);
    EXPECT_EQ(s.Find("cd"), -1);
    EXPECT_EQ(s.Find('c', 3), 3);
}

// --- Character sets, spans, tokens -------------------------------------------------------------

TEST(StrSearch, FindOneOfTable) {
    struct Row {
        const char* text;
        const char* set;
        int start;
        int expected;
        int error;
    } rows[] = {
        {"abc", "xc", 0, 2, kNoError},
        {"abc", "cb", 0, 1, kNoError},
        {"abc", "", 0, 0, Str::ecEmptyArg},
        {"abc", "a", 3, 0, Str::ecIndexRange},
        {"abc", "a", 2, -1, kNoError},
        {"abc", "c", 2, 2, kNoError},
        {"", "a", 0, -1, kNoError},
        {"", "a", 1, 0, Str::ecIndexRange},
        {"abc", "a", -1, 0, Str::ecIndexRange},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.text) + " / " + r.set + " from " + std::to_string(r.start));
        int got = 0;
        EXPECT_EQ(CodeOf([&] { got = Str(r.text).FindOneOf(r.set, r.start); }), r.error);
        if (r.error == kNoError) {
            EXPECT_EQ(got, r.expected);
        }
    }
}

TEST(StrSearch, SpansTable) {
    const Str s("abacus");
    EXPECT_EQ(std::string(s.SpanIncluding("ab")), "aba");
    EXPECT_EQ(std::string(s.SpanIncluding("a")), "a");
    EXPECT_EQ(std::string(s.SpanIncluding("xyz")), "");
    EXPECT_EQ(std::string(s.SpanExcluding("u")), "abac");
    EXPECT_EQ(std::string(s.SpanExcluding("z")), "") << "no character of the set: empty, not all";
    EXPECT_EQ(std::string(s.SpanExcluding("a")), "");
    EXPECT_EQ(Str::StringSpanIncluding("aaab", "a"), 3);
    EXPECT_EQ(Str::StringSpanIncluding("aaab", ""), 0);
    EXPECT_EQ(Str::StringSpanIncluding("", "ab"), 0);
    EXPECT_EQ(Str::StringSpanExcluding("abc", ""), -1);
    EXPECT_EQ(Str::StringSpanExcluding("", "a"), -1);
    EXPECT_EQ(Str::StringSpanExcluding("abcd", "dc"), 2);
}

struct TokenCase {
    const char* text;
    const char* set;
    int start;
    std::vector<std::pair<std::string, int>> steps; // token returned, pos after the call
};

TEST(StrSearch, TokenizeTable) {
    const TokenCase cases[] = {
        {"a,,b,", ",", 0, {{"a", 1}, {"b", 4}, {"", -1}}},
        {"abc", ",", 0, {{"abc", -1}}},
        {",,,", ",", 0, {{"", -1}}},
        {"", ",", 0, {{"", -1}}},
        {"a b;c", " ;", 0, {{"a", 1}, {"b", 3}, {"c", -1}}},
        {"x,y", ",", 2, {{"y", -1}}},
        {"x,y", ",", 3, {{"", -1}}},
        {"x,y", ",", -1, {{"", -1}}},
        {"x,y", "", 0, {{"x,y", -1}}},
    };
    for (const TokenCase& c : cases) {
        SCOPED_TRACE(std::string(c.text) + " with '" + c.set + "'");
        const Str s(c.text);
        int pos = c.start;
        for (const auto& step : c.steps) {
            EXPECT_EQ(std::string(s.Tokenize(c.set, pos)), step.first);
            EXPECT_EQ(pos, step.second);
        }
    }
}

// --- Equality ----------------------------------------------------------------------------------

TEST(StrSearch, EqualityComparesLengthAndBytes) {
    Str zero("ab");
    zero.AppendChars("\0c", 2);
    EXPECT_TRUE(Str("ab") == Str("ab"));
    EXPECT_FALSE(Str("ab") == Str("abc"));
    EXPECT_FALSE(Str("ab") == Str("aB"));
    EXPECT_TRUE(Str() == "");
    EXPECT_TRUE(Str("ab") == "ab");
    EXPECT_FALSE(zero == "ab") << "the embedded zero and 'c' still count";
    EXPECT_FALSE(zero == Str("ab"));
    Str same("ab");
    same.AppendChars("\0c", 2);
    EXPECT_TRUE(zero == same);
}

// --- Case conversion -----------------------------------------------------------------------------

TEST(StrSearch, MakeLowerOnLowerCaseKeepsBlockShared) {
    const Str a("already lower 123");
    Str b(a);
    b.Str_MakeUL(0);
    EXPECT_EQ(static_cast<const char*>(a), static_cast<const char*>(b));
    EXPECT_EQ(RefCount(a), 2);
}

TEST(StrSearch, MakeUpperWritesOwnBlockOnly) {
    const Str a("MiXed");
    Str b(a);
    b.Str_MakeUL(1);
    EXPECT_EQ(std::string(b), "MIXED");
    EXPECT_EQ(std::string(a), "MiXed");
    EXPECT_EQ(RefCount(a), 1);
}

TEST(StrSearch, MakeLowerLongTextUsesHeapScratch) {
    std::string text(300, 'Q');
    text[299] = 'z';
    Str s(text.c_str());
    s.Str_MakeUL(0);
    EXPECT_EQ(std::string(s), std::string(299, 'q') + "z");
}

TEST(StrSearch, CaseRoutinesStopAtZeroAndCount) {
    char buf[] = "abcdef\0gh";
    StrImplementation::STR_ToUpper(buf, 3);
    EXPECT_STREQ(buf, "ABCdef");
    StrImplementation::STR_ToUpper(buf, 100);
    EXPECT_STREQ(buf, "ABCDEF");
    EXPECT_EQ(buf[7], 'g');
    StrImplementation::STR_ToLower(buf, 2);
    EXPECT_STREQ(buf, "abCDEF");
}

#if defined(__SANITIZE_ADDRESS__)
// Counts heap allocations while armed, through the sanitizer's allocator hooks.
int gAllocations = 0;
bool gArmed = false;
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void*, size_t),
                                                         void (*)(const volatile void*));
void CountMalloc(const volatile void*, size_t) {
    if (gArmed)
        ++gAllocations;
}
void IgnoreFree(const volatile void*) {}

TEST(StrSearch, NoCaseSearchOnLowerCaseTextAllocatesNothing) {
    static const int installed = __sanitizer_install_malloc_and_free_hooks(CountMalloc, IgnoreFree);
    ASSERT_NE(installed, 0);
    const Str hay("a fairly long text in lower case, searched without regard to case");
    Str::SetShutdownFlag(1); // blocks taken from the pool would hide allocations
    gAllocations = 0;
    gArmed = true;
    const int a = hay.FindNoCase("CASE");
    const int b = hay.FindNoCase('W');
    const int c = hay.ReverseFindNoCase('T');
    gArmed = false;
    Str::SetShutdownFlag(0);
    EXPECT_EQ(a, 28);
    EXPECT_EQ(b, 24);
    EXPECT_EQ(c, 58);
    EXPECT_EQ(gAllocations, 0);
}
#endif

// --- Replacing -----------------------------------------------------------------------------------

TEST(StrSearch, ReplaceTable) {
    struct Row {
        const char* text;
        const char* find;
        const char* repl;
        bool noCase;
        const char* expected;
        int count;
    } rows[] = {
        {"aaa", "a", "aa", false, "aaaaaa", 3}, {"aXbxc", "x", "-", true, "a-b-c", 2},
        {"aXbxc", "x", "-", false, "aXb-c", 1}, {"hello world", "o", "", false, "hell wrld", 2},
        {"abcabc", "abc", "x", false, "xx", 2}, {"abc", "zz", "y", false, "abc", 0},
        {"abab", "ABA", "-", true, "-b", 1},    {"", "a", "b", false, "", 0},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.text) + ": " + r.find + " -> " + r.repl);
        Str s(r.text);
        EXPECT_EQ(StrImplementation::STR_ReplaceCore(s, r.find, r.repl, r.noCase), r.count);
        EXPECT_EQ(std::string(s), r.expected);
    }
}

TEST(StrSearch, ReplaceEmptyFindRaisesOnTheString) {
    Str s("abc");
    std::string text;
    EXPECT_EQ(CodeOf([&] { StrImplementation::STR_ReplaceCore(s, "", "x", 0); }, &text),
              Str::ecEmptyArg);
    EXPECT_EQ(text, "abc");
}

TEST(StrSearch, ReplaceWithTextsTakenFromTheStringItself) {
    Str s("ab-ab-ab");
    const char* own = s;
    // find = "ab" (own text), repl = "-ab-ab" (own text, longer than the result fits in place)
    EXPECT_EQ(StrImplementation::STR_ReplaceCore(s, own + 6, own + 2, 0), 3);
    EXPECT_EQ(std::string(s), "-ab-ab--ab-ab--ab-ab");
}

TEST(StrSearch, ReplaceWithoutMatchKeepsBlockShared) {
    const Str a("shared");
    Str b(a);
    EXPECT_EQ(StrImplementation::STR_ReplaceCore(b, "x", "y", 1), 0);
    EXPECT_EQ(static_cast<const char*>(a), static_cast<const char*>(b));
}

// --- Differential run against std::string ------------------------------------------------------

std::string Lower(std::string s) {
    for (char& c : s)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

int Pos(std::size_t p) {
    return p == std::string::npos ? -1 : static_cast<int>(p);
}

TEST(StrSearch, RandomSearchesMatchStdString) {
    const char* env = std::getenv("STR_TEST_SEED");
    const unsigned seed = env ? static_cast<unsigned>(std::strtoul(env, nullptr, 10)) : 20240611u;
    SCOPED_TRACE("seed " + std::to_string(seed) + " (rerun with STR_TEST_SEED)");
    std::mt19937 rng(seed);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    const std::string alphabet = "abAB,;\xC8";
    auto randomText = [&](int maxLen) {
        std::string t(static_cast<std::size_t>(pick(0, maxLen)), 'a');
        for (char& c : t)
            c = alphabet[static_cast<std::size_t>(pick(0, static_cast<int>(alphabet.size()) - 1))];
        return t;
    };

    for (int iter = 0; iter < 4000; ++iter) {
        const std::string model = randomText(iter % 10 == 0 ? 200 : 12);
        const Str s(model.c_str());
        const int len = static_cast<int>(model.size());
        const char ch = alphabet[static_cast<std::size_t>(pick(0, 6))];
        const std::string what = randomText(3);
        const int start = pick(0, len);
        const int back = pick(-1, len - 1);
        SCOPED_TRACE("iteration " + std::to_string(iter) + " text '" + model + "' ch '" + ch +
                     "' what '" + what + "' start " + std::to_string(start) + " back " +
                     std::to_string(back));

        EXPECT_EQ(s.Find(ch, start), Pos(model.find(ch, static_cast<std::size_t>(start))));
        if (back >= 0 || len > 0) {
            const std::size_t from = back < 0 ? std::string::npos : static_cast<std::size_t>(back);
            EXPECT_EQ(s.ReverseFind(ch, back), Pos(model.rfind(ch, from)));
            EXPECT_EQ(s.ReverseFindNoCase(ch, back), Pos(Lower(model).rfind(Lower({ch})[0], from)));
        }
        EXPECT_EQ(s.FindNoCase(ch, start),
                  Pos(Lower(model).find(Lower({ch})[0], static_cast<std::size_t>(start))));
        const int textStart = pick(0, len + 2);
        const int expectText =
            what.empty() ? -1 : Pos(model.find(what, static_cast<std::size_t>(textStart)));
        EXPECT_EQ(s.Find(what.c_str(), textStart), expectText);
        const int expectNoCase =
            what.empty() ? -1
                         : Pos(Lower(model).find(Lower(what), static_cast<std::size_t>(textStart)));
        EXPECT_EQ(s.FindNoCase(what.c_str(), textStart), expectNoCase);
        if (!what.empty() && (start == 0 || start < len)) {
            EXPECT_EQ(s.FindOneOf(what.c_str(), start),
                      Pos(model.find_first_of(what, static_cast<std::size_t>(start))));
        }

        // Tokenizing yields the non-empty fields between delimiters, in order.
        const std::string set = ",;";
        std::vector<std::string> expected;
        for (std::size_t i = 0; i < model.size();) {
            const std::size_t b = model.find_first_not_of(set, i);
            if (b == std::string::npos)
                break;
            const std::size_t e = model.find_first_of(set, b);
            expected.push_back(model.substr(b, e == std::string::npos ? e : e - b));
            i = e == std::string::npos ? model.size() : e;
        }
        std::vector<std::string> got;
        for (int pos = 0; pos >= 0;) {
            const Str token = s.Tokenize(set.c_str(), pos);
            if (!token.IsEmpty())
                got.push_back(std::string(token));
        }
        EXPECT_EQ(got, expected);
        if (::testing::Test::HasFailure())
            break;
    }
}

} // namespace
