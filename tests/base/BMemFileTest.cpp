#include "base/BMemFile.h"

#include "ByteRecords.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

using namespace byterecords;

void WriteN(BMemFile& f, unsigned int n) {
    f.Write(Bytes(n, 0xAB).data(), n);
}

// A file holding the bytes 0..9, positioned at its end.
void FillTen(BMemFile& f) {
    const unsigned char bytes[10] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    f.Write(bytes, 10);
}

TEST(BMemFile, WritesGrowByAtLeastGrowBy) {
    struct Row {
        const char* what;
        unsigned int growBy;
        std::vector<unsigned int> writes;
        unsigned int capacity, length;
    } rows[] = {
        {"one byte into an empty file", 4096, {1}, 4096, 1},
        {"a run larger than grow-by gets exactly its size", 4096, {5000}, 5000, 5000},
        {"grow-by 0 gives exactly what is needed", 0, {10}, 10, 10},
        {"filling the first block exactly does not grow", 4096, {4000, 96}, 4096, 4096},
        {"one byte past the first block grows by grow-by", 4096, {4096, 1}, 8192, 4097},
        {"the shortfall wins over a small grow-by", 100, {10, 200}, 210, 210},
    };
    for (const Row& row : rows) {
        BMemFile f;
        f.SetGrowBy(row.growBy);
        for (unsigned int n : row.writes)
            WriteN(f, n);
        EXPECT_EQ(f.m_capacity, row.capacity) << row.what;
        EXPECT_EQ(f.m_length, row.length) << row.what;
        EXPECT_EQ(f.m_position, row.length) << row.what;
        EXPECT_EQ(RunOf(f.m_buffer + f.m_length, f.m_capacity - f.m_length),
                  Bytes(f.m_capacity - f.m_length, 0))
            << "grown bytes are zero: " << row.what;
    }
}

TEST(BMemFile, WriteInsideDataKeepsLengthAndPastEndExtendsIt) {
    BMemFile f;
    FillTen(f);
    f.SetPosition(3);
    const unsigned char two[2] = {0xEE, 0xFF};
    EXPECT_EQ(f.Write(two, 2), 2);
    EXPECT_EQ(Written(f), (Bytes{0, 1, 2, 0xEE, 0xFF, 5, 6, 7, 8, 9}));
    f.SetPosition(3);
    WriteN(f, 10);
    EXPECT_EQ(f.m_length, 13u);
}

TEST(BMemFile, ReadStopsAtTheEndOfTheData) {
    BMemFile f;
    FillTen(f);
    EXPECT_EQ(f.Seek(0, 0), 0);
    Bytes into(4096, 0x55);
    EXPECT_EQ(f.Read(into.data(), 4096), 10u);
    EXPECT_EQ(f.m_position, 10u);
    EXPECT_EQ(into[10], 0x55) << "nothing is copied past the data";
    EXPECT_EQ(f.Read(into.data(), 4096), 0u);
}

TEST(BMemFile, SeekAndSetPositionClampToTheData) {
    struct Row {
        int start, offset, origin, expected;
    } rows[] = {
        {0, 3, 2, 7},        {0, -5, 0, 0},       {0, 100, 1, 10},    {4, 3, 1, 7},
        {4, -3, 1, 1},       {4, 5, 9, 5},        {4, -3, 2, 10},     {4, 11, 2, 0},
        {4, INT_MIN, 2, 10}, {4, INT_MAX, 1, 10}, {4, INT_MIN, 1, 0}, {4, INT_MAX, -1, 10},
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
}

TEST(BMemFile, ScalarsAreLittleEndianImagesAndReadBack) {
    BMemFile f;
    EXPECT_EQ(f.Write(-2), 4);
    EXPECT_EQ(f.Write(0x12345678u), 4);
    EXPECT_EQ(f.Write(1.0f), 4);
    EXPECT_EQ(f.Write(short{1}), 2);
    EXPECT_EQ(f.Write(short{-32768}), 2);
    EXPECT_EQ(f.Write(static_cast<unsigned short>(0xBEEF)), 2);
    EXPECT_EQ(Written(f), (Bytes{0xFE, 0xFF, 0xFF, 0xFF, 0x78, 0x56, 0x34, 0x12, 0, 0, 0x80, 0x3F,
                                 1, 0, 0, 0x80, 0xEF, 0xBE}));
    f.Seek(0, 0);
    int i = 0;
    unsigned int u = 0;
    float x = 0;
    short s1 = 0, s2 = 0;
    unsigned short us = 0;
    EXPECT_EQ(f.Read(i) + f.Read(u) + f.Read(x) + f.Read(s1) + f.Read(s2) + f.Read(us), 18);
    EXPECT_EQ(i, -2);
    EXPECT_EQ(u, 0x12345678u);
    EXPECT_EQ(x, 1.0f);
    EXPECT_EQ(s1, 1);
    EXPECT_EQ(s2, -32768);
    EXPECT_EQ(us, 0xBEEF);
    EXPECT_EQ(f.Read(i), 0) << "at the end the destination is left alone";
    EXPECT_EQ(i, -2);
}

TEST(BMemFile, TypedReadNearTheEndZeroesMissingHighBytes) {
    const unsigned char bytes[2] = {0x34, 0xFF};
    BMemFile f(bytes, 2);
    unsigned int u = 0xFFFFFFFF;
    EXPECT_EQ(f.Read(u), 2);
    EXPECT_EQ(u, 0xFF34u);
    BMemFile g(bytes + 1, 1);
    short s = 0;
    EXPECT_EQ(g.Read(s), 1);
    EXPECT_EQ(s, 0xFF);
}

TEST(BMemFile, ReuseKeepsTheBufferAndEmptiesTheData) {
    BMemFile f;
    FillTen(f);
    unsigned char* buffer = f.m_buffer;
    f.Reuse();
    EXPECT_EQ(f.m_buffer, buffer);
    EXPECT_EQ(f.m_capacity, 4096u);
    EXPECT_EQ(f.m_length + f.m_position, 0u);
    EXPECT_EQ(f.m_buffer[5], 0);
    unsigned char b;
    EXPECT_EQ(f.Read(&b, 1), 0u);
}

TEST(BMemFile, SetLengthCases) {
    const unsigned char bytes[4] = {7, 8, 9, 10};
    BMemFile f(bytes, 4);
    f.SetPosition(3);
    EXPECT_EQ(f.SetLength(4), 0u) << "equal to the capacity";
    EXPECT_EQ(Written(f), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(f.m_position, 3u);

    BMemFile g(bytes, 3);
    g.SetPosition(3);
    EXPECT_EQ(g.SetLength(6), 6u) << "larger keeps the old bytes and zero-fills the rest";
    EXPECT_EQ(Written(g), (Bytes{7, 8, 9, 0, 0, 0}));
    EXPECT_EQ(g.m_capacity, 6u);
    EXPECT_EQ(g.m_position, 3u);
    EXPECT_EQ(g.SetLength(2), 2u) << "smaller keeps the bytes that fit";
    EXPECT_EQ(Written(g), (Bytes{7, 8}));
    EXPECT_EQ(g.m_position, 2u) << "a position past the new end is cut to it";
    EXPECT_EQ(g.SetLength(0), 0u);
    EXPECT_EQ(g.m_buffer, nullptr);
    EXPECT_EQ(g.m_capacity + g.m_length + g.m_position, 0u);
}

TEST(BMemFile, BytesConstructorCopies) {
    unsigned char bytes[3] = {1, 2, 3};
    BMemFile f(bytes, 3);
    bytes[0] = 9;
    EXPECT_EQ(Written(f), (Bytes{1, 2, 3}));
    EXPECT_EQ(f.m_capacity, 3u);
    EXPECT_EQ(f.m_position, 0u);
    EXPECT_EQ(BMemFile(bytes, 0).m_buffer, nullptr);
}

// Ownership errors here show up as leaks or double frees under the sanitizers.
TEST(BMemFile, AttachAndDetachMoveBuffersWithoutCopying) {
    EXPECT_EQ(BMemFile().Detach(), nullptr);
    unsigned char* buffer = new unsigned char[5]{1, 2, 3, 4, 5};
    {
        BMemFile f;
        FillTen(f);
        f.SetGrowBy(100);
        f.Attach(buffer, 5);
        EXPECT_EQ(f.m_buffer, buffer) << "the old buffer is released, the new one taken";
        EXPECT_EQ(f.m_capacity + f.m_length, 10u);
        EXPECT_EQ(f.m_position, 0u);
        EXPECT_EQ(f.m_growBy, 100u);
        EXPECT_EQ(f.Detach(), buffer);
        EXPECT_EQ(f.m_capacity + f.m_length + f.m_position, 0u);
        EXPECT_EQ(f.m_growBy, 4096u);
        f.Attach(new unsigned char[1]{}, -4);
        EXPECT_EQ(f.m_length, 0u) << "a negative count holds nothing";
    }
    EXPECT_EQ(buffer[4], 5) << "a detached buffer outlives the file";
    delete[] buffer;
}

TEST(BMemFile, AssignmentCopiesContentAndPosition) {
    const unsigned char bytes[3] = {1, 2, 3};
    BMemFile source(bytes, 3);
    source.SetPosition(2);
    BMemFile target;
    FillTen(target);
    target.SetGrowBy(11);
    target = source;
    EXPECT_EQ(Written(target), (Bytes{1, 2, 3}));
    EXPECT_EQ(target.m_capacity, 3u);
    EXPECT_EQ(target.m_position, 2u);
    EXPECT_EQ(target.m_growBy, 11u) << "grow-by is not copied";
    EXPECT_NE(target.m_buffer, source.m_buffer);
    target = target;
    EXPECT_EQ(Written(target), (Bytes{1, 2, 3})) << "self-assignment changes nothing";
    target = BMemFile();
    EXPECT_EQ(target.m_buffer, nullptr);
}

TEST(BMemFileDeathTest, BrokenPreconditionsStopTheProgram) {
    BMemFile f;
    WriteN(f, 1);
    unsigned char byte = 0;
    EXPECT_DEATH(f.Read(nullptr, 1), "\\(lpBuf\\), function Read, file BMemFile, line [0-9]+");
    EXPECT_DEATH(f.Write(nullptr, 0), "\\(lpBuf\\), function Write, file BMemFile, line [0-9]+");
    EXPECT_DEATH(f.Attach(nullptr, 0), "\\(buffer\\), function Attach, file BMemFile, line [0-9]+");
    // Growth would need a capacity of 2^32: the write stops before touching the source.
    EXPECT_DEATH(f.Write(&byte, UINT_MAX), "\\(0\\), function Write, file BMemFile, line [0-9]+");
}

} // namespace
