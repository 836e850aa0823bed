#include "base/BMetaDataClass.h"

#include "ByteRecords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace byterecords;

Bytes DataOf(const BMetaData& item) {
    return RunOf(item.GetDataPtr(), item.m_size);
}

// A serialisable class with a field of its own, kept after the base's list record.
class Counter : public BMetaDataClass {
public:
    int count = 0;
    void Set() override {
        BMemFile file;
        m_metaData.Write(file, 1);
        file.Write(count);
        CreateDataBuff(file.m_length);
        std::copy(file.m_buffer, file.m_buffer + file.m_length, GetDataPtr());
    }
    void Get() override {
        BMemFile file(GetDataPtr(), m_size);
        m_metaData.Read(file, 1);
        file.Read(count);
    }
};

TEST(BMetaDataClass, SetPacksTheListRecord) {
    BMetaDataClass object;
    object.m_tag.SetData("name");
    object.Set();
    EXPECT_EQ(DataOf(object), kEmptyList);
    object.m_metaData.SetData("w", 5);
    object.Set();
    EXPECT_EQ(DataOf(object), kListW5);
    EXPECT_EQ(DataOf(object.m_tag), (Bytes{'n', 'a', 'm', 'e', 0})) << "the tag is left alone";
}

TEST(BMetaDataClass, GetRestoresTheListAsItWasAtSet) {
    BMetaDataClass object;
    object.m_metaData.SetData("w", 5);
    object.m_metaData.SetData("text", "a text of some length");
    object.Set();
    object.m_metaData.SetData("w", 6);
    object.m_metaData.SetData("added", 1);
    object.Get();
    EXPECT_EQ(Tags(object.m_metaData), (std::vector<std::string>{"w", "text"}));
    int w = 0;
    object.m_metaData.GetData("w", w);
    EXPECT_EQ(w, 5);
    EXPECT_EQ(DataOf(object).size(), object.m_size) << "the data stays with the object";
}

TEST(BMetaDataClass, GetOnDataThatIsNoListRecordEmptiesTheList) {
    const Bytes rows[] = {{}, {1, 2, 3}, {'I', 'D', 'M', 'D', 'T', 'X', 0, 0, 0, 0}};
    for (const Bytes& data : rows) {
        BMetaDataClass object;
        object.m_metaData.SetData("stale", 1);
        object.CreateDataBuff(static_cast<unsigned int>(data.size()));
        std::copy(data.begin(), data.end(), object.GetDataPtr());
        object.Get();
        EXPECT_EQ(object.m_metaData.GetCount(), 0u) << Hex(data);
        EXPECT_EQ(DataOf(object), data) << "read in place, not changed";
    }
}

TEST(BMetaDataClass, StoringAnObjectMovesItsTagToTheTail) {
    BMetaDataTaggedList list;
    list.SetData("a", 1);
    list.SetData("obj", 2);
    list.SetData("b", 3);
    list.SetData("OBJ", 4);
    BMetaDataClass object;
    object.m_metaData.SetData("inner", 9);
    __POSITION* pos = list.SetData("Obj", object);
    EXPECT_EQ(Tags(list), (std::vector<std::string>{"a", "b", "Obj"}));
    EXPECT_EQ(&list.GetAt(pos), &list.GetTail());
    EXPECT_EQ(DataOf(list.GetTail()), DataOf(object));
    EXPECT_EQ(DataOf(object.m_tag), (Bytes{'O', 'b', 'j', 0}));
}

TEST(BMetaDataClass, ObjectsRoundTripThroughATaggedList) {
    Counter stored;
    stored.count = 42;
    stored.m_metaData.SetData("inner", "value");
    BMetaDataTaggedList list;
    list.SetData("counter", stored);

    Counter fetched;
    EXPECT_EQ(fetched.m_metaData.GetCount(), 0u);
    EXPECT_EQ(list.GetData("COUNTER", fetched), &list.GetTail());
    EXPECT_EQ(fetched.count, 42);
    EXPECT_TRUE(fetched.m_metaData == stored.m_metaData);
    EXPECT_EQ(fetched.CompareTag("counter"), 0);

    Counter again;
    EXPECT_EQ(list.GetData(Str("counter"), again), &list.GetTail());
    EXPECT_EQ(again.count, 42);

    Counter untouched;
    untouched.count = 7;
    EXPECT_EQ(list.GetData("absent", untouched), nullptr);
    EXPECT_EQ(untouched.count, 7);
}

} // namespace
