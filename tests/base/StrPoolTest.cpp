// The block pool: last-in first-out reuse, the per-chain limits, blocks too large to pool,
// draining and the shut-down mode. Reuse is observed through block addresses; what goes back to
// the heap is observed through the allocator's count of bytes in use where it is available.
#include "base/StrTestProbe.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using strtest::HaveHeapProbe;
using strtest::Header;
using strtest::HeapBytes;

namespace {

class StrPool : public ::testing::Test {
protected:
    void SetUp() override {
        Str::SetShutdownFlag(0);
        Str::CompactFreeMemory();
    }
    void TearDown() override {
        Str::SetShutdownFlag(0);
        Str::CompactFreeMemory();
    }
};

// n strings each holding a block of the given capacity.
std::vector<Str> MakeBlocks(int n, int capacity) {
    std::vector<Str> v(static_cast<std::size_t>(n));
    for (Str& s : v)
        s.Preallocate(capacity);
    return v;
}

std::vector<const char*> Addresses(const std::vector<Str>& v) {
    std::vector<const char*> out;
    for (const Str& s : v)
        out.push_back(s);
    return out;
}

void ReleaseInOrder(std::vector<Str>& v) {
    for (Str& s : v)
        s.Reset();
}

} // namespace

TEST_F(StrPool, ReleasedBlocksAreReusedLastInFirstOut) {
    std::vector<Str> v = MakeBlocks(3, 10);
    const std::vector<const char*> before = Addresses(v);
    ReleaseInOrder(v);

    std::vector<Str> again = MakeBlocks(3, 10);
    const std::vector<const char*> after = Addresses(again);
    EXPECT_EQ(after[0], before[2]);
    EXPECT_EQ(after[1], before[1]);
    EXPECT_EQ(after[2], before[0]);
    EXPECT_EQ(Header(again[0]).refCount, 1);
    EXPECT_EQ(Header(again[0]).capacity, 63);
}

TEST_F(StrPool, ABlockServesAnyRequestOfItsChain) {
    Str a;
    a.Preallocate(100);
    const char* p = a;
    a.Reset();
    Str b("short");
    b.Preallocate(127);
    EXPECT_EQ(static_cast<const char*>(b), p);
    EXPECT_EQ(Header(b).capacity, 127);
    EXPECT_EQ(strtest::Text(b), "short");
}

TEST_F(StrPool, EachChainKeepsAtMostItsLimit) {
    struct Row {
        int capacity;
        int limit;
    } rows[] = {{63, 45},  {127, 40}, {191, 35}, {255, 30}, {319, 25},
                {383, 20}, {447, 15}, {511, 10}, {575, 5}};
    for (const Row& r : rows) {
        SCOPED_TRACE("capacity " + std::to_string(r.capacity));
        Str::CompactFreeMemory();
        std::vector<Str> v = MakeBlocks(r.limit + 1, r.capacity);
        const std::vector<const char*> released = Addresses(v);
        ReleaseInOrder(v);

        // The block released beyond the limit went to the heap, so reuse starts with the last
        // block that was pooled.
        std::vector<Str> again = MakeBlocks(r.limit, r.capacity);
        const std::vector<const char*> reused = Addresses(again);
        for (int i = 0; i < r.limit; ++i)
            ASSERT_EQ(reused[static_cast<std::size_t>(i)],
                      released[static_cast<std::size_t>(r.limit - 1 - i)])
                << "request " << i;
    }
}

TEST_F(StrPool, SixthBlockOfTheLargestPooledSizeGoesToTheHeap) {
    if (!HaveHeapProbe())
        GTEST_SKIP() << "no exact heap probe in this build";
    std::vector<Str> v = MakeBlocks(6, 575);
    const long long full = HeapBytes();
    ReleaseInOrder(v);
    const long long released = HeapBytes();
    EXPECT_EQ(full - released, 575 + 17);
}

TEST_F(StrPool, BlocksTooLargeForThePoolAreFreed) {
    if (!HaveHeapProbe())
        GTEST_SKIP() << "no exact heap probe in this build";
    Str big;
    big.Preallocate(600);
    ASSERT_EQ(Header(big).capacity, 639);
    const long long held = HeapBytes();
    big.Reset();
    EXPECT_EQ(held - HeapBytes(), 639 + 17);

    Str small;
    small.Preallocate(575);
    const long long pooledBefore = HeapBytes();
    small.Reset();
    EXPECT_EQ(HeapBytes(), pooledBefore);
}

TEST_F(StrPool, CompactFreeMemoryDrainsEveryChain) {
    if (!HaveHeapProbe())
        GTEST_SKIP() << "no exact heap probe in this build";
    std::vector<Str> small = MakeBlocks(4, 63);
    std::vector<Str> large = MakeBlocks(2, 500);
    const long long held = HeapBytes();
    ReleaseInOrder(small);
    ReleaseInOrder(large);
    EXPECT_EQ(HeapBytes(), held);
    Str::CompactFreeMemory();
    EXPECT_EQ(held - HeapBytes(), 4 * 80 + 2 * 528);
}

TEST_F(StrPool, ShutdownModeFreesAtOnceUntilCleared) {
    std::vector<Str> v = MakeBlocks(3, 63);
    const long long base = HeapBytes() - 3 * 80;
    ReleaseInOrder(v);

    EXPECT_EQ(Str::SetShutdownFlag(1), 1);
    EXPECT_EQ(StrImplementation::STR_Shutting, 1);
    if (HaveHeapProbe()) {
        EXPECT_EQ(HeapBytes(), base);
    }

    Str s("released in shut-down mode");
    s.Reset();
    if (HaveHeapProbe()) {
        EXPECT_EQ(HeapBytes(), base);
    }

    EXPECT_EQ(Str::SetShutdownFlag(0), 0);
    Str t("pooled again");
    const char* p = t;
    t.Reset();
    Str u("reuses it");
    EXPECT_EQ(static_cast<const char*>(u), p);
}

TEST_F(StrPool, EmptyStringsNeverTouchThePool) {
    if (!HaveHeapProbe())
        GTEST_SKIP() << "no exact heap probe in this build";
    const long long base = HeapBytes();
    {
        Str a;
        Str b = a;
        Str c("");
        c = b;
        b.Reset();
        a.AppendChars("", 0);
        Str d = Str::EmptyStr;
    }
    EXPECT_EQ(HeapBytes(), base);
}
