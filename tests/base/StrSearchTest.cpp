// Searching, tokenising, replacing, case conversion, the orderings and the number parsers: a
// seeded differential run of the searches against std::string, and tables for the sharp edges.
#include "base/StrTestProbe.h"
#include "base/internal/SortOrder.h"

#include "support/Seed.h"
#include "support/Testing.h"

#include <cctype>
#include <cstring>

using namespace StrImplementation;
using strtest::Header;
using strtest::Text;

namespace {

std::string Lower(std::string s) {
    for (char& c : s)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

const auto Z = [](int n) { return static_cast<std::size_t>(n); };
const auto Pos = [](std::size_t p) { return p == std::string::npos ? -1 : static_cast<int>(p); };

// Replace-all: each search starts right after the text just put in and stops at a zero byte.
int ModelReplace(std::string& s, const std::string& find, const std::string& repl, bool noCase) {
    int count = 0;
    for (std::size_t at = 0;; ++count, at += repl.size()) {
        const std::string t = noCase ? Lower(s) : s;
        if ((at = t.substr(0, t.find('\0', at)).find(noCase ? Lower(find) : find, at)) == t.npos)
            return count;
        s.replace(at, find.size(), repl);
    }
}

} // namespace

TEST(StrSearch, RandomSearchesMatchStdString) {
    const TestSeed seed;
    std::mt19937 rng(seed.value);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    const char* const alphabet = "abAB,;\xC8";
    auto randomText = [&](int maxLen) {
        std::string t(Z(pick(0, maxLen)), 'a');
        for (char& c : t)
            c = alphabet[pick(0, 6)];
        return t;
    };
    for (int iter = 0; iter < 4000 && !::testing::Test::HasFailure(); ++iter) {
        SCOPED_TRACE("iteration " + std::to_string(iter));
        const std::string m = randomText(iter % 10 == 0 ? 200 : 12), lm = Lower(m),
                          w = randomText(3);
        const Str s(m.c_str());
        const int len = static_cast<int>(m.size()), start = pick(0, len), from = pick(0, len + 2);
        const int back = len ? pick(-1, len - 1) : -1;
        const char ch = alphabet[pick(0, 6)], lch = Lower({ch})[0];
        EXPECT_EQ(s.Find(ch, start), Pos(m.find(ch, Z(start))));
        EXPECT_EQ(s.FindNoCase(ch, start), Pos(lm.find(lch, Z(start))));
        EXPECT_EQ(len ? s.ReverseFind(ch, back) : -1, Pos(m.rfind(ch, Z(back))));
        EXPECT_EQ(len ? s.ReverseFindNoCase(ch, back) : -1, Pos(lm.rfind(lch, Z(back))));
        EXPECT_EQ(s.Find(w.c_str(), from), w.empty() ? -1 : Pos(m.find(w, Z(from))));
        EXPECT_EQ(s.FindNoCase(w.c_str(), from), w.empty() ? -1 : Pos(lm.find(Lower(w), Z(from))));
        if (!w.empty() && (start == 0 || start < len)) {
            EXPECT_EQ(s.FindOneOf(w.c_str(), start), Pos(m.find_first_of(w, Z(start))));
        }
        // Replace-all, at times past a zero byte, then appending; a sharer keeps its text.
        std::string model = m;
        if (len && pick(0, 2) == 0)
            model[Z(pick(0, len - 1))] = '\0';
        Str r;
        r.AppendChars(model.data(), len);
        const Str sharer = r;
        const std::string shared = model;
        const std::string find = w.empty() ? "a" : w, repl = randomText(5);
        const bool noCase = pick(0, 1);
        EXPECT_EQ(STR_ReplaceCore(r, find.c_str(), repl.c_str(), noCase),
                  ModelReplace(model, find, repl, noCase));
        for (int n = pick(0, 70); n-- > 0;)
            r.AppendChar((model += alphabet[pick(0, 6)]).back());
        EXPECT_EQ(Text(r), model);
        EXPECT_EQ(static_cast<const char*>(r)[r.GetLength()], 0);
        EXPECT_EQ(Text(sharer), shared);
    }
}

// Long texts exercise the block-wise scan: matches and zero bytes at every offset of a block, the
// search starting anywhere, and a match only counting before the first zero byte after its start.
TEST(StrSearch, LongTextSearchesStopAtTheFirstZeroByte) {
    const TestSeed seed;
    std::mt19937 rng(seed.value);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    for (int iter = 0; iter < 1500 && !::testing::Test::HasFailure(); ++iter) {
        SCOPED_TRACE("iteration " + std::to_string(iter));
        std::string m(Z(pick(0, 1200)), 'a');
        for (char& c : m)
            c = "abcdeABC \xC8"[pick(0, 9)];
        for (int zeros = pick(0, 2); zeros-- > 0 && !m.empty();)
            m[Z(pick(0, static_cast<int>(m.size()) - 1))] = '\0';
        std::string w;
        if (!m.empty() && pick(0, 1)) {
            const int at = pick(0, static_cast<int>(m.size()) - 1);
            w = m.substr(Z(at), Z(pick(1, 9)));
            w = w.substr(0, w.find('\0'));
        }
        if (w.empty())
            w = std::string("ab#").substr(Z(pick(0, 2)));
        Str s;
        s.AppendChars(m.data(), static_cast<int>(m.size()));
        const int from = pick(0, static_cast<int>(m.size()) + 2);
        const std::string seen = m.substr(0, m.find('\0', Z(from)));
        EXPECT_EQ(s.Find(w.c_str(), from), Pos(seen.find(w, Z(from)))) << "needle " << w;
        // Past the first zero byte the no-case search reads a lower-case copy that ends there.
        if (Z(from) <= m.find('\0')) {
            EXPECT_EQ(s.FindNoCase(w.c_str(), from), Pos(Lower(seen).find(Lower(w), Z(from))))
                << "needle " << w;
        }
    }
}

TEST(StrSearch, SharpEdges) {
    Str zero("ab");
    zero.AppendChars("\0cd", 3);
    EXPECT_EQ(zero.Find('c'), -1) << "searches stop at an embedded zero";
    EXPECT_EQ(zero.Find("cd"), -1);
    EXPECT_EQ(zero.Find('c', 3), 3);
    EXPECT_EQ(zero.Find('a'), 0) << "from the start";
    EXPECT_FALSE(zero == "ab") << "equality counts the whole length";
    Str trimmed = zero;
    trimmed.TrimRight("d");
    EXPECT_EQ(Text(trimmed), std::string("ab\0c", 4)) << "a zero byte is in no set";
    trimmed = "\001b";
    trimmed.TrimLeft("\001");
    EXPECT_EQ(Text(trimmed), "b");
    EXPECT_EQ(Text(Str(" a ").Trim(" ")), "a");
    EXPECT_EQ(Str("a").GetLastChar(), 'a');
    EXPECT_EQ(Str().GetLastChar(), 0);
    EXPECT_EQ(Text(Str("aab").SpanIncluding("a")), "aa");
    EXPECT_EQ(Str::StringSpanExcluding("abc", nullptr), -1) << "a null set holds nothing";
    for (const char* first : {"", "@", "\x80", "\xC0"})
        EXPECT_EQ(Text(Str(first).SpanIncluding("ab")), "") << "the set holds only its bytes";
    EXPECT_EQ(Str("\002b").FindNoCase("Ab"), -1) << "a match starts with its first byte";
    EXPECT_EQ(std::string(Str("abacus").SpanExcluding("z")), "") << "no character of the set";
    const std::string a130(130, 'a');
    EXPECT_EQ(Str(("x" + a130).c_str()).FindNoCase(std::string(130, 'A').c_str()), 1)
        << "needle of 130";
}

// The tokeniser against its definition by the C library's spans, which stop at the first zero
// byte, on texts holding zero bytes and bytes above 127, for one delimiter, several and none: each
// call leaves the position at the delimiter after its token, then at -1.
TEST(StrSearch, TokenizeMatchesItsDefinitionBySpans) {
    const auto model = [](const std::string& text, const char* set, int& pos) -> std::string {
        const int len = static_cast<int>(text.size());
        if (pos < 0)
            return "";
        if (pos < len) {
            const char* t = text.c_str();
            const int start = pos + static_cast<int>(std::strspn(t + pos, set));
            if (t[start] != 0) {
                const int n = static_cast<int>(std::strcspn(t + start, set));
                const int taken = t[start + n] == 0 || *set == 0 ? len - start : n;
                pos = start + taken < len ? start + taken : -1;
                return text.substr(Z(start), Z(taken));
            }
        }
        pos = -1;
        return "";
    };
    const TestSeed seed;
    std::mt19937 rng(seed.value);
    const char* const sets[] = {",", ";", "\xC8", ",;", ";\xC8,", ""};
    const char alphabet[] = {'a', 'b', ',', ';', '\xC8', '\0'};
    for (int iter = 0; iter < 3000 && !::testing::Test::HasFailure(); ++iter) {
        std::string text(rng() % (iter % 8 == 0 ? 300 : 20), 'a');
        for (char& c : text)
            c = alphabet[rng() % (rng() % 4 == 0 ? 6 : 5)];
        const char* set = sets[iter % 6];
        Str s;
        s.AppendChars(text.data(), static_cast<int>(text.size()));
        int pos = static_cast<int>(rng() % (text.size() + 2)) - 1, expectedPos = pos;
        for (int step = 0; pos >= 0 || step == 0; ++step) {
            SCOPED_TRACE("iteration " + std::to_string(iter) + ", step " + std::to_string(step) +
                         ", set '" + set + "', from " + std::to_string(pos));
            const std::string expected = model(text, set, expectedPos);
            ASSERT_EQ(Text(s.Tokenize(set, pos)), expected);
            ASSERT_EQ(pos, expectedPos);
        }
    }
}

TEST(StrSearch, ReplaceAndCaseConversionWriteOnlyWhenTheTextChanges) {
    const struct {
        const char* text;
        const char* find;
        const char* repl;
        signed char noCase;
        const char* expected;
        int count;
    } rows[] = {{"aaa", "a", "aa", 0, "aaaaaa", 3},
                {"aXbxc", "x", "-", 1, "a-b-c", 2},
                {"abab", "ABA", "-", 1, "-b", 1},
                {"abc", "zz", "y", 0, "abc", 0}};
    for (const auto& [text, find, repl, noCase, expected, count] : rows) {
        SCOPED_TRACE(std::string(text) + ": " + find + " -> " + repl);
        const Str original(text);
        Str s = original;
        EXPECT_EQ(STR_ReplaceCore(s, find, repl, noCase), count);
        EXPECT_EQ(std::string(s), expected);
        EXPECT_EQ(Header(original).refCount, count ? 1 : 2);
    }
    Str own("ab-ab-ab");
    const char* p = own;
    EXPECT_EQ(STR_ReplaceCore(own, p + 6, p + 2, 0), 3) << "find and repl inside the text";
    EXPECT_EQ(std::string(own), "-ab-ab--ab-ab--ab-ab");

    // Case conversion starts at the first character it changes; text already in the case asked
    // stays shared.
    const std::tuple<const char*, signed char, const char*> cases[] = {
        {"Abc", 0, "abc"}, {"abC", 1, "ABC"}, {"already lower 123", 0, "already lower 123"}};
    for (const auto& [text, upper, expected] : cases) {
        const Str original(text);
        Str copy = original;
        copy.Str_MakeUL(upper);
        EXPECT_EQ(Text(copy), expected);
        EXPECT_EQ(Header(original).refCount, std::strcmp(text, expected) ? 1 : 2) << text;
    }
}

// Exact ordering compares bytes unsigned; the no-case forms fold to upper case and compare
// signed chars.
TEST(StrCompare, OrderingTable) {
    const struct {
        const char* a;
        const char* b;
        int exact;
        int noCase;
    } rows[] = {{"abc", "abc", 0, 0}, {"abc", "ABD", 1, -1}, {"ab", "abc", -1, -1},
                {"\xC8", "A", 1, -1}, {"A", "\xFF", -1, 1},  {"\x80", "\xFF", -1, -1},
                {"_", "a", -1, 1},    {"zzzz", "zzzZ", 1, 0}};
    for (const auto& [a, b, exact, noCase] : rows) {
        SCOPED_TRACE(std::string(a) + " vs " + b);
        EXPECT_EQ(STR_strcmp_ex(a, b), exact);
        EXPECT_EQ(STR_strcmp_ex(b, a), -exact);
        EXPECT_EQ(STR_stricmp(a, b), noCase);
        EXPECT_EQ(STR_stricmp_ex(b, a), -noCase);
        EXPECT_EQ(STR_strnicmp(a, b, 9), noCase);
    }
    EXPECT_EQ(STR_strnicmp("abcX", "ABCy", 3), 0);
    EXPECT_EQ(STR_strnicmp("ab", "ab\xC8", 3), 1) << "the end (0) orders after a negative byte";
    EXPECT_EQ(STR_stricmp_ex(nullptr, "a"), -1);
}

// The order the list sorts use, against a stable sort with the comparison itself: keys sharing
// long beginnings, differing in case or only in length, with bytes above 127 and empty keys.
TEST(StrCompare, CaseOrderIsTheStableOrderOfStricmp) {
    const TestSeed seed;
    std::mt19937 rng(seed.value);
    static const char* const pieces[] = {"",     "a",    "A",  "/Volumes/Backup/", "\t",
                                         "\xe9", "\x80", "zZ", "/Volumes/backup/"};
    for (int round = 0; round < 300 && !::testing::Test::HasFailure(); ++round) {
        std::vector<std::string> keys(rng() % 40);
        for (std::string& key : keys)
            for (unsigned n = rng() % 6; n > 0; --n)
                key += pieces[rng() % 9];
        StrImplementation::CaseOrder order(keys.size());
        std::vector<std::uint32_t> expected(keys.size());
        for (std::uint32_t i = 0; i < keys.size(); ++i) {
            order.Add(keys[i].c_str());
            expected[i] = i;
        }
        std::stable_sort(expected.begin(), expected.end(), [&](std::uint32_t a, std::uint32_t b) {
            return STR_stricmp_ex(keys[a].c_str(), keys[b].c_str()) < 0;
        });
        EXPECT_EQ(order.Order(), expected) << "round " << round;
    }
}

TEST(StrNumber, StrtolBasesAndWrapping) {
    // Text, base, value and the offset of *end.
    const struct {
        const char* text;
        int base;
        long value;
        int offset;
    } rows[] = {{"0x1A", 0, 26, 4},        {"0X1f", 16, 31, 4},       {"017", 0, 15, 3},
                {"08", 0, 0, 1},           {"zZ", 36, 1295, 2},       {"12", 1, 0, 0},
                {"12", 37, 0, 0},          {"  -42abc", 10, -42, 5},  {"-", 10, 0, 0},
                {"0xg", 0, 0, 0},          {"4294967297", 10, 1, 10}, {"4294967295", 10, -1, 10},
                {"-4294967295", 10, 1, 11}};
    for (const auto& [text, base, value, offset] : rows) {
        SCOPED_TRACE(std::string(text) + " base " + std::to_string(base));
        char* end = nullptr;
        EXPECT_EQ(STR_strtol(text, &end, base), value);
        EXPECT_EQ(end - text, offset);
    }
}

TEST(StrNumber, WholeTextConversionsCheckForANumber) {
    const struct {
        const char* text;
        int i;
        bool intOk;
        double d;
        bool doubleOk;
    } rows[] = {{" 42", 42, true, 42, true},  {"42 ", 0, false, 0, false},
                {"", 0, true, 0, true},       {"4294967297", 1, true, 4294967297.0, true},
                {"0x10", 0, false, 16, true}, {" 2e3", 0, false, 2000, true},
                {".", 0, false, 0, false},    {"1e400", 0, false, HUGE_VAL, true}};
    for (const auto& [text, i, intOk, d, doubleOk] : rows) {
        SCOPED_TRACE(std::string("'") + text + "'");
        signed char failed = 7;
        EXPECT_EQ(Str(text).ToInt(&failed), i);
        EXPECT_EQ(failed, intOk ? 0 : 1);
        EXPECT_EQ(Str(text).ToDouble(&failed), d);
        EXPECT_EQ(failed, doubleOk ? 0 : 1);
    }
}
