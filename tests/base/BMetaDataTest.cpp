#include "base/BMetaData.h"

#include "ByteRecords.h"

#include "support/Testing.h"

using namespace byterecords;

const auto IsInline = [](const BMetaData& item) { return item.GetDataPtr() == item.m_data; };

// Item records: the 4-byte size, then the bytes. Each row reads into an item that held other data;
// runs of up to 8 bytes live inside the item. What the ok rows read writes the same record back.
TEST(BMetaData, ReadsItemRecords) {
    const Bytes eight = {1, 2, 3, 4, 5, 6, 7, 8}, nine = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    const Bytes big = Concat({{0xAA}, Bytes(4096, 0)});
    // Reason, stream, the item's data after, and the bytes consumed.
    const struct {
        const char* reason;
        Bytes stream;
        Bytes data;
        unsigned int consumed;
    } rows[] = {
        {"ok: empty item", {0, 0, 0, 0, 0xEE}, {}, 4},
        {"ok: eight bytes", Concat({{8, 0, 0, 0}, eight, {0xEE}}), eight, 12},
        {"ok: nine bytes", Concat({{9, 0, 0, 0}, nine}), nine, 13},
        {"truncated: no size at all", {}, {}, 0},
        {"truncated: missing data bytes stay zero", {3, 0, 0, 0, 0x61}, {0x61, 0, 0}, 5},
        {"truncated: size cut short reads its low bytes", {2, 0}, {0, 0}, 2},
        {"truncated: 4096 missing bytes are believed", {1, 16, 0, 0, 0xAA}, big, 5},
        {"corrupt: a size beyond belief keeps what remains", {0x02, 0x10, 0, 0, 0xAA}, {0xAA}, 5},
        {"corrupt: the largest size", {0xFF, 0xFF, 0xFF, 0xFF, 0x61, 0x62}, {0x61, 0x62}, 6},
    };
    for (const auto& [reason, stream, data, consumed] : rows) {
        BMemFile f(stream.data(), static_cast<unsigned int>(stream.size()));
        BMetaData item;
        item.SetData("previous contents");
        item.Read(f, 1);
        EXPECT_EQ(DataOf(item), data) << reason;
        EXPECT_EQ(IsInline(item), data.size() <= 8) << reason;
        EXPECT_EQ(f.m_position, consumed) << reason;
        if (reason[0] == 'o') {
            BMemFile back;
            item.Write(back, 1);
            EXPECT_EQ(Written(back), RunOf(stream.data(), consumed)) << reason << ", written back";
        }
    }
}

// Compares over the common length only; an empty run or a null argument never compares equal.
TEST(BMetaData, CompareDataOverTheCommonLength) {
    const struct {
        const char* text;
        const char* other;
        int sign;
    } rows[] = {
        {"abc", "abc", 0},   {"abc", "abcd", 0}, {"abcd", "ab", 0}, {"abz", "abc", -1},
        {"abc", "a\x80", 1}, {"", "a", 1},       {"a", "", 1},      {"ab", nullptr, 1},
    };
    for (const auto& [text, other, sign] : rows) {
        BMetaData item;
        SetDataBytes(
            item, RunOf(reinterpret_cast<const unsigned char*>(text), unsigned(std::strlen(text))));
        const auto* p = reinterpret_cast<const unsigned char*>(other);
        const int result = item.CompareData(p, other ? unsigned(std::strlen(other)) : 2);
        EXPECT_EQ((result > 0) - (result < 0), sign) << text << " vs " << (other ? other : "null");
    }
}

// Each record: tag size 2, then the 2-byte index of the tag in the file's table. Without a table
// the write stops.
TEST(TagTableDeathTest, TagsGetIndicesInFirstWrittenOrderIgnoringCase) {
    BMetaDataTaggedList table;
    BMemFile f;
    BMetaData item;
    item.SetData("x");
    EXPECT_DEATH(item.Write(f, 2), "\\(this\\), function GetCount, file LinkedList, line [0-9]+");
    f.m_metaData.SetData("GlobalMetaTable", static_cast<void*>(&table));
    for (const char* tag : {"x", "y", "X"}) {
        item.SetData(tag);
        item.Write(f, 2);
    }
    EXPECT_EQ(Written(f), (Bytes{2, 0, 0, 0, 0, 0, 2, 0, 0, 0, 1, 0, 2, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Tags(table), (std::vector<std::string>{"x", "y"}));
}

// Reading copies up to the record's size of the text at the index, never past its zero byte.
TEST(TagTable, ReadCopiesTheTextAtTheIndex) {
    const char* texts[] = {"x", "yy", nullptr};
    const struct {
        const char* what;
        Bytes record;
        Bytes tag;
    } rows[] = {
        {"ok: a size past the text stops at its zero", {5, 0, 0, 0, 0, 0}, {'x', 0, 0, 0, 0}},
        {"corrupt: negative index keeps zero bytes", {3, 0, 0, 0, 0xFF, 0xFF}, {0, 0, 0}},
        {"corrupt: null entry keeps zero bytes", {3, 0, 0, 0, 2, 0}, {0, 0, 0}},
        {"truncated: one index byte is the low byte", {2, 0, 0, 0, 1}, {'y', 'y'}},
    };
    for (const auto& [what, record, tag] : rows)
        for (bool table : {true, false}) {
            BMemFile f(record.data(), static_cast<unsigned int>(record.size()));
            if (table)
                f.m_metaData.SetData("GlobalMetaTableFast", static_cast<void*>(texts));
            BMetaData read;
            read.Read(f, 2);
            EXPECT_EQ(DataOf(read), table ? tag : Bytes(tag.size(), 0)) << what << table;
        }
}

// A tag's bytes live in the table, not in the stream, so the stream's length must not cut it.
TEST(TagTable, TagsOfAnyLengthSurviveTheRoundTrip) {
    // Empty, short, longer than the missing-bytes allowance, longer than 16 bits of size.
    for (const std::size_t length : {0, 6, 5000, 70000}) {
        SCOPED_TRACE(length);
        const std::string tag(length, 'b');
        BMetaDataTaggedList table;
        BMemFile f;
        f.m_metaData.SetData("GlobalMetaTable", static_cast<void*>(&table));
        BMetaData item;
        item.SetData(tag.c_str());
        item.Write(f, 2);

        const std::vector<std::string> texts = Tags(table);
        std::vector<const char*> pointers;
        for (const std::string& text : texts)
            pointers.push_back(text.c_str());
        f.Seek(0, 0);
        f.m_metaData.SetData("GlobalMetaTableFast", static_cast<void*>(pointers.data()));
        BMetaData read;
        read.Read(f, 2);
        EXPECT_EQ(read.m_size, item.m_size);
        EXPECT_TRUE(DataOf(read) == DataOf(item));
    }
}
