// The memory file's writes against a byte vector that grows by exactly the grow-by. A seeded
// differential run; every failure prints its seed and step.
#include "base/BMemFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr unsigned kSeed = 20240611;

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
