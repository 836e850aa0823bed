#include "base/BMemFile.h"

#include "ByteRecords.h"

#include "support/Seed.h"
#include "support/Testing.h"

using namespace byterecords;

namespace {
// The memory file as first built: every growth allocates exactly the new capacity.
struct MemFileModel {
    std::vector<unsigned char> bytes; // size is the capacity
    unsigned int length = 0, position = 0, growBy = 0;

    void Write(const unsigned char* p, unsigned int n) {
        const unsigned int capacity = static_cast<unsigned int>(bytes.size());
        if (capacity - position < n)
            bytes.resize(capacity + std::max(n - (capacity - position), growBy), 0);
        std::copy(p, p + n, bytes.begin() + position);
        position += n;
        length = std::max(length, position);
    }
};

// Writes, growth, Reuse and Attach/Detach against the model, seeded; failures print seed and step.
TEST(BMemFile, WritesMatchExactGrowth) {
    const TestSeed seed;
    std::mt19937 rng(seed.value);
    for (int run = 0; run < 60; ++run) {
        SCOPED_TRACE("run " + std::to_string(run));
        BMemFile file;
        MemFileModel model;
        model.growBy = run % 3 == 0 ? 0 : run % 3 == 1 ? 1 + rng() % 64 : BMemFile::kDefaultGrowBy;
        file.SetGrowBy(model.growBy);
        for (int step = 0; step < 300; ++step) {
            unsigned char bytes[40];
            std::generate(bytes, bytes + 40, [&] { return static_cast<unsigned char>(rng()); });
            const unsigned int n = rng() % 40, action = rng() % 6;
            if (action == 0) {
                file.Write(bytes, n), model.Write(bytes, n);
            } else if (action <= 2) {
                // Scalars write the 4- or 2-byte little-endian image of the value.
                const unsigned int v =
                    bytes[0] | bytes[1] << 8 | bytes[2] << 16 | unsigned{bytes[3]} << 24;
                step % 2 ? file.Write(static_cast<int>(v)) : file.Write(static_cast<short>(v));
                model.Write(bytes, step % 2 ? 4 : 2);
            } else if (action == 3) {
                file.SetPosition(model.position = rng() % (model.length + 1));
            } else if (action == 4 && n < 5) {
                file.Reuse();
                std::fill(model.bytes.begin(), model.bytes.end(), 0);
                model.length = model.position = 0;
            } else if (action == 5 && n == 0) {
                unsigned char* taken = file.Detach();
                ASSERT_EQ(taken == nullptr, model.bytes.empty());
                // Detach resets the grow-by; Attach takes the buffer as it is, keeping it.
                model.growBy = BMemFile::kDefaultGrowBy;
                if (taken != nullptr)
                    file.Attach(taken, static_cast<int>(model.length));
                ASSERT_EQ(file.m_buffer, taken);
                model.bytes.resize(model.length);
                model.position = 0;
            }
            ASSERT_EQ(file.m_capacity, model.bytes.size()) << "step " << step;
            ASSERT_EQ(file.m_length, model.length) << "step " << step;
            ASSERT_EQ(file.m_position, model.position) << "step " << step;
            ASSERT_TRUE(std::equal(model.bytes.begin(), model.bytes.end(), file.m_buffer))
                << "content and the zeros past the length, step " << step;
        }
    }
}
} // namespace

TEST(BMemFile, SeekAndSetPositionClampToTheData) {
    // Origin 0 counts from the start, 1 from the position, 2 back from the end; others as 0.
    const int rows[][4] = {
        {4, -3, 1, 1},       {4, 5, 9, 5},       {4, 3, 2, 7},        {4, 11, 2, 0},
        {4, INT_MIN, 2, 10}, {4, INT_MAX, 2, 0}, {4, INT_MAX, 1, 10}, {4, INT_MIN, 1, 0},
    };
    for (const auto& r : rows) {
        BMemFile f(Bytes(10, 0).data(), 10);
        f.SetPosition(static_cast<unsigned int>(r[0]));
        SCOPED_TRACE("from " + std::to_string(r[0]) + ", Seek(" + std::to_string(r[1]) + ", " +
                     std::to_string(r[2]) + ")");
        EXPECT_EQ(f.Seek(r[1], r[2]), r[3]);
        EXPECT_EQ(f.m_position, static_cast<unsigned int>(r[3]));
        EXPECT_EQ(f.SetPosition(100), 10u);
    }
}

TEST(BMemFile, TypedReadsAreLittleEndianAndShortReadsZeroMissingHighBytes) {
    const unsigned char bytes[] = {0xFE, 0xFF, 0xFF, 0xFF, 0, 0, 0x80, 0x3F, 0, 0x80, 0x78, 0x56};
    BMemFile f(bytes, sizeof bytes), g;
    g.Write(1.0f);
    EXPECT_EQ(Written(g), (Bytes{0, 0, 0x80, 0x3F}));
    int i = 0;
    float x = 0;
    short s = 0;
    unsigned int u = 0xFFFFFFFF;
    EXPECT_EQ(f.Read(i), 4);
    EXPECT_EQ(f.Read(x), 4);
    EXPECT_EQ(f.Read(s), 2);
    EXPECT_EQ(f.Read(u), 2);
    EXPECT_EQ(std::make_tuple(i, x, s, u), std::make_tuple(-2, 1.0f, short{-32768}, 0x5678u));
    f.Seek(1, 2);
    EXPECT_EQ(f.Read(s), 1);
    EXPECT_EQ(s, 0x56);
    EXPECT_EQ(f.Read(i), 0) << "at the end the destination is left alone";
    EXPECT_EQ(i, -2);
}

TEST(BMemFile, SetLengthAndAttachSetTheLength) {
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
    EXPECT_EQ(g.m_position, 3u);
    EXPECT_EQ(g.SetLength(0), 0u);
    EXPECT_EQ(g.m_capacity + g.m_length + g.m_position, 0u);
    EXPECT_EQ(g.m_buffer, nullptr);
    g.Attach(new unsigned char[1]{7}, -1);
    EXPECT_EQ(g.m_capacity + g.m_length, 0u) << "a negative length attaches nothing";
}

TEST(BMemFileDeathTest, BrokenPreconditionsStopTheProgram) {
    BMemFile f;
    unsigned char byte = 0;
    f.Write(&byte, 1);
    EXPECT_DEATH(f.Read(nullptr, 1), "\\(lpBuf\\), function Read, file BMemFile, line [0-9]+");
    EXPECT_DEATH(f.Write(nullptr, 0), "\\(lpBuf\\), function Write, file BMemFile, line [0-9]+");
    EXPECT_DEATH(f.Attach(nullptr, 0), "\\(buffer\\), function Attach, file BMemFile, line [0-9]+");
    // Growth would need a capacity of 2^32: the write stops before touching the source.
    // The count is read at run time, so that no build sees the copy it would need as a constant.
    volatile unsigned int huge = UINT_MAX;
    EXPECT_DEATH(f.Write(&byte, huge), "\\(0\\), function Write, file BMemFile, line [0-9]+");
}

// The file name item of a default BFilename: empty tag, then its 18-byte record (the storage string
// of four tabs and an empty property list).
const Bytes kDefaultName = Concat({{0, 0, 0, 0, 18, 0, 0, 0, 4, 0, 0, 0, 9, 9, 9, 9}, kEmptyList});
const Bytes kHead = Concat({kEmptyList, kDefaultName}), kHeadW5 = Concat({kListW5, kDefaultName});

// Get on each record; Set on what the ok rows rebuilt gives their bytes back.
TEST(BMemFileRecord, RecordByteTable) {
    // What, the record's head and tail, and the content Get leaves.
    const struct {
        const char* what;
        Bytes head;
        Bytes tail;
        Bytes content;
    } rows[] = {
        {"ok: empty file", kHead, {0, 0, 0, 0}, {}},
        {"ok: property and content", kHeadW5, {3, 0, 0, 0, 'a', 'b', 'c'}, {'a', 'b', 'c'}},
        {"truncated: only the list, so no name, length or content", kEmptyList, {}, {}},
        {"truncated: short content is zero-filled", kHead, {3, 0, 0, 0, 'a'}, {'a', 0, 0}},
        {"truncated: a 2-byte length has zero high bytes", kHead, {3, 0}, {0, 0, 0}},
        {"corrupt: a huge length keeps the bytes present", kHead, {255, 255, 255, 255, 'a'}, {'a'}},
    };
    for (const auto& [what, head, tail, content] : rows) {
        SCOPED_TRACE(what);
        BMemFile f;
        f.Write("12345", 5);
        f.m_metaData.SetData("stale", 1);
        const Bytes record = Concat({head, tail});
        SetDataBytes(f, record);
        f.Get();
        EXPECT_EQ(Written(f), content);
        EXPECT_EQ(f.m_position, std::min(5u, f.m_length)) << "position cut";
        EXPECT_EQ(f.m_metaData.GetCount(), head == kHeadW5 ? 1u : 0u);
        EXPECT_EQ(DataOf(f), record) << "the data is read in place";
        if (what[0] == 'o') {
            f.Set();
            EXPECT_EQ(DataOf(f), record) << "Set";
        }
    }
}

// The target takes the source's bytes, position and file name, with a capacity of exactly their
// length, and keeps its own grow-by and tagged base; assigning a file to itself changes nothing.
TEST(BMemFile, AssignmentCopiesContentPositionAndNameAndIgnoresItself) {
    BMemFile empty, shortFile, longFile(Bytes(10000, 7).data(), 10000);
    shortFile.Write("abcdef", 6);
    shortFile.m_filename.SetStorageString("/dir/\t\t\tname.txt\tdisk");
    shortFile.m_metaData.SetData("w", 5);
    shortFile.Seek(2, 0);
    longFile.Seek(-1, 2);
    const struct {
        const char* name;
        const BMemFile& source;
    } rows[] = {{"empty", empty}, {"short", shortFile}, {"long", longFile}};
    for (const auto& [name, source] : rows) {
        SCOPED_TRACE(name);
        BMemFile target;
        target.SetGrowBy(16);
        target.Write(Bytes(300, 1).data(), 300);
        target.m_metaData.SetData("target", 2);
        target = source;
        EXPECT_EQ(Written(target), Written(source));
        EXPECT_EQ(target.m_position, source.m_position);
        EXPECT_EQ(target.m_capacity, source.m_length);
        EXPECT_EQ(target.m_growBy, 16u);
        EXPECT_STREQ(target.m_filename.GetStorageString(), source.m_filename.GetStorageString());
        EXPECT_EQ(Tags(target.m_metaData), std::vector<std::string>{"target"});
        if (source.m_length != 0) {
            EXPECT_NE(target.m_buffer, source.m_buffer) << "a copy, not a share";
        }
    }
    BMemFile& same = shortFile;
    const unsigned char* const buffer = shortFile.m_buffer;
    const unsigned int capacity = shortFile.m_capacity;
    shortFile = same;
    EXPECT_EQ(Written(shortFile), (Bytes{'a', 'b', 'c', 'd', 'e', 'f'}));
    EXPECT_EQ(shortFile.m_position, 2u);
    EXPECT_EQ(shortFile.m_buffer, buffer);
    EXPECT_EQ(shortFile.m_capacity, capacity);
}
