#include "base/BMetaDataTagged.h"

#include "ByteRecords.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace byterecords;

Bytes DataOf(const BMetaData& item) {
    return RunOf(item.GetDataPtr(), item.m_size);
}

// The tagged-item record of the tag "ab" with the 4-byte integer 7, in mode 1.
const Bytes kAbSeven = {0x03, 0, 0, 0, 0x61, 0x62, 0x00, 0x04, 0, 0, 0, 0x07, 0, 0, 0};

TEST(BMetaDataTagged, WritesTheTagRecordThenTheDataRecord) {
    BMetaDataTagged item;
    item.m_tag.SetData("ab");
    item.CreateDataBuff(4);
    item.GetDataPtr()[0] = 7;
    BMemFile f;
    item.Write(f, 1);
    EXPECT_EQ(Written(f), kAbSeven) << Hex(Written(f));

    f.Seek(0, 0);
    BMetaDataTagged back;
    back.Read(f, 1);
    EXPECT_EQ(DataOf(back.m_tag), DataOf(item.m_tag));
    EXPECT_EQ(DataOf(back), DataOf(item));
}

TEST(BMetaDataTagged, ReadsTaggedItemRecords) {
    struct Row {
        const char* reason;
        Bytes stream;
        short mode;
        Bytes tag;
        Bytes data;
    };
    const Row rows[] = {
        {"ok: tag ab, data 7", kAbSeven, 1, {0x61, 0x62, 0}, {7, 0, 0, 0}},
        {"ok: mode 0 reads the same", kAbSeven, 0, {0x61, 0x62, 0}, {7, 0, 0, 0}},
        {"ok: empty tag and data", {0, 0, 0, 0, 0, 0, 0, 0}, 1, {}, {}},
        {"truncated: exhausted stream", {}, 1, {}, {}},
        {"truncated: tag only", {2, 0, 0, 0, 0x77, 0}, 1, {0x77, 0}, {}},
        {"truncated: data cut short", {1, 0, 0, 0, 0x77, 3, 0, 0, 0, 9}, 1, {0x77}, {9, 0, 0}},
        {"tag table: index instead of text, no table to look it up",
         {3, 0, 0, 0, 5, 0, 1, 0, 0, 0, 0x2A},
         3,
         {0, 0, 0},
         {0x2A}},
    };
    for (const Row& r : rows) {
        BMemFile f(r.stream.data(), static_cast<unsigned int>(r.stream.size()));
        BMetaDataTagged item;
        item.m_tag.SetData("old");
        item.SetData("old data");
        item.Read(f, r.mode);
        EXPECT_EQ(DataOf(item.m_tag), r.tag) << r.reason;
        EXPECT_EQ(DataOf(item), r.data) << r.reason;
    }
}

TEST(BMetaDataTagged, CompareTagIgnoresAsciiCase) {
    struct Row {
        const char* tag;
        const char* text;
        int sign;
    } rows[] = {
        {"Color", "COLOR", 0}, {"Color", "color", 0}, {"", "", 0},         {"", nullptr, 0},
        {"", "x", 1},          {"x", "", -1},         {"ab", "abc", 1},    {"abc", "ab", -1},
        {"a", "B", 1},         {"B", "a", -1},        {"\xC4", "\xE4", 1},
    };
    for (const Row& r : rows) {
        BMetaDataTagged item;
        item.m_tag.SetData(r.tag);
        int result = item.CompareTag(r.text);
        EXPECT_EQ((result > 0) - (result < 0), r.sign)
            << "tag '" << r.tag << "' text '" << (r.text ? r.text : "(null)") << "'";
    }
}

TEST(BMetaDataTagged, CompareTagStopsAtTheEndOfAnUnterminatedTag) {
    const Bytes stream = {8, 0, 0, 0, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 0, 0, 0, 0};
    BMemFile f(stream.data(), static_cast<unsigned int>(stream.size()));
    BMetaDataTagged item;
    item.Read(f, 1);
    EXPECT_EQ(item.CompareTag("ABCDEFGH"), 0);
    EXPECT_GT(item.CompareTag("abcdefghi"), 0);
}

TEST(BMetaDataTagged, AssignmentCopiesTagAndData) {
    BMetaDataTagged a;
    a.m_tag.SetData("a tag longer than eight");
    a.SetData("data longer than eight bytes");
    BMetaDataTagged b;
    b = a;
    EXPECT_EQ(DataOf(b.m_tag), DataOf(a.m_tag));
    EXPECT_EQ(DataOf(b), DataOf(a));
    EXPECT_NE(b.GetDataPtr(), a.GetDataPtr());
    b = b;
    EXPECT_EQ(DataOf(b), DataOf(a)) << "self-assignment";
    BMetaDataTagged c(a);
    EXPECT_EQ(c.CompareTag("A TAG LONGER THAN EIGHT"), 0);
}

} // namespace
