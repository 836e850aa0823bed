#include "base/BMetaDataTagged.h"

#include "ByteRecords.h"

#include "support/Testing.h"

using namespace byterecords;

// The tagged-item record of the tag "ab" with the 4-byte integer 7, in mode 1.
const Bytes kAbSeven = {3, 0, 0, 0, 'a', 'b', 0, 4, 0, 0, 0, 7, 0, 0, 0};

// What the ok rows of mode 1 read writes the same record back.
TEST(BMetaDataTagged, ReadsTaggedItemRecords) {
    // Reason, stream, mode, then the tag and data read.
    struct Row {
        const char* reason;
        Bytes stream;
        short mode;
        Bytes tag;
        Bytes data;
    };
    const Row rows[] = {
        {"ok: tag ab, data 7", kAbSeven, 1, {'a', 'b', 0}, {7, 0, 0, 0}},
        {"ok: empty tag and data", {0, 0, 0, 0, 0, 0, 0, 0}, 1, {}, {}},
        {"truncated: exhausted stream", {}, 1, {}, {}},
        {"truncated: tag only", {2, 0, 0, 0, 'w', 0}, 1, {'w', 0}, {}},
        {"truncated: data cut short", {1, 0, 0, 0, 'w', 3, 0, 0, 0, 9}, 1, {'w'}, {9, 0, 0}},
        {"ok: mode 3, tag index, no table", {3, 0, 0, 0, 5, 0, 1, 0, 0, 0, 42}, 3, {0, 0, 0}, {42}},
    };
    for (const auto& [reason, stream, mode, tag, data] : rows) {
        BMemFile f(stream.data(), static_cast<unsigned int>(stream.size()));
        BMetaDataTagged item;
        item.m_tag.SetData("old");
        item.SetData("old data");
        item.Read(f, mode);
        EXPECT_EQ(DataOf(item.m_tag), tag) << reason;
        EXPECT_EQ(DataOf(item), data) << reason;
        if (reason[0] == 'o' && mode == 1) {
            BMemFile back;
            item.Write(back, 1);
            EXPECT_EQ(Written(back), stream) << reason << ", written back";
        }
    }
}
