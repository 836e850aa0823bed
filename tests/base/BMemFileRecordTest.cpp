#include "base/BMemFile.h"

#include "ByteRecords.h"

#include "support/Testing.h"

using namespace byterecords;

// The file name item of a default BFilename: empty tag, then its 18-byte record (the storage string
// of four tabs and an empty property list).
const Bytes kDefaultName = Concat({{0, 0, 0, 0, 18, 0, 0, 0, 4, 0, 0, 0, 9, 9, 9, 9}, kEmptyList});
const Bytes kHead = Concat({kEmptyList, kDefaultName}), kHeadW5 = Concat({kListW5, kDefaultName});

// Get on each record; Set on what the ok rows rebuilt gives their bytes back.
TEST(BMemFileRecord, RecordByteTable) {
    // What, the record's head and tail, and the content Get leaves.
    const std::tuple<const char*, Bytes, Bytes, Bytes> rows[] = {
        {"ok: empty file", kHead, {0, 0, 0, 0}, {}},
        {"ok: property and content", kHeadW5, {3, 0, 0, 0, 'a', 'b', 'c'}, {'a', 'b', 'c'}},
        {"truncated: only the list, so no name, length or content", kEmptyList, {}, {}},
        {"truncated: short content is zero-filled", kHead, {3, 0, 0, 0, 'a'}, {'a', 0, 0}},
        {"truncated: a 2-byte length has zero high bytes", kHead, {3, 0}, {0, 0, 0}},
        {"corrupt: a huge length keeps the bytes present", kHead, {255, 255, 255, 255, 'a'}, {'a'}},
    };
    for (const auto& [what, head, tail, content] : rows) {
        SCOPED_TRACE(what);
        BMemFile f;
        f.Write("12345", 5);
        f.m_metaData.SetData("stale", 1);
        const Bytes record = Concat({head, tail});
        SetDataBytes(f, record);
        f.Get();
        EXPECT_EQ(Written(f), content);
        EXPECT_EQ(f.m_position, std::min(5u, f.m_length)) << "position cut";
        EXPECT_EQ(f.m_metaData.GetCount(), head == kHeadW5 ? 1u : 0u);
        EXPECT_EQ(DataOf(f), record) << "the data is read in place";
        if (what[0] == 'o') {
            f.Set();
            EXPECT_EQ(DataOf(f), record) << "Set";
        }
    }
}

// Assignment copies the content and the file name but nothing of the tagged base.
TEST(BMemFileRecord, SetThenGetRoundTripsAndAssignmentCopiesTheName) {
    BMemFile f, target;
    f.Write("xyz", 3);
    f.m_filename.SetStorageString("/dir/\t\t\tname.txt\tdisk");
    f.m_metaData.SetData("w", 5);
    f.Set();
    target.m_metaData.SetData("target", 2);
    target.Set();
    target = f;
    EXPECT_EQ(Written(target), (Bytes{'x', 'y', 'z'}));
    EXPECT_STREQ(target.m_filename.GetStorageString(), "/dir/\t\t\tname.txt\tdisk");
    EXPECT_EQ(Tags(target.m_metaData), (std::vector<std::string>{"target"}));
    f.Write("more", 4);
    f.m_filename.SetStorageString("other");
    f.m_metaData.SetData("added", 1);
    f.Get();
    EXPECT_EQ(Written(f), (Bytes{'x', 'y', 'z'}));
    EXPECT_STREQ(f.m_filename.GetStorageString(), "/dir/\t\t\tname.txt\tdisk");
    EXPECT_EQ(Tags(f.m_metaData), (std::vector<std::string>{"w"}));
}
