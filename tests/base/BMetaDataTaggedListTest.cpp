#include "base/BMetaDataTaggedList.h"

#include "ByteRecords.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace byterecords;

Bytes DataOf(const BMetaData& item) {
    return RunOf(item.GetDataPtr(), item.m_size);
}

std::string TagOf(const BMetaDataTagged& item) {
    return std::string(reinterpret_cast<const char*>(item.m_tag.GetDataPtr()));
}

void Append(BMetaDataTaggedList& list, const char* tag, const Bytes& data) {
    BMetaDataTagged item;
    item.m_tag.SetData(tag);
    item.CreateDataBuff(static_cast<unsigned int>(data.size()));
    if (!data.empty())
        std::memcpy(item.GetDataPtr(), data.data(), data.size());
    list.AddTail(item);
}

TEST(BMetaDataTaggedList, SetThenGetIgnoresTagCase) {
    BMetaDataTaggedList list;
    list.SetData("Name", 5);
    int value = 0;
    BMetaDataTagged* item = list.GetData("NAME", value);
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item, &list.GetAt(list.GetHeadPosition()));
    EXPECT_EQ(value, 5);
    EXPECT_EQ(list.GetData(Str("name"), value), item);
}

TEST(BMetaDataTaggedList, SettingATagAgainUpdatesItInPlace) {
    BMetaDataTaggedList list;
    list.SetData("a", 1);
    list.SetData("b", 2);
    __POSITION* b = list.FindData("b");
    list.SetData("c", 3);
    list.SetData("B", 20);
    EXPECT_EQ(Tags(list), (std::vector<std::string>{"a", "b", "c"})) << "place and spelling kept";
    EXPECT_EQ(list.FindData("b"), b) << "the node is not replaced";
    EXPECT_EQ(DataOf(list.GetAt(b)), (Bytes{20, 0, 0, 0}));
}

// What each setter stores, byte for byte.
TEST(BMetaDataTaggedList, SettersStoreTheseBytes) {
    int anchor = 0;
    void* address = &anchor;
    Bytes addressBytes(sizeof address);
    std::memcpy(addressBytes.data(), &address, sizeof address);
    const unsigned char run[3] = {9, 8, 7};
    BMetaDataTagged other;
    other.m_tag.SetData("ignored");
    other.SetData("xy");
    using L = BMetaDataTaggedList&;
    const struct Row {
        const char* what;
        std::function<void(L)> set;
        Bytes data;
    } rows[] = {
        {"int", [](L l) { l.SetData("t", -2); }, {0xFE, 0xFF, 0xFF, 0xFF}},
        {"unsigned", [](L l) { l.SetData("t", 0x01020304u); }, {4, 3, 2, 1}},
        {"short", [](L l) { l.SetData("t", short{-2}); }, {0xFE, 0xFF}},
        {"float", [](L l) { l.SetData("t", 1.0f); }, {0, 0, 0x80, 0x3F}},
        {"pointer", [&](L l) { l.SetData("t", address); }, addressBytes},
        {"position", [&](L l) { l.SetData("t", static_cast<__POSITION*>(address)); }, addressBytes},
        {"Str", [](L l) { l.SetData("t", Str("ab")); }, {0x61, 0x62, 0}},
        {"empty Str", [](L l) { l.SetData("t", Str()); }, {}},
        {"text", [](L l) { l.SetData("t", "ab"); }, {0x61, 0x62, 0}},
        {"empty text", [](L l) { l.SetData("t", ""); }, {}},
        {"bytes", [&](L l) { l.SetData("t", run, 3u); }, {9, 8, 7}},
        {"null bytes", [](L l) { l.SetData("t", static_cast<unsigned char*>(nullptr), 5u); }, {}},
        {"item, its tag ignored", [&](L l) { l.SetData("t", other); }, {0x78, 0x79, 0}},
        {"item by its own tag",
         [&](L l) {
             other.m_tag.SetData("T");
             l.SetData(other);
         },
         {0x78, 0x79, 0}},
    };
    for (const Row& r : rows) {
        BMetaDataTaggedList list;
        list.SetData("T", "long previous data of many bytes");
        r.set(list);
        ASSERT_EQ(list.GetCount(), 1u) << r.what;
        EXPECT_EQ(TagOf(list.GetTail()), "T") << r.what;
        EXPECT_EQ(DataOf(list.GetTail()), r.data) << r.what;
    }
}

// The scalar getters need the value's width; shorter data leaves the destination alone but the
// item is still returned. Every row runs with both key forms.
TEST(BMetaDataTaggedList, ScalarGettersNeedTheirWidth) {
    enum Kind { Int, Unsigned, Short, Float, Position, Pointer };
    struct Row {
        const char* what;
        Kind kind;
        Bytes data;
        bool copied;
        std::uint64_t expected;
    };
    const Row rows[] = {
        {"int from 4 bytes", Int, {0xFE, 0xFF, 0xFF, 0xFF}, true, 0xFFFFFFFE},
        {"int from 8 bytes takes the first 4", Int, {1, 0, 0, 0, 2, 0, 0, 0}, true, 1},
        {"int from 3 bytes", Int, {1, 2, 3}, false, 0},
        {"int from 2 bytes", Int, {1, 2}, false, 0},
        {"unsigned from 4 bytes", Unsigned, {4, 3, 2, 1}, true, 0x01020304},
        {"unsigned from 0 bytes", Unsigned, {}, false, 0},
        {"short from 2 bytes", Short, {0x34, 0x12}, true, 0x1234},
        {"short from an int takes its low half", Short, {0x78, 0x56, 0x34, 0x12}, true, 0x5678},
        {"short from 1 byte", Short, {1}, false, 0},
        {"float from 4 bytes", Float, {0, 0, 0x80, 0x3F}, true, 0x3F800000},
        {"float from 3 bytes", Float, {0, 0, 0x80}, false, 0},
        {"position from 8 bytes", Position, {1, 2, 3, 4, 5, 6, 7, 8}, true, 0x0807060504030201},
        {"position from 4 bytes", Position, {1, 2, 3, 4}, false, 0},
        {"pointer from 8 bytes", Pointer, {8, 7, 6, 5, 4, 3, 2, 1}, true, 0x0102030405060708},
        {"pointer from 7 bytes", Pointer, {1, 2, 3, 4, 5, 6, 7}, false, 0},
    };
    const std::uint64_t untouched = 0xA5A5A5A5A5A5A5A5;
    for (const Row& r : rows) {
        for (int keyForm = 0; keyForm < 2; ++keyForm) {
            BMetaDataTaggedList list;
            Append(list, "other", {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE});
            Append(list, "key", r.data);
            BMetaDataTagged* expectedItem = &list.GetTail();
            std::uint64_t bits = untouched;
            BMetaDataTagged* found = nullptr;
            auto get = [&](auto& value) {
                std::memcpy(&value, &bits, sizeof value);
                found = keyForm == 0 ? list.GetData("KEY", value) : list.GetData(Str("Key"), value);
                bits = 0;
                std::memcpy(&bits, &value, sizeof value);
                std::uint64_t mask = sizeof value == 8 ? ~0ull : (1ull << (8 * sizeof value)) - 1;
                return mask;
            };
            std::uint64_t mask = 0;
            switch (r.kind) {
            case Int: {
                int v;
                mask = get(v);
                break;
            }
            case Unsigned: {
                unsigned int v;
                mask = get(v);
                break;
            }
            case Short: {
                short v;
                mask = get(v);
                break;
            }
            case Float: {
                float v;
                mask = get(v);
                break;
            }
            case Position: {
                __POSITION* v;
                mask = get(v);
                break;
            }
            case Pointer: {
                void* v;
                std::memcpy(&v, &bits, sizeof v);
                found = keyForm == 0 ? list.GetData("KEY", &v) : list.GetData(Str("Key"), &v);
                std::memcpy(&bits, &v, sizeof v);
                mask = ~0ull;
                break;
            }
            }
            EXPECT_EQ(found, expectedItem) << r.what << ", key form " << keyForm;
            EXPECT_EQ(bits & mask, (r.copied ? r.expected : untouched) & mask)
                << r.what << ", key form " << keyForm;
        }
    }
}

TEST(BMetaDataTaggedList, MissingTagsReturnNullAndLeaveTheDestination) {
    BMetaDataTaggedList list;
    list.SetData("present", 1);
    int i = 7;
    Str text("kept");
    unsigned char bytes[2] = {5, 5};
    BMetaDataTagged item;
    item.SetData("kept");
    EXPECT_EQ(list.GetData("absent", i), nullptr);
    EXPECT_EQ(list.GetData(Str("absent"), text), nullptr);
    EXPECT_EQ(list.GetData("absent", bytes, 2u), nullptr);
    EXPECT_EQ(list.GetData("absent", item), nullptr);
    EXPECT_EQ(list.GetData("absent", static_cast<void**>(nullptr)), nullptr);
    EXPECT_EQ(i, 7);
    EXPECT_STREQ(text, "kept");
    EXPECT_EQ(bytes[0], 5);
    EXPECT_EQ(DataOf(item), (Bytes{'k', 'e', 'p', 't', 0}));
}

TEST(BMetaDataTaggedList, TextGetterStopsAtTheZeroByteOrTheEndOfTheData) {
    struct Row {
        Bytes data;
        const char* text;
    } rows[] = {
        {{0x61, 0x62, 0}, "ab"},
        {{}, ""},
        {{0x61, 0, 0x62}, "a"},
        {{0x61, 0x62, 0x63}, "abc"},
        {{'1', '2', '3', '4', '5', '6', '7', '8'}, "12345678"},
        {{'1', '2', '3', '4', '5', '6', '7', '8', '9'}, "123456789"},
    };
    for (const Row& r : rows) {
        BMetaDataTaggedList list;
        Append(list, "t", r.data);
        Str text("previous");
        EXPECT_EQ(list.GetData("t", text), &list.GetTail());
        EXPECT_STREQ(text, r.text);
        Str again("previous");
        list.GetData(Str("T"), again);
        EXPECT_STREQ(again, r.text);
    }
}

TEST(BMetaDataTaggedList, ByteAndItemGettersCopyWhatFits) {
    BMetaDataTaggedList list;
    Append(list, "t", {1, 2, 3, 4});
    unsigned char out[6] = {9, 9, 9, 9, 9, 9};
    EXPECT_EQ(list.GetData("t", static_cast<unsigned char*>(nullptr), 4u), &list.GetTail());
    EXPECT_EQ(list.GetData("t", out, 2u), &list.GetTail());
    EXPECT_EQ(RunOf(out, 6), (Bytes{1, 2, 9, 9, 9, 9}));
    EXPECT_EQ(list.GetData(Str("t"), out, 6u), &list.GetTail());
    EXPECT_EQ(RunOf(out, 6), (Bytes{1, 2, 3, 4, 9, 9}));

    BMetaDataTagged item;
    EXPECT_EQ(list.GetData("T", item), &item);
    EXPECT_EQ(TagOf(item), "t");
    EXPECT_EQ(DataOf(item), (Bytes{1, 2, 3, 4}));
}

TEST(BMetaDataTaggedList, AppendedDuplicatesCollapseOnTheNextSetter) {
    BMetaDataTaggedList list;
    list.SetData("x", 1);
    list.SetData("y", 2);
    BMetaDataTaggedList other;
    other.SetData("X", 3);
    list += other;
    list += list;
    EXPECT_EQ(Tags(list), (std::vector<std::string>{"x", "y", "X", "x", "y", "X"}));
    __POSITION* first = list.GetHeadPosition();
    list.SetData("x", 4);
    EXPECT_EQ(Tags(list), (std::vector<std::string>{"x", "y", "y"}));
    EXPECT_EQ(list.GetHeadPosition(), first);
    EXPECT_EQ(DataOf(list.GetAt(first)), (Bytes{4, 0, 0, 0}));
}

TEST(BMetaDataTaggedList, RemoveDataRemovesEveryMatch) {
    BMetaDataTaggedList list;
    Append(list, "a", {1});
    Append(list, "dup", {2});
    Append(list, "DUP", {3});
    Append(list, "b", {4});
    Append(list, "Dup", {5});
    EXPECT_EQ(list.RemoveData(Str("absent")), 0);
    EXPECT_EQ(list.RemoveData(Str("dup")), 3);
    EXPECT_EQ(Tags(list), (std::vector<std::string>{"a", "b"}));
}

TEST(BMetaDataTaggedList, AddAndOverwriteUpdatesInPlaceAndAppendsNewTags) {
    BMetaDataTaggedList list;
    list.SetData("Alpha", 1);
    list.SetData("beta", 2);
    BMetaDataTaggedList other;
    other.SetData("gamma", 30);
    other.SetData("ALPHA", 10);
    other.SetData("delta", 40);
    list.AddAndOverwrite(other);
    EXPECT_EQ(Tags(list), (std::vector<std::string>{"Alpha", "beta", "gamma", "delta"}));
    int v = 0;
    list.GetData("alpha", v);
    EXPECT_EQ(v, 10);

    Append(list, "BETA", {9});
    list.AddAndOverwrite(list);
    EXPECT_EQ(Tags(list), (std::vector<std::string>{"Alpha", "beta", "gamma", "delta"}))
        << "merging a list into itself leaves one item per tag";
}

TEST(BMetaDataTaggedList, EqualityComparesDataPairByPair) {
    struct Row {
        const char* what;
        std::vector<std::pair<const char*, Bytes>> a, b;
        bool equal;
    } rows[] = {
        {"same data, other tags", {{"a", {1}}, {"b", {2, 3}}}, {{"x", {1}}, {"y", {2, 3}}}, true},
        {"different counts", {{"a", {1}}}, {{"a", {1}}, {"b", {2}}}, false},
        {"different data", {{"a", {1}}}, {{"a", {2}}}, false},
        {"prefix-equal data", {{"a", {1, 2, 3}}}, {{"a", {1, 2}}}, true},
        {"an empty item is never equal", {{"a", {}}}, {{"a", {}}}, false},
        {"two empty lists", {}, {}, true},
    };
    for (const Row& r : rows) {
        BMetaDataTaggedList a, b;
        for (auto& [tag, data] : r.a)
            Append(a, tag, data);
        for (auto& [tag, data] : r.b)
            Append(b, tag, data);
        EXPECT_EQ(a == b, r.equal) << r.what;
        EXPECT_EQ(b == a, r.equal) << r.what;
    }
    BMetaDataTaggedList withEmpty;
    Append(withEmpty, "e", {});
    EXPECT_FALSE(withEmpty == withEmpty) << "not even equal to itself";
}

TEST(BMetaDataTaggedList, WritesListRecords) {
    BMetaDataTaggedList list;
    BMemFile f;
    list.Write(f, 1);
    EXPECT_EQ(Written(f), kEmptyList);

    list.SetData("w", 5);
    BMemFile g;
    list.Write(g, 1);
    EXPECT_EQ(Written(g), kListW5) << Hex(Written(g));

    BMetaDataTaggedList empty;
    BMemFile h;
    empty.Write(h, 3);
    EXPECT_EQ(Written(h), (Bytes{0, 0, 0, 0})) << "mode 3 has no marker";
}

TEST(BMetaDataTaggedList, ReadsListRecords) {
    const Bytes wItem = {2, 0, 0, 0, 0x77, 0, 4, 0, 0, 0, 5, 0, 0, 0};
    const Bytes marker = {0x49, 0x44, 0x4D, 0x44, 0x54, 0x4C};
    std::vector<std::string> wThenSixteenEmpty(17, "");
    wThenSixteenEmpty[0] = "w";
    struct Row {
        const char* reason;
        Bytes stream;
        short mode;
        int count;
        std::vector<std::string> tags;
    };
    const Row rows[] = {
        {"ok: the empty list", kEmptyList, 1, 0, {}},
        {"ok: one item", kListW5, 1, 1, {"w"}},
        {"ok: mode 0 has the marker", kListW5, 0, 1, {"w"}},
        {"ok: mode -4 has the marker", kListW5, -4, 1, {"w"}},
        {"ok: mode 2 has the marker, its tag is a table index", kListW5, 2, 1, {""}},
        {"ok: mode -1 has the marker, its tag is a table index", kListW5, -1, 1, {""}},
        {"ok: mode 3 begins with the count",
         {1, 0, 0, 0, 2, 0, 0, 0, 0, 0, 4, 0, 0, 0, 5, 0, 0, 0},
         3,
         1,
         {""}},
        {"corrupt: sixth marker byte",
         Concat({{0x49, 0x44, 0x4D, 0x44, 0x54, 0x4D}, {0, 0, 0, 0}}),
         1,
         0,
         {}},
        {"corrupt: marker in lower case",
         Concat({{'i', 'd', 'm', 'd', 't', 'l'}, {0, 0, 0, 0}}),
         1,
         0,
         {}},
        {"truncated: five marker bytes", {0x49, 0x44, 0x4D, 0x44, 0x54}, 1, 0, {}},
        {"truncated: nothing at all", {}, 1, 0, {}},
        {"truncated: marker without a count", marker, 1, 0, {}},
        {"truncated: count 3 holding one item",
         Concat({marker, {3, 0, 0, 0}, wItem}),
         1,
         3,
         {"w", "", ""}},
        {"corrupt: huge count without items", Concat({marker, {0xFF, 0xFF, 0xFF, 0xFF}}), 1, 16,
         std::vector<std::string>(16, "")},
        {"corrupt: huge count after one item", Concat({marker, {0xFF, 0xFF, 0xFF, 0x7F}, wItem}), 1,
         17, wThenSixteenEmpty},
    };
    for (const Row& r : rows) {
        BMemFile f(r.stream.data(), static_cast<unsigned int>(r.stream.size()));
        BMetaDataTaggedList list;
        list.SetData("stale", 1);
        EXPECT_EQ(list.Read(f, r.mode), r.count) << r.reason;
        EXPECT_EQ(static_cast<int>(list.GetCount()), r.count) << r.reason;
        EXPECT_EQ(Tags(list), r.tags) << r.reason;
    }
}

TEST(BMetaDataTaggedList, WriteThenReadGivesTheSameList) {
    BMetaDataTaggedList list;
    list.SetData("int", -7);
    list.SetData("Text", "a text long enough to be allocated");
    list.SetData("short", short{3});
    list.SetData("float", 0.25f);
    const unsigned char run[20] = {1, 2, 3};
    list.SetData("bytes", run, 20u);
    BMemFile f;
    list.Write(f, 1);
    f.Seek(0, 0);
    BMetaDataTaggedList back;
    EXPECT_EQ(back.Read(f, 1), 5);
    EXPECT_TRUE(back == list);
    EXPECT_EQ(Tags(back), Tags(list));
    EXPECT_EQ(f.m_position, f.m_length);
}

TEST(BMetaDataTaggedList, PackageThenUnPackageThroughOneItem) {
    BMetaDataTaggedList list;
    list.SetData("a", 1);
    list.SetData("b", "two");
    BMetaDataTagged carrier;
    carrier.m_tag.SetData("carrier");
    list.Package(carrier, 1);
    EXPECT_EQ(TagOf(carrier), "carrier");
    BMetaDataTaggedList back;
    back.SetData("stale", 1);
    back.UnPackage(carrier, 1);
    EXPECT_TRUE(back == list);
    EXPECT_EQ(Tags(back), (std::vector<std::string>{"a", "b"}));

    list.Package(list.GetTail(), 1);
    list.UnPackage(list.GetTail(), 1);
    EXPECT_EQ(Tags(list), (std::vector<std::string>{"a", "b"}))
        << "unpacking from one of the list's own items";
}

} // namespace
