#include "prefs/BPreferences.h"

#include "base/BMemFile.h"
#include "base/BMetaDataClass.h"
#include "base/BMetaDataTaggedList.h"
#include "platform/UserDefaults.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Stored(BPreferences& prefs, const char* section, const char* name) {
    unsigned char* buffer = nullptr;
    unsigned int count = 0;
    EXPECT_EQ(prefs.GetData(Str(section), Str(name), &buffer, &count), 0) << section << name;
    Bytes bytes(buffer, buffer + count);
    delete[] buffer;
    return bytes;
}

Bytes DataOf(const BMetaData& item) {
    return Bytes(item.GetDataPtr(), item.GetDataPtr() + item.m_size);
}

Bytes RecordOf(const BMetaDataTaggedList& list) {
    BMemFile file;
    list.Write(file, 1);
    return Bytes(file.m_buffer, file.m_buffer + file.m_length);
}

// A class whose packed form is just its 4-byte count, so that it stays inside the item.
class Tally : public BMetaDataClass {
public:
    int count = 0;
    void Set() override {
        CreateDataBuff(4);
        std::memcpy(GetDataPtr(), &count, 4);
    }
    void Get() override {
        if (m_size >= 4)
            std::memcpy(&count, GetDataPtr(), 4);
    }
};

class BPreferencesStructured : public ::testing::Test {
protected:
    void SetUp() override {
        auto& store = platform::UserDefaults::standardUserDefaults();
        for (const std::string& key : store.allKeys())
            store.removeObjectForKey(key);
        list.SetData("w", 5);
        list.SetData("name", "a text long enough to be allocated");
    }
    BPreferences prefs;
    BMetaDataTaggedList list;
};

TEST_F(BPreferencesStructured, ListsAreStoredAsTheirListRecord) {
    prefs.Set(Str("Sec"), Str("List"), list);
    prefs.Set("Sec", "List2", list);
    EXPECT_EQ(Stored(prefs, "Sec", "List"), RecordOf(list));
    EXPECT_EQ(Stored(prefs, "Sec", "List2"), RecordOf(list));

    BMetaDataTaggedList back;
    back.SetData("stale", 1);
    EXPECT_EQ(prefs.Get(Str("Sec"), Str("List"), back), 0);
    EXPECT_EQ(RecordOf(back), RecordOf(list)) << "same items, same tags, same order";
}

TEST_F(BPreferencesStructured, ObjectsAreStoredAsTheirPackedData) {
    BMetaDataClass object;
    object.m_metaData.SetData("w", 5);
    object.m_tag.SetData("tag");
    prefs.Set("Sec", "Object", object);
    EXPECT_GT(object.m_size, 8u);
    EXPECT_EQ(Stored(prefs, "Sec", "Object"), DataOf(object));

    BMetaDataClass back;
    EXPECT_EQ(prefs.Get(Str("Sec"), Str("Object"), back), 0);
    EXPECT_EQ(DataOf(back), DataOf(object));
    EXPECT_EQ(RecordOf(back.m_metaData), RecordOf(object.m_metaData));
    EXPECT_EQ(back.m_tag.m_size, 0u) << "the tag is not part of the stored form";

    Tally small;
    small.count = 0x01020304;
    prefs.Set(Str("Sec"), Str("Small"), small);
    EXPECT_EQ(Stored(prefs, "Sec", "Small"), (Bytes{4, 3, 2, 1}));
    Tally smallBack;
    EXPECT_EQ(prefs.Get(Str("Sec"), Str("Small"), smallBack), 0);
    EXPECT_EQ(smallBack.count, 0x01020304);
}

// Entries that hold no structured value leave the target alone; the status says whether raw
// bytes were there.
TEST_F(BPreferencesStructured, EntriesWithoutBytesLeaveTheTargetAlone) {
    prefs.Set(Str("Sec"), Str("Int"), 7);
    prefs.Set(Str("Sec"), Str("Text"), Str("text"));
    prefs.Set(Str("Sec"), Str("Empty"), static_cast<const unsigned char*>(nullptr), 0u);
    const struct Row {
        const char* name;
        int status;
    } rows[] = {{"Absent", 1}, {"Int", 1}, {"Text", 1}, {"Empty", 0}};
    for (const Row& r : rows) {
        BMetaDataTaggedList target;
        target.SetData("kept", 1);
        EXPECT_EQ(prefs.Get(Str("Sec"), Str(r.name), target), r.status) << r.name;
        EXPECT_EQ(target.GetCount(), 1u) << r.name;

        Tally tally;
        tally.count = 9;
        tally.CreateDataBuff(2);
        EXPECT_EQ(prefs.Get(Str("Sec"), Str(r.name), tally), r.status) << r.name;
        EXPECT_EQ(tally.count, 9) << r.name;
        EXPECT_EQ(tally.m_size, 2u) << r.name;
    }
}

TEST_F(BPreferencesStructured, BytesThatAreNoListRecordReadAsAnEmptyList) {
    const unsigned char junk[] = {'I', 'D', 'M', 'D', 'T', 'X', 1, 0, 0, 0};
    prefs.Set(Str("Sec"), Str("Junk"), junk, sizeof junk);
    EXPECT_EQ(prefs.Get(Str("Sec"), Str("Junk"), list), 0);
    EXPECT_EQ(list.GetCount(), 0u);
    BMetaDataClass object;
    object.m_metaData.SetData("kept", 1);
    EXPECT_EQ(prefs.Get(Str("Sec"), Str("Junk"), object), 0);
    EXPECT_EQ(object.m_metaData.GetCount(), 0u);
    EXPECT_EQ(DataOf(object), Bytes(junk, junk + sizeof junk));
}

} // namespace
