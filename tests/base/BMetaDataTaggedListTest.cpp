#include "base/BMetaDataTaggedList.h"

#include "ByteRecords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

using namespace byterecords;

void Append(BMetaDataTaggedList& list, const char* tag, const Bytes& data) {
    BMetaDataTagged item;
    item.m_tag.SetData(tag);
    item.CreateDataBuff(static_cast<unsigned int>(data.size()));
    std::copy(data.begin(), data.end(), item.GetDataPtr());
    list.AddTail(item);
}

template <class T> BMetaDataTagged* Get(BMetaDataTaggedList& list, T& value) {
    return list.GetData("KEY", value);
}
BMetaDataTagged* Get(BMetaDataTaggedList& list, void*& value) {
    return list.GetData(Str("Key"), &value);
}

// Reads an entry holding `data` into a T of 0xA5 bytes; true when it took the data's first bytes,
// false when it left the T alone. Either way the item is returned.
template <class T> bool Takes(const Bytes& data) {
    BMetaDataTaggedList list;
    Append(list, "key", data);
    T value;
    std::memset(&value, 0xA5, sizeof value);
    const Bytes before = RunOf(reinterpret_cast<unsigned char*>(&value), sizeof value);
    EXPECT_EQ(Get(list, value), &list.GetTail());
    const Bytes after = RunOf(reinterpret_cast<unsigned char*>(&value), sizeof value);
    if (after == before)
        return false;
    EXPECT_EQ(after, RunOf(data.data(), sizeof value));
    return true;
}

TEST(BMetaDataTaggedList, TypedGettersNeedTheValuesFullWidth) {
    const struct Row {
        const char* what;
        bool (*takes)(const Bytes&);
        Bytes data;
        bool taken;
    } rows[] = {
        {"int, 4 bytes", Takes<int>, {0xFE, 0xFF, 0xFF, 0xFF}, true},
        {"int, first 4 of 8", Takes<int>, {1, 0, 0, 0, 2, 0, 0, 0}, true},
        {"int, 3 bytes", Takes<int>, {1, 2, 3}, false},
        {"unsigned, 0 bytes", Takes<unsigned int>, {}, false},
        {"short, low half of 4", Takes<short>, {0x78, 0x56, 0x34, 0x12}, true},
        {"short, 1 byte", Takes<short>, {1}, false},
        {"float, 4 bytes", Takes<float>, {0, 0, 0x80, 0x3F}, true},
        {"float, 3 bytes", Takes<float>, {0, 0, 0x80}, false},
        {"position, 8 bytes", Takes<__POSITION*>, {1, 2, 3, 4, 5, 6, 7, 8}, true},
        {"position, 4 bytes", Takes<__POSITION*>, {1, 2, 3, 4}, false},
        {"pointer, 8 bytes", Takes<void*>, {8, 7, 6, 5, 4, 3, 2, 1}, true},
        {"pointer, 7 bytes", Takes<void*>, {1, 2, 3, 4, 5, 6, 7}, false},
    };
    for (const Row& r : rows)
        EXPECT_EQ(r.takes(r.data), r.taken) << r.what;
}

TEST(BMetaDataTaggedList, TextAndByteGettersStopAtTheEndOfTheData) {
    BMetaDataTaggedList list;
    Append(list, "t", {'a', 'b', 'c'});
    Str text("previous");
    EXPECT_EQ(list.GetData("T", text), &list.GetTail());
    EXPECT_STREQ(text, "abc");
    unsigned char out[5] = {9, 9, 9, 9, 9};
    EXPECT_EQ(list.GetData("t", out, 5u), &list.GetTail());
    EXPECT_EQ(RunOf(out, 5), (Bytes{'a', 'b', 'c', 9, 9}));
    EXPECT_EQ(list.GetData("absent", text), nullptr);
    EXPECT_STREQ(text, "abc");
}

TEST(BMetaDataTaggedList, EqualityComparesDataPairByPair) {
    using Items = std::vector<std::pair<const char*, Bytes>>;
    const struct Row {
        const char* what;
        Items a, b;
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

TEST(BMetaDataTaggedList, ReadsListRecords) {
    const Bytes mark = {'I', 'D', 'M', 'D', 'T', 'L'};
    const Bytes w5 = {2, 0, 0, 0, 'w', 0, 4, 0, 0, 0, 5, 0, 0, 0};
    using TagList = std::vector<std::string>;
    TagList wThen16(17, "");
    wThen16[0] = "w";
    const struct Row {
        const char* reason;
        Bytes stream;
        short mode;
        TagList tags;
    } rows[] = {
        {"ok: the empty list", kEmptyList, 1, {}},
        {"ok: one item", kListW5, 1, {"w"}},
        {"ok: mode 0 has the marker", kListW5, 0, {"w"}},
        {"ok: mode 2 has the marker, its tags are table indexes", kListW5, 2, {""}},
        {"ok: mode 3 begins with the count", Concat({{1, 0, 0, 0}, w5}), 3, {""}},
        {"corrupt: sixth marker byte", {'I', 'D', 'M', 'D', 'T', 'M', 0, 0, 0, 0}, 1, {}},
        {"corrupt: marker missing, mode 2", Concat({{1, 0, 0, 0}, w5}), 2, {}},
        {"truncated: five marker bytes", {'I', 'D', 'M', 'D', 'T'}, 1, {}},
        {"truncated: nothing at all", {}, 1, {}},
        {"truncated: marker without a count", mark, 1, {}},
        {"truncated: count 3 holding one item", Concat({mark, {3, 0, 0, 0}, w5}), 1, {"w", "", ""}},
        {"corrupt: huge count, capped past the end", Concat({mark, {0xFF, 0xFF, 0xFF, 0x7F}, w5}),
         1, wThen16},
    };
    for (const Row& r : rows) {
        BMemFile f(r.stream.data(), static_cast<unsigned int>(r.stream.size()));
        BMetaDataTaggedList list;
        list.SetData("stale", 1);
        EXPECT_EQ(list.Read(f, r.mode), static_cast<int>(r.tags.size())) << r.reason;
        EXPECT_EQ(Tags(list), r.tags) << r.reason;
    }
}

TEST(BMetaDataTaggedList, WriteThenReadGivesTheSameList) {
    BMetaDataTaggedList list;
    list.SetData("int", -7);
    list.SetData("Text", "a text long enough to be allocated");
    list.SetData("float", 0.25f);
    const unsigned char run[20] = {1, 2, 3};
    list.SetData("bytes", run, 20u);
    BMemFile f;
    list.Write(f, 1);
    f.Seek(0, 0);
    BMetaDataTaggedList back;
    EXPECT_EQ(back.Read(f, 1), 4);
    EXPECT_TRUE(back == list);
    EXPECT_EQ(Tags(back), Tags(list));
    EXPECT_EQ(f.m_position, f.m_length);
}

} // namespace
