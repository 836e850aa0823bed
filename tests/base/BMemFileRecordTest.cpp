#include "base/BMemFile.h"

#include "ByteRecords.h"

#include <gtest/gtest.h>

namespace {

using namespace byterecords;

// The file name item of a default BFilename: empty tag, then its 18-byte record (the storage string
// of four tabs and an empty property list).
const Bytes kDefaultName = Concat({{0, 0, 0, 0, 18, 0, 0, 0, 4, 0, 0, 0, 9, 9, 9, 9}, kEmptyList});

// Get on each record; Set on what the ok rows rebuilt gives their bytes back.
TEST(BMemFileRecord, RecordByteTable) {
    struct Row {
        const char* what;
        Bytes record;
        Bytes content;
        unsigned int properties;
    } rows[] = {
        {"ok: empty file", Concat({kEmptyList, kDefaultName, {0, 0, 0, 0}}), {}, 0},
        {"ok: property and content",
         Concat({kListW5, kDefaultName, {3, 0, 0, 0, 'a', 'b', 'c'}}),
         {'a', 'b', 'c'},
         1},
        {"truncated: only the list, so no length and no content", kEmptyList, {}, 0},
        {"truncated: content cut short keeps its length, missing bytes zero",
         Concat({kEmptyList, kDefaultName, {3, 0, 0, 0, 'a'}}),
         {'a', 0, 0},
         0},
        {"truncated: a length cut to 2 bytes counts its missing high bytes as zero",
         Concat({kEmptyList, kDefaultName, {3, 0}}),
         {0, 0, 0},
         0},
        {"corrupt: a huge length keeps only the bytes present",
         Concat({kEmptyList, kDefaultName, {0xFF, 0xFF, 0xFF, 0xFF, 'a', 'b'}}),
         {'a', 'b'},
         0},
    };
    for (const Row& row : rows) {
        BMemFile f;
        f.Write("12345", 5);
        f.m_metaData.SetData("stale", 1);
        f.CreateDataBuff(static_cast<unsigned int>(row.record.size()));
        std::copy(row.record.begin(), row.record.end(), f.GetDataPtr());
        f.Get();
        EXPECT_EQ(Written(f), row.content) << row.what;
        EXPECT_EQ(f.m_position, std::min(5u, f.m_length)) << row.what << ": position cut";
        EXPECT_EQ(f.m_metaData.GetCount(), row.properties) << row.what;
        EXPECT_EQ(DataOf(f), row.record) << row.what << ": the data is read in place";
        if (row.what[0] == 'o') {
            f.Set();
            EXPECT_EQ(DataOf(f), row.record) << row.what << ": Set";
        }
    }
}

TEST(BMemFileRecord, SetThenGetRestoresContentNameAndProperties) {
    BMemFile empty;
    empty.Set();
    empty.Write("late", 4);
    empty.Get();
    EXPECT_EQ(empty.m_length, 0u);
    EXPECT_EQ(empty.m_buffer, nullptr);

    BMemFile f;
    f.Write("xyz", 3);
    f.m_filename.SetStorageString("/dir/\t\t\tname.txt\tdisk");
    f.m_metaData.SetData("w", 5);
    f.m_tag.SetData("tag");
    f.Set();
    f.Write("more", 4);
    f.m_filename.SetStorageString("other");
    f.m_metaData.SetData("added", 1);
    f.Get();
    EXPECT_EQ(Written(f), (Bytes{'x', 'y', 'z'}));
    EXPECT_EQ(f.m_length, 3u);
    EXPECT_STREQ(f.m_filename.GetStorageString(), "/dir/\t\t\tname.txt\tdisk");
    EXPECT_EQ(Tags(f.m_metaData), (std::vector<std::string>{"w"}));
    EXPECT_EQ(DataOf(f.m_tag), (Bytes{'t', 'a', 'g', 0}));
}

TEST(BMemFileRecord, AssignmentCopiesTheFileNameButNothingOfTheBase) {
    BMemFile source;
    source.Write("abc", 3);
    source.m_filename.SetStorageString("/from/\t\t\tsource\t");
    source.m_metaData.SetData("source", 1);
    source.Set();
    BMemFile target;
    target.m_metaData.SetData("target", 2);
    target.Set();
    const Bytes targetData = DataOf(target);
    target = source;
    EXPECT_EQ(Written(target), (Bytes{'a', 'b', 'c'}));
    EXPECT_STREQ(target.m_filename.GetStorageString(), "/from/\t\t\tsource\t");
    EXPECT_EQ(Tags(target.m_metaData), (std::vector<std::string>{"target"}));
    EXPECT_EQ(DataOf(target), targetData);
}

} // namespace
