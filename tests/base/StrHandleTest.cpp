// The string handle and its block pool: the empty block, sharing and counts, exceptions that keep
// a valid copy, raw arrays, and the pool's reuse order, chain limits and shut-down mode.
#include "base/StrTestProbe.h"

#include "support/Testing.h"

#include <new>

using namespace strtest;

const auto P = [](const Str& s) { return static_cast<const char*>(s); };

TEST(StrHandle, EmptyStringsShareTheStaticBlockAndNeverCount) {
    Str d("text"); // its block goes to the pool when a null text empties it
    const long long heap = strtest::HeapBytes();
    {
        Str a, b(""), c = a;
        c = Str::EmptyStr;
        d = static_cast<const char*>(nullptr);
        b = Str();
        a.AppendChars("", 0);
        Str moved(std::move(c));
        for (const Str* s : {&a, &b, &c, &d, &moved})
            EXPECT_TRUE(OnEmptyBlock(*s));
    }
    EXPECT_EQ(strtest::HeapBytes(), heap);
    EXPECT_EQ(Header(Str::EmptyStr).refCount, 2);
    EXPECT_EQ(Header(Str::EmptyStr).length, 0);
}

TEST(StrHandle, CopySharesUntilWrite) {
    Str a("hello"), b = a;
    EXPECT_EQ(P(a), P(b));
    EXPECT_EQ(Header(a).refCount, 2);
    b = a; // within one block: no count change
    EXPECT_EQ(Header(a).refCount, 2);
    b.AppendChar('!');
    EXPECT_EQ(Text(a), "hello");
    EXPECT_EQ(Text(b), "hello!");
    EXPECT_EQ(Header(a).refCount + Header(b).refCount, 2);

    a = b;
    EXPECT_EQ(Header(b).refCount, 2);
    Str c(std::move(b));
    EXPECT_TRUE(OnEmptyBlock(b));
    EXPECT_EQ(Header(c).refCount, 2);
    a.ReleaseBuffer(2);
    EXPECT_EQ(Text(a), "he");
    EXPECT_EQ(Header(c).refCount, 1) << "the shared block given up is released";
}

TEST(StrHandle, ExceptionsHoldAValidCopyOfTheString) {
    try {
        Str local("the string that goes away"), copy = local;
        local.Insert("x", 99);
        FAIL() << "Insert past the end did not throw";
    } catch (const StrException& e) {
        EXPECT_EQ(e.code, Str::ecIndexRange);
        EXPECT_EQ(Text(e.text), "the string that goes away");
        EXPECT_EQ(Header(e.text).refCount, 1);
    }
    Str s("keep");
    const char* p = s;
    EXPECT_THROW(s.AppendChars(p, INT_MAX), std::bad_alloc);
    EXPECT_THROW(s.Preallocate(INT_MAX), std::bad_alloc);
    EXPECT_EQ(P(s), p);
    EXPECT_EQ(Text(s), "keep");
}

TEST(StrHandle, ConstructAtAndDestructAtWorkOnRawArrays) {
    alignas(Str) unsigned char raw[3 * sizeof(Str)];
    Str* p = reinterpret_cast<Str*>(raw);
    Str::ConstructAt(p, 3, _StrMT);
    const Str shared("shared");
    p[0] = p[2] = shared;
    EXPECT_TRUE(OnEmptyBlock(p[1]));
    EXPECT_EQ(Header(shared).refCount, 3);
    Str::DestructAt(p, 3);
    EXPECT_EQ(Header(shared).refCount, 1);
}

namespace {

class StrPool : public ::testing::Test {
protected:
    void SetUp() override { Str::CompactFreeMemory(); }
    void TearDown() override { Str::SetShutdownFlag(0), Str::CompactFreeMemory(); }
    // Takes n blocks of the given capacity, releases them in order and returns their addresses.
    static std::vector<const char*> TakeAndRelease(int n, int capacity) {
        std::vector<Str> v(static_cast<std::size_t>(n));
        std::vector<const char*> out;
        for (Str& s : v)
            s.Preallocate(capacity), out.push_back(s);
        for (Str& s : v)
            s.Reset();
        return out;
    }
};

} // namespace

// Reuse is last in, first out; the block released beyond a chain's limit goes to the heap, so
// reuse starts with the last block that was pooled.
TEST_F(StrPool, ChainsReuseLastInFirstOutUpToTheirLimit) {
    const int limits[][2] = {{63, 45},  {127, 40}, {191, 35}, {255, 30}, {319, 25},
                             {383, 20}, {447, 15}, {511, 10}, {575, 5}};
    for (const auto& r : limits) {
        SCOPED_TRACE("capacity " + std::to_string(r[0]));
        Str::CompactFreeMemory();
        const std::vector<const char*> released = TakeAndRelease(r[1] + 1, r[0]);
        std::vector<Str> again(released.size() - 1);
        for (std::size_t i = 0; i < again.size(); ++i) {
            again[i].Preallocate(r[0] - 62);
            ASSERT_EQ(P(again[i]), released[again.size() - 1 - i]) << "request " << i;
        }
    }
}

TEST_F(StrPool, AChainPastTheLastIsIgnoredAndTheShutdownFlagReadsBack) {
    const std::vector<const char*> pooled = TakeAndRelease(2, 63);
    StrImplementation::STR_rls_chain(11);
    const Str reuse("pooled");
    EXPECT_EQ(P(reuse), pooled[1]);
    EXPECT_EQ(Str::SetShutdownFlag(1), 1);
    EXPECT_EQ(Str::SetShutdownFlag(0), 0);
}

TEST_F(StrPool, CompactGivesTheLargerBlockBack) {
    Str text("0123456789");
    text.Preallocate(200);
    const char* large = text;
    text.Compact(0);
    Str again;
    again.Preallocate(200);
    EXPECT_EQ(P(again), large);
}

TEST_F(StrPool, LargeBlocksCompactionAndShutdownGoToTheHeap) {
    if (!strtest::kHaveHeapProbe)
        GTEST_SKIP() << "no exact heap probe in this build";
    const long long base = strtest::HeapBytes();
    TakeAndRelease(1, 600);
    EXPECT_EQ(strtest::HeapBytes(), base) << "639 is too large to pool";
    TakeAndRelease(4, 63);
    TakeAndRelease(2, 500);
    EXPECT_EQ(strtest::HeapBytes() - base, 4 * 80 + 2 * 528);
    Str::CompactFreeMemory();
    EXPECT_EQ(strtest::HeapBytes(), base);

    TakeAndRelease(3, 63);
    EXPECT_EQ(Str::SetShutdownFlag(1), 1);
    EXPECT_EQ(strtest::HeapBytes(), base) << "shutting down drains the pool";
    TakeAndRelease(1, 63);
    EXPECT_EQ(strtest::HeapBytes(), base) << "and frees released blocks at once";
    Str::SetShutdownFlag(0);
    const std::vector<const char*> pooled = TakeAndRelease(1, 63);
    Str reuse("pooled again");
    EXPECT_EQ(P(reuse), pooled[0]);
}
