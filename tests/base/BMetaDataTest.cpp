#include "base/BMetaData.h"

#include "ByteRecords.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

namespace {

using namespace byterecords;

bool IsInline(const BMetaData& item) {
    return item.GetDataPtr() == static_cast<const unsigned char*>(item.m_data);
}

Bytes DataOf(const BMetaData& item) {
    return RunOf(item.GetDataPtr(), item.m_size);
}

TEST(BMetaData, RunsOfUpToEightBytesStayInside) {
    struct Row {
        unsigned int size;
        bool inside;
    } rows[] = {{0, true}, {1, true}, {8, true}, {9, false}, {1000, false}};
    for (const Row& r : rows) {
        BMetaData item;
        item.CreateDataBuff(r.size);
        EXPECT_EQ(item.m_size, r.size);
        EXPECT_EQ(IsInline(item), r.inside) << r.size;
        EXPECT_EQ(DataOf(item), Bytes(r.size, 0)) << r.size;
    }
}

TEST(BMetaData, EmptyItemIsAllZeroWithADataAddress) {
    BMetaData item;
    item.CreateDataBuff(20);
    item.Initialize();
    EXPECT_EQ(item.m_size, 0u);
    EXPECT_EQ(RunOf(item.m_data, 8), Bytes(8, 0));
    ASSERT_NE(item.GetDataPtr(), nullptr);
    EXPECT_EQ(item.GetDataPtr()[0], 0);
}

TEST(BMetaData, TextsKeepTheirZeroByte) {
    struct Row {
        const char* text;
        Bytes data;
        bool inside;
    } rows[] = {
        {"", {}, true},
        {nullptr, {}, true},
        {"abc", {0x61, 0x62, 0x63, 0}, true},
        {"1234567", {'1', '2', '3', '4', '5', '6', '7', 0}, true},
        {"12345678", {'1', '2', '3', '4', '5', '6', '7', '8', 0}, false},
    };
    for (const Row& r : rows) {
        BMetaData item;
        item.CreateDataBuff(30);
        item.SetData(r.text);
        EXPECT_EQ(DataOf(item), r.data) << (r.text ? r.text : "(null)");
        EXPECT_EQ(IsInline(item), r.inside) << (r.text ? r.text : "(null)");
    }
}

TEST(BMetaData, SetDataFromItsOwnText) {
    BMetaData item;
    item.SetData("a text longer than eight");
    item.SetData(reinterpret_cast<const char*>(item.GetDataPtr()) + 2);
    EXPECT_STREQ(reinterpret_cast<const char*>(item.GetDataPtr()), "text longer than eight");
}

TEST(BMetaData, CompareDataOverTheCommonLength) {
    struct Row {
        const char* what;
        Bytes item;
        Bytes other;
        bool nullOther;
        int sign;
    } rows[] = {
        {"equal", {1, 2, 3}, {1, 2, 3}, false, 0},
        {"a common prefix is equal", {0x61, 0x62, 0x63}, {0x61, 0x62, 0x63, 0x64}, false, 0},
        {"longer item, shorter argument", {0x61, 0x62, 0x63, 0x64}, {0x61, 0x62}, false, 0},
        {"argument orders first", {1, 2, 9}, {1, 2, 3}, false, -1},
        {"argument orders last, bytes unsigned", {1, 2, 3}, {1, 0x80, 3}, false, 1},
        {"empty item", {}, {1}, false, 1},
        {"empty argument", {1}, {}, false, 1},
        {"both empty", {}, {}, false, 1},
        {"null argument", {1, 2}, {1, 2}, true, 1},
    };
    for (const Row& r : rows) {
        BMetaData item;
        item.CreateDataBuff(static_cast<unsigned int>(r.item.size()));
        if (!r.item.empty())
            std::memcpy(item.GetDataPtr(), r.item.data(), r.item.size());
        const unsigned char* p = r.nullOther ? nullptr : r.other.data();
        int result = item.CompareData(p, static_cast<unsigned int>(r.other.size()));
        EXPECT_EQ((result > 0) - (result < 0), r.sign) << r.what;
    }
}

TEST(BMetaData, CopiesAreIndependent) {
    for (const char* text : {"short", "a text of more than eight bytes"}) {
        BMetaData a;
        a.SetData(text);
        BMetaData b(a);
        BMetaData c;
        c = a;
        b.GetDataPtr()[0] = 'X';
        c.GetDataPtr()[0] = 'Y';
        EXPECT_STREQ(reinterpret_cast<const char*>(a.GetDataPtr()), text);
        a = a;
        EXPECT_STREQ(reinterpret_cast<const char*>(a.GetDataPtr()), text) << "self-assignment";
        BMetaData moved(std::move(c));
        EXPECT_EQ(c.m_size, 0u);
        EXPECT_EQ(moved.GetDataPtr()[0], 'Y');
    }
}

// Item records: the 4-byte size, then the bytes. Each row reads the bytes into an item that held
// other data before.
TEST(BMetaData, ReadsItemRecords) {
    struct Row {
        const char* reason;
        Bytes stream;
        Bytes data;
        unsigned int consumed;
    };
    Bytes big(4097, 0);
    big[0] = 0xAA;
    const Row rows[] = {
        {"ok: four bytes", {4, 0, 0, 0, 1, 2, 3, 4, 0xEE}, {1, 2, 3, 4}, 8},
        {"ok: empty item", {0, 0, 0, 0, 0xEE}, {}, 4},
        {"ok: a text", {3, 0, 0, 0, 0x61, 0x62, 0}, {0x61, 0x62, 0}, 7},
        {"ok: allocated run",
         {9, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9},
         {1, 2, 3, 4, 5, 6, 7, 8, 9},
         13},
        {"truncated: no size at all", {}, {}, 0},
        {"truncated: missing data bytes stay zero", {3, 0, 0, 0, 0x61}, {0x61, 0, 0}, 5},
        {"truncated: size cut short reads its low bytes", {2, 0}, {0, 0}, 2},
        {"truncated: 4096 bytes short is still believed", {0x01, 0x10, 0, 0, 0xAA}, big, 5},
        {"corrupt: a size beyond belief keeps what remains", {0x02, 0x10, 0, 0, 0xAA}, {0xAA}, 5},
        {"corrupt: the largest size", {0xFF, 0xFF, 0xFF, 0xFF, 0x61, 0x62}, {0x61, 0x62}, 6},
    };
    for (const Row& r : rows) {
        BMemFile f(r.stream.data(), static_cast<unsigned int>(r.stream.size()));
        BMetaData item;
        item.SetData("previous contents");
        item.Read(f, 1);
        EXPECT_EQ(DataOf(item), r.data) << r.reason;
        EXPECT_EQ(f.m_position, r.consumed) << r.reason;
    }
}

TEST(BMetaData, WritesItemRecordsAndReadsThemBack) {
    for (const char* text : {"", "ab", "a text of more than eight bytes"}) {
        BMetaData item;
        item.SetData(text);
        BMemFile f;
        item.Write(f, 1);
        Bytes expected{static_cast<unsigned char>(item.m_size), 0, 0, 0};
        Bytes data = DataOf(item);
        expected.insert(expected.end(), data.begin(), data.end());
        EXPECT_EQ(Written(f), expected) << text;

        f.Seek(0, 0);
        BMetaData back;
        back.Read(f, 1);
        EXPECT_EQ(DataOf(back), data) << text;
    }
}

} // namespace
