#include "base/BMemFile.h"

#include "ByteRecords.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

using namespace byterecords;

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
            f.Write(Bytes(n, 0xAB).data(), n);
        EXPECT_EQ(f.m_capacity, row.capacity) << row.what;
        EXPECT_EQ(f.m_length, row.length) << row.what;
        EXPECT_EQ(RunOf(f.m_buffer + f.m_length, f.m_capacity - f.m_length),
                  Bytes(f.m_capacity - f.m_length, 0))
            << "grown bytes are zero: " << row.what;
    }
}

TEST(BMemFile, SeekAndSetPositionClampToTheData) {
    // Origin 0 counts from the start, 1 from the position, 2 back from the end; others as 0.
    const int rows[][4] = {
        {0, -5, 0, 0},      {0, 100, 1, 10},     {4, -3, 1, 1},      {4, 5, 9, 5},
        {4, 3, 2, 7},       {4, -3, 2, 10},      {4, 11, 2, 0},      {4, INT_MIN, 2, 10},
        {4, INT_MAX, 2, 0}, {4, INT_MAX, 1, 10}, {4, INT_MIN, 1, 0},
    };
    for (const auto& r : rows) {
        BMemFile f;
        FillTen(f);
        f.SetPosition(static_cast<unsigned int>(r[0]));
        EXPECT_EQ(f.Seek(r[1], r[2]), r[3])
            << "from " << r[0] << " by " << r[1] << " origin " << r[2];
        EXPECT_EQ(f.m_position, static_cast<unsigned int>(r[3]));
        EXPECT_EQ(f.SetPosition(100), 10u);
    }
}

TEST(BMemFile, ScalarsAreLittleEndianAndShortReadsZeroMissingHighBytes) {
    BMemFile f;
    f.Write(-2);
    f.Write(1.0f);
    f.Write(short{-32768});
    f.Write(0x12345678u);
    EXPECT_EQ(Written(f),
              (Bytes{0xFE, 0xFF, 0xFF, 0xFF, 0, 0, 0x80, 0x3F, 0, 0x80, 0x78, 0x56, 0x34, 0x12}));
    f.Seek(0, 0);
    int i = 0;
    float x = 0;
    short s = 0;
    EXPECT_EQ(f.Read(i) + f.Read(x) + f.Read(s), 10);
    EXPECT_EQ(i, -2);
    EXPECT_EQ(x, 1.0f);
    EXPECT_EQ(s, -32768);
    f.Seek(2, 2);
    unsigned int u = 0xFFFFFFFF;
    EXPECT_EQ(f.Read(u), 2);
    EXPECT_EQ(u, 0x1234u);
    f.Seek(1, 2);
    EXPECT_EQ(f.Read(s), 1);
    EXPECT_EQ(s, 0x12);
    EXPECT_EQ(f.Read(i), 0) << "at the end the destination is left alone";
    EXPECT_EQ(i, -2);
}

TEST(BMemFile, SetLengthCases) {
    const unsigned char bytes[4] = {7, 8, 9, 10};
    BMemFile f(bytes, 4);
    f.SetPosition(3);
    EXPECT_EQ(f.SetLength(4), 0u) << "equal to the capacity zeroes the data";
    EXPECT_EQ(Written(f), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(f.m_position, 3u);
    EXPECT_EQ(f.SetLength(1), 1u) << "smaller keeps the bytes that fit and cuts the position";
    EXPECT_EQ(f.m_position, 1u);

    BMemFile g(bytes, 3);
    g.SetPosition(3);
    EXPECT_EQ(g.SetLength(6), 6u) << "larger keeps the old bytes and zero-fills the rest";
    EXPECT_EQ(Written(g), (Bytes{7, 8, 9, 0, 0, 0}));
    EXPECT_EQ(g.m_capacity, 6u);
    EXPECT_EQ(g.m_position, 3u);
    EXPECT_EQ(g.SetLength(0), 0u);
    EXPECT_EQ(g.m_buffer, nullptr);
    EXPECT_EQ(g.m_capacity + g.m_length + g.m_position, 0u);
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
        EXPECT_EQ(f.m_capacity + f.m_length + f.m_position, 10u);
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

TEST(BMemFileDeathTest, BrokenPreconditionsStopTheProgram) {
    BMemFile f;
    unsigned char byte = 0;
    f.Write(&byte, 1);
    EXPECT_DEATH(f.Read(nullptr, 1), "\\(lpBuf\\), function Read, file BMemFile, line [0-9]+");
    EXPECT_DEATH(f.Write(nullptr, 0), "\\(lpBuf\\), function Write, file BMemFile, line [0-9]+");
    EXPECT_DEATH(f.Attach(nullptr, 0), "\\(buffer\\), function Attach, file BMemFile, line [0-9]+");
    // Growth would need a capacity of 2^32: the write stops before touching the source.
    EXPECT_DEATH(f.Write(&byte, UINT_MAX), "\\(0\\), function Write, file BMemFile, line [0-9]+");
}

} // namespace
