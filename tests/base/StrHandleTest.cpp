// The string handle: the empty block, construction, sharing, assignment, return to empty,
// errors, and raw arrays of strings.
#include "base/StrTestProbe.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <new>
#include <string>
#include <utility>

using strtest::Header;
using strtest::OnEmptyBlock;
using strtest::Text;

namespace {

void ExpectEmptyBlockIntact() {
    const auto& h = Header(Str::EmptyStr);
    EXPECT_EQ(h.refCount, 2);
    EXPECT_EQ(h.flags, 0u);
    EXPECT_EQ(h.capacity, 63);
    EXPECT_EQ(h.length, 0);
    EXPECT_EQ(*static_cast<const char*>(Str::EmptyStr), 0);
}

} // namespace

TEST(StrHandle, EmptyStringsShareTheStaticEmptyBlock) {
    const Str a;
    const Str b("");
    Str c;
    c.NewFromString("", 0, 0, 1);
    EXPECT_TRUE(OnEmptyBlock(a));
    EXPECT_TRUE(OnEmptyBlock(b));
    EXPECT_TRUE(OnEmptyBlock(c));
    EXPECT_EQ(static_cast<const char*>(Str::EmptyStr),
              static_cast<const char*>(StrImplementation::gEmptyStr));
    ExpectEmptyBlockIntact();
}

TEST(StrHandle, CopyingAndDestroyingEmptyStringsNeverCounts) {
    {
        Str a;
        Str b = a;
        Str c(Str::EmptyStr);
        a = b;
        c = Str::EmptyStr;
        b = Str();
        Str moved(std::move(c));
        EXPECT_TRUE(OnEmptyBlock(moved));
    }
    ExpectEmptyBlockIntact();
}

TEST(StrHandle, NewFromStringSizesTheBlock) {
    const std::string s64(64, 'x');
    struct Row {
        const char* text;
        int len;
        int prealloc;
        signed char mt;
        int capacity;
        std::uint32_t flags;
    } rows[] = {
        {"", 0, 10, 0, 63, 0},           {"abc", 3, 0, 0, 63, 0},
        {"abc", 3, 200, 1, 255, 1},      {s64.c_str(), 63, 0, 0, 63, 0},
        {s64.c_str(), 64, 0, 0, 127, 0}, {s64.c_str(), 64, 64, 0, 127, 0},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(std::string(r.text, r.len) + " prealloc " + std::to_string(r.prealloc));
        Str s;
        s.NewFromString(r.text, r.len, r.prealloc, r.mt);
        const auto& h = Header(s);
        EXPECT_EQ(h.refCount, 1);
        EXPECT_EQ(h.capacity, r.capacity);
        EXPECT_EQ(h.flags, r.flags);
        EXPECT_EQ(h.length, r.len);
        EXPECT_EQ(Text(s), std::string(r.text, r.len));
        EXPECT_EQ(static_cast<const char*>(s)[r.len], 0);
    }
}

TEST(StrHandle, NewFromStringKeepsEmbeddedZeros) {
    Str s;
    s.NewFromString("a\0b", 3, 0, 0);
    EXPECT_EQ(s.GetLength(), 3);
    EXPECT_EQ(Text(s), std::string("a\0b", 3));
}

TEST(StrHandle, CopySharesUntilWrite) {
    Str a("hello");
    Str b = a;
    EXPECT_EQ(static_cast<const char*>(a), static_cast<const char*>(b));
    EXPECT_EQ(Header(a).refCount, 2);

    b.AppendChar('!');
    EXPECT_NE(static_cast<const char*>(a), static_cast<const char*>(b));
    EXPECT_EQ(Text(a), "hello");
    EXPECT_EQ(Text(b), "hello!");
    EXPECT_EQ(Header(a).refCount, 1);
    EXPECT_EQ(Header(b).refCount, 1);
}

TEST(StrHandle, AssignmentSharesAndReleasesTheOldBlock) {
    Str a("first");
    Str keep = a;
    Str b("second");
    a = b;
    EXPECT_EQ(static_cast<const char*>(a), static_cast<const char*>(b));
    EXPECT_EQ(Header(b).refCount, 2);
    EXPECT_EQ(Header(keep).refCount, 1);
    EXPECT_EQ(Text(keep), "first");
}

TEST(StrHandle, AssigningWithinOneBlockChangesNothing) {
    Str a("text");
    Str b = a;
    const Str& alias = a;
    a = alias;
    a = b;
    b = a;
    EXPECT_EQ(Header(a).refCount, 2);
    EXPECT_EQ(Text(a), "text");
}

TEST(StrHandle, MoveTakesTheBlockWithoutCounting) {
    Str a("moving");
    const char* p = a;
    Str b(std::move(a));
    EXPECT_EQ(static_cast<const char*>(b), p);
    EXPECT_EQ(Header(b).refCount, 1);
    EXPECT_TRUE(OnEmptyBlock(a));

    Str c("other");
    c = std::move(b);
    EXPECT_EQ(static_cast<const char*>(c), p);
    EXPECT_EQ(Header(c).refCount, 1);
}

TEST(StrHandle, CopyNativeReusesOrReplacesTheBlock) {
    const std::string s500(500, 'q');
    Str big(s500.c_str());
    Str other = big;
    big.Copy_Native("0123456789");
    // A shared block is replaced, and the old length still counts in the new capacity.
    EXPECT_EQ(Header(big).capacity, 511);
    EXPECT_EQ(Text(big), "0123456789");
    EXPECT_EQ(Text(other), s500);
    EXPECT_EQ(Header(other).refCount, 1);

    // An unshared block that is large enough is written in place.
    const char* p = big;
    big.Copy_Native("abc");
    EXPECT_EQ(static_cast<const char*>(big), p);
    EXPECT_EQ(Text(big), "abc");

    // Growing past the capacity replaces it.
    const std::string s600(600, 'z');
    big.Copy_Native(s600.c_str());
    EXPECT_EQ(Header(big).capacity, 639);
    EXPECT_EQ(Text(big), s600);

    big.Copy_Native("");
    EXPECT_TRUE(OnEmptyBlock(big));
    big.Copy_Native("");
    EXPECT_TRUE(OnEmptyBlock(big));
}

TEST(StrHandle, CopyNativeAcceptsItsOwnText) {
    Str a("abcdefgh");
    a.Copy_Native(static_cast<const char*>(a) + 3);
    EXPECT_EQ(Text(a), "defgh");

    Str b("abcdefgh");
    Str holder = b;
    b.Copy_Native(static_cast<const char*>(b) + 2);
    EXPECT_EQ(Text(b), "cdefgh");
    EXPECT_EQ(Text(holder), "abcdefgh");
}

TEST(StrHandle, EmptyKeepsCapacityAndResetDropsTheBlock) {
    const std::string s200(200, 'e');
    Str a(s200.c_str());
    Str other = a;
    a.Empty();
    EXPECT_EQ(Text(other), s200);
    EXPECT_EQ(Header(other).refCount, 1);
    EXPECT_EQ(a.GetLength(), 0);
    EXPECT_EQ(Header(a).capacity, 255);
    EXPECT_EQ(Header(a).refCount, 1);
    EXPECT_FALSE(OnEmptyBlock(a));

    const char* p = a;
    a.Empty();
    EXPECT_EQ(static_cast<const char*>(a), p);

    a.Reset();
    EXPECT_TRUE(OnEmptyBlock(a));
    a.Empty().Reset();
    EXPECT_TRUE(OnEmptyBlock(a));
    ExpectEmptyBlockIntact();
}

TEST(StrHandle, SpawnCarriesTheMultiThreadMark) {
    Str marked;
    marked.NewFromString("abc", 3, 0, 1);
    Str copy = marked;
    copy.AppendChar('d');
    EXPECT_EQ(Header(copy).flags & 1u, 1u);

    alignas(Str) unsigned char raw[sizeof(Str)];
    char* text = StrImplementation::NewEmptyMTForceNI(100);
    std::memcpy(raw, &text, sizeof text);
    Str* placed = std::launder(reinterpret_cast<Str*>(raw));
    EXPECT_EQ(Header(*placed).capacity, 127);
    EXPECT_EQ(Header(*placed).flags, 1u);
    EXPECT_EQ(Header(*placed).refCount, 1);
    EXPECT_EQ(placed->GetLength(), 0);
    EXPECT_EQ(*text, 0);
    Str::DestructAt(placed, 1);
}

TEST(StrHandle, ErrorCarriesASharedCopyOfTheString) {
    Str s("context");
    try {
        s.Error(Str::ecEmptyArg);
        FAIL() << "Error returned";
    } catch (const StrException& e) {
        EXPECT_EQ(e.code, Str::ecEmptyArg);
        EXPECT_EQ(static_cast<const char*>(e.text), static_cast<const char*>(s));
        EXPECT_EQ(Header(s).refCount, 2);
    }
    EXPECT_EQ(Header(s).refCount, 1);

    try {
        Str::ErrorNoObject(Str::ecTooLong);
        FAIL() << "ErrorNoObject returned";
    } catch (const StrException& e) {
        EXPECT_EQ(e.code, Str::ecTooLong);
        EXPECT_TRUE(OnEmptyBlock(e.text));
    }
}

TEST(StrHandle, ExceptionOutlivesTheStringThatRaisedIt) {
    try {
        Str local("the string that goes away");
        Str copy = local;
        local.Insert("x", 99);
        FAIL() << "Insert past the end did not throw";
    } catch (const StrException& e) {
        EXPECT_EQ(e.code, Str::ecIndexRange);
        EXPECT_EQ(Text(e.text), "the string that goes away");
        EXPECT_EQ(Header(e.text).refCount, 1);
    }
}

TEST(StrHandle, OversizedRequestThrowsBadAllocAndKeepsTheString) {
    Str s("keep");
    const char* p = s;
    EXPECT_THROW(s.AppendChars(p, INT_MAX), std::bad_alloc);
    EXPECT_THROW(s.Preallocate(INT_MAX), std::bad_alloc);
    EXPECT_EQ(static_cast<const char*>(s), p);
    EXPECT_EQ(Text(s), "keep");
}

TEST(StrHandle, ConstructAtAndDestructAtWorkOnRawArrays) {
    alignas(Str) unsigned char raw[3 * sizeof(Str)];
    std::memset(raw, 0xAB, sizeof raw);
    Str* p = reinterpret_cast<Str*>(raw);

    Str::ConstructAt(p, 0);
    Str::ConstructAt(p, -1, _StrMT);
    for (unsigned char byte : raw)
        ASSERT_EQ(byte, 0xAB);

    Str::ConstructAt(p, 2);
    Str::ConstructAt(p + 2, 1, _StrMT);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(OnEmptyBlock(p[i]));

    const Str shared("shared");
    p[0] = shared;
    p[2] = shared;
    EXPECT_EQ(Header(shared).refCount, 3);
    Str::DestructAt(p, 0);
    EXPECT_EQ(Header(shared).refCount, 3);
    Str::DestructAt(p, 3);
    EXPECT_EQ(Header(shared).refCount, 1);
    EXPECT_EQ(_StrMT.value, 1);
}
