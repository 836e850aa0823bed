// Editing: a seeded differential run against std::string on strings that share blocks, edits
// that read the string's own text, the error table and the capacity table.
#include "base/StrTestProbe.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <random>
#include <string>

using strtest::Header;
using strtest::OnEmptyBlock;
using strtest::Text;

namespace {

using Op = std::function<void(Str&)>;

// A pointer into the string's own text (plain `s + k` would append the character k).
const char* At(const Str& s, int k) {
    return static_cast<const char*>(s) + k;
}

std::size_t Z(int n) {
    return static_cast<std::size_t>(n);
}

// A string holding text in a block for at least prealloc characters, changed by op while another
// string shares the block when shared is set.
Str Edited(const std::string& text, int prealloc, bool shared, const Op& op) {
    Str s;
    s.NewFromString(text.c_str(), static_cast<int>(text.size()), prealloc, 0);
    const Str other = shared ? s : Str();
    op(s);
    return s;
}

} // namespace

// Random edits on a few strings that share blocks with each other, compared with std::string
// after every step.
TEST(StrEdit, RandomEditsMatchAStdStringModel) {
    unsigned seed = std::random_device{}();
    if (const char* env = std::getenv("STR_TEST_SEED"))
        seed = static_cast<unsigned>(std::strtoul(env, nullptr, 10));
    SCOPED_TRACE("seed " + std::to_string(seed) + " (rerun with STR_TEST_SEED)");
    std::mt19937 rng(seed);
    auto below = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
    constexpr int kStrings = 3;
    Str strs[kStrings];
    std::string model[kStrings];
    for (int step = 0; step < 20000; ++step) {
        const int k = below(kStrings), j = below(kStrings), op = below(19);
        Str& s = strs[k];
        std::string& m = model[k];
        const int len = static_cast<int>(m.size());
        std::string t(Z(below(71)), ' ');
        for (char& c : t)
            c = "ab /x"[below(5)];
        const int a = below(len + 2), b = below(80);
        try {
            switch (op) {
            case 0:
                s.AppendChars(t.c_str(), b % (static_cast<int>(t.size()) + 1));
                m.append(t, 0, Z(b % (static_cast<int>(t.size()) + 1)));
                break;
            case 1:
                s += strs[j];
                m += model[j];
                break;
            case 2:
                s.Insert(t.c_str(), a, b % 4 ? b : -1);
                if (!t.empty() && b % 4 != 0)
                    m.insert(Z(a), t, 0, Z(b));
                else if (!t.empty())
                    m.insert(Z(a), t);
                break;
            case 3:
                s.Delete(a, b % 40);
                m.erase(a >= len ? 0 : Z(a), a >= len ? std::string::npos : Z(b % 40));
                break;
            case 4:
                s.DeleteLeft(a);
                m.erase(0, Z(a));
                break;
            case 5:
                s.DeleteRight(a);
                m.resize(a >= len ? 0 : Z(len - a));
                break;
            case 6:
                s.TruncateAt(a);
                m.resize(std::min(Z(a), m.size()));
                break;
            case 7: {
                const char ch = "ab /"[b % 4];
                std::string kept;
                for (char c : m)
                    if (c != ch)
                        kept += c;
                EXPECT_EQ(s.Remove(ch), len - static_cast<int>(kept.size()));
                m = kept;
                break;
            }
            case 8:
                if (len > 0) {
                    s.SetAt(a % len, 'S');
                    m[Z(a % len)] = 'S';
                }
                break;
            case 9: {
                const int pos = a % (len + 1), count = below(len - pos + 2);
                s.ReplaceAt(pos, count, t.c_str());
                m.replace(Z(pos), Z(count), t);
                break;
            }
            case 10:
                s = s.Mid(a, b % 50);
                m = a < len ? m.substr(Z(a), Z(b % 50)) : std::string();
                break;
            case 11:
                s = s.Right(a);
                m = a < len ? m.substr(Z(len - a)) : m;
                break;
            case 12:
                if (b % 3 != 1) {
                    s.TrimRight(" a");
                    m.erase(m.find_last_not_of(" a") + 1);
                }
                if (b % 3 != 0) {
                    s.TrimLeft(" a");
                    m.erase(0, std::min(m.size(), m.find_first_not_of(" a")));
                }
                break;
            case 13:
                b % 2 ? s.Empty() : s.Reset();
                m.clear();
                break;
            case 14:
                if (len > 0 && b % 2) {
                    s.Copy_Native(At(s, a % len));
                    m = m.substr(Z(a % len));
                } else {
                    s = t.c_str();
                    m = t;
                }
                break;
            case 15:
                s = strs[j];
                m = model[j];
                break;
            case 16:
                s.Compact(b);
                break;
            case 17:
                if (len > 0) {
                    const int off = a % len, pos = b % (len + 1);
                    const std::string piece = m.substr(Z(off));
                    s.Insert(At(s, off), pos);
                    m.insert(Z(pos), piece);
                }
                break;
            default:
                s.EndInSlash();
                if (!m.empty() && m.back() != '/')
                    m += '/';
                break;
            }
        } catch (const StrException& e) {
            // Only Insert past the end and ReplaceAt of nothing or past the end may throw.
            EXPECT_EQ(e.code, Str::ecIndexRange);
            EXPECT_TRUE(op == 2 || op == 9) << "op " << op << " step " << step;
        }
        if (m.size() > 1500) {
            s.TruncateAt(100);
            m.resize(100);
        }
        for (int i = 0; i < kStrings; ++i) {
            ASSERT_EQ(Text(strs[i]), model[i]) << "op " << op << " step " << step;
            const auto& h = Header(strs[i]);
            ASSERT_EQ(static_cast<const char*>(strs[i])[h.length], 0);
            if (!OnEmptyBlock(strs[i])) {
                ASSERT_EQ(h.capacity % 64, 63);
                ASSERT_GE(h.capacity, h.length);
            }
        }
    }
}

TEST(StrEdit, EditsMayReadTheStringsOwnText) {
    const std::string k40(40, 'k'), big(1000, 'g');
    struct Row {
        std::string initial;
        Op op;
        std::string expected;
    } rows[] = {
        {"abc", [](Str& s) { s += s; }, "abcabc"},
        {k40, [](Str& s) { s += s; }, k40 + k40},
        {big, [](Str& s) { s += s; }, big + big}, // resized where it lies when unshared
        {"abcd", [](Str& s) { s.AppendChars(At(s, 1), 2); }, "abcdbc"},
        {"abc", [](Str& s) { s.Insert(s, 1); }, "aabcbc"},
        {k40 + "mm", [](Str& s) { s.Insert(s, 40, 41); }, k40 + k40 + "m" + "mm"},
        {"abcd", [](Str& s) { s.ReplaceAt(0, 1, At(s, 1)); }, "bcdbcd"},
        {"abcd", [](Str& s) { s.ReplaceAt(1, 2, At(s, 2)); }, "acdd"},
        {"abcdef", [](Str& s) { s.Copy_Native(At(s, 4)); }, "ef"},
    };
    for (const Row& r : rows) {
        for (int shared = 0; shared < 2; ++shared) {
            SCOPED_TRACE(r.expected.substr(0, 50) + (shared ? " shared" : " unshared"));
            Str s(r.initial.c_str());
            Str other;
            if (shared)
                other = s;
            r.op(s);
            EXPECT_EQ(Text(s), r.expected);
            EXPECT_EQ(Text(other), shared ? r.initial : "");
        }
    }
}

TEST(StrEdit, BadArgumentsThrowTheirCodeAndChangeNothing) {
    struct Row {
        const char* initial;
        Op op;
        Str::StrEC code;
    } rows[] = {
        {"abc", [](Str& s) { s.Insert("x", 4); }, Str::ecIndexRange},
        {"abc", [](Str& s) { s.Insert("x", -1); }, Str::ecIndexRange},
        {"abc", [](Str& s) { s.ReplaceAt(0, 0, "x"); }, Str::ecIndexRange},
        {"abc", [](Str& s) { s.ReplaceAt(2, 2, "x"); }, Str::ecIndexRange},
        {"abc", [](Str& s) { s.SetAt(3, 'x'); }, Str::ecIndexRange},
        {"abc", [](Str& s) { s.SetAt(-1, 'x'); }, Str::ecIndexRange},
        {"abc", [](Str& s) { s.Delete(-1, 1); }, Str::ecIndexRange},
        {"abc", [](Str& s) { s = s.Mid(-1, 2); }, Str::ecIndexRange},
        {"abc", [](Str& s) { s.Find('c', 4); }, Str::ecIndexRange},
        {"abc", [](Str& s) { s.Find("a", -1); }, Str::ecIndexRange},
        {"abc", [](Str& s) { s.ReverseFind('c', 3); }, Str::ecIndexRange},
        {"abc", [](Str& s) { s.FindOneOf("", 0); }, Str::ecEmptyArg},
        {"abc", [](Str& s) { StrImplementation::STR_ReplaceCore(s, "", "x", 0); }, Str::ecEmptyArg},
        {"abc", [](Str& s) { s.Remove(0); }, Str::ecZeroChar},
        {"7 dwarfs", [](Str& s) { s.ToDouble(); }, Str::ecNotNumber},
        {"12x", [](Str& s) { s.ToInt(); }, Str::ecNotNumber},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.initial) + " code " + std::to_string(r.code));
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
    }
}

TEST(StrEdit, CapacitiesFollowTheSizingRules) {
    const std::string s63(63, 'a'), s200(200, 'c'), s500(500, 'd');
    const Op keep = [](Str&) {};
    struct Row {
        const char* why;
        Str s;
        int capacity;
        int length;
    } rows[] = {
        {"prealloc counts", Edited("abc", 200, false, keep), 255, 3},
        {"length 64", Edited(s63 + "b", 0, false, keep), 127, 64},
        {"Preallocate", Edited("", 0, false, [](Str& s) { s.Preallocate(64); }), 127, 0},
        {"the old length counts when a shared block is replaced",
         Edited(s500, 0, true, [](Str& s) { s.Copy_Native("0123456789"); }), 511, 10},
        {"Delete on shared", Edited(s200, 0, true, [](Str& s) { s.Delete(0, 150); }), 255, 50},
        {"Empty on shared", Edited(s200, 0, true, [](Str& s) { s.Empty(); }), 255, 0},
        {"ReplaceAt grows shared",
         Edited("abc", 0, true, [&](Str& s) { s.ReplaceAt(0, 1, s200.c_str()); }), 255, 202},
        {"Compact leaves shared", Edited("0123456789", 200, true, [](Str& s) { s.Compact(0); }),
         255, 10},
        {"Compact shrinks", Edited("0123456789", 200, false, [](Str& s) { s.Compact(0); }), 63, 10},
        {"Compact within slack", Edited("0123456789", 200, false, [](Str& s) { s.Compact(300); }),
         255, 10},
        {"Mid sizes for its result", Str(s200.c_str()).Mid(100, 10), 63, 10},
        {"Str + Str sized once", Str("0123456789") + Str(s63.c_str()), 127, 73},
        {"Str + char", Str(s63.c_str()) + 'x', 127, 64},
        {"appending by characters",
         Edited("", 0, false,
                [](Str& s) {
                    for (int i = 0; i < 200; ++i)
                        s.AppendChar('x');
                }),
         255, 200},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.why);
        EXPECT_EQ(Header(r.s).capacity, r.capacity);
        EXPECT_EQ(r.s.GetLength(), r.length);
        EXPECT_EQ(static_cast<const char*>(r.s)[r.length], 0);
    }
    EXPECT_TRUE(OnEmptyBlock(Edited("", 100, false, [](Str& s) { s.Compact(0); })));
}
