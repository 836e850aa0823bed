// The fast paths of the string searches, the replace-all and the memory file's writes against
// straightforward models of the same operations: one replacement at a time, a search of a
// lower-case copy, a std::string search, and a memory file that grows by exactly the grow-by.
// Seeded differential runs; every failure prints its seed and step.
#include "base/BMemFile.h"
#include "base/Str.h"

#include "StrTestProbe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using strtest::Header;
using strtest::Text;

constexpr unsigned kSeed = 20240611;

// A short text over a few letters in both cases, with the occasional zero byte.
std::string RandomText(std::mt19937& rng, std::size_t maxLength, bool zeros) {
    static const char letters[] = "abAB.";
    std::string s(rng() % (maxLength + 1), 'a');
    for (char& c : s)
        c = zeros && rng() % 40 == 0 ? '\0' : letters[rng() % 5];
    return s;
}

Str MakeStr(const std::string& s) {
    Str r;
    r.AppendChars(s.data(), static_cast<int>(s.size()));
    return r;
}

// Replace-all done the long way: one ReplaceAt per match, the next search starting right after
// the text just put in.
int ReplaceOneAtATime(Str& str, const char* find, const char* repl, bool nocase) {
    const int m = static_cast<int>(std::strlen(find));
    const int r = static_cast<int>(std::strlen(repl));
    int from = 0, count = 0;
    while (from <= str.GetLength() - m) {
        const int found = nocase ? str.FindNoCase(find, from) : str.Find(find, from);
        if (found < 0)
            break;
        str.ReplaceAt(found, m, repl);
        from = found + r;
        ++count;
    }
    return count;
}

TEST(FastPathModelTest, ReplaceAllMatchesOneReplacementAtATime) {
    std::mt19937 rng(kSeed);
    for (int step = 0; step < 3000; ++step) {
        SCOPED_TRACE("seed " + std::to_string(kSeed) + ", step " + std::to_string(step));
        const std::string text = RandomText(rng, step % 3 == 0 ? 300 : 40, true);
        const std::string find = RandomText(rng, 3, false);
        const std::string repl = RandomText(rng, 5, false);
        if (find.empty())
            continue;
        const bool nocase = rng() % 2;
        const bool shared = rng() % 2;

        Str fast = MakeStr(text), slow = MakeStr(text);
        const Str otherHolder = shared ? fast : Str();
        EXPECT_EQ(StrImplementation::STR_ReplaceCore(fast, find.c_str(), repl.c_str(), nocase),
                  ReplaceOneAtATime(slow, find.c_str(), repl.c_str(), nocase));
        ASSERT_EQ(Text(fast), Text(slow))
            << "text " << text << " find " << find << " repl " << repl << " nocase " << nocase;
        EXPECT_EQ(Header(fast).capacity, Header(slow).capacity);
        EXPECT_EQ(static_cast<const char*>(fast)[fast.GetLength()], 0);
        if (shared) {
            EXPECT_EQ(Text(otherHolder), text) << "the other holder keeps its text";
        }
    }
}

TEST(FastPathModelTest, NoCaseFindMatchesFindOnLowerCaseCopy) {
    std::mt19937 rng(kSeed + 1);
    for (int step = 0; step < 5000; ++step) {
        SCOPED_TRACE("seed " + std::to_string(kSeed + 1) + ", step " + std::to_string(step));
        const Str text = MakeStr(RandomText(rng, 60, true));
        const std::string needle = RandomText(rng, 4, false);
        const int start = static_cast<int>(rng() % (text.GetLength() + 3));

        std::string lowNeedle = needle;
        StrImplementation::STR_ToLower(lowNeedle.data(), static_cast<unsigned int>(needle.size()));
        Str lower(text);
        lower.Str_MakeUL(0);
        EXPECT_EQ(text.FindNoCase(needle.c_str(), start), lower.Find(lowNeedle.c_str(), start))
            << Text(text) << " / " << needle << " from " << start;
    }
}

TEST(FastPathModelTest, FindMatchesStringSearchUpToNextZero) {
    std::mt19937 rng(kSeed + 2);
    for (int step = 0; step < 5000; ++step) {
        SCOPED_TRACE("seed " + std::to_string(kSeed + 2) + ", step " + std::to_string(step));
        const std::string raw = RandomText(rng, 60, true);
        const Str text = MakeStr(raw);
        const std::string needle = RandomText(rng, 4, false);
        const int start = static_cast<int>(rng() % (raw.size() + 3));

        // The search runs from start to the next zero byte.
        int expected = -1;
        if (!needle.empty() && static_cast<std::size_t>(start) <= raw.size()) {
            const std::size_t end = raw.find('\0', static_cast<std::size_t>(start));
            const std::string searched = raw.substr(0, end);
            const std::size_t at = searched.find(needle, static_cast<std::size_t>(start));
            expected = at == std::string::npos ? -1 : static_cast<int>(at);
        }
        EXPECT_EQ(text.Find(needle.c_str(), start), expected)
            << raw << " / " << needle << " from " << start;
    }
}

// The memory file as first built: every growth allocates exactly the new capacity.
struct MemFileModel {
    std::vector<unsigned char> bytes; // size is the capacity
    unsigned int length = 0, position = 0, growBy = BMemFile::kDefaultGrowBy;

    void Write(const unsigned char* p, unsigned int n) {
        const unsigned int capacity = static_cast<unsigned int>(bytes.size());
        if (capacity - position < n)
            bytes.resize(capacity + std::max(n - (capacity - position), growBy), 0);
        std::copy(p, p + n, bytes.begin() + position);
        position += n;
        length = std::max(length, position);
    }
};

TEST(FastPathModelTest, MemFileWritesMatchExactGrowth) {
    std::mt19937 rng(kSeed + 3);
    for (int run = 0; run < 60; ++run) {
        SCOPED_TRACE("seed " + std::to_string(kSeed + 3) + ", run " + std::to_string(run));
        BMemFile file;
        MemFileModel model;
        const unsigned int growBy = run % 3 == 0 ? 0 : 1 + rng() % 64;
        file.SetGrowBy(growBy);
        model.growBy = growBy;
        for (int step = 0; step < 300; ++step) {
            unsigned char run4[40];
            for (unsigned char& b : run4)
                b = static_cast<unsigned char>(rng());
            switch (rng() % 6) {
            case 0: {
                const unsigned int n = rng() % 40;
                file.Write(run4, n);
                model.Write(run4, n);
                break;
            }
            case 1:
            case 2: {
                // Scalars: the 4- or 2-byte little-endian image of the value.
                const unsigned int v = static_cast<unsigned int>(rng());
                const unsigned char le[4] = {
                    static_cast<unsigned char>(v), static_cast<unsigned char>(v >> 8),
                    static_cast<unsigned char>(v >> 16), static_cast<unsigned char>(v >> 24)};
                if (step % 2) {
                    file.Write(static_cast<int>(v));
                    model.Write(le, 4);
                } else {
                    file.Write(static_cast<unsigned short>(v));
                    model.Write(le, 2);
                }
                break;
            }
            case 3: {
                const unsigned int to = model.length ? rng() % (model.length + 1) : 0;
                file.SetPosition(to);
                model.position = to;
                break;
            }
            case 4:
                if (rng() % 8 == 0) {
                    file.Reuse();
                    std::fill(model.bytes.begin(), model.bytes.end(), 0);
                    model.length = model.position = 0;
                }
                break;
            default:
                if (rng() % 16 == 0) {
                    const unsigned int n = file.m_length;
                    unsigned char* taken = file.Detach();
                    ASSERT_EQ(taken == nullptr, model.bytes.empty());
                    if (taken != nullptr)
                        file.Attach(taken, static_cast<int>(n));
                    file.SetGrowBy(growBy);
                    model.bytes.resize(n);
                    model.length = n;
                    model.position = 0;
                }
                break;
            }
            ASSERT_EQ(file.m_capacity, model.bytes.size()) << "step " << step;
            ASSERT_EQ(file.m_length, model.length);
            ASSERT_EQ(file.m_position, model.position);
            if (file.m_capacity != 0) {
                ASSERT_TRUE(std::equal(model.bytes.begin(), model.bytes.end(), file.m_buffer))
                    << "content and the zeros past the length, step " << step;
            }
        }
    }
}

} // namespace
