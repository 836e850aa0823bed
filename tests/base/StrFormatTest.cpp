// The formatting engine: a seeded differential run of numeric conversions against snprintf, the
// engine's own string conversions, errors, the size estimate, and arguments from the string itself.
#include "base/StrTestProbe.h"

#include "support/Seed.h"
#include "support/Testing.h"

#include <cfenv>
#include <cfloat>
#include <cstdio>

using strtest::Text;

namespace {

template <typename... A> std::string Fmt(const char* fmt, A... args) {
    Str s;
    s.Format(fmt, args...);
    return Text(s);
}

// A list handed on, as a caller of FormatVA does; the text is replaced, not appended to.
std::string ViaList(const wchar_t* fmt, ...) {
    Str s("old");
    va_list ap;
    va_start(ap, fmt);
    s.FormatVA(fmt, ap);
    va_end(ap);
    return Text(s);
}

template <typename... A> std::string Printf(const char* fmt, A... args) {
    std::string out(static_cast<std::size_t>(std::snprintf(nullptr, 0, fmt, args...)), '\0');
    std::snprintf(out.data(), out.size() + 1, fmt, args...);
    return out;
}

} // namespace

TEST(StrFormat, RandomNumericConversionsMatchSnprintf) {
    const TestSeed seed;
    std::mt19937_64 rng(seed.value);
    auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    auto chance = [&](int percent) { return pick(1, 100) <= percent; };
    int stars = 0;
    // A conversion with random flags, width and precision (either may be a star), one of the
    // length modifiers and one of the letters.
    auto conversion = [&](const std::vector<const char*>& lengths, const std::string& letters) {
        std::string s = "<%";
        stars = 0;
        for (int i = pick(0, 3); i > 0; --i)
            s += "-+ 0#"[pick(0, 4)];
        const auto number = [&](int big, int small) {
            s += chance(20) ? (++stars, "*") : std::to_string(pick(0, chance(10) ? big : small));
        };
        if (chance(60))
            number(300, 20);
        if (chance(50)) {
            s += '.';
            if (chance(80))
                number(200, 12);
        }
        s += lengths[rng() % lengths.size()];
        return s + letters[rng() % letters.size()] + ">";
    };
    const long long ints[] = {0, -1, INT_MAX, INT_MIN, LLONG_MAX, LLONG_MIN};
    const double reals[] = {-0.0, 0.5, 1e300, -1e-300, DBL_MAX, DBL_MIN, HUGE_VAL, NAN};
    auto randomInt = [&] { return chance(30) ? ints[pick(0, 5)] : static_cast<long long>(rng()); };
    std::uniform_real_distribution<double> unit(-1, 1);
    auto randomDouble = [&] {
        if (chance(30))
            return reals[pick(0, 7)];
        const double fraction = unit(rng);
        return std::ldexp(fraction, pick(-60, 60));
    };
    auto check = [&](const std::string& f, auto value) {
        const int s1 = chance(20) ? -pick(0, 30) : pick(0, 30), s2 = pick(-5, 30);
        const auto same = [&](auto... args) {
            EXPECT_EQ(Fmt(f.c_str(), args...), Printf(f.c_str(), args...))
                << "format " << f << " stars " << s1 << ", " << s2;
        };
        stars == 0 ? same(value) : stars == 1 ? same(s1, value) : same(s1, s2, value);
    };
    // Length modifiers and letters of the seven kinds of argument: int, long, long long, double,
    // long double, character and pointer.
    const std::vector<const char*> lengths[] = {{"", "h", "hh"}, {"l"}, {"ll"}, {"", "l"},
                                                {"L"},           {""},  {""}};
    const char* const letters[] = {"diouxX", "diouxX", "diouxX", "eEfgG", "eEfgG", "c", "p"};
    for (int iter = 0; iter < 6000 && !::testing::Test::HasFailure(); ++iter) {
        // The format is drawn before the value, so that a seed gives the same run whatever order
        // a compiler evaluates arguments in.
        const int k = iter % 7;
        const std::string f = conversion(lengths[k], letters[k]);
        k == 0   ? check(f, static_cast<int>(randomInt()))
        : k == 1 ? check(f, static_cast<long>(randomInt()))
        : k == 2 ? check(f, randomInt())
        : k == 3 ? check(f, randomDouble())
        : k == 4 ? check(f, static_cast<long double>(randomDouble()))
        : k == 5 ? check(f, pick(32, 126))
                 : check(f, reinterpret_cast<void*>(static_cast<std::uintptr_t>(randomInt())));
    }
}

// Conversions whose corners printf implementations disagree on or get wrong: each must give what
// this platform's snprintf gives. printf rounds the last digit as the floating-point environment
// says, so the reals run in each of the four modes, the engine's fixed-point path included: values
// exactly halfway between two results at the precision asked, values just beside them, and -0.
TEST(StrFormat, PrintfCornerCasesTable) {
    const auto same = [](const char* fmt, auto v) {
        EXPECT_EQ(Fmt(fmt, v), Printf(fmt, v)) << fmt << ", rounding mode " << std::fegetround();
    };
    const std::pair<const char*, int> ints[] = {
        {"%d", 0},     {"%#o", 0},     {"%#.0o", 0},  {"%#x", 0},     {"%.0d", 0}, {"%+.0d", 0},
        {"% .0i", 0},  {"%#X", 255},   {"%-05d", -7}, {"%05.3d", -7}, {"%+ d", 5}, {"%x", INT_MIN},
        {"%hhu", 511}, {"%hd", 70000}, {"%5c", 'x'},  {"%-5c|", 'x'}};
    const double beside = std::nextafter(0.125, 1.0);
    const std::pair<const char*, double> reals[] = {
        {"%.0f", 0.5},         {"%.0f", 1.5},      {"%.0f", 2.5},          {"%#.0f", 3.0},
        {"%+.1f", -0.04},      {"%f", -0.0},       {"%08.3f", -1.5},       {"%-8.2f|", 1e-3},
        {"% f", 1.0},          {"%f", 1e300},      {"%.20f", 0.1},         {"%.17f", 2.5e-7},
        {"%e", 0.0},           {"%.0e", 15.0},     {"%#.0e", 1.0},         {"%E", 1e-310},
        {"%g", 100000.0},      {"%g", 1e6},        {"%g", 1e-5},           {"%#g", 1.0},
        {"%.0g", 0.5},         {"%G", 1e-40},      {"%f", HUGE_VAL},       {"%-6f|", -HUGE_VAL},
        {"%5.1f", NAN},        {"%128f", 1.0},     {"%4096f", 1.0},        {"%.0f", 0x1p116},
        {"%08.1f", -HUGE_VAL}, {"%128e", 1.0},     {"%.0f", -1.5},         {"%.1f", 0.25},
        {"%.2f", 3.14159},     {"%f", 1.0 / 3},    {"%+08.3f", -2.0625},   {"%-9.2f|", 0.125},
        {"%.2f", beside},      {"%.2f", -beside},  {"% .3e", 1.0625},      {"%.2g", -0.125},
        {"%#.0f", -0.0},       {"%.40f", 0x1p-30}, {"%.0f", 0x1p60 + 2048}};
    for (const auto& [fmt, v] : ints)
        same(fmt, v);
    struct RestoreRounding {
        ~RestoreRounding() { std::fesetround(FE_TONEAREST); }
    } restore;
    for (const int mode : {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}) {
        ASSERT_EQ(std::fesetround(mode), 0);
        for (const auto& [fmt, v] : reals)
            same(fmt, v);
        same("%Lf", 1.5L);
        same("%.3Le", 2.0L);
    }
    std::fesetround(FE_TONEAREST);
    same("%lu", -1L);
    same("%lld", LLONG_MIN);
    same("%#llo", 8LL);
    same("%128lld", 7LL);
    same("%p", static_cast<void*>(nullptr));
    same("%4096ld", 7L);
    EXPECT_EQ(Fmt("%.*f|%.*f", 0, 2.5, -1, 0.5), Printf("%.*f|%.*f", 0, 2.5, -1, 0.5));
}

// The engine's own conversions and the differences from printf that Str.h lists beside Format.
TEST(StrFormat, EngineConversionsAndAppendersTable) {
    char buf[8];
    Str zero("a");
    zero.AppendChars("\0b", 2);
    const struct {
        std::string got;
        std::string expected;
        const char* why;
    } rows[] = {
        {Fmt("a%5%b"), "a%b", "percent with a prefix: the prefix is dropped"},
        {Fmt("[%10s|%-4s]", "ab", "c"), "[ab|c]", "no width on strings"},
        {Fmt("%.s|%.0s|", "abc", "abc"), "abc||", "a '.' alone is no precision"},
        {Fmt("%.2s|%s", static_cast<const char*>(nullptr), static_cast<const char*>(nullptr)),
         "(n|(null)", "null string cut by the precision"},
        {Fmt("%ls", "narrow"), "narrow", "%ls is %s"},
        {Fmt("%zu %jd %td %d", 1, 2), "zu jd td 1", "z j t are letters, arguments shift"},
        {Fmt("%F %a %A %d", 3), "F a A 3", "F a A are letters, arguments shift"},
        {Fmt("%.2S", L"\x263Aide"), "?i", "wide string, unconvertible character"},
        {Fmt("[%S]", L""), "[]", "empty wide string"},
        {Fmt("[%-9.1!]", &zero), std::string("[a\0b]", 5), "Str keeps embedded zeros"},
        {Fmt("%!", static_cast<const Str*>(nullptr)), "(null)", "null Str"},
        {Fmt("%.*s|%*s|", -1, "abc", 12, "ab"), "abc|ab|", "stars on strings"},
        {Fmt("%.*s|", 2, "abc"), "ab|", "a star precision on a string"},
        {Fmt("%q%zu"), "qzu", "unknown letters"},
        {Fmt("%5-d|%LLd|%d", 1, 1LL, 2), "%5-d|%LLd|2", "printf's grammar refused"},
        {Fmt("%lllf|%Lf", 1.0L, 2.5L), "%lllf|2.500000", "refused, three l take a long double"},
        {Fmt("%5-ld|%d", 1L, 2), "%5-ld|2", "refused, l takes a long"},
        {Fmt("%99999999999d|", 5), "|", "a width printf cannot reach gives nothing"},
        {Text(Str().Format(L"%s+%S=%d", L"wide", "narrow", 3)), "wide+narrow=3", "wide format"},
        // The appenders keep the present text.
        {std::to_string(StrImplementation::STR_sprintf_i(buf, 8, "%04d", 7)) + buf, "40007",
         "sprintf"},
        {Text(Str("ab").AppendFormat("%d", 1)), "ab1", "AppendFormat"},
        {ViaList(L"%d-%s", 4, L"w"), "4-w", "FormatVA with a wide format"},
        {Text(Str("n=").AppendInt(-42)), "n=-42", "AppendInt"},
        {Text(Str().AppendFloat(1.5f, 40)), "1.5" + std::string(31, '0'), "AppendFloat"},
        {Text(Str().AppendDouble(2.0, 0)), "2", "AppendDouble"},
        {Text(Str().AppendDouble(0.125, 100)), "0.125" + std::string(45, '0'), "AppendDouble, 100"},
    };
    for (const auto& [got, expected, why] : rows)
        EXPECT_EQ(got, expected) << why;
}

TEST(StrFormat, ErrorsKeepTextFormattedBefore) {
    const struct {
        const char* fmt;
        Str::StrEC code;
        const char* left;
    } rows[] = {{"ab%***f", Str::ecFormatStars, "ab"},
                {"%d-%***d", Str::ecFormatStars, "1-"},
                {"%d%5n", Str::ecFormatN, "1"}};
    for (const auto& [fmt, code, left] : rows) {
        SCOPED_TRACE(fmt);
        Str s("old");
        try {
            s.Format(fmt, 1, 2, 3, 4, 5.0);
            ADD_FAILURE() << "no exception";
        } catch (const StrException& e) {
            EXPECT_EQ(e.code, code);
        }
        EXPECT_EQ(Text(s), left);
    }
}

TEST(StrFormat, EstimateSizesTheFirstBlock) {
    // 2^21 - 2 signs reach 2^26 - 62, and the last, before an 's', passes it by 65.
    const std::string many = std::string(2 * ((1 << 20) - 1), '%') + "%s";
    const struct {
        int capacity;
        Str s;
        const char* why;
    } rows[] = {
        {191, Str().Format("%s", "x"), "128 for the string, 1 for the letter"},
        {63, Str().Format("abc"), "three ordinary characters"},
        {127, Str().Format("%d%d%d", 1, 2, 3), "3 * 33"},
        {191, Str().Format("%S", L"x"), "S counts like s"},
        {191, Str().Format("%%s"), "the second '%' sees 's': 32 + 128 + 1"},
        {63, Str().Format("% s", "x"), "only the character behind '%' counts"},
        {319, Str().Format(L"%s%s", L"x", L"y"), "the narrowed wide format: 2 * 129"},
        {(1 << 26) | 63, Str().Format(many.c_str(), ""), "the estimate stops at 2^26"},
    };
    for (const auto& [capacity, s, why] : rows)
        EXPECT_EQ(strtest::Header(s).capacity, capacity) << why;
}

TEST(StrFormat, ArgumentsMayComeFromTheStringBeingFormatted) {
    // The first append outgrows the block; the later arguments still read the original text.
    Str s(std::string(60, 'x').c_str());
    const char* own = s;
    s.AppendFormat("%s%s%s", own, own + 50, own);
    EXPECT_EQ(Text(s), std::string(60 + 60 + 10 + 60, 'x'));
    Str g("keep %d");
    g.Format(g, 9);
    EXPECT_EQ(Text(g), "keep 9");
}
