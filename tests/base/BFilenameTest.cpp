// Filename model: the storage, catalog and path forms, assignment and the serialised record.
#include "base/BFilename.h"

#include "base/BFilenameTestPeer.h"
#include "base/ByteRecords.h"

#include "support/Seed.h"
#include "support/Testing.h"

using namespace byterecords;

namespace {

// A record: the little-endian length word, the text, then the tagged list bytes.
Bytes Record(unsigned int length, const std::string& text, const Bytes& list = {}) {
    Bytes b;
    for (int shift = 0; shift < 32; shift += 8)
        b.push_back(static_cast<unsigned char>(length >> shift));
    return Concat({b, Bytes(text.begin(), text.end()), list});
}

const FilenameParts kFull{"/d/", "z.zip", "zp/", "f.txt", "Disk"};

} // namespace

TEST(BFilename, CatalogStringReadsAndWritesPlainAndArchiveForms) {
    // The flag: the parsed filename writes exactly the same text back.
    const struct {
        const char* text;
        FilenameParts want;
        bool writtenBack;
    } rows[] = {
        {"", {}, true},
        {"/a/b.txt\tDisk\tx", {"/a/", "", "", "b.txt", "Disk\tx"}, true},
        // A delimiter in the final position is never a split point.
        {"a\\b/", {"a\\", "", "", "b/", ""}, true},
        // Only the exact prefix "Zip:" selects the archive form.
        {"zip:a.zip:f", {"", "", "", "zip:a.zip:f", ""}, true},
        {"Zip:/U/a.zip:img/x.png\tDisk", {"/U/", "a.zip", "img/", "x.png", "Disk"}, true},
        // The drive letter's colon lies before position 2 and is skipped.
        {"Zip:D:\\d\\a.zip:s\\f", {"D:\\d\\", "a.zip", "s\\", "f", ""}, true},
        {"Zip:a.zip:x:y\tD", {"", "a.zip", "", "x:y", "D"}, true},
        // The archive part splits at its last delimiter even in the final position.
        {"Zip:dir/:f", {"dir/", "", "", "f", ""}, false},
        // No archive colon: the whole remainder is the archive part, disk name included.
        {"Zip:ab", {"", "ab", "", "", ""}, false},
        {"Zip:/x/a.zip\tDisk", {"/x/", "a.zip\tDisk", "", "", ""}, false},
    };
    for (const auto& [text, want, writtenBack] : rows) {
        BFilename f = Make(kFull);
        f.SetCatalogString(text);
        EXPECT_EQ(PartsOf(f), want) << text;
        EXPECT_EQ(Text(f.GetCatalogString()) == text, writtenBack) << text;
    }
    // Fewer than two characters after "Zip:" raise, leaving every component empty.
    BFilename f = Make(kFull);
    EXPECT_THROW(f.SetCatalogString("Zip:a"), StrException);
    EXPECT_EQ(PartsOf(f), FilenameParts{});
}

// Random components within the documented limits: the storage string restores any tab-free
// components; the catalog string restores them when the zip name has no delimiter and there is
// no zip path outside an archive.
TEST(BFilename, StorageAndCatalogRoundTripRandomComponents) {
    const TestSeed seed;
    std::mt19937 rng(seed.value);
    auto word = [&](std::size_t minLength, const std::string& letters) {
        std::string s;
        for (std::size_t n = minLength + rng() % 5; n > 0; --n)
            s += letters[rng() % letters.size()];
        return s;
    };
    for (int i = 0; i < 500; ++i) {
        const bool zip = rng() % 2;
        // Directory and zip path are empty or end with a delimiter.
        const FilenameParts p{rng() % 2 ? word(0, "ab/\\. ") + "/" : "",
                              zip ? word(2, "abZ.ip _-") : "",
                              zip && rng() % 2 ? word(0, "ab/\\. ") + "\\" : "",
                              word(1, "abZ.ip _-"), word(0, "ab/\\: ")};
        BFilename viaStorage(Make(p).GetStorageString()), viaCatalog;
        viaCatalog.SetCatalogString(Make(p).GetCatalogString());
        ASSERT_EQ(PartsOf(viaStorage), p);
        ASSERT_EQ(PartsOf(viaCatalog), p) << Text(Make(p).GetCatalogString());
    }
}

// Each reader against the delimiters its rules name; each row starts from kFull. The storage
// reader keeps its fields strictly by position, as they are; the catalog reader splits at '/' and
// '\' only; the path reader turns the Mac and Windows delimiters into the system one, then ends the
// directory with a delimiter unless it already ends with a Mac or Windows one, takes an archive's
// name as the zip name, removes illegal characters from the file name and keeps zip path and disk.
// No writer adds a delimiter.
TEST(BFilename, EachReaderKeepsItsFieldsAndUsesTheDelimitersItsRulesName) {
    using Reader = void (BFilename::*)(char const*);
    const Reader storage = &BFilename::SetStorageString, catalog = &BFilename::SetCatalogString,
                 path = &BFilename::SetPath;
    const std::string as(2040, 'a'), longest = as + "\\b/c.txt", longDir = as + "/b/",
                                     tooLong = longest + "x";
    const char* const plain = nullptr; // the defaults
    const struct {
        const char* name;
        const char* delimiters; // system, Mac, Windows, if not the defaults
        Reader read;
        const char* text;
        FilenameParts want;
    } rows[] = {
        {"storage: four empty fields", plain, storage, "\t\t\t\t", {}},
        {"storage: disk last", plain, storage, "dir/\tname", {"dir/", "", "", "", "name"}},
        {"storage: four fields", plain, storage, "d\tz\tp\tf", {"d", "z", "p", "", "f"}},
        {"storage: 6th cut", plain, storage, "a\tb\tc\td\te\tf", {"a", "b", "c", "d", "e"}},
        {"storage: 6th tab", plain, storage, "a\tb\tc\td\t\tf", {"a", "b", "c", "d", "\tf"}},
        {"storage: raw", plain, storage, "x\t\t\ta?b.zip\t", {"x", "", "", "a?b.zip", ""}},
        {"storage: no tab, a path", plain, storage, "/p/Arc.ZIP", {"/p/", "Arc.ZIP", "", "", ""}},
        {"storage: empty", plain, storage, "", {}},
        {"storage: as read", ":/\\", storage, "a\\b/\t\t\tc:d\t", {"a\\b/", "", "", "c:d", ""}},
        {"storage, no tab: a path", ":/\\", storage, "x/y\\z", {"x:y::", "", "", "z", ""}},
        {"catalog: not the system's", ":/\\", catalog, "/a\\b:c", {"/a\\", "", "", "b:c", ""}},
        {"catalog: nor a custom one", "#/\\", catalog, "a#b", {"", "", "", "a#b", ""}},
        {"path: zip", plain, path, "/x/y/Archive.ZIP", {"/x/y/", "Archive.ZIP", "zp/", "", "Disk"}},
        {"path: no zip", plain, path, "/a/b.zip.txt", {"/a/", "z.zip", "zp/", "b.zip.txt", "Disk"}},
        {"path: illegal", plain, path, "D:\\d/e\\g?", {"D:/d/e/", "z.zip", "zp/", "g", "Disk"}},
        {"path: no directory", plain, path, "a:b*c", {"", "z.zip", "zp/", "abc", "Disk"}},
        {"path: no file name", plain, path, "dir/", {"dir/", "z.zip", "zp/", "", "Disk"}},
        {"path: null", plain, path, nullptr, {"", "z.zip", "zp/", "", "Disk"}},
        {"path: empty", plain, path, "", kFull},
        {"path: longest", plain, path, longest.c_str(), {longDir, "z.zip", "zp/", "c.txt", "Disk"}},
        {"path: too long", plain, path, tooLong.c_str(), kFull},
        {"path: both to its own", "#/\\", path, "a/b\\c", {"a#b##", "z.zip", "zp/", "c", "Disk"}},
        {"path: '/' appended again", "/:\\", path, "v:d/f", {"v/d//", "z.zip", "zp/", "f", "Disk"}},
        {"path: system is Windows'", "\\/\\", path, "a/b", {"a\\", "z.zip", "zp/", "b", "Disk"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        BFilename f = Make(kFull);
        if (row.delimiters != nullptr) {
            f.OSDelimiter(row.delimiters[0]);
            f.MACDelimiter(row.delimiters[1]);
            f.WINDelimiter(row.delimiters[2]);
        }
        (f.*row.read)(row.text);
        EXPECT_EQ(PartsOf(f), row.want);
    }
    EXPECT_EQ(Text(Make(kFull).GetStorageString()), "/d/\tz.zip\tzp/\tf.txt\tDisk");
    BFilename f = Make({"x", "z", "p", "f", ""});
    f.OSDelimiter(':');
    EXPECT_EQ(Text(f.GetStorageString()), "x\tz\tp\tf\t");
    EXPECT_EQ(Text(f.GetCatalogString()), "Zip:xz:pf");
    EXPECT_EQ(Text(f.GetPath()), "xf");
}

TEST(BFilename, AssignmentCopiesContentResetsDelimitersKeepsTagAndIgnoresItself) {
    BFilename source = Make(kFull), target, &alias = source;
    source.OSDelimiter(':');
    source.m_metaData.SetData("w", 5);
    SetDataBytes(source, {1, 2, 3});
    source = alias;
    EXPECT_EQ(source.OSDelimiter(0), ':');
    target.WINDelimiter('#');
    target.m_tag.SetData("mine");
    target.m_metaData.SetData("old", 1);
    target = source;
    EXPECT_EQ(PartsOf(target), kFull);
    EXPECT_EQ(target.OSDelimiter(0), '/');
    EXPECT_EQ(target.WINDelimiter(0), '\\');
    EXPECT_EQ(target.CompareTag("mine"), 0);
    EXPECT_EQ(target.m_metaData.GetCount(), 1u);
    EXPECT_TRUE(target.m_metaData == source.m_metaData);
    EXPECT_EQ(DataOf(target), Bytes({1, 2, 3}));
}

TEST(BFilename, SetWritesTheRecordAndGetRestoresWhatARecordHolds) {
    BFilename written = Make({"a/", "", "", "b", ""});
    written.m_metaData.SetData("w", 5);
    written.Set();
    EXPECT_EQ(DataOf(written), Record(7, "a/\t\t\tb\t", kListW5));
    const Bytes badMarker = {'I', 'D', 'M', 'D', 'T', 'X', 0, 0, 0, 0};
    // Reason, record, storage string and property count restored from it.
    const struct {
        const char* reason;
        Bytes data;
        const char* storage;
        unsigned int items;
    } rows[] = {
        {"ok: one property", Record(7, "a/\t\t\tb\t", kListW5), "a/\t\t\tb\t", 1},
        {"ok: no tab, a path", Record(8, "/p/q.txt", kEmptyList), "/p/\t\t\tq.txt\t", 0},
        {"ok: zero length", Record(0, "", kListW5), "\t\t\t\t", 1},
        {"truncated: no data", {}, "\t\t\t\t", 0},
        {"truncated: half a length word", {7, 0}, "\t\t\t\t", 0},
        {"truncated: text cut short", Record(7, "a/\t"), "a/\t\t\t\t", 0},
        {"truncated: list in its marker", Record(7, "a/\t\t\tb\t", {'I', 'D'}), "a/\t\t\tb\t", 0},
        {"corrupt: length beyond the data", Record(0xFFFFFFFF, "x/y"), "x/\t\t\ty\t", 0},
        {"corrupt: NUL ends the text", Record(5, {"ab\0\t\t", 5}, kListW5), "\t\t\tab\t", 1},
        {"corrupt: length swallows list", Record(20, "z", kEmptyList), "\t\t\tzIDMDTL\t", 0},
        {"corrupt: wrong list marker", Record(4, "\t\t\t\t", badMarker), "\t\t\t\t", 0},
    };
    for (const auto& [reason, data, storage, items] : rows) {
        BFilename f = Make({"old/", "o.zip", "op/", "of", "OD"});
        f.m_metaData.SetData("stale", 1);
        SetDataBytes(f, data);
        f.Get();
        EXPECT_EQ(Text(f.GetStorageString()), storage) << reason;
        EXPECT_EQ(f.m_metaData.GetCount(), items) << reason;
        EXPECT_EQ(DataOf(f), data) << reason;
    }
}
