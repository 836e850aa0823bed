#include "base/BMemFile.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Content(const BMemFile& f) {
    return Bytes(f.m_buffer, f.m_buffer + f.m_length);
}

void WriteN(BMemFile& f, unsigned int n, unsigned char fill = 0xAB) {
    Bytes run(n, fill);
    f.Write(run.data(), n);
}

// A file holding the bytes 0..9, positioned at its end.
void FillTen(BMemFile& f) {
    const unsigned char bytes[10] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    f.Write(bytes, 10);
}

struct GrowthRow {
    const char* what;
    unsigned int growBy;
    std::vector<unsigned int> writes;
    unsigned int capacity, length;
};

TEST(BMemFile, WritesGrowByAtLeastGrowBy) {
    const GrowthRow rows[] = {
        {"one byte into an empty file", 4096, {1}, 4096, 1},
        {"a run larger than grow-by gets exactly its size", 4096, {5000}, 5000, 5000},
        {"grow-by 0 gives exactly what is needed", 0, {10}, 10, 10},
        {"filling the first block exactly does not grow", 4096, {4000, 96}, 4096, 4096},
        {"one byte past the first block grows by grow-by", 4096, {4096, 1}, 8192, 4097},
        {"the shortfall wins over a small grow-by", 100, {10, 200}, 210, 210},
    };
    for (const GrowthRow& row : rows) {
        BMemFile f;
        f.SetGrowBy(row.growBy);
        for (unsigned int n : row.writes)
            WriteN(f, n);
        EXPECT_EQ(f.m_capacity, row.capacity) << row.what;
        EXPECT_EQ(f.m_length, row.length) << row.what;
        EXPECT_EQ(f.m_position, row.length) << row.what;
    }
}

TEST(BMemFile, GrownBytesAreZero) {
    BMemFile f;
    WriteN(f, 3);
    ASSERT_EQ(f.m_capacity, 4096u);
    for (unsigned int i = 3; i < f.m_capacity; ++i)
        ASSERT_EQ(f.m_buffer[i], 0) << i;
}

TEST(BMemFile, WriteInsideDataKeepsLengthAndPastEndExtendsIt) {
    BMemFile f;
    FillTen(f);
    f.SetPosition(3);
    const unsigned char two[2] = {0xEE, 0xFF};
    EXPECT_EQ(f.Write(two, 2), 2);
    EXPECT_EQ(f.m_length, 10u);
    EXPECT_EQ(Content(f), (Bytes{0, 1, 2, 0xEE, 0xFF, 5, 6, 7, 8, 9}));
    f.SetPosition(3);
    WriteN(f, 10);
    EXPECT_EQ(f.m_length, 13u);
    EXPECT_EQ(f.m_position, 13u);
}

TEST(BMemFile, ReadStopsAtTheEndOfTheData) {
    BMemFile f;
    FillTen(f);
    EXPECT_EQ(f.Seek(0, 0), 0);
    Bytes into(4096, 0x55);
    EXPECT_EQ(f.Read(into.data(), 4096), 10u);
    EXPECT_EQ(f.m_position, 10u);
    EXPECT_EQ(into[9], 9);
    EXPECT_EQ(into[10], 0x55) << "nothing is copied past the data";
    EXPECT_EQ(f.Read(into.data(), 4096), 0u);
}

TEST(BMemFile, SeekClampsToTheData) {
    struct Row {
        int start, offset, origin, expected;
    } rows[] = {
        {0, 3, 2, 7},         {0, -5, 0, 0},       {0, 100, 1, 10},     {4, 3, 1, 7},
        {4, -3, 1, 1},        {4, 5, 0, 5},        {4, 5, 9, 5},        {4, -3, 2, 10},
        {4, 11, 2, 0},        {4, INT_MIN, 2, 10}, {4, INT_MAX, 1, 10}, {4, INT_MIN, 1, 0},
        {4, INT_MAX, -1, 10}, {10, 0, 2, 10},
    };
    for (const Row& r : rows) {
        BMemFile f;
        FillTen(f);
        f.SetPosition(static_cast<unsigned int>(r.start));
        EXPECT_EQ(f.Seek(r.offset, r.origin), r.expected)
            << "start " << r.start << " offset " << r.offset << " origin " << r.origin;
        EXPECT_EQ(f.m_position, static_cast<unsigned int>(r.expected));
    }
    BMemFile f;
    FillTen(f);
    EXPECT_EQ(f.SetPosition(100), 10u);
    EXPECT_EQ(f.SetPosition(4), 4u);
}

// Each scalar's stream image, and the value read back from it.
TEST(BMemFile, ScalarsAreLittleEndianImages) {
    struct Row {
        const char* what;
        std::function<int(BMemFile&)> write;
        Bytes image;
        std::function<bool(BMemFile&)> readsBack;
    };
    const Row rows[] = {
        {"int -2",
         [](BMemFile& f) { return f.Write(-2); },
         {0xFE, 0xFF, 0xFF, 0xFF},
         [](BMemFile& f) {
             int v = 0;
             return f.Read(v) == 4 && v == -2;
         }},
        {"int min",
         [](BMemFile& f) { return f.Write(INT_MIN); },
         {0, 0, 0, 0x80},
         [](BMemFile& f) {
             int v = 0;
             return f.Read(v) == 4 && v == INT_MIN;
         }},
        {"unsigned",
         [](BMemFile& f) { return f.Write(0x12345678u); },
         {0x78, 0x56, 0x34, 0x12},
         [](BMemFile& f) {
             unsigned v = 0;
             return f.Read(v) == 4 && v == 0x12345678u;
         }},
        {"float 1.0",
         [](BMemFile& f) { return f.Write(1.0f); },
         {0, 0, 0x80, 0x3F},
         [](BMemFile& f) {
             float v = 0;
             return f.Read(v) == 4 && v == 1.0f;
         }},
        {"float -0.5",
         [](BMemFile& f) { return f.Write(-0.5f); },
         {0, 0, 0, 0xBF},
         [](BMemFile& f) {
             float v = 0;
             return f.Read(v) == 4 && v == -0.5f;
         }},
        {"short 1",
         [](BMemFile& f) { return f.Write(short{1}); },
         {1, 0},
         [](BMemFile& f) {
             short v = 0;
             return f.Read(v) == 2 && v == 1;
         }},
        {"short min",
         [](BMemFile& f) { return f.Write(short{-32768}); },
         {0, 0x80},
         [](BMemFile& f) {
             short v = 0;
             return f.Read(v) == 2 && v == -32768;
         }},
        {"unsigned short",
         [](BMemFile& f) { return f.Write(static_cast<unsigned short>(0xBEEF)); },
         {0xEF, 0xBE},
         [](BMemFile& f) {
             unsigned short v = 0;
             return f.Read(v) == 2 && v == 0xBEEF;
         }},
    };
    for (const Row& row : rows) {
        BMemFile f;
        EXPECT_EQ(row.write(f), static_cast<int>(row.image.size())) << row.what;
        EXPECT_EQ(Content(f), row.image) << row.what;
        f.Seek(0, 0);
        EXPECT_TRUE(row.readsBack(f)) << row.what;
    }
}

TEST(BMemFile, TypedReadNearTheEndZeroesMissingHighBytes) {
    const unsigned char two[2] = {0x34, 0x12};
    BMemFile f(two, 2);
    unsigned int u = 0xFFFFFFFF;
    EXPECT_EQ(f.Read(u), 2);
    EXPECT_EQ(u, 0x1234u);

    const unsigned char one[1] = {0xFF};
    BMemFile g(one, 1);
    short s = 0;
    EXPECT_EQ(g.Read(s), 1);
    EXPECT_EQ(s, 0xFF);
}

TEST(BMemFile, TypedReadAtTheEndLeavesTheDestination) {
    BMemFile f;
    int i = 7;
    float x = 2.5f;
    unsigned short us = 9;
    EXPECT_EQ(f.Read(i), 0);
    EXPECT_EQ(f.Read(x), 0);
    EXPECT_EQ(f.Read(us), 0);
    EXPECT_EQ(i, 7);
    EXPECT_EQ(x, 2.5f);
    EXPECT_EQ(us, 9);
}

TEST(BMemFile, ReuseKeepsTheBufferAndEmptiesTheData) {
    BMemFile f;
    FillTen(f);
    unsigned char* buffer = f.m_buffer;
    f.Reuse();
    EXPECT_EQ(f.m_buffer, buffer);
    EXPECT_EQ(f.m_capacity, 4096u);
    EXPECT_EQ(f.m_length, 0u);
    EXPECT_EQ(f.m_position, 0u);
    EXPECT_EQ(f.m_buffer[5], 0);
    unsigned char b;
    EXPECT_EQ(f.Read(&b, 1), 0u);
}

TEST(BMemFile, SetLengthCases) {
    {
        const unsigned char bytes[4] = {1, 2, 3, 4};
        BMemFile f(bytes, 4);
        f.SetPosition(2);
        EXPECT_EQ(f.SetLength(4), 0u) << "equal to the capacity";
        EXPECT_EQ(Content(f), (Bytes{0, 0, 0, 0}));
        EXPECT_EQ(f.m_position, 2u);
    }
    {
        const unsigned char bytes[3] = {7, 8, 9};
        BMemFile f(bytes, 3);
        f.SetPosition(3);
        EXPECT_EQ(f.SetLength(6), 6u) << "larger keeps the old bytes and zero-fills the rest";
        EXPECT_EQ(Content(f), (Bytes{7, 8, 9, 0, 0, 0}));
        EXPECT_EQ(f.m_capacity, 6u);
        EXPECT_EQ(f.m_position, 3u) << "the position is not touched while it fits";
        EXPECT_EQ(f.SetLength(2), 2u) << "smaller keeps the bytes that fit";
        EXPECT_EQ(Content(f), (Bytes{7, 8}));
        EXPECT_EQ(f.m_position, 2u) << "a position past the new end is cut to it";
    }
    {
        BMemFile f;
        FillTen(f);
        EXPECT_EQ(f.SetLength(0), 0u);
        EXPECT_EQ(f.m_buffer, nullptr);
        EXPECT_EQ(f.m_capacity + f.m_length + f.m_position, 0u);
    }
}

TEST(BMemFile, BytesConstructorCopies) {
    unsigned char bytes[3] = {1, 2, 3};
    BMemFile f(bytes, 3);
    bytes[0] = 9;
    EXPECT_EQ(Content(f), (Bytes{1, 2, 3}));
    EXPECT_EQ(f.m_capacity, 3u);
    EXPECT_EQ(f.m_position, 0u);
    EXPECT_EQ(f.m_growBy, 4096u);
    BMemFile empty(bytes, 0);
    EXPECT_EQ(empty.m_buffer, nullptr);
}

TEST(BMemFile, DetachHandsTheBufferOutAndResetsGrowBy) {
    BMemFile empty;
    EXPECT_EQ(empty.Detach(), nullptr);

    BMemFile f;
    FillTen(f);
    f.SetGrowBy(100);
    unsigned char* expected = f.m_buffer;
    unsigned char* buffer = f.Detach();
    EXPECT_EQ(buffer, expected);
    EXPECT_EQ(buffer[9], 9);
    EXPECT_EQ(f.m_buffer, nullptr);
    EXPECT_EQ(f.m_capacity + f.m_length + f.m_position, 0u);
    EXPECT_EQ(f.m_growBy, 4096u);
    delete[] buffer;
}

// Ownership errors here show up as leaks or double frees under the sanitizers.
TEST(BMemFile, AttachTakesOwnershipWithoutCopying) {
    {
        BMemFile f;
        f.SetGrowBy(7);
        unsigned char* buffer = new unsigned char[5]{1, 2, 3, 4, 5};
        f.Attach(buffer, 5);
        EXPECT_EQ(f.m_buffer, buffer);
        EXPECT_EQ(f.m_capacity, 5u);
        EXPECT_EQ(f.m_length, 5u);
        EXPECT_EQ(f.m_position, 0u);
        EXPECT_EQ(f.m_growBy, 7u);
    }
    {
        unsigned char* buffer = new unsigned char[2]{1, 2};
        {
            BMemFile f;
            f.Attach(buffer, 2);
            EXPECT_EQ(f.Detach(), buffer);
        }
        EXPECT_EQ(buffer[1], 2) << "a detached buffer outlives the file";
        delete[] buffer;
    }
    {
        BMemFile f;
        FillTen(f);
        f.Attach(new unsigned char[3]{}, 3);
        EXPECT_EQ(f.m_length, 3u) << "the old buffer is released, the new one taken";
        f.Attach(new unsigned char[1]{}, -4);
        EXPECT_EQ(f.m_length, 0u) << "a negative count holds nothing";
    }
}

TEST(BMemFile, AssignmentCopiesContentAndPosition) {
    const unsigned char bytes[3] = {1, 2, 3};
    BMemFile source(bytes, 3);
    source.SetPosition(2);
    BMemFile target;
    FillTen(target);
    target.SetGrowBy(11);
    target = source;
    EXPECT_EQ(Content(target), (Bytes{1, 2, 3}));
    EXPECT_EQ(target.m_capacity, 3u);
    EXPECT_EQ(target.m_position, 2u);
    EXPECT_EQ(target.m_growBy, 11u) << "grow-by is not copied";
    EXPECT_NE(target.m_buffer, source.m_buffer);

    target = target;
    EXPECT_EQ(Content(target), (Bytes{1, 2, 3})) << "self-assignment changes nothing";
    EXPECT_EQ(target.m_position, 2u);

    BMemFile empty;
    target = empty;
    EXPECT_EQ(target.m_buffer, nullptr);
    EXPECT_EQ(target.m_length, 0u);
}

using BMemFileDeathTest = ::testing::Test;

TEST_F(BMemFileDeathTest, NullBuffersStopTheProgram) {
    BMemFile f;
    FillTen(f);
    EXPECT_DEATH(f.Read(nullptr, 1), "\\(lpBuf\\), function Read, file BMemFile, line [0-9]+");
    EXPECT_DEATH(f.Write(nullptr, 0), "\\(lpBuf\\), function Write, file BMemFile, line [0-9]+");
    EXPECT_DEATH(f.Attach(nullptr, 0), "\\(buffer\\), function Attach, file BMemFile, line [0-9]+");
}

TEST_F(BMemFileDeathTest, GrowthBeyondFourGigabytesStopsTheProgram) {
    BMemFile f;
    WriteN(f, 1);
    unsigned char byte = 0;
    // Growth would need a capacity of 2^32: the write stops before touching the source.
    EXPECT_DEATH(f.Write(&byte, UINT_MAX), "\\(0\\), function Write, file BMemFile, line [0-9]+");
}

} // namespace
