// Str against std::string on the same work. Every comparison is a pair <Work>_Str / <Work>_Std run
// in the same program, so scripts/bench-report can put the two timings side by side.
//
// The no-case search also reports heap allocations per search: malloc is counted by forwarding it
// to the C library's own entry point, which covers the string pool (it calls malloc directly) as
// well as operator new.
#include "base/Str.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

extern "C" void* __libc_malloc(std::size_t n);

namespace {
unsigned long long g_mallocs = 0;
} // namespace

extern "C" void* malloc(std::size_t n) {
    ++g_mallocs;
    return __libc_malloc(n);
}

namespace {

std::string Letters(std::size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    std::string s(n, ' ');
    for (char& c : s) {
        const unsigned r = rng() % 32;
        c = r < 26 ? static_cast<char>('a' + r) : ' ';
    }
    return s;
}

// 1 MiB of lower-case words with the searched text only at its very end.
const char kNeedle[] = "needle";
const std::string& Haystack() {
    static const std::string text = [] {
        std::string s = Letters((1u << 20) - 6, 7);
        for (std::size_t i = 0; i + 6 <= s.size(); ++i)
            if (s.compare(i, 6, kNeedle) == 0)
                s[i] = 'm';
        return s + kNeedle;
    }();
    return text;
}

// --- Copies -----------------------------------------------------------------------------------

void Copy10_Str(benchmark::State& state) {
    const Str source("abcdefghij");
    for (auto _ : state) {
        Str copy(source);
        benchmark::DoNotOptimize(copy);
    }
}

void Copy10_Std(benchmark::State& state) {
    const std::string source("abcdefghij");
    for (auto _ : state) {
        std::string copy(source);
        benchmark::DoNotOptimize(copy);
    }
}

void Copy1K_Str(benchmark::State& state) {
    const Str source(Letters(1024, 1).c_str());
    for (auto _ : state) {
        Str copy(source);
        benchmark::DoNotOptimize(copy);
    }
}

void Copy1K_Std(benchmark::State& state) {
    const std::string source(Letters(1024, 1));
    for (auto _ : state) {
        std::string copy(source);
        benchmark::DoNotOptimize(copy);
    }
}

// --- Construction -----------------------------------------------------------------------------

void Construct100_Str(benchmark::State& state) {
    const std::string text = Letters(100, 2);
    const char* p = text.c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(p);
        Str s(p);
        benchmark::DoNotOptimize(s);
    }
}

void Construct100_Std(benchmark::State& state) {
    const std::string text = Letters(100, 2);
    const char* p = text.c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(p);
        std::string s(p);
        benchmark::DoNotOptimize(s);
    }
}

// --- Building and joining ---------------------------------------------------------------------

constexpr int kBuildSize = 64 * 1024;

void BuildByChar64K_Str(benchmark::State& state) {
    for (auto _ : state) {
        Str s;
        for (int i = 0; i < kBuildSize; ++i)
            s.AppendChar(static_cast<char>('a' + (i & 15)));
        benchmark::DoNotOptimize(s);
    }
}

void BuildByChar64K_Std(benchmark::State& state) {
    for (auto _ : state) {
        std::string s;
        for (int i = 0; i < kBuildSize; ++i)
            s.push_back(static_cast<char>('a' + (i & 15)));
        benchmark::DoNotOptimize(s);
    }
}

void Concat100_Str(benchmark::State& state) {
    const Str a(Letters(100, 3).c_str()), b(Letters(100, 4).c_str());
    for (auto _ : state) {
        Str r = a + b;
        benchmark::DoNotOptimize(r);
    }
}

void Concat100_Std(benchmark::State& state) {
    const std::string a(Letters(100, 3)), b(Letters(100, 4));
    for (auto _ : state) {
        std::string r = a + b;
        benchmark::DoNotOptimize(r);
    }
}

// --- Searching --------------------------------------------------------------------------------

// Finds `needle` at the end of `haystack`, with the library and with the standard library; both
// check that the search ran to the end.
void FindAtEnd_Str(benchmark::State& state, const std::string& haystack, const char* needle) {
    const Str text(haystack.c_str());
    int at = 0;
    for (auto _ : state) {
        at = text.Find(needle, 0);
        benchmark::DoNotOptimize(at);
    }
    if (at != text.GetLength() - static_cast<int>(std::strlen(needle)))
        state.SkipWithError("text not found at the end");
}

void FindAtEnd_Std(benchmark::State& state, const std::string& text, const char* needle) {
    std::size_t at = 0;
    for (auto _ : state) {
        at = text.find(needle, 0);
        benchmark::DoNotOptimize(at);
    }
    if (at != text.size() - std::strlen(needle))
        state.SkipWithError("text not found at the end");
}

// The needle's first character is frequent in the text ('n', one letter in 32), so most of the
// work is checking candidates.
void FindFrequent1M_Str(benchmark::State& state) {
    FindAtEnd_Str(state, Haystack(), kNeedle);
}
void FindFrequent1M_Std(benchmark::State& state) {
    FindAtEnd_Std(state, Haystack(), kNeedle);
}

// The needle's first character occurs nowhere before the end, so the work is one scan.
const char kRareNeedle[] = "#needle";
const std::string& RareHaystack() {
    static const std::string text = Haystack() + kRareNeedle;
    return text;
}

void FindRare1M_Str(benchmark::State& state) {
    FindAtEnd_Str(state, RareHaystack(), kRareNeedle);
}
void FindRare1M_Std(benchmark::State& state) {
    FindAtEnd_Std(state, RareHaystack(), kRareNeedle);
}

// A rare first character in plain text: 1 MiB of 'a' with a 'b' every 7th byte and the needle
// only at its end, so no candidate is met before it.
const std::string& PlainHaystack() {
    static const std::string text = [] {
        std::string s((1u << 20) - 6, 'a');
        for (std::size_t i = 6; i < s.size(); i += 7)
            s[i] = 'b';
        return s + kNeedle;
    }();
    return text;
}

void FindRarePlain1M_Str(benchmark::State& state) {
    FindAtEnd_Str(state, PlainHaystack(), kNeedle);
}
void FindRarePlain1M_Std(benchmark::State& state) {
    FindAtEnd_Std(state, PlainHaystack(), kNeedle);
}

// The peer of the no-case search: a search whose comparison folds both sides to lower case.
void FindNoCase1M_Str(benchmark::State& state) {
    const Str text(Haystack().c_str());
    int at = 0;
    unsigned long long mallocs = 0;
    for (auto _ : state) {
        const unsigned long long before = g_mallocs;
        at = text.FindNoCase("NeEdLe", 0);
        mallocs += g_mallocs - before;
        benchmark::DoNotOptimize(at);
    }
    if (at != text.GetLength() - 6)
        state.SkipWithError("text not found at the end");
    state.counters["allocs"] =
        benchmark::Counter(static_cast<double>(mallocs), benchmark::Counter::kAvgIterations);
}

void FindNoCase1M_Std(benchmark::State& state) {
    const std::string& text = Haystack();
    const std::string needle = "NeEdLe";
    std::size_t at = 0;
    for (auto _ : state) {
        const auto it =
            std::search(text.begin(), text.end(), needle.begin(), needle.end(), [](char a, char b) {
                return std::tolower(static_cast<unsigned char>(a)) ==
                       std::tolower(static_cast<unsigned char>(b));
            });
        at = static_cast<std::size_t>(it - text.begin());
        benchmark::DoNotOptimize(at);
    }
    if (at != text.size() - 6)
        state.SkipWithError("text not found at the end");
}

// --- Formatting -------------------------------------------------------------------------------

// The mixed conversions of everyday messages: a decimal, a string, a hexadecimal and a fixed-point
// number.
const char kFormat[] = "%d items in %s, batch %08x, at %.2f each";

void Format_Str(benchmark::State& state) {
    int items = 42;
    const char* where = "the basket";
    unsigned int batch = 0xbeef;
    double price = 3.14159;
    for (auto _ : state) {
        benchmark::DoNotOptimize(items);
        benchmark::DoNotOptimize(price);
        Str s;
        s.Format(kFormat, items, where, batch, price);
        benchmark::DoNotOptimize(s);
    }
}

void Format_Std(benchmark::State& state) {
    int items = 42;
    const char* where = "the basket";
    unsigned int batch = 0xbeef;
    double price = 3.14159;
    for (auto _ : state) {
        benchmark::DoNotOptimize(items);
        benchmark::DoNotOptimize(price);
        char buf[128];
        const int n = std::snprintf(buf, sizeof buf, kFormat, items, where, batch, price);
        std::string s(buf, static_cast<std::size_t>(n));
        benchmark::DoNotOptimize(s);
    }
}

// The shortest message: a decimal, a string and a fixed-point number.
const char kShortFormat[] = "%d items in %s at %.2f";

void FormatShort_Str(benchmark::State& state) {
    int items = 42;
    const char* where = "the basket";
    double price = 3.14159;
    for (auto _ : state) {
        benchmark::DoNotOptimize(items);
        benchmark::DoNotOptimize(price);
        Str s;
        s.Format(kShortFormat, items, where, price);
        benchmark::DoNotOptimize(s);
    }
}

void FormatShort_Std(benchmark::State& state) {
    int items = 42;
    const char* where = "the basket";
    double price = 3.14159;
    for (auto _ : state) {
        benchmark::DoNotOptimize(items);
        benchmark::DoNotOptimize(price);
        char buf[128];
        const int n = std::snprintf(buf, sizeof buf, kShortFormat, items, where, price);
        std::string s(buf, static_cast<std::size_t>(n));
        benchmark::DoNotOptimize(s);
    }
}

// --- Tokens -----------------------------------------------------------------------------------

// 64 KiB of comma-separated records, one a line: a number, a word, a price, a short code.
const char kCsvDelimiters[] = ",\n";
const std::string& Csv() {
    static const std::string text = [] {
        std::mt19937 rng(5);
        std::string s;
        while (s.size() < 64 * 1024) {
            s += std::to_string(rng() % 100000) + ',' + Letters(3 + rng() % 10, rng()) + ',' +
                 std::to_string(rng() % 1000) + '.' + std::to_string(rng() % 100) + ",X" +
                 std::to_string(rng() % 10) + '\n';
        }
        return s;
    }();
    return text;
}

void Tokenize64K_Str(benchmark::State& state) {
    const Str text(Csv().c_str());
    for (auto _ : state) {
        int pos = 0, count = 0;
        while (pos >= 0) {
            Str token = text.Tokenize(kCsvDelimiters, pos);
            benchmark::DoNotOptimize(token);
            ++count;
        }
        benchmark::DoNotOptimize(count);
    }
}

void Tokenize64K_Std(benchmark::State& state) {
    const std::string& text = Csv();
    for (auto _ : state) {
        int count = 0;
        std::size_t pos = 0;
        while (pos < text.size()) {
            const std::size_t start = text.find_first_not_of(kCsvDelimiters, pos);
            if (start == std::string::npos)
                break;
            std::size_t end = text.find_first_of(kCsvDelimiters, start);
            if (end == std::string::npos)
                end = text.size();
            std::string token = text.substr(start, end - start);
            benchmark::DoNotOptimize(token);
            ++count;
            pos = end;
        }
        benchmark::DoNotOptimize(count);
    }
}

// 1 MiB of fields like "field12345," split at the one delimiter ',': short tokens, each a new
// string, so the cost per token is what counts.
const std::string& Fields() {
    static const std::string text = [] {
        std::mt19937 rng(13);
        std::string s;
        while (s.size() < (1u << 20))
            s += "field" + std::to_string(10000 + rng() % 90000) + ',';
        return s;
    }();
    return text;
}

void TokenizeFields1M_Str(benchmark::State& state) {
    const Str text(Fields().c_str());
    int count = 0;
    for (auto _ : state) {
        int pos = 0;
        count = 0;
        while (pos >= 0) {
            Str token = text.Tokenize(",", pos);
            benchmark::DoNotOptimize(token);
            ++count;
        }
        benchmark::DoNotOptimize(count);
    }
    if (count != static_cast<int>(Fields().size() / 11) + 1)
        state.SkipWithError("wrong number of tokens");
}

void TokenizeFields1M_Std(benchmark::State& state) {
    const std::string& text = Fields();
    for (auto _ : state) {
        int count = 0;
        std::size_t pos = 0;
        while (pos < text.size()) {
            std::size_t end = text.find(',', pos);
            if (end == std::string::npos)
                end = text.size();
            std::string token = text.substr(pos, end - pos);
            benchmark::DoNotOptimize(token);
            ++count;
            pos = end + 1;
        }
        benchmark::DoNotOptimize(count);
    }
}

// --- Trim, Mid, replace-all -------------------------------------------------------------------

const std::string& Padded() {
    static const std::string text = " \t  " + Letters(100, 6) + " \r\n ";
    return text;
}

void Trim_Str(benchmark::State& state) {
    const Str source(Padded().c_str());
    for (auto _ : state) {
        Str s(source);
        s.Trim();
        benchmark::DoNotOptimize(s);
    }
}

void Trim_Std(benchmark::State& state) {
    const std::string source(Padded());
    for (auto _ : state) {
        std::string s(source);
        const char* set = " \t\r\n";
        s.erase(s.find_last_not_of(set) + 1);
        s.erase(0, s.find_first_not_of(set));
        benchmark::DoNotOptimize(s);
    }
}

void Mid_Str(benchmark::State& state) {
    const Str source(Letters(200, 8).c_str());
    for (auto _ : state) {
        Str s = source.Mid(50, 100);
        benchmark::DoNotOptimize(s);
    }
}

void Mid_Std(benchmark::State& state) {
    const std::string source(Letters(200, 8));
    for (auto _ : state) {
        std::string s = source.substr(50, 100);
        benchmark::DoNotOptimize(s);
    }
}

// 64 KiB of words in which "the" occurs often; every one becomes "a cat".
const std::string& Prose() {
    static const std::string text = [] {
        std::string s;
        std::mt19937 rng(9);
        static const char* const words[] = {"the ", "dog ", "sat ", "on ", "mat ", "and "};
        while (s.size() < 64 * 1024)
            s += words[rng() % 6];
        return s;
    }();
    return text;
}

void ReplaceAll64K_Str(benchmark::State& state) {
    const Str source(Prose().c_str());
    for (auto _ : state) {
        Str s(source);
        const int n = StrImplementation::STR_ReplaceCore(s, "the", "a cat", 0);
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(s);
    }
}

void ReplaceAll64K_Std(benchmark::State& state) {
    const std::string source(Prose());
    for (auto _ : state) {
        std::string s;
        s.reserve(source.size());
        int n = 0;
        std::size_t from = 0;
        for (std::size_t at; (at = source.find("the", from)) != std::string::npos; from = at + 3) {
            s.append(source, from, at - from);
            s += "a cat";
            ++n;
        }
        s.append(source, from, std::string::npos);
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(s);
    }
}

// Replacing a word in 1 MiB and 4 MiB of text without regard to case, against the exact-case
// replace of the same word in the same text: the no-case form must stay linear too.
const std::string& Words(std::size_t size) {
    static std::string texts[2];
    std::string& s = texts[size > (1u << 20)];
    if (s.empty()) {
        std::mt19937 rng(11);
        static const char* const words[] = {"The ", "dog ", "sat ", "on ",
                                            "the ", "mat ", "and ", "slept "};
        while (s.size() < size)
            s += words[rng() % 8];
    }
    return s;
}

void ReplaceWord(benchmark::State& state, signed char nocase) {
    const Str source(Words(static_cast<std::size_t>(state.range(0))).c_str());
    int n = 0;
    for (auto _ : state) {
        Str s(source);
        n = StrImplementation::STR_ReplaceCore(s, "the", "a cat", nocase);
        benchmark::DoNotOptimize(s);
    }
    if (n == 0)
        state.SkipWithError("nothing replaced");
}

void ReplaceNoCase_Str(benchmark::State& state) {
    ReplaceWord(state, 1);
}

void ReplaceExact_Str(benchmark::State& state) {
    ReplaceWord(state, 0);
}

} // namespace

BENCHMARK(Copy10_Str);
BENCHMARK(Copy10_Std);
BENCHMARK(Copy1K_Str);
BENCHMARK(Copy1K_Std);
BENCHMARK(Construct100_Str);
BENCHMARK(Construct100_Std);
BENCHMARK(BuildByChar64K_Str)->Unit(benchmark::kMicrosecond);
BENCHMARK(BuildByChar64K_Std)->Unit(benchmark::kMicrosecond);
BENCHMARK(Concat100_Str);
BENCHMARK(Concat100_Std);
BENCHMARK(FindFrequent1M_Str)->Unit(benchmark::kMicrosecond);
BENCHMARK(FindFrequent1M_Std)->Unit(benchmark::kMicrosecond);
BENCHMARK(FindRare1M_Str)->Unit(benchmark::kMicrosecond);
BENCHMARK(FindRare1M_Std)->Unit(benchmark::kMicrosecond);
BENCHMARK(FindRarePlain1M_Str)->Unit(benchmark::kMicrosecond);
BENCHMARK(FindRarePlain1M_Std)->Unit(benchmark::kMicrosecond);
BENCHMARK(FindNoCase1M_Str)->Unit(benchmark::kMicrosecond);
BENCHMARK(FindNoCase1M_Std)->Unit(benchmark::kMicrosecond);
BENCHMARK(Format_Str);
BENCHMARK(Format_Std);
BENCHMARK(FormatShort_Str);
BENCHMARK(FormatShort_Std);
BENCHMARK(Tokenize64K_Str)->Unit(benchmark::kMicrosecond);
BENCHMARK(Tokenize64K_Std)->Unit(benchmark::kMicrosecond);
BENCHMARK(TokenizeFields1M_Str)->Unit(benchmark::kMicrosecond);
BENCHMARK(TokenizeFields1M_Std)->Unit(benchmark::kMicrosecond);
BENCHMARK(Trim_Str);
BENCHMARK(Trim_Std);
BENCHMARK(Mid_Str);
BENCHMARK(Mid_Std);
BENCHMARK(ReplaceAll64K_Str)->Unit(benchmark::kMicrosecond);
BENCHMARK(ReplaceAll64K_Std)->Unit(benchmark::kMicrosecond);
BENCHMARK(ReplaceNoCase_Str)->Arg(1 << 20)->Arg(4 << 20)->Unit(benchmark::kMicrosecond);
BENCHMARK(ReplaceExact_Str)->Arg(1 << 20)->Arg(4 << 20)->Unit(benchmark::kMicrosecond);
