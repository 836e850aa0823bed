#include "base/BMetaDataClass.h"

#include "ByteRecords.h"

#include "support/Testing.h"

namespace {

using namespace byterecords;

// A serialisable class with a field of its own, kept after the base's list record.
class Counter : public BMetaDataClass {
public:
    int count = 0;
    void Set() override {
        BMemFile file;
        m_metaData.Write(file, 1);
        file.Write(count);
        SetDataBytes(*this, Written(file));
    }
    void Get() override {
        BMemFile file(GetDataPtr(), m_size);
        m_metaData.Read(file, 1);
        file.Read(count);
    }
};

TEST(BMetaDataClass, ObjectsRoundTripThroughATaggedListAtItsTail) {
    BMetaDataClass plain;
    plain.m_metaData.SetData("w", 5);
    plain.Set();
    EXPECT_EQ(DataOf(plain), kListW5) << "the base packs its list record";
    Counter stored;
    stored.count = 42;
    stored.m_metaData.SetData("inner", "value");
    BMetaDataTaggedList list;
    list.SetData("counter", 1);
    list.SetData("b", 2);
    list.SetData("Counter", stored);
    EXPECT_EQ(Tags(list), (std::vector<std::string>{"b", "Counter"})) << "moved to the tail";

    Counter fetched;
    EXPECT_EQ(list.GetData("COUNTER", fetched), &list.GetTail());
    EXPECT_EQ(fetched.count, 42);
    EXPECT_TRUE(fetched.m_metaData == stored.m_metaData);
}

} // namespace
