#include "prefs/BPreferences.h"

#include "base/BMemFile.h"
#include "base/BMetaDataClass.h"
#include "base/BMetaDataTaggedList.h"
#include "platform/UserDefaults.h"

#include "support/Testing.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes RecordOf(const BMetaDataTaggedList& list) {
    BMemFile file;
    list.Write(file, 1);
    return Bytes(file.m_buffer, file.m_buffer + file.m_length);
}

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

TEST_F(BPreferencesStructured, ListsAndObjectsRoundTrip) {
    BMetaDataClass object, objectBack;
    object.m_metaData += list;
    prefs.Set("Sec", "List", list);
    prefs.Set(Str("Sec"), Str("Object"), object);
    BMetaDataTaggedList back;
    back.SetData("stale", 1);
    EXPECT_EQ(prefs.Get(Str("Sec"), Str("List"), back), 0);
    EXPECT_EQ(RecordOf(back), RecordOf(list)) << "same items, same tags, same order";
    EXPECT_EQ(prefs.Get(Str("Sec"), Str("Object"), objectBack), 0);
    EXPECT_EQ(RecordOf(objectBack.m_metaData), RecordOf(list));
}

// An entry without raw bytes leaves the target alone with status 1; junk bytes read as no list.
TEST_F(BPreferencesStructured, EntriesThatHoldNoListRecord) {
    const unsigned char junk[] = {'I', 'D', 'M', 'D', 'T', 'X', 1, 0, 0, 0};
    prefs.Set(Str("Sec"), Str("Int"), 7);
    prefs.Set(Str("Sec"), Str("Text"), Str("text"));
    prefs.Set(Str("Sec"), Str("Junk"), junk, sizeof junk);
    // Status 1 also means the target keeps its one item; junk reads as no item.
    for (const auto& [name, status] :
         {std::pair{"Absent", 1}, {"Int", 1}, {"Text", 1}, {"Junk", 0}}) {
        SCOPED_TRACE(name);
        BMetaDataTaggedList target;
        BMetaDataClass object;
        target.SetData("kept", 1);
        object.m_metaData.SetData("kept", 1);
        EXPECT_EQ(prefs.Get(Str("Sec"), Str(name), target), status);
        EXPECT_EQ(prefs.Get(Str("Sec"), Str(name), object), status);
        EXPECT_EQ(target.GetCount(), unsigned(status));
        EXPECT_EQ(object.m_metaData.GetCount(), unsigned(status));
    }
}

} // namespace
