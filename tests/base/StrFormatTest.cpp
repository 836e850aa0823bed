// The formatting engine: the engine's own conversions, errors and what they leave, the size
// estimate read through the block header, arguments taken from the string itself, and a seeded
// differential run of numeric conversions against snprintf.
#include "base/StrTestProbe.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using strtest::Text;

int Capacity(const Str& s) {
    return strtest::Header(s).capacity;
}

int CodeOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const StrException& e) {
        return e.code;
    }
    return 0;
}

template <typename... A> std::string Fmt(const char* fmt, A... args) {
    Str s;
    s.Format(fmt, args...);
    return Text(s);
}

template <typename... A> std::string Printf(const char* fmt, A... args) {
    const int n = std::snprintf(nullptr, 0, fmt, args...);
    std::string out(static_cast<std::size_t>(n) + 1, '\0');
    std::snprintf(&out[0], out.size(), fmt, args...);
    out.resize(static_cast<std::size_t>(n));
    return out;
}

TEST(StrFormat, EngineConversionsTable) {
    const Str x("x");
    Str zero("a");
    zero.AppendChars("\0b", 2);
    struct Row {
        std::string got;
        std::string expected;
        const char* why;
    } rows[] = {
        {Fmt("%d items", 3), "3 items", "integer"},
        {Fmt("%5.1f", 2.5), "  2.5", "floating with width and precision"},
        {Fmt("%%"), "%", "percent"},
        {Fmt("a%5%b"), "a%b", "percent with a prefix: the prefix is dropped"},
        {Fmt("%.3s", "abcdef"), "abc", "string precision"},
        {Fmt("%.0s", "abc"), "", "precision 0"},
        {Fmt("%.s|", "abc"), "abc|", "a '.' with nothing behind it is no precision"},
        {Fmt("%.9s", "abc"), "abc", "precision beyond the text"},
        {Fmt("%10s|%-10s|", "ab", "cd"), "ab|cd|", "no padding for strings"},
        {Fmt("%s", static_cast<const char*>(nullptr)), "(null)", "null string"},
        {Fmt("%.2s", static_cast<const char*>(nullptr)), "(n", "null string with precision"},
        {Fmt("%S", L"wide"), "wide", "S takes a wide string in a narrow format"},
        {Fmt("%.2S", L"wide"), "wi", "wide string with precision"},
        {Fmt("%S", L"\x263A!"), "?!", "unconvertible wide character"},
        {Fmt("[%!]", &x), "[x]", "Str by address"},
        {Fmt("%-9.1!", &zero), std::string("a\0b", 3), "Str keeps embedded zeros; flags ignored"},
        {Fmt("%!", static_cast<const Str*>(nullptr)), "(null)", "null Str"},
        {Fmt("%*.*f", 8, 3, 3.14159), "   3.142", "two stars"},
        {Fmt("%.*s|", 2, "abc"), "ab|", "a star gives the string precision"},
        {Fmt("%*s|%d", 12, "ab", 5), "ab|5", "a width star is taken and ignored"},
        {Fmt("%.*s|", -1, "abc"), "abc|", "a negative star precision is none"},
        {Fmt("%*d|", -4, 7), "7   |", "a star on an integer"},
        {Fmt("%q"), "q", "unknown letter"},
        {Fmt("%zu"), "zu", "z is the letter, u is literal"},
        {Fmt("abc%"), "abc", "format ends after '%'"},
        {Fmt("abc%-5"), "abc", "format ends inside the specification"},
        {Fmt("%d|%i|%u", INT_MIN, 0, -1), Printf("%d|%i|%u", INT_MIN, 0, -1), "bare integers"},
        {Fmt("%lld", LLONG_MIN), "-9223372036854775808", "ll is long long"},
        {Fmt("%ld", LONG_MAX), "9223372036854775807", "l is long"},
        {Fmt("%hd", 65537), "1", "h converts as printf does"},
        {Fmt("%Lf", 1.5L), "1.500000", "L is long double"},
        {Fmt("%c%c", 'o', 'k'), "ok", "characters"},
        {Fmt("%lc|", 0x263A), "?|", "unconvertible wide character"},
        {Fmt("%5-d|%d", 1, 2), "%5-d|2", "printf's grammar refused: printed as written"},
        {Fmt("%LLd|%d", 1LL, 2), "%LLd|2", "two length modifiers: printed as written"},
        {Fmt("%99999999999d|", 5), "|", "a width printf cannot reach gives nothing"},
        {Fmt("%p", static_cast<void*>(nullptr)), Printf("%p", static_cast<void*>(nullptr)),
         "pointer"},
        {Fmt("%300d", 1), std::string(299, ' ') + "1", "long integer result"},
        {Fmt("%.300f", 1.0), "1." + std::string(300, '0'), "long floating result"},
        {Fmt("%f", 1e300), Printf("%f", 1e300), "a 300-digit value"},
    };
    for (const Row& r : rows)
        EXPECT_EQ(r.got, r.expected) << r.why;
}

TEST(StrFormat, WideFormatSwapsStringLetters) {
    Str s;
    s.Format(L"%s+%S=%d", L"wide", "narrow", 3);
    EXPECT_EQ(Text(s), "wide+narrow=3");
}

TEST(StrFormat, VaListForms) {
    struct Call {
        static Str Narrow(const char* fmt, ...) {
            va_list ap;
            va_start(ap, fmt);
            Str s;
            s.FormatVA(fmt, ap);
            va_end(ap);
            return s;
        }
        static Str Wide(const wchar_t* fmt, ...) {
            va_list ap;
            va_start(ap, fmt);
            Str s;
            s.FormatVA(fmt, ap);
            va_end(ap);
            return s;
        }
        // Two formats share one argument list, each taking its own arguments.
        static Str Chained(const char* f1, const char* f2, ...) {
            StrImplementation::StrArgList args;
            va_start(args.ap, f2);
            Str a, b;
            a.FormatVaArg(f1, args, 0);
            b.FormatVaArg(f2, args, 0);
            va_end(args.ap);
            return a + "|" + b;
        }
    };
    EXPECT_EQ(Text(Call::Narrow("%s-%d", "n", 1)), "n-1");
    EXPECT_EQ(Text(Call::Wide(L"%s-%S", L"w", "n")), "w-n");
    EXPECT_EQ(Text(Call::Chained("%d%s", "%.1f", 7, "x", 0.25)), "7x|0.2");
}

TEST(StrFormat, ErrorsKeepTextFormattedBefore) {
    struct Row {
        const char* fmt;
        int code;
        const char* left;
    } rows[] = {
        {"ab%***f", Str::ecFormatStars, "ab"}, {"%d-%***d", Str::ecFormatStars, "1-"},
        {"%s%**.*s", Str::ecFormatStars, "x"}, {"a%nb", Str::ecFormatN, "a"},
        {"%d%5n", Str::ecFormatN, "1"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.fmt);
        Str s;
        if (r.fmt[1] == 's')
            EXPECT_EQ(CodeOf([&] { s.Format(r.fmt, "x", 1, 2, 3, 4.0); }), r.code);
        else
            EXPECT_EQ(CodeOf([&] { s.Format(r.fmt, 1, 2, 3, 4, 5.0); }), r.code);
        EXPECT_EQ(Text(s), r.left);
    }
}

TEST(StrFormat, EstimateSizesTheFirstBlock) {
    struct Row {
        int capacity;
        std::function<void(Str&)> format;
        const char* why;
    } rows[] = {
        {191, [](Str& s) { s.Format("%s", "x"); }, "128 for the string, 1 for the letter"},
        {63, [](Str& s) { s.Format("abc"); }, "three ordinary characters"},
        {191, [](Str& s) { s.Format("%d%s", 1, "x"); }, "32 + 1 + 128 + 1"},
        {127, [](Str& s) { s.Format("%d%d%d", 1, 2, 3); }, "3 * 33"},
        {191, [](Str& s) { s.Format("%S", L"x"); }, "S counts like s"},
        {191, [](Str& s) { s.Format("%%s"); }, "the second '%' sees 's': 32 + 128 + 1"},
        {63, [](Str& s) { s.Format("% s", "x"); }, "only the character behind '%' counts"},
        {319, [](Str& s) { s.Format(L"%s%s", L"x", L"y"); }, "the narrowed wide format: 2 * 129"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.why);
        Str s;
        r.format(s);
        EXPECT_EQ(Capacity(s), r.capacity);
    }
}

TEST(StrFormat, FormatReusesAnUnsharedBlock) {
    Str s;
    s.Format("%500d", 1);
    const char* block = s;
    const int capacity = Capacity(s);
    s.Format("%s", "short");
    EXPECT_EQ(static_cast<const char*>(s), block);
    EXPECT_EQ(Capacity(s), capacity);
    EXPECT_EQ(Text(s), "short");
}

TEST(StrFormat, FormatLeavesOtherHoldersAlone) {
    Str a("original text");
    Str b(a);
    b.Format("%d", 5);
    EXPECT_EQ(Text(a), "original text");
    EXPECT_EQ(Text(b), "5");
}

TEST(StrFormat, AppendFormsKeepPresentText) {
    Str s("ab");
    s.AppendFormat("%d", 1);
    EXPECT_EQ(Text(s), "ab1");
    s.AppendInt(INT_MIN);
    EXPECT_EQ(Text(s), "ab1-2147483648");
    Str f;
    f.AppendFloat(1.5f, 40);
    EXPECT_EQ(Text(f), "1.5" + std::string(31, '0'));
    Str d;
    d.AppendDouble(2.0, 0);
    EXPECT_EQ(Text(d), "2");
    Str big;
    big.AppendDouble(1e300, 100);
    EXPECT_EQ(Text(big), Printf("%.48f", 1e300));
}

TEST(StrFormat, ArgumentsMayComeFromTheStringBeingAppendedTo) {
    // The first append outgrows the block; the later arguments still read the original text.
    Str s(std::string(60, 'x').c_str());
    const char* own = s;
    s.AppendFormat("%s%s%s", own, own + 50, own);
    EXPECT_EQ(Text(s), std::string(60 + 60 + 10 + 60, 'x'));
    Str f("%d-%s");
    f.AppendFormat(f, 4, "y");
    EXPECT_EQ(Text(f), "%d-%s4-y");
    Str g("keep %d");
    g.Format(g, 9);
    EXPECT_EQ(Text(g), "keep 9");
}

TEST(StrFormat, PlainBufferFormattingNeverOverruns) {
    char buf[8];
    std::memset(buf, '#', sizeof(buf));
    EXPECT_EQ(StrImplementation::STR_sprintf_i(buf, 4, "%d", 123456), 6);
    EXPECT_STREQ(buf, "123");
    EXPECT_EQ(buf[4], '#');
    char pbuf[64];
    void* p = &buf;
    EXPECT_EQ(StrImplementation::STR_sprintf_p(pbuf, sizeof(pbuf), "%p", p),
              static_cast<int>(Printf("%p", p).size()));
    EXPECT_EQ(std::string(pbuf), Printf("%p", p));
}

// --- Differential run against snprintf -------------------------------------------------------

struct Spec {
    std::string text;
    int stars = 0;
};

TEST(StrFormat, RandomNumericConversionsMatchSnprintf) {
    const char* env = std::getenv("STR_TEST_SEED");
    const unsigned seed = env ? static_cast<unsigned>(std::strtoul(env, nullptr, 10)) : 7321u;
    SCOPED_TRACE("seed " + std::to_string(seed) + " (rerun with STR_TEST_SEED)");
    std::mt19937_64 rng(seed);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    auto chance = [&](int percent) { return pick(1, 100) <= percent; };

    auto makeSpec = [&](const char* lengths, const char* letters) {
        Spec s;
        s.text = "%";
        const std::string l = letters;
        const bool bare = chance(10); // no flags, width or precision
        const std::string flags = "-+ 0#";
        for (int i = bare ? 0 : pick(0, 3); i > 0; --i)
            s.text += flags[static_cast<std::size_t>(pick(0, 4))];
        if (!bare && chance(20)) {
            s.text += '*';
            ++s.stars;
        } else if (!bare && chance(50)) {
            s.text += std::to_string(pick(1, chance(10) ? 300 : 20));
        }
        if (!bare && chance(50)) {
            s.text += '.';
            if (chance(20)) {
                s.text += '*';
                ++s.stars;
            } else if (chance(80)) {
                s.text += std::to_string(pick(0, chance(10) ? 200 : 12));
            }
        }
        std::vector<std::string> options(1);
        for (const char* c = lengths; *c != 0; ++c) {
            if (*c == '|')
                options.emplace_back();
            else
                options.back() += *c;
        }
        s.text += options[static_cast<std::size_t>(pick(0, static_cast<int>(options.size()) - 1))];
        s.text += l[static_cast<std::size_t>(pick(0, static_cast<int>(l.size()) - 1))];
        return s;
    };
    auto starValue = [&] { return chance(20) ? -pick(0, 30) : pick(0, 30); };
    const long long intEdges[] = {0, 1, -1, INT_MAX, INT_MIN, LLONG_MAX, LLONG_MIN, 255, 65536};
    auto randomInt = [&] {
        return chance(30) ? intEdges[pick(0, 8)] : static_cast<long long>(rng());
    };
    const double dblEdges[] = {0.0,     -0.0,    1.0,      0.5,       1e300, -1e-300,
                               DBL_MAX, DBL_MIN, HUGE_VAL, -HUGE_VAL, NAN,   123456.789};
    auto randomDouble = [&] {
        if (chance(30))
            return dblEdges[pick(0, 11)];
        return std::ldexp(std::uniform_real_distribution<double>(-1, 1)(rng), pick(-60, 60));
    };

    // Formats once through Str and once through snprintf, with the same stars and value.
    auto check = [&](const Spec& spec, auto value) {
        const std::string f = "<" + spec.text + ">";
        const int s1 = starValue(), s2 = starValue();
        Str got;
        std::string want;
        switch (spec.stars) {
        case 0:
            got.Format(f.c_str(), value);
            want = Printf(f.c_str(), value);
            break;
        case 1:
            got.Format(f.c_str(), s1, value);
            want = Printf(f.c_str(), s1, value);
            break;
        default:
            got.Format(f.c_str(), s1, s2, value);
            want = Printf(f.c_str(), s1, s2, value);
            break;
        }
        EXPECT_EQ(Text(got), want) << "format " << f << " stars " << s1 << ", " << s2;
    };

    for (int iter = 0; iter < 6000 && !::testing::Test::HasFailure(); ++iter) {
        switch (iter % 7) {
        case 0:
            check(makeSpec("|h|hh", "diouxX"), static_cast<int>(randomInt()));
            break;
        case 1:
            check(makeSpec("l", "diouxX"), static_cast<long>(randomInt()));
            break;
        case 2:
            check(makeSpec("ll", "diouxX"), static_cast<long long>(randomInt()));
            break;
        case 3:
            check(makeSpec("|l", "eEfgG"), randomDouble());
            break;
        case 4:
            check(makeSpec("L", "eEfgG"), static_cast<long double>(randomDouble()));
            break;
        case 5:
            check(makeSpec("", "c"), pick(32, 126));
            break;
        default:
            check(makeSpec("", "p"), reinterpret_cast<void*>(static_cast<std::uintptr_t>(
                                         chance(10) ? 0 : randomInt())));
            break;
        }
    }
}

} // namespace
