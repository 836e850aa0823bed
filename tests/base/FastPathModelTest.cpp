// The fast paths of the string searches, replace-all, appending and the memory file's writes
// against plain models: std::string for the text, a byte vector that grows by exactly the grow-by
// for the file. Seeded differential runs; every failure prints its seed and step.
#include "base/BMemFile.h"
#include "base/Str.h"

#include "StrTestProbe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <random>
#include <string>
#include <vector>

namespace {

using strtest::Text;

constexpr unsigned kSeed = 20240611;

// A short text over a few letters in both cases, with the occasional zero byte.
std::string RandomText(std::mt19937& rng, std::size_t maxLength, bool zeros) {
    std::string s(rng() % (maxLength + 1), 'a');
    for (char& c : s)
        c = zeros && rng() % 40 == 0 ? '\0' : "abAB."[rng() % 5];
    return s;
}

// Lower-cases up to the first zero byte: the part of the text a no-case replace-all searches.
std::string Lower(std::string s) {
    for (std::size_t i = 0; i < s.size() && s[i] != '\0'; ++i)
        s[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(s[i])));
    return s;
}

// A search runs from start up to the next zero byte; an empty needle is never found.
int ModelFind(const std::string& text, const std::string& needle, std::size_t from) {
    if (needle.empty() || from > text.size())
        return -1;
    const std::size_t at = text.substr(0, text.find('\0', from)).find(needle, from);
    return at == std::string::npos ? -1 : static_cast<int>(at);
}

// Replace-all: each search starts right after the text just put in.
int ModelReplace(std::string& s, const std::string& find, const std::string& repl, bool nocase) {
    int count = 0;
    for (int at, from = 0;
         (at = nocase ? ModelFind(Lower(s), Lower(find), from) : ModelFind(s, find, from)) >= 0;
         ++count, from = at + static_cast<int>(repl.size()))
        s.replace(static_cast<std::size_t>(at), find.size(), repl);
    return count;
}

TEST(FastPathModelTest, StrSearchReplaceAndAppendMatchStdString) {
    std::mt19937 rng(kSeed);
    for (int step = 0; step < 6000; ++step) {
        SCOPED_TRACE("seed " + std::to_string(kSeed) + ", step " + std::to_string(step));
        const std::string raw = RandomText(rng, step % 3 == 0 ? 300 : 60, true);
        const std::string needle = RandomText(rng, 3, false), repl = RandomText(rng, 5, false);
        const int start = static_cast<int>(rng() % (raw.size() + 3));
        Str str;
        str.AppendChars(raw.data(), static_cast<int>(raw.size()));
        const bool nocase = rng() % 2, shared = rng() % 2;
        const Str otherHolder = shared ? str : Str();
        EXPECT_EQ(str.Find(needle.c_str(), start), ModelFind(raw, needle, start)) << raw;
        Str lower(str);
        lower.Str_MakeUL(0);
        EXPECT_EQ(str.FindNoCase(needle.c_str(), start), lower.Find(Lower(needle).c_str(), start));

        std::string model = raw;
        // Replace-all needs a needle.
        const std::string find = needle.empty() ? "a" : needle;
        EXPECT_EQ(StrImplementation::STR_ReplaceCore(str, find.c_str(), repl.c_str(), nocase),
                  ModelReplace(model, find, repl, nocase));
        for (std::size_t n = rng() % 70; n-- > 0;)
            str.AppendChar((model += "abAB."[rng() % 5]).back());
        ASSERT_EQ(Text(str), model) << raw << " / " << find << " / " << repl;
        EXPECT_EQ(static_cast<const char*>(str)[str.GetLength()], 0);
        EXPECT_EQ(Text(otherHolder), shared ? raw : "") << "a sharer keeps its text";
    }
}

// The memory file as first built: every growth allocates exactly the new capacity.
struct MemFileModel {
    std::vector<unsigned char> bytes; // size is the capacity
    unsigned int length = 0, position = 0, growBy = 0;

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
        model.growBy = run % 3 == 0 ? 0 : run % 3 == 1 ? 1 + rng() % 64 : BMemFile::kDefaultGrowBy;
        file.SetGrowBy(model.growBy);
        for (int step = 0; step < 300; ++step) {
            unsigned char bytes[40];
            std::generate(bytes, bytes + 40, [&] { return static_cast<unsigned char>(rng()); });
            const unsigned int n = rng() % 40, action = rng() % 6;
            if (action == 0) {
                file.Write(bytes, n), model.Write(bytes, n);
            } else if (action <= 2) {
                // Scalars write the 4- or 2-byte little-endian image of the value.
                const unsigned int v =
                    bytes[0] | bytes[1] << 8 | bytes[2] << 16 | unsigned{bytes[3]} << 24;
                step % 2 ? file.Write(static_cast<int>(v)) : file.Write(static_cast<short>(v));
                model.Write(bytes, step % 2 ? 4 : 2);
            } else if (action == 3) {
                file.SetPosition(model.position = rng() % (model.length + 1));
            } else if (action == 4 && n < 5) {
                file.Reuse();
                std::fill(model.bytes.begin(), model.bytes.end(), 0);
                model.length = model.position = 0;
            } else if (action == 5 && n == 0) {
                unsigned char* taken = file.Detach();
                ASSERT_EQ(taken == nullptr, model.bytes.empty());
                // Detach resets the grow-by; Attach takes the buffer as it is, keeping it.
                model.growBy = BMemFile::kDefaultGrowBy;
                if (taken != nullptr)
                    file.Attach(taken, static_cast<int>(model.length));
                ASSERT_EQ(file.m_buffer, taken);
                model.bytes.resize(model.length);
                model.position = 0;
            }
            ASSERT_EQ(file.m_capacity, model.bytes.size()) << "step " << step;
            ASSERT_EQ(file.m_length, model.length) << "step " << step;
            ASSERT_EQ(file.m_position, model.position) << "step " << step;
            ASSERT_TRUE(std::equal(model.bytes.begin(), model.bytes.end(), file.m_buffer))
                << "content and the zeros past the length, step " << step;
        }
    }
}

} // namespace
