// Editing: a seeded differential run against std::string on strings that share blocks, edits
// that read the string's own text, the error table and the capacity table.
#include "base/StrTestProbe.h"

#include "support/Seed.h"
#include "support/Testing.h"

#include <iterator>

using namespace strtest;

namespace {

using Op = std::function<void(Str&)>;

// A pointer into the string's own text (plain `s + k` would append the character k).
const auto At = [](const Str& s, int k) { return static_cast<const char*>(s) + k; };
const auto Z = [](int n) { return static_cast<std::size_t>(n); };

// A string holding text in a block for at least prealloc characters, changed by op while another
// string shares the block when shared is set.
Str Edited(const std::string& text, int prealloc, bool shared, const Op& op) {
    Str s;
    s.NewFromString(text.c_str(), static_cast<int>(text.size()), prealloc, 0);
    const Str other = shared ? s : Str();
    op(s);
    return s;
}

// One random step: numbers below the length + 2 (a), below 80 (b), a position and a count inside
// the text, random text, the string's model before the step, and another string with its model.
struct Args {
    int a, b, pos, count, len;
    std::string t;
    const Str& js;
    const std::string& jm;
};
using M = std::string;
using A = const Args&;

// Each edit, then the same change on the model; an edit that throws leaves the model alone.
void (*const kEditOps[])(Str&, M&, A) = {
    [](Str& s, M& m, A p) {
        s.AppendChars(p.t.c_str(), p.b % static_cast<int>(p.t.size() + 1));
        m.append(p.t, 0, Z(p.b) % (p.t.size() + 1));
    },
    [](Str& s, M& m, A p) { s += p.js, m += p.jm; },
    [](Str& s, M& m, A p) {
        s.Insert(p.t.c_str(), p.a, p.b % 4 ? p.b : -1);
        m.insert(std::min(Z(p.a), m.size()), p.t, 0, p.b % 4 ? Z(p.b) : M::npos);
    },
    [](Str& s, M& m, A p) {
        s.Delete(p.a, p.b % 40);
        m.erase(p.a >= p.len ? 0 : Z(p.a), p.a >= p.len ? M::npos : Z(p.b % 40));
    },
    [](Str& s, M& m, A p) { s.DeleteLeft(p.a), m.erase(0, Z(p.a)); },
    [](Str& s, M& m, A p) { s.DeleteRight(p.a), m.resize(p.a >= p.len ? 0 : Z(p.len - p.a)); },
    [](Str& s, M& m, A p) { s.TruncateAt(p.a), m.resize(std::min(Z(p.a), m.size())); },
    [](Str& s, M& m, A p) {
        const char c = "ab /"[p.b % 4];
        EXPECT_EQ(s.Remove(c), std::count(m.begin(), m.end(), c));
        m.erase(std::remove(m.begin(), m.end(), c), m.end());
    },
    [](Str& s, M& m, A p) { s.SetAt(p.pos, 'S'), m[Z(p.pos)] = 'S'; },
    [](Str& s, M& m, A p) {
        s.ReplaceAt(p.pos, p.count, p.t.c_str()), m.replace(Z(p.pos), Z(p.count), p.t);
    },
    [](Str& s, M& m, A p) {
        s = s.Mid(p.a, p.b % 50), m = p.a < p.len ? m.substr(Z(p.a), Z(p.b % 50)) : M();
    },
    [](Str& s, M& m, A p) { s = s.Right(p.a), m = p.a < p.len ? m.substr(Z(p.len - p.a)) : m; },
    [](Str& s, M& m, A) { s.TrimRight(" a"), m.erase(m.find_last_not_of(" a") + 1); },
    [](Str& s, M& m, A) {
        s.TrimLeft(" a"), m.erase(0, std::min(m.size(), m.find_first_not_of(" a")));
    },
    [](Str& s, M& m, A) { s.Empty(), m.clear(); },
    [](Str& s, M& m, A) { s.Reset(), m.clear(); },
    [](Str& s, M& m, A p) { s = p.t.c_str(), m = p.t; },
    [](Str& s, M& m, A p) { s.Copy_Native(At(s, p.pos)), m = m.substr(Z(p.pos)); },
    [](Str& s, M& m, A p) {
        s.Insert(At(s, p.pos), p.b % (p.len + 1)), m.insert(Z(p.b % (p.len + 1)), M(m, Z(p.pos)));
    },
    [](Str& s, M& m, A p) { s = p.js, m = p.jm; },
    [](Str& s, M&, A p) { s.Compact(p.b); },
    [](Str& s, M& m, A) { s.EndInSlash(), m += m.empty() || m.back() == '/' ? "" : "/"; },
    [](Str& s, M& m, A p) {
        const int n = p.b % (p.len - p.pos + 1);
        s.AppendChars(At(s, p.pos), n), m.append(M(m, Z(p.pos), Z(n)));
    },
    [](Str& s, M& m, A p) {
        const M from(m, Z(p.b % (p.len + 1)));
        s.ReplaceAt(p.pos, p.count, At(s, p.b % (p.len + 1))),
            m.replace(Z(p.pos), Z(p.count), from);
    },
};

} // namespace

// Random edits on a few strings that share blocks with each other, some reading the string's own
// text, compared with std::string after every step. Only Insert past the end, ReplaceAt of nothing
// or past the end and SetAt at the length may throw, and then nothing changes.
TEST(StrEdit, RandomEditsMatchAStdStringModel) {
    const TestSeed seed;
    std::mt19937 rng(seed.value);
    auto below = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
    Str strs[3];
    M model[3];
    for (int step = 0; step < 20000; ++step) {
        const int k = below(3), j = below(3), op = below(std::size(kEditOps));
        const int len = static_cast<int>(model[k].size()), pos = below(len + 1);
        Args p{below(len + 2),       below(80), pos,     below(len - pos + 2), len,
               M(Z(below(71)), ' '), strs[j],   model[j]};
        for (char& c : p.t)
            c = "ab /x"[below(5)];
        try {
            kEditOps[op](strs[k], model[k], p);
        } catch (const StrException& e) {
            EXPECT_EQ(e.code, Str::ecIndexRange);
            EXPECT_TRUE(op == 2 || op == 8 || op == 9 || op == 23)
                << "op " << op << " step " << step;
        }
        if (model[k].size() > 1500)
            strs[k].TruncateAt(100), model[k].resize(100);
        for (int i = 0; i < 3; ++i) {
            ASSERT_EQ(Text(strs[i]), model[i]) << "op " << op << " step " << step;
            const auto& h = Header(strs[i]);
            ASSERT_EQ(static_cast<const char*>(strs[i])[h.length], 0);
            ASSERT_TRUE(OnEmptyBlock(strs[i]) || (h.capacity % 64 == 63 && h.capacity >= h.length));
        }
    }
}

TEST(StrEdit, BadArgumentsThrowTheirCodeAndChangeNothing) {
    const struct {
        const char* name;
        const char* initial;
        Op op;
        Str::StrEC code;
    } rows[] = {
        {"Insert past the end", "abc", [](Str& s) { s.Insert("x", 4); }, Str::ecIndexRange},
        {"ReplaceAt of nothing", "abc", [](Str& s) { s.ReplaceAt(0, 0, "x"); }, Str::ecIndexRange},
        {"ReplaceAt past the end", "abc", [](Str& s) { s.ReplaceAt(2, 2, "x"); },
         Str::ecIndexRange},
        {"SetAt on the terminator", "abc", [](Str& s) { s.SetAt(3, 'x'); }, Str::ecIndexRange},
        {"Delete from a negative index", "abc", [](Str& s) { s.Delete(-1, 1); }, Str::ecIndexRange},
        {"Mid from a negative index", "abc", [](Str& s) { s = s.Mid(-1, 2); }, Str::ecIndexRange},
        {"Find a char past the end", "abc", [](Str& s) { s.Find('c', 4); }, Str::ecIndexRange},
        {"ReverseFind from the terminator", "abc", [](Str& s) { s.ReverseFind('c', 3); },
         Str::ecIndexRange},
        {"Find a text from a negative index", "abc", [](Str& s) { s.Find("a", -1); },
         Str::ecIndexRange},
        {"FindOneOf from a negative index", "abc", [](Str& s) { s.FindOneOf("a", -1); },
         Str::ecIndexRange},
        {"FindOneOf an empty set", "abc", [](Str& s) { s.FindOneOf("", 0); }, Str::ecEmptyArg},
        {"Replace an empty text", "abc",
         [](Str& s) { StrImplementation::STR_ReplaceCore(s, "", "x", 0); }, Str::ecEmptyArg},
        {"Remove the zero char", "abc", [](Str& s) { s.Remove(0); }, Str::ecZeroChar},
        {"ToDouble of words", "7 dwarfs", [](Str& s) { s.ToDouble(); }, Str::ecNotNumber},
    };
    for (const auto& [name, initial, op, code] : rows) {
        SCOPED_TRACE(name);
        Str s(initial);
        const char* before = s;
        try {
            op(s);
            ADD_FAILURE() << "no exception";
        } catch (const StrException& e) {
            EXPECT_EQ(e.code, code);
            EXPECT_EQ(Text(e.text), initial);
        }
        EXPECT_EQ(static_cast<const char*>(s), before);
        EXPECT_EQ(Text(s), initial);
    }
}

TEST(StrEdit, CapacitiesFollowTheSizingRules) {
    const std::string s63(63, 'a'), s200(200, 'c'), s500(500, 'd');
    const Op keep = [](Str&) {}, compact = [](Str&s) { s.Compact(0); },
             copy = [](Str&s) { s.Copy_Native("abc"); },
             replace = [&](Str&s) { s.ReplaceAt(0, 1, &s200[0]); };
    const struct {
        const char* why;
        Str s;
        int capacity;
        int length;
    } rows[] = {
        {"prealloc counts", Edited("abc", 200, false, keep), 255, 3},
        {"negative length", Edited("", 0, false, [](Str& s) { s.NewFromString("a", -1, 9, 0); }),
         63, 0},
        {"length 64", Edited(s63 + "b", 0, false, keep), 127, 64},
        {"Preallocate", Edited("", 0, false, [](Str& s) { s.Preallocate(64); }), 127, 0},
        {"old length sizes a shared block's copy", Edited(s500, 0, true, copy), 511, 3},
        {"Delete on shared", Edited(s200, 0, true, [](Str& s) { s.Delete(0, 150); }), 255, 50},
        {"Empty on shared", Edited(s200, 0, true, [](Str& s) { s.Empty(); }), 255, 0},
        {"ReplaceAt grows shared", Edited("abc", 0, true, replace), 255, 202},
        {"Compact leaves shared", Edited("0123456789", 200, true, compact), 255, 10},
        {"Compact shrinks", Edited("0123456789", 200, false, compact), 63, 10},
        {"Mid sizes for its result", Str(s200.c_str()).Mid(100, 10), 63, 10},
        {"Str + Str sized once", Str("0123456789") + Str(s63.c_str()), 127, 73},
        {"Str + char", Str(s63.c_str()) + 'x', 127, 64},
        {"char + Str", 'x' + Str(s63.c_str()), 127, 64},
    };
    for (const auto& [why, s, capacity, length] : rows) {
        SCOPED_TRACE(why);
        EXPECT_EQ(Header(s).capacity, capacity);
        EXPECT_EQ(s.GetLength(), length);
        EXPECT_EQ(static_cast<const char*>(s)[length], 0);
    }
    EXPECT_TRUE(OnEmptyBlock(Edited("", 100, false, compact)));
}
