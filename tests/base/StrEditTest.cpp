// Editing operations: results, errors, capacities, edits that read the string's own text, and a
// seeded differential run against std::string.
#include "base/StrTestProbe.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

using strtest::Header;
using strtest::OnEmptyBlock;
using strtest::Text;

namespace {

using Op = std::function<void(Str&)>;

// A pointer into the string's own text (plain `s + k` would append the character k).
const char* At(const Str& s, int k) {
    return static_cast<const char*>(s) + k;
}

struct EditRow {
    const char* name;
    const char* initial;
    Op op;
    const char* expected;
    bool keepsBlock; // an unshared block is edited in place
};

const std::vector<EditRow>& EditRows() {
    static const std::vector<EditRow> rows = {
        {"AppendChars n", "abc", [](Str& s) { s.AppendChars("defg", 2); }, "abcde", true},
        {"AppendChars all", "abc", [](Str& s) { s.AppendChars("xyz"); }, "abcxyz", true},
        {"AppendChars none", "abc", [](Str& s) { s.AppendChars("xyz", 0); }, "abc", true},
        {"+= text", "ab", [](Str& s) { s += "cd"; }, "abcd", true},
        {"AppendChar", "a", [](Str& s) { s.AppendChar('b'); }, "ab", true},
        {"EndInSlash empty", "", [](Str& s) { s.EndInSlash(); }, "", false},
        {"EndInSlash has one", "a/", [](Str& s) { s.EndInSlash(); }, "a/", true},
        {"EndInSlash adds", "a", [](Str& s) { s.EndInSlash(); }, "a/", true},
        {"Insert at end", "abc", [](Str& s) { s.Insert("xy", 3); }, "abcxy", true},
        {"Insert at start", "abc", [](Str& s) { s.Insert("xy", 0); }, "xyabc", true},
        {"Insert count", "abc", [](Str& s) { s.Insert("xyz", 1, 2); }, "axybc", true},
        {"Insert count past text", "abc", [](Str& s) { s.Insert("xy", 1, 10); }, "axybc", true},
        {"Insert nothing anywhere", "abc", [](Str& s) { s.Insert("", 99); }, "abc", true},
        {"Insert count 0", "abc", [](Str& s) { s.Insert("xy", 1, 0); }, "abc", true},
        {"Delete past end", "abcdef", [](Str& s) { s.Delete(1, 10); }, "a", true},
        {"Delete at length", "abcdef", [](Str& s) { s.Delete(6, 1); }, "", true},
        {"Delete middle", "abcdef", [](Str& s) { s.Delete(2, 2); }, "abef", true},
        {"Delete default", "abcdef", [](Str& s) { s.Delete(0); }, "bcdef", true},
        {"Delete last", "abcdef", [](Str& s) { s.Delete(5, 1); }, "abcde", true},
        {"Delete negative count", "abcdef", [](Str& s) { s.Delete(2, -3); }, "abcdef", true},
        {"DeleteLeft 0", "abcdef", [](Str& s) { s.DeleteLeft(0); }, "abcdef", true},
        {"DeleteLeft 2", "abcdef", [](Str& s) { s.DeleteLeft(2); }, "cdef", true},
        {"DeleteLeft all", "abcdef", [](Str& s) { s.DeleteLeft(6); }, "", true},
        {"DeleteLeft more", "abcdef", [](Str& s) { s.DeleteLeft(9); }, "", true},
        {"DeleteLeft negative", "abcdef", [](Str& s) { s.DeleteLeft(-1); }, "abcdef", true},
        {"DeleteRight all", "abcdef", [](Str& s) { s.DeleteRight(6); }, "", true},
        {"DeleteRight 2", "abcdef", [](Str& s) { s.DeleteRight(2); }, "abcd", true},
        {"DeleteRight 0", "abcdef", [](Str& s) { s.DeleteRight(0); }, "abcdef", true},
        {"DeleteRight negative", "abcdef", [](Str& s) { s.DeleteRight(-4); }, "abcdef", true},
        {"TruncateAt 3", "abcdef", [](Str& s) { s.TruncateAt(3); }, "abc", true},
        {"TruncateAt past end", "abcdef", [](Str& s) { s.TruncateAt(10); }, "abcdef", true},
        {"TruncateAt 0", "abcdef", [](Str& s) { s.TruncateAt(0); }, "", true},
        {"TruncateAt negative", "abcdef", [](Str& s) { s.TruncateAt(-1); }, "", true},
        {"SetAt first", "abc", [](Str& s) { s.SetAt(0, 'X'); }, "Xbc", true},
        {"SetAt last", "abc", [](Str& s) { s.SetAt(2, 'Z'); }, "abZ", true},
        {"ReplaceAt same size", "abcd", [](Str& s) { s.ReplaceAt(1, 2, "XY"); }, "aXYd", true},
        {"ReplaceAt shorter", "abcd", [](Str& s) { s.ReplaceAt(1, 2, "X"); }, "aXd", true},
        {"ReplaceAt longer", "abcd", [](Str& s) { s.ReplaceAt(1, 2, "WXYZ"); }, "aWXYZd", true},
        {"ReplaceAt by nothing", "abcd", [](Str& s) { s.ReplaceAt(0, 4, ""); }, "", true},
        {"ReplaceAt last", "abcd", [](Str& s) { s.ReplaceAt(3, 1, "!"); }, "abc!", true},
        {"Trim default", " \t x y \r\n", [](Str& s) { s.Trim(nullptr); }, "x y", true},
        {"TrimLeft empty set", "  ab", [](Str& s) { s.TrimLeft(""); }, "  ab", true},
        {"TrimRight set", "abxyyx", [](Str& s) { s.TrimRight("xy"); }, "ab", true},
        {"TrimLeft set", "abba c", [](Str& s) { s.TrimLeft("ab"); }, " c", true},
        {"Trim everything", "---", [](Str& s) { s.Trim("-"); }, "", true},
        {"TrimRight default", "a \n", [](Str& s) { s.TrimRight(); }, "a", true},
        {"TrimLeft default", "\n\tz", [](Str& s) { s.TrimLeft(); }, "z", true},
        {"Mid past end", "abcdef", [](Str& s) { s = s.Mid(2, 100); }, "cdef", false},
        {"Mid empty", "abcdef", [](Str& s) { s = s.Mid(0, 0); }, "", false},
        {"Mid at length", "abcdef", [](Str& s) { s = s.Mid(6, 1); }, "", false},
        {"Mid inside", "abcdef", [](Str& s) { s = s.Mid(1, 3); }, "bcd", false},
        {"Mid beyond length", "abcdef", [](Str& s) { s = s.Mid(9, 2); }, "", false},
        {"Mid negative count", "abcdef", [](Str& s) { s = s.Mid(2, -1); }, "", false},
        {"Right all", "abc", [](Str& s) { s = s.Right(10); }, "abc", true},
        {"Right part", "abc", [](Str& s) { s = s.Right(2); }, "bc", false},
        {"Right 0", "abc", [](Str& s) { s = s.Right(0); }, "", false},
        {"Right negative", "abc", [](Str& s) { s = s.Right(-1); }, "", false},
        {"Empty", "abc", [](Str& s) { s.Empty(); }, "", true},
        {"Compact", "abc", [](Str& s) { s.Compact(0); }, "abc", false},
    };
    return rows;
}

} // namespace

TEST(StrEdit, OperationsGiveTheExpectedText) {
    for (const EditRow& r : EditRows()) {
        SCOPED_TRACE(r.name);
        Str s(r.initial);
        const char* before = s;
        r.op(s);
        EXPECT_EQ(Text(s), r.expected);
        EXPECT_EQ(static_cast<const char*>(s)[s.GetLength()], 0);
        if (r.keepsBlock && *r.initial) {
            EXPECT_EQ(static_cast<const char*>(s), before);
        }
    }
}

TEST(StrEdit, OperationsOnASharedBlockLeaveTheOtherHolderAlone) {
    for (const EditRow& r : EditRows()) {
        SCOPED_TRACE(r.name);
        Str s(r.initial);
        const Str other = s;
        r.op(s);
        EXPECT_EQ(Text(s), r.expected);
        EXPECT_EQ(Text(other), r.initial);
        if (!OnEmptyBlock(other) &&
            static_cast<const char*>(other) != static_cast<const char*>(s)) {
            EXPECT_EQ(Header(other).refCount, 1);
        }
    }
}

TEST(StrEdit, RemoveReturnsTheNumberDeleted) {
    struct Row {
        const char* initial;
        char ch;
        const char* expected;
        int removed;
    } rows[] = {
        {"hello", 'l', "heo", 2}, {"", 'x', "", 0},        {"aaa", 'a', "", 3},
        {"abc", 'z', "abc", 0},   {"xaxbx", 'x', "ab", 3}, {"ab", 'b', "a", 1},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.initial);
        Str s(r.initial);
        const Str other = s;
        EXPECT_EQ(s.Remove(r.ch), r.removed);
        EXPECT_EQ(Text(s), r.expected);
        EXPECT_EQ(Text(other), r.initial);
        if (r.removed == 0) {
            EXPECT_EQ(static_cast<const char*>(s), static_cast<const char*>(other));
        }
    }
}

TEST(StrEdit, BadArgumentsThrowAndChangeNothing) {
    struct Row {
        const char* name;
        const char* initial;
        Op op;
        Str::StrEC code;
    } rows[] = {
        {"Insert past end", "abc", [](Str& s) { s.Insert("x", 4); }, Str::ecIndexRange},
        {"Insert negative", "abc", [](Str& s) { s.Insert("x", -1); }, Str::ecIndexRange},
        {"ReplaceAt count 0", "abc", [](Str& s) { s.ReplaceAt(0, 0, "x"); }, Str::ecIndexRange},
        {"ReplaceAt past end", "abc", [](Str& s) { s.ReplaceAt(2, 2, "x"); }, Str::ecIndexRange},
        {"ReplaceAt negative", "abc", [](Str& s) { s.ReplaceAt(-1, 1, "x"); }, Str::ecIndexRange},
        {"ReplaceAt empty", "", [](Str& s) { s.ReplaceAt(0, 1, "x"); }, Str::ecIndexRange},
        {"SetAt at length", "abc", [](Str& s) { s.SetAt(3, 'x'); }, Str::ecIndexRange},
        {"SetAt negative", "abc", [](Str& s) { s.SetAt(-1, 'x'); }, Str::ecIndexRange},
        {"SetAt empty", "", [](Str& s) { s.SetAt(0, 'x'); }, Str::ecIndexRange},
        {"Delete negative", "abc", [](Str& s) { s.Delete(-1, 1); }, Str::ecIndexRange},
        {"Mid negative", "abc", [](Str& s) { s = s.Mid(-1, 2); }, Str::ecIndexRange},
        {"Remove zero", "abc", [](Str& s) { s.Remove(0); }, Str::ecZeroChar},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        Str s(r.initial);
        const char* before = s;
        try {
            r.op(s);
            ADD_FAILURE() << "no exception";
        } catch (const StrException& e) {
            EXPECT_EQ(e.code, r.code);
            EXPECT_EQ(Text(e.text), r.initial);
        }
        EXPECT_EQ(static_cast<const char*>(s), before);
        EXPECT_EQ(Text(s), r.initial);
        if (!OnEmptyBlock(s)) {
            EXPECT_EQ(Header(s).refCount, 1);
        }
    }
}

TEST(StrEdit, CapacitiesFollowTheSizingRules) {
    const std::string s60(60, 'a'), s63(63, 'b'), s200(200, 'c');
    struct Row {
        const char* name;
        std::function<Str()> make;
        int capacity;
        int length;
    } rows[] = {
        {"Preallocate 0",
         [] {
             Str s;
             s.Preallocate(0);
             return s;
         },
         63, 0},
        {"Preallocate 64",
         [] {
             Str s;
             s.Preallocate(64);
             return s;
         },
         127, 0},
        {"GetBuffer on empty",
         [] {
             Str s;
             s.GetBuffer();
             return s;
         },
         63, 0},
        {"GetBufferSetLength",
         [] {
             Str s;
             s.GetBufferSetLength(5);
             return s;
         },
         63, 5},
        {"Str + Str of nothing", [] { return Str() + Str(); }, 63, 0},
        {"Str + Str", [&] { return Str("0123456789") + Str(s60.c_str()); }, 127, 70},
        {"Str + text", [&] { return Str(s60.c_str()) + "abc"; }, 63, 63},
        {"Str + char", [&] { return Str(s63.c_str()) + 'x'; }, 127, 64},
        {"char + Str", [&] { return 'x' + Str(s60.c_str()); }, 63, 61},
        {"text + Str", [] { return "abc" + Str(); }, 63, 3},
        {"TruncateAt keeps",
         [&] {
             Str s(s200.c_str());
             s.TruncateAt(10);
             return s;
         },
         255, 10},
        {"Compact shrinks",
         [&] {
             Str s(s200.c_str());
             s.TruncateAt(10);
             s.Compact(0);
             return s;
         },
         63, 10},
        {"Compact within slack",
         [&] {
             Str s(s200.c_str());
             s.TruncateAt(10);
             s.Compact(300);
             return s;
         },
         255, 10},
        {"Compact needs both margins",
         [&] {
             Str s(s200.c_str());
             s.TruncateAt(60);
             s.Compact(5);
             return s;
         },
         255, 60},
        {"Compact shared",
         [&] {
             Str s(s200.c_str());
             s.TruncateAt(10);
             Str other = s;
             s.Compact(0);
             return s;
         },
         255, 10},
        {"Delete on shared keeps capacity",
         [&] {
             Str s(s200.c_str());
             Str other = s;
             s.Delete(0, 150);
             return s;
         },
         255, 50},
        {"Empty on shared keeps capacity",
         [&] {
             Str s(s200.c_str());
             Str other = s;
             s.Empty();
             return s;
         },
         255, 0},
        {"Mid", [&] { return Str(s200.c_str()).Mid(100, 10); }, 63, 10},
        {"ReplaceAt grows shared",
         [&] {
             Str s("abc");
             Str other = s;
             s.ReplaceAt(0, 1, s200.c_str());
             return s;
         },
         255, 202},
        {"ReplaceAt shrinks shared",
         [&] {
             Str s(s200.c_str());
             s.TruncateAt(20);
             Str other = s;
             s.ReplaceAt(0, 10, "x");
             return s;
         },
         255, 11},
        {"Append by characters",
         [] {
             Str s;
             for (int i = 0; i < 200; ++i)
                 s.AppendChar('x');
             return s;
         },
         255, 200},
        {"Copy_FromUni",
         [] {
             Str s;
             s.Copy_FromUni(L"abc");
             return s;
         },
         63, 3},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        const Str s = r.make();
        EXPECT_EQ(Header(s).capacity, r.capacity);
        EXPECT_EQ(s.GetLength(), r.length);
        EXPECT_EQ(static_cast<const char*>(s)[r.length], 0);
    }
}

TEST(StrEdit, AppendingGrowsOncePer64Characters) {
    Str s;
    std::vector<const char*> blocks;
    for (int i = 0; i < 256; ++i) {
        s.AppendChar(static_cast<char>('a' + i % 26));
        if (blocks.empty() || blocks.back() != static_cast<const char*>(s))
            blocks.push_back(s);
    }
    EXPECT_EQ(blocks.size(), 5u);
    EXPECT_EQ(Header(s).capacity, 319);
}

TEST(StrEdit, CompactToNothingReturnsToTheEmptyBlock) {
    Str s("abc");
    s.TruncateAt(0);
    s.Compact(0);
    EXPECT_TRUE(OnEmptyBlock(s));
}

TEST(StrEdit, EditsMayReadTheStringsOwnText) {
    struct Row {
        const char* name;
        const char* initial;
        Op op;
        const char* expected;
    } rows[] = {
        {"+= itself", "abc", [](Str& s) { s += s; }, "abcabc"},
        {"AppendChars of itself", "abc", [](Str& s) { s.AppendChars(s, 3); }, "abcabc"},
        {"AppendChars of a piece", "abcd", [](Str& s) { s.AppendChars(At(s, 1), 2); }, "abcdbc"},
        {"Insert itself", "abc", [](Str& s) { s.Insert(s, 1); }, "aabcbc"},
        {"Insert its tail in front", "abc", [](Str& s) { s.Insert(At(s, 1), 0); }, "bcabc"},
        {"Insert its head at end", "abcd", [](Str& s) { s.Insert(s, 4, 2); }, "abcdab"},
        {"ReplaceAt by its tail", "abcd", [](Str& s) { s.ReplaceAt(0, 1, At(s, 1)); }, "bcdbcd"},
        {"ReplaceAt in place", "abcd", [](Str& s) { s.ReplaceAt(1, 2, At(s, 2)); }, "acdd"},
        {"ReplaceAt by itself", "abcd", [](Str& s) { s.ReplaceAt(1, 3, s); }, "aabcd"},
        {"Copy_Native of its tail", "abcdef", [](Str& s) { s.Copy_Native(At(s, 4)); }, "ef"},
    };
    for (const Row& r : rows) {
        // Once written in place, once on a block shared with another string.
        for (int shared = 0; shared < 2; ++shared) {
            SCOPED_TRACE(std::string(r.name) + (shared ? " shared" : " unshared"));
            Str s(r.initial);
            Str other;
            if (shared)
                other = s;
            r.op(s);
            EXPECT_EQ(Text(s), r.expected);
            if (shared) {
                EXPECT_EQ(Text(other), r.initial);
            }
        }
    }
}

TEST(StrEdit, SelfEditsThatMustGrowReadTheOldBlock) {
    const std::string a40(40, 'k'), b40(40, 'm');
    Str s(a40.c_str());
    s += s;
    EXPECT_EQ(Text(s), a40 + a40);
    EXPECT_EQ(Header(s).capacity, 127);

    Str t((a40 + b40).c_str());
    t.Insert(t, 40, 50);
    EXPECT_EQ(Text(t), a40 + a40 + b40.substr(0, 10) + b40);
    EXPECT_EQ(Header(t).capacity, 191);

    // Beyond the pooled sizes a sole holder's block is resized where it lies; the source is
    // still the string's own former text.
    const std::string big(1000, 'g');
    Str u((big + "tail").c_str());
    u += u;
    EXPECT_EQ(Text(u), big + "tail" + big + "tail");
    EXPECT_EQ(Header(u).capacity, 2047);
    u.AppendChars(At(u, 1000), 4);
    EXPECT_EQ(Text(u).substr(2008), "tail");
}

TEST(StrEdit, ConstOperationsNeverSpawn) {
    const Str s("abcdef");
    const Str other = s;
    const char* p = s;
    EXPECT_EQ(s.GetLastChar(), 'f');
    EXPECT_EQ(Str().GetLastChar(), 0);
    Str right = s.Right(6);
    EXPECT_EQ(static_cast<const char*>(right), p);
    EXPECT_EQ(Header(s).refCount, 3);
    (void)s.Mid(1, 2);
    EXPECT_EQ(static_cast<const char*>(s), p);
    EXPECT_EQ(Text(s), "abcdef");
}

TEST(StrEdit, BufferAccessWritesThroughAnUnsharedBlock) {
    Str s("abc");
    const Str other = s;
    char* buf = s.GetBuffer();
    EXPECT_NE(buf, static_cast<const char*>(other));
    buf[0] = 'X';
    buf[3] = 'Y';
    buf[4] = 0;
    EXPECT_EQ(s.ReleaseBuffer(), 4);
    EXPECT_EQ(Text(s), "XbcY");
    EXPECT_EQ(Text(other), "abc");

    buf = s.GetBuffer();
    EXPECT_EQ(s.ReleaseBuffer(2), 2);
    EXPECT_EQ(Text(s), "Xb");

    Str b;
    char* w = b.GetBufferSetLength(5);
    EXPECT_EQ(Header(b).refCount, 1);
    std::memcpy(w, "hello", 5);
    EXPECT_EQ(Text(b), "hello");

    Str empty;
    EXPECT_EQ(empty.ReleaseBuffer(), 0);
    EXPECT_TRUE(OnEmptyBlock(empty));
}

TEST(StrEdit, WideTextBecomesOneBytePerCharacter) {
    const char* saved = std::setlocale(LC_CTYPE, nullptr);
    const std::string savedLocale = saved ? saved : "C";
    std::setlocale(LC_CTYPE, "C");
    Str s;
    s.Copy_FromUni(L"abc");
    EXPECT_EQ(Text(s), "abc");
    s = L"x\u263Ay";
    EXPECT_EQ(Text(s), "x?y");
    s += L"\u00FFz";
    EXPECT_EQ(s.GetLength(), 5);
    EXPECT_EQ(Text(s).substr(3), std::string("?z"));
    s.AppendChar(L'w');
    EXPECT_EQ(Text(s), "x?y?zw");
    s.Copy_FromUni(L"");
    EXPECT_TRUE(OnEmptyBlock(s));
    std::setlocale(LC_CTYPE, savedLocale.c_str());
}

// Random editing sequences on a few strings that share blocks with each other, compared with
// std::string after every step.
TEST(StrEdit, RandomEditsMatchAStdStringModel) {
    unsigned seed = std::random_device{}();
    if (const char* env = std::getenv("STR_TEST_SEED"))
        seed = static_cast<unsigned>(std::strtoul(env, nullptr, 10));
    SCOPED_TRACE("seed " + std::to_string(seed) + " (rerun with STR_TEST_SEED)");
    std::mt19937 rng(seed);
    auto below = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
    auto randomText = [&](int maxLen) {
        static const char alphabet[] = "ab /x";
        std::string t(static_cast<std::size_t>(below(maxLen + 1)), ' ');
        for (char& c : t)
            c = alphabet[below(5)];
        return t;
    };

    constexpr int kStrings = 3;
    Str strs[kStrings];
    std::string model[kStrings];
    for (int step = 0; step < 20000; ++step) {
        const int k = below(kStrings);
        Str& s = strs[k];
        std::string& m = model[k];
        const int len = static_cast<int>(m.size());
        const std::string t = randomText(70);
        const int op = below(20);
        bool threw = false;
        try {
            switch (op) {
            case 0: {
                const int n = below(static_cast<int>(t.size()) + 1);
                s.AppendChars(t.c_str(), n);
                m.append(t, 0, static_cast<std::size_t>(n));
                break;
            }
            case 1:
                s.AppendChar('q');
                m += 'q';
                break;
            case 2: {
                const int j = below(kStrings);
                s += strs[j];
                m += model[j];
                break;
            }
            case 3: {
                const int pos = below(len + 2);
                const int count = below(4) == 0 ? -1 : below(80);
                s.Insert(t.c_str(), pos, count);
                const std::size_t n =
                    count == -1 ? t.size() : std::min<std::size_t>(count, t.size());
                if (n > 0)
                    m.insert(static_cast<std::size_t>(pos), t, 0, n);
                break;
            }
            case 4: {
                const int pos = below(len + 2);
                const int count = below(40);
                s.Delete(pos, count);
                if (pos >= len)
                    m.clear();
                else
                    m.erase(static_cast<std::size_t>(pos), static_cast<std::size_t>(count));
                break;
            }
            case 5: {
                const int n = below(len + 3);
                s.DeleteLeft(n);
                m.erase(0, static_cast<std::size_t>(n));
                break;
            }
            case 6: {
                const int n = below(len + 3);
                s.DeleteRight(n);
                m.resize(n >= len ? 0 : static_cast<std::size_t>(len - n));
                break;
            }
            case 7: {
                const int n = below(len + 3);
                s.TruncateAt(n);
                if (n < len)
                    m.resize(static_cast<std::size_t>(n));
                break;
            }
            case 8: {
                const char ch = "ab /"[below(4)];
                std::string kept;
                for (char c : m)
                    if (c != ch)
                        kept += c;
                const int removed = s.Remove(ch);
                EXPECT_EQ(removed, len - static_cast<int>(kept.size()));
                m = kept;
                break;
            }
            case 9:
                if (len > 0) {
                    const int i = below(len);
                    s.SetAt(i, 'S');
                    m[static_cast<std::size_t>(i)] = 'S';
                }
                break;
            case 10: {
                const int pos = below(len + 1);
                const int count = below(len - pos + 2);
                s.ReplaceAt(pos, count, t.c_str());
                m.replace(static_cast<std::size_t>(pos), static_cast<std::size_t>(count), t);
                break;
            }
            case 11: {
                const int start = below(len + 2);
                const int count = below(50);
                s = s.Mid(start, count);
                m = start < len
                        ? m.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(count))
                        : std::string();
                break;
            }
            case 12: {
                const int n = below(len + 3);
                s = s.Right(n);
                if (n < len)
                    m = m.substr(static_cast<std::size_t>(len - n));
                break;
            }
            case 13: {
                const int which = below(3);
                if (which != 1) {
                    s.TrimRight(" a");
                    m.erase(m.find_last_not_of(" a") + 1);
                }
                if (which != 0) {
                    s.TrimLeft(" a");
                    m.erase(0, std::min(m.size(), m.find_first_not_of(" a")));
                }
                break;
            }
            case 14:
                if (below(2))
                    s.Empty();
                else
                    s.Reset();
                m.clear();
                break;
            case 15:
                if (len > 0 && below(2)) {
                    const int off = below(len);
                    s.Copy_Native(static_cast<const char*>(s) + off);
                    m = m.substr(static_cast<std::size_t>(off));
                } else {
                    s = t.c_str();
                    m = t;
                }
                break;
            case 16: {
                const int j = below(kStrings);
                s = strs[j];
                m = model[j];
                break;
            }
            case 17:
                s.Compact(below(100));
                break;
            case 18:
                if (len > 0) {
                    const int off = below(len);
                    const int pos = below(len + 1);
                    const std::string piece = m.substr(static_cast<std::size_t>(off));
                    s.Insert(static_cast<const char*>(s) + off, pos);
                    m.insert(static_cast<std::size_t>(pos), piece);
                }
                break;
            case 19:
                s.EndInSlash();
                if (!m.empty() && m.back() != '/')
                    m += '/';
                break;
            }
        } catch (const StrException& e) {
            threw = true;
            EXPECT_EQ(e.code, Str::ecIndexRange) << "op " << op;
        }
        if (threw) {
            // Only out-of-range positions may throw: Insert past the end, or a ReplaceAt of
            // nothing or past the end.
            EXPECT_TRUE(op == 3 || op == 10) << "op " << op << " step " << step;
        }
        if (m.size() > 1500) {
            s.TruncateAt(100);
            m.resize(100);
        }
        for (int j = 0; j < kStrings; ++j) {
            ASSERT_EQ(Text(strs[j]), model[j]) << "op " << op << " step " << step;
            const auto& h = Header(strs[j]);
            ASSERT_EQ(static_cast<const char*>(strs[j])[h.length], 0);
            if (!OnEmptyBlock(strs[j])) {
                ASSERT_EQ(h.capacity % 64, 63);
                ASSERT_GE(h.capacity, h.length);
                ASSERT_GE(h.refCount, 1);
            }
        }
    }
}
