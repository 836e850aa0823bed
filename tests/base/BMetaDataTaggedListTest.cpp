#include "base/BMetaDataTaggedList.h"

#include "ByteRecords.h"

#include "support/Testing.h"

#include <type_traits>

namespace {

using namespace byterecords;

void Append(BMetaDataTaggedList& list, const char* tag, const Bytes& data) {
    BMetaDataTagged& item = list.GetAt(list.AddTail(BMetaDataTagged()));
    item.m_tag.SetData(tag);
    SetDataBytes(item, data);
}

// Tag and data of each item, head to tail.
std::vector<std::pair<std::string, Bytes>> Items(const BMetaDataTaggedList& list) {
    std::vector<std::pair<std::string, Bytes>> items;
    for (__POSITION* pos = list.GetHeadPosition(); pos != nullptr;) {
        const BMetaDataTagged& item = list.GetNext(pos);
        items.emplace_back(reinterpret_cast<const char*>(item.m_tag.GetDataPtr()), DataOf(item));
    }
    return items;
}

// What a getter must give for data: numbers as the memory file reads them, little-endian from the
// first bytes on every host; pointers and positions as the host's own image of the address.
template <class T> T Expected(const Bytes& data) {
    Bytes padded = Concat({data, Bytes(sizeof(T), 0)});
    T value{};
    if constexpr (std::is_pointer_v<T>)
        std::memcpy(&value, padded.data(), sizeof value);
    else
        BMemFile(padded.data(), sizeof(T)).Read(value);
    return value;
}

template <class T> bool Takes(const Bytes& data) {
    BMetaDataTaggedList list;
    Append(list, "key", data);
    T value, viaStr;
    unsigned char* bytes = reinterpret_cast<unsigned char*>(&value);
    std::memset(bytes, 0xA5, sizeof value);
    std::memset(reinterpret_cast<unsigned char*>(&viaStr), 0xA5, sizeof value);
    if constexpr (std::is_same_v<T, void*>) {
        EXPECT_EQ(list.GetData("KEY", &value), &list.GetTail());
        EXPECT_EQ(list.GetData(Str("Key"), &viaStr), &list.GetTail());
    } else {
        EXPECT_EQ(list.GetData("KEY", value), &list.GetTail());
        EXPECT_EQ(list.GetData(Str("Key"), viaStr), &list.GetTail());
    }
    EXPECT_EQ(std::memcmp(&value, &viaStr, sizeof value), 0) << "both tag forms read alike";
    if (RunOf(bytes, sizeof value) == Bytes(sizeof value, 0xA5))
        return false;
    const T expected = Expected<T>(data);
    EXPECT_EQ(std::memcmp(&value, &expected, sizeof value), 0);
    return true;
}

// A getter takes a value only from an item holding at least the value's width. Pointers and
// positions are as wide as the host's addresses: 4 bytes are enough at 32 bits, not at 64.
TEST(BMetaDataTaggedList, TypedGettersNeedTheValuesFullWidth) {
    constexpr bool narrowAddresses = sizeof(void*) == 4;
    const struct {
        const char* name;
        bool (*takes)(const Bytes&);
        Bytes data;
        bool taken;
    } rows[] = {
        {"int, first 4 of 8", Takes<int>, {1, 0, 0, 0, 2, 0, 0, 0}, true},
        {"int, 3 bytes", Takes<int>, {1, 2, 3}, false},
        {"unsigned, 4 bytes", Takes<unsigned int>, {1, 2, 3, 0x84}, true},
        {"unsigned, 0 bytes", Takes<unsigned int>, {}, false},
        {"short, low half of 4", Takes<short>, {0x78, 0x56, 0x34, 0x12}, true},
        {"short, 1 byte", Takes<short>, {1}, false},
        {"float, 4 bytes", Takes<float>, {0, 0, 0x80, 0x3F}, true},
        {"float, 3 bytes", Takes<float>, {0, 0, 0x80}, false},
        {"position, 8 bytes", Takes<__POSITION*>, {1, 2, 3, 4, 5, 6, 7, 8}, true},
        {"position, 4 bytes", Takes<__POSITION*>, {1, 2, 3, 4}, narrowAddresses},
        {"pointer, 8 bytes", Takes<void*>, {8, 7, 6, 5, 4, 3, 2, 1}, true},
        {"pointer, 7 bytes", Takes<void*>, {1, 2, 3, 4, 5, 6, 7}, narrowAddresses},
        {"pointer, 3 bytes", Takes<void*>, {1, 2, 3}, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.takes(row.data), row.taken);
    }
}

// The byte getter copies as many bytes as both the item and the buffer hold.
TEST(BMetaDataTaggedList, ByteGetterCopiesWhatBothHold) {
    BMetaDataTaggedList list;
    Append(list, "k", {1, 2, 3});
    for (const auto& [n, copied] : {std::pair{2u, Bytes{1, 2, 0, 0}}, {5u, Bytes{1, 2, 3, 0}}}) {
        Bytes out(4, 0);
        EXPECT_EQ(list.GetData("K", out.data(), n), &list.GetTail());
        EXPECT_EQ(out, copied);
    }
    EXPECT_EQ(list.GetData(Str("k"), nullptr, 3), &list.GetTail());
    EXPECT_EQ(list.GetData("none", nullptr, 3), nullptr);
}

// A tag read from a stream need not end in a zero byte: it is its m_size bytes, whatever follows.
TEST(BMetaDataTaggedList, TagsEndAtTheirSize) {
    for (const Bytes& tag : {Bytes{'w'}, Bytes{'w', 1}}) {
        BMetaDataTaggedList list;
        Append(list, "", {5});
        BMetaData& stored = list.GetTail().m_tag;
        SetDataBytes(stored, Concat({tag, {'y'}}));
        stored.m_size = static_cast<unsigned int>(tag.size());
        const std::string text(tag.begin(), tag.end());
        EXPECT_EQ(list.FindData(Str(text.c_str())), list.GetHeadPosition()) << tag.size();
        EXPECT_EQ(list.FindData(text.c_str()), list.GetHeadPosition()) << tag.size();
    }
}

TEST(BMetaDataTaggedList, SettersStoreTheirLittleEndianImagesOneItemPerTag) {
    static int anchor;
    static BMetaDataTagged item;
    SetDataBytes(item, {9, 8});
    void* address = &anchor;
    const Bytes pointer = RunOf(reinterpret_cast<const unsigned char*>(&address), sizeof address);
    using Set = void (*)(BMetaDataTaggedList&, const char*);
    const struct {
        const char* tag;
        Set set;
        Bytes image;
    } rows[] = {
        {"int", [](auto& l, auto t) { l.SetData(t, -2); }, {0xFE, 0xFF, 0xFF, 0xFF}},
        {"unsigned", [](auto& l, auto t) { l.SetData(t, 7u); }, {7, 0, 0, 0}},
        {"short", [](auto& l, auto t) { l.SetData(t, short{-3}); }, {0xFD, 0xFF}},
        {"float", [](auto& l, auto t) { l.SetData(t, 1.0f); }, {0, 0, 0x80, 0x3F}},
        {"Str", [](auto& l, auto t) { l.SetData(t, Str("ab")); }, {'a', 'b', 0}},
        {"text", [](auto& l, auto t) { l.SetData(t, "xyz"); }, {'x', 'y', 'z', 0}},
        {"empty text", [](auto& l, auto t) { l.SetData(t, ""); }, {}},
        {"bytes", [](auto& l, auto t) { l.SetData(t, item.GetDataPtr(), 1u); }, {9}},
        {"null bytes", [](auto& l, auto t) { l.SetData(t, nullptr, 5u); }, {}},
        {"item", [](auto& l, auto t) { l.SetData(t, item); }, {9, 8}},
        {"pointer", [](auto& l, auto t) { l.SetData(t, static_cast<void*>(&anchor)); }, pointer},
        {"position", [](auto& l, auto t) { l.SetData(t, reinterpret_cast<__POSITION*>(&anchor)); },
         pointer},
    };
    BMetaDataTaggedList list;
    for (const auto& [tag, set, image] : rows) {
        set(list, tag);
        set(list, tag);
        EXPECT_EQ(DataOf(list.GetAt(list.FindData(tag))), image) << tag;
    }
    EXPECT_EQ(list.GetCount(), std::size(rows)) << "one item per tag";
}

// Tags play no part; data is compared pair by pair, up to the shorter of the two.
TEST(BMetaDataTaggedList, EqualityComparesDataPairByPair) {
    const struct {
        const char* what;
        std::vector<Bytes> as;
        std::vector<Bytes> bs;
        bool equal;
    } rows[] = {
        {"same data", {{1}, {2, 3}}, {{1}, {2, 3}}, true},
        {"different counts", {{1}}, {{1}, {2}}, false},
        {"different data", {{1}}, {{2}}, false},
        {"prefix-equal data", {{1, 2, 3}}, {{1, 2}}, true},
        {"an empty item is never equal", {{}}, {{}}, false},
        {"two empty lists", {}, {}, true},
    };
    for (const auto& [what, as, bs, equal] : rows) {
        SCOPED_TRACE(what);
        BMetaDataTaggedList a, b;
        for (const Bytes& data : as)
            Append(a, "a", data);
        for (const Bytes& data : bs)
            Append(b, "b", data);
        EXPECT_EQ(a == b, equal);
        EXPECT_EQ(b == a, equal);
        EXPECT_EQ(a == a, as.empty() || !as[0].empty()) << "with itself";
    }
}

TEST(BMetaDataTaggedList, ReadsListRecords) {
    const Bytes mark = {'I', 'D', 'M', 'D', 'T', 'L'};
    const Bytes w5 = {2, 0, 0, 0, 'w', 0, 4, 0, 0, 0, 5, 0, 0, 0};
    using TagList = std::vector<std::string>;
    TagList wThen16(17, "");
    wThen16[0] = "w";
    // Reason, stream, mode and the tags read.
    const struct {
        const char* reason;
        Bytes stream;
        short mode;
        TagList tags;
    } rows[] = {
        {"ok: the empty list", kEmptyList, 1, {}},
        {"ok: one item", kListW5, 1, {"w"}},
        {"ok: mode 2 has the marker, its tags are table indexes", kListW5, 2, {""}},
        {"ok: mode 3 begins with the count", Concat({{1, 0, 0, 0}, w5}), 3, {""}},
        {"corrupt: sixth marker byte", {'I', 'D', 'M', 'D', 'T', 'M', 0, 0, 0, 0}, 1, {}},
        {"corrupt: marker missing, mode 2", Concat({{1, 0, 0, 0}, w5}), 2, {}},
        {"truncated: five marker bytes", {'I', 'D', 'M', 'D', 'T'}, 1, {}},
        {"truncated: marker without a count", mark, 1, {}},
        {"truncated: count 3 holding one item", Concat({mark, {3, 0, 0, 0}, w5}), 1, {"w", "", ""}},
        {"corrupt: huge count, capped past the end", Concat({mark, {0xFF, 0xFF, 0xFF, 0x7F}, w5}),
         1, wThen16},
    };
    for (const auto& [reason, stream, mode, tags] : rows) {
        BMemFile f(stream.data(), static_cast<unsigned int>(stream.size()));
        BMetaDataTaggedList list;
        list.SetData("stale", 1);
        EXPECT_EQ(list.Read(f, mode), static_cast<int>(tags.size())) << reason;
        EXPECT_EQ(Tags(list), tags) << reason;
    }
}

TEST(BMetaDataTaggedList, WritesPackagesAndReadsBackListRecords) {
    BMetaDataTaggedList list, back;
    BMemFile empty, one, f;
    list.Write(empty, 1);
    EXPECT_EQ(Written(empty), kEmptyList);
    list.Write(empty, 3);
    EXPECT_EQ(Written(empty), Concat({kEmptyList, {0, 0, 0, 0}})) << "mode 3 has no marker";
    list.SetData("w", 5);
    list.Write(one, 1);
    EXPECT_EQ(Written(one), kListW5);
    list.SetData("Text", "a text long enough to be allocated");
    list.SetData("float", 0.25f);
    list.Write(f, 1);
    f.Seek(0, 0);
    EXPECT_EQ(back.Read(f, 1), 3);
    EXPECT_TRUE(back == list);
    EXPECT_EQ(Tags(back), Tags(list));
    EXPECT_EQ(f.m_position, f.m_length);
    // A package holds the list record, with or without the marker; unpacking replaces the list.
    for (short mode : {1, 4}) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        BMemFile written;
        list.Write(written, mode);
        BMetaDataTagged item;
        item.m_tag.SetData("name");
        list.Package(item, mode);
        EXPECT_EQ(DataOf(item), Written(written));
        EXPECT_EQ(Tags(list).size(), 3u);
        EXPECT_STREQ(reinterpret_cast<const char*>(item.m_tag.GetDataPtr()), "name");
        BMetaDataTaggedList unpacked;
        unpacked.SetData("stale", 1);
        unpacked.UnPackage(item, mode);
        EXPECT_EQ(Items(unpacked), Items(list));
    }
}

TEST(BMetaDataTaggedList, AddAndOverwriteUpdatesInPlaceAndAppendsNewTagsInOrder) {
    BMetaDataTaggedList list, other;
    Append(list, "A", {1});
    Append(list, "x", {2});
    Append(list, "X", {3});
    Append(other, "x", {7});
    Append(other, "c", {8});
    Append(other, "a", {9});
    __POSITION* const x = list.FindData("x");
    list.AddAndOverwrite(other);
    using Items_ = decltype(Items(list));
    EXPECT_EQ(Items(list), (Items_{{"A", {9}}, {"x", {7}}, {"c", {8}}}))
        << "the first of a doubled tag is kept, spelling and place included";
    EXPECT_EQ(list.FindData("X"), x) << "the very node";
    EXPECT_EQ(Items(other), (Items_{{"x", {7}}, {"c", {8}}, {"a", {9}}}));
}

TEST(BMetaDataTaggedList, PlusEqualsAppendsCopiesEvenOfItself) {
    BMetaDataTaggedList list, other;
    Append(list, "a", {1, 0, 0, 0});
    Append(other, "A", {2, 0, 0, 0});
    Append(other, "b", {3});
    EXPECT_EQ(&(list += other), &list);
    using Items_ = decltype(Items(list));
    EXPECT_EQ(Items(list), (Items_{{"a", {1, 0, 0, 0}}, {"A", {2, 0, 0, 0}}, {"b", {3}}}))
        << "tags unchecked";
    int first = 0;
    EXPECT_EQ(list.GetData("a", first), &list.GetAt(list.GetHeadPosition()));
    EXPECT_EQ(first, 1) << "lookups find the first";
    list += list;
    ASSERT_EQ(list.GetCount(), 6u) << "the list as it was when the call began";
    EXPECT_EQ(Items(list)[3], Items(list)[0]);
    SetDataBytes(list.GetAt(list.GetHeadPosition()), {5});
    EXPECT_EQ(Items(list)[3].second, Bytes({1, 0, 0, 0})) << "a copy, not a share";
}

TEST(BMetaDataTaggedList, RemoveDataTakesEveryMatchAndKeepsOtherPositions) {
    BMetaDataTaggedList list;
    for (const char* tag : {"a", "B", "A", "c", "a"})
        Append(list, tag, {1});
    __POSITION* const b = list.FindData("b");
    __POSITION* const c = list.FindData("c");
    EXPECT_EQ(list.RemoveData(Str("A")), 3);
    EXPECT_EQ(list.RemoveData(Str("A")), 0);
    EXPECT_EQ(Tags(list), (std::vector<std::string>{"B", "c"}));
    __POSITION* pos = list.GetHeadPosition();
    EXPECT_EQ(pos, b);
    list.GetNext(pos);
    EXPECT_EQ(pos, c);
}

} // namespace
