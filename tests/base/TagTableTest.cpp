#include "base/BMemFile.h"

#include "ByteRecords.h"

#include "support/Testing.h"

using namespace byterecords;

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
    const std::tuple<const char*, Bytes, Bytes> rows[] = {
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
