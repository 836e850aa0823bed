// Serialisation against hand-written standard-library peers producing the same bytes: the memory
// file against appending to a std::vector<unsigned char>, the tagged list and the filename record
// against the same layout written into and parsed out of a vector, the filename against
// std::filesystem::path. Pairs are <Work>_Mem / _Vec, <Work>_List / _Std and <Work>_Str / _Std.
#include "base/BFilename.h"
#include "base/BMemFile.h"
#include "base/BMetaDataTaggedList.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

void PutU32(Bytes& out, unsigned int v) {
    const unsigned char le[4] = {static_cast<unsigned char>(v), static_cast<unsigned char>(v >> 8),
                                 static_cast<unsigned char>(v >> 16),
                                 static_cast<unsigned char>(v >> 24)};
    out.insert(out.end(), le, le + 4);
}

// Reads a little-endian word at *at, or 0 past the end.
unsigned int GetU32(const Bytes& in, std::size_t& at) {
    if (in.size() - at < 4) {
        at = in.size();
        return 0;
    }
    const unsigned int v =
        in[at] | in[at + 1] << 8 | in[at + 2] << 16 | static_cast<unsigned int>(in[at + 3]) << 24;
    at += 4;
    return v;
}

// A sized byte run: the size word, then the bytes.
void PutRun(Bytes& out, const void* p, unsigned int n) {
    PutU32(out, n);
    const auto* b = static_cast<const unsigned char*>(p);
    out.insert(out.end(), b, b + n);
}

std::string GetRun(const Bytes& in, std::size_t& at) {
    const std::size_t n = GetU32(in, at);
    const std::size_t take = std::min(n, in.size() - at);
    std::string s(reinterpret_cast<const char*>(in.data() + at), take);
    at += take;
    return s;
}

// --- Memory file ------------------------------------------------------------------------------

// Records of an int and a short text, as the serialisers write them: 16 Ki records, about 300 KiB.
constexpr int kRecords = 1 << 14;
const char* const kWords[] = {"alpha", "background", "colour", "pane", "well", "preferences"};

void MemFileWrite_Mem(benchmark::State& state) {
    for (auto _ : state) {
        BMemFile file;
        for (int i = 0; i < kRecords; ++i) {
            const char* word = kWords[i % 6];
            const unsigned int n = static_cast<unsigned int>(std::strlen(word));
            file.Write(i);
            file.Write(n);
            file.Write(word, n);
        }
        benchmark::DoNotOptimize(file.m_buffer);
    }
}

void MemFileWrite_Vec(benchmark::State& state) {
    for (auto _ : state) {
        Bytes out;
        for (int i = 0; i < kRecords; ++i) {
            const char* word = kWords[i % 6];
            const unsigned int n = static_cast<unsigned int>(std::strlen(word));
            PutU32(out, static_cast<unsigned int>(i));
            PutRun(out, word, n);
        }
        benchmark::DoNotOptimize(out.data());
    }
}

// The commonest serialisation step alone: 262,144 words, 1 MiB, into a fresh file, one call each.
constexpr unsigned int kWords32 = 1u << 18;

void MemFileWriteU32_Mem(benchmark::State& state) {
    for (auto _ : state) {
        BMemFile file;
        for (unsigned int i = 0; i < kWords32; ++i)
            file.Write(i);
        benchmark::DoNotOptimize(file.m_buffer);
    }
}

void MemFileWriteU32_Vec(benchmark::State& state) {
    for (auto _ : state) {
        Bytes out;
        for (unsigned int i = 0; i < kWords32; ++i)
            PutU32(out, i);
        benchmark::DoNotOptimize(out.data());
    }
}

// --- Tagged list --------------------------------------------------------------------------------

constexpr int kItems = 1000;

std::string Tag(int i) {
    return "item" + std::to_string(i);
}

void TaggedList1000_List(benchmark::State& state) {
    BMetaDataTaggedList list;
    for (int i = 0; i < kItems; ++i)
        list.SetData(Tag(i).c_str(), i);
    for (auto _ : state) {
        BMemFile file;
        list.Write(file, 1);
        file.SetPosition(0);
        BMetaDataTaggedList back;
        benchmark::DoNotOptimize(back.Read(file, 1));
    }
}

void TaggedList1000_Std(benchmark::State& state) {
    std::vector<std::pair<std::string, Bytes>> list;
    for (int i = 0; i < kItems; ++i) {
        Bytes value;
        PutU32(value, static_cast<unsigned int>(i));
        list.emplace_back(Tag(i), value);
    }
    for (auto _ : state) {
        Bytes out;
        out.insert(out.end(), BMetaDataTaggedList::kMarker,
                   BMetaDataTaggedList::kMarker + BMetaDataTaggedList::kMarkerSize);
        PutU32(out, static_cast<unsigned int>(list.size()));
        for (const auto& [tag, value] : list) {
            PutRun(out, tag.c_str(), static_cast<unsigned int>(tag.size() + 1));
            PutRun(out, value.data(), static_cast<unsigned int>(value.size()));
        }
        std::size_t at = BMetaDataTaggedList::kMarkerSize;
        const unsigned int count = GetU32(out, at);
        std::vector<std::pair<std::string, Bytes>> back;
        for (unsigned int i = 0; i < count && at < out.size(); ++i) {
            std::string tag = GetRun(out, at);
            const std::string value = GetRun(out, at);
            back.emplace_back(std::move(tag), Bytes(value.begin(), value.end()));
        }
        benchmark::DoNotOptimize(back.data());
    }
}

// --- Filename ---------------------------------------------------------------------------------

const char kPath[] = "/Users/someone/Documents/Projects/bkgcolors/report-2024.txt";

// Setting a path and reading back the whole path, its folder and its file name.
void FilenameSetGet_Str(benchmark::State& state) {
    BFilename name;
    for (auto _ : state) {
        name.SetPath(kPath);
        Str path = name.GetPath();
        Str folder = name.GetDirectory();
        Str file = name.GetFileName();
        benchmark::DoNotOptimize(path);
        benchmark::DoNotOptimize(folder);
        benchmark::DoNotOptimize(file);
    }
}

void FilenameSetGet_Std(benchmark::State& state) {
    for (auto _ : state) {
        const std::filesystem::path name(kPath);
        std::string path = name.string();
        std::string folder = name.parent_path().string() + '/';
        std::string file = name.filename().string();
        benchmark::DoNotOptimize(path);
        benchmark::DoNotOptimize(folder);
        benchmark::DoNotOptimize(file);
    }
}

// The filename's serialised record (Set, a copy of the data, Get) against the same bytes written
// into and parsed out of a vector.
void FilenameRecord_Str(benchmark::State& state) {
    BFilename source;
    source.SetPath(kPath);
    source.SetDiskName("Macintosh HD");
    BFilename target;
    for (auto _ : state) {
        source.Set();
        static_cast<BMetaData&>(target) = source;
        target.Get();
        benchmark::DoNotOptimize(target.GetFileName());
    }
}

void FilenameRecord_Std(benchmark::State& state) {
    const std::string fields[5] = {"/Users/someone/Documents/Projects/bkgcolors/", "", "",
                                   "report-2024.txt", "Macintosh HD"};
    for (auto _ : state) {
        const std::string storage =
            fields[0] + '\t' + fields[1] + '\t' + fields[2] + '\t' + fields[3] + '\t' + fields[4];
        Bytes out;
        PutRun(out, storage.c_str(), static_cast<unsigned int>(storage.size() + 1));
        out.insert(out.end(), BMetaDataTaggedList::kMarker,
                   BMetaDataTaggedList::kMarker + BMetaDataTaggedList::kMarkerSize);
        PutU32(out, 0);
        const Bytes data = out;
        std::size_t at = 0;
        const std::string text = GetRun(data, at);
        std::string back[5];
        std::size_t from = 0;
        for (int i = 0; i < 5; ++i) {
            const std::size_t tab = i < 4 ? text.find('\t', from) : std::string::npos;
            back[i] = text.substr(from, tab == std::string::npos ? std::string::npos : tab - from);
            from = tab + 1;
        }
        benchmark::DoNotOptimize(back);
    }
}

} // namespace

BENCHMARK(MemFileWrite_Mem)->Unit(benchmark::kMicrosecond);
BENCHMARK(MemFileWrite_Vec)->Unit(benchmark::kMicrosecond);
BENCHMARK(MemFileWriteU32_Mem)->Unit(benchmark::kMicrosecond);
BENCHMARK(MemFileWriteU32_Vec)->Unit(benchmark::kMicrosecond);
BENCHMARK(TaggedList1000_List)->Unit(benchmark::kMicrosecond);
BENCHMARK(TaggedList1000_Std)->Unit(benchmark::kMicrosecond);
BENCHMARK(FilenameSetGet_Str);
BENCHMARK(FilenameSetGet_Std);
BENCHMARK(FilenameRecord_Str);
BENCHMARK(FilenameRecord_Std);
