#include "base/BMemFile.h"

#include "ByteRecords.h"

#include <gtest/gtest.h>

namespace {

using namespace byterecords;

void WriteTagged(BMemFile& f, const char* tag, short mode) {
    BMetaDataTagged item;
    item.m_tag.SetData(tag);
    item.Write(f, mode);
}

TEST(TagTable, TagsGetIndicesInFirstWrittenOrderIgnoringCase) {
    BMetaDataTaggedList table;
    BMemFile f;
    f.m_metaData.SetData("GlobalMetaTable", static_cast<void*>(&table));
    for (const char* tag : {"x", "y", "X"})
        WriteTagged(f, tag, 2);
    // Each record: tag size 2, the 2-byte index, then the empty data record.
    EXPECT_EQ(Written(f), (Bytes{2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 1,
                                 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(Tags(table), (std::vector<std::string>{"x", "y"}));
    short y = -1;
    table.GetData("y", y);
    EXPECT_EQ(y, 1);
}

TEST(TagTable, WritingWithoutATableStops) {
    BMemFile f;
    EXPECT_DEATH(WriteTagged(f, "x", 2),
                 "\\(this\\), function GetCount, file LinkedList, line [0-9]+");
}

TEST(TagTable, ReadCopiesTheTextAtTheIndex) {
    const char* texts[] = {"x", "yy", nullptr};
    struct Row {
        const char* what;
        Bytes record;
        bool table;
        Bytes tag;
    } rows[] = {
        {"ok: index 1", {3, 0, 0, 0, 1, 0}, true, {'y', 'y', 0}},
        {"ok: a size past the entry's text stops at its zero",
         {5, 0, 0, 0, 0, 0},
         true,
         {'x', 0, 0, 0, 0}},
        {"ok: a size short of the text cuts it", {1, 0, 0, 0, 1, 0}, true, {'y'}},
        {"corrupt: negative index keeps zero bytes", {3, 0, 0, 0, 0xFF, 0xFF}, true, {0, 0, 0}},
        {"corrupt: null entry keeps zero bytes", {3, 0, 0, 0, 2, 0}, true, {0, 0, 0}},
        {"corrupt: no table keeps zero bytes", {3, 0, 0, 0, 1, 0}, false, {0, 0, 0}},
        {"truncated: no index keeps zero bytes", {2, 0, 0, 0}, true, {0, 0}},
        {"truncated: one index byte is the low byte", {2, 0, 0, 0, 1}, true, {'y', 'y'}},
    };
    for (const Row& row : rows) {
        BMemFile f(row.record.data(), static_cast<unsigned int>(row.record.size()));
        if (row.table)
            f.m_metaData.SetData("GlobalMetaTableFast", static_cast<void*>(texts));
        BMetaData tag;
        tag.Read(f, 2);
        EXPECT_EQ(DataOf(tag), row.tag) << row.what;
    }
}

} // namespace
