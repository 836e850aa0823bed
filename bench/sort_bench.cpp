// Sorting lists of filenames: the list sorts (StrList by file name, BFilenameList by storage
// string) against std::stable_sort of the same keys, precomputed as std::string. Lists are
// shuffled so that most elements have to move, the costly case for the lists.
#include "base/BFilename.h"
#include "base/BFilenameList.h"
#include "base/StrList.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

std::vector<std::string> Paths(std::size_t n) {
    std::mt19937 rng(12345);
    static const char* const dirs[] = {"/Users/a/", "/Volumes/Backup/photos/", "/tmp/",
                                       "/Users/b/Documents/work/", "/opt/data/"};
    std::vector<std::string> out;
    out.reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
        std::string name;
        for (int k = 0; k < 8; ++k)
            name += static_cast<char>((rng() % 2 ? 'a' : 'A') + rng() % 26);
        out.push_back(dirs[rng() % 5] + name + (rng() % 3 ? ".jpg" : ".TXT"));
    }
    return out;
}

bool IgnoreCaseLess(const std::string& a, const std::string& b) {
    return StrImplementation::STR_stricmp_ex(a.c_str(), b.c_str()) < 0;
}

void StrListSort_List(benchmark::State& state) {
    const std::vector<std::string> paths = Paths(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        auto owner = std::make_unique<StrList>();
        StrList& list = *owner;
        for (const std::string& path : paths) {
            Str text(path.c_str());
            list.AddTail(text);
        }
        state.ResumeTiming();
        list.Sort();
        benchmark::DoNotOptimize(list.GetHeadPosition());
        state.PauseTiming();
        owner.reset();
        state.ResumeTiming();
    }
}

void StrListSort_Std(benchmark::State& state) {
    const std::vector<std::string> paths = Paths(static_cast<std::size_t>(state.range(0)));
    std::vector<std::string> keys;
    BFilename parsed;
    for (const std::string& path : paths) {
        parsed.SetStorageString(path.c_str());
        keys.emplace_back(parsed.GetFileName());
    }
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<std::string> work = keys;
        state.ResumeTiming();
        std::stable_sort(work.begin(), work.end(), IgnoreCaseLess);
        benchmark::DoNotOptimize(work.data());
    }
}

void BFilenameListSort_List(benchmark::State& state) {
    const std::vector<std::string> paths = Paths(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        auto owner = std::make_unique<BFilenameList>();
        BFilenameList& list = *owner;
        BFilename name;
        for (const std::string& path : paths) {
            name.SetPath(path.c_str());
            list.AddTail(name);
        }
        state.ResumeTiming();
        list.Sort();
        benchmark::DoNotOptimize(list.GetHeadPosition());
        state.PauseTiming();
        owner.reset();
        state.ResumeTiming();
    }
}

void BFilenameListSort_Std(benchmark::State& state) {
    const std::vector<std::string> paths = Paths(static_cast<std::size_t>(state.range(0)));
    std::vector<std::string> keys;
    BFilename name;
    for (const std::string& path : paths) {
        name.SetPath(path.c_str());
        keys.emplace_back(name.GetStorageString());
    }
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<std::string> work = keys;
        state.ResumeTiming();
        std::stable_sort(work.begin(), work.end(), IgnoreCaseLess);
        benchmark::DoNotOptimize(work.data());
    }
}

} // namespace

BENCHMARK(StrListSort_List)->Arg(2000)->Arg(20000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(StrListSort_Std)->Arg(2000)->Arg(20000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BFilenameListSort_List)
    ->Arg(2000)
    ->Arg(20000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BFilenameListSort_Std)->Arg(2000)->Arg(20000)->Arg(100000)->Unit(benchmark::kMillisecond);
