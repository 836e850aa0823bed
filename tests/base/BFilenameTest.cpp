// Filename model: components and delimiters, the storage, catalog and path forms, the text
// utilities, assignment and the serialised record.
#include "base/BFilename.h"

#include "base/BFilenameTestPeer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

FilenameParts Storage(const char* text) {
    BFilename f;
    f.SetStorageString(text);
    return PartsOf(f);
}

FilenameParts Catalog(const char* text) {
    BFilename f;
    f.SetCatalogString(text);
    return PartsOf(f);
}

std::string Text(const Str& s) {
    return std::string(s, s.GetLength());
}

Bytes DataOf(const BMetaData& item) {
    return Bytes(item.GetDataPtr(), item.GetDataPtr() + item.m_size);
}

void SetDataBytes(BMetaData& item, const Bytes& bytes) {
    item.CreateDataBuff(static_cast<unsigned int>(bytes.size()));
    if (!bytes.empty())
        std::memcpy(item.GetDataPtr(), bytes.data(), bytes.size());
}

Bytes Concat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}

Bytes Ascii(const std::string& s) {
    return Bytes(s.begin(), s.end());
}

const Bytes kEmptyList = {0x49, 0x44, 0x4D, 0x44, 0x54, 0x4C, 0, 0, 0, 0};
// The list holding the tag "w" with the integer 5.
const Bytes kListW5 = {0x49, 0x44, 0x4D, 0x44, 0x54, 0x4C, 1, 0, 0, 0, 2, 0,
                       0,    0,    0x77, 0,    4,    0,    0, 0, 5, 0, 0, 0};

} // namespace

TEST(BFilename, DefaultHasFourTabsAndEmptyForms) {
    BFilename f;
    EXPECT_EQ(Text(f.GetStorageString()), "\t\t\t\t");
    EXPECT_EQ(Text(f.GetCatalogString()), "");
    EXPECT_EQ(Text(f.GetPath()), "");
    EXPECT_FALSE(f.IsAZip());
    EXPECT_EQ(f.OSDelimiter(0), '/');
    EXPECT_EQ(f.MACDelimiter(0), '/');
    EXPECT_EQ(f.WINDelimiter(0), '\\');
}

TEST(BFilename, StorageReaderIsStrictlyPositional) {
    struct Row {
        const char* text;
        FilenameParts want;
    };
    const Row rows[] = {
        {"\t\t\t\t", {}},
        {"\t", {}},
        {"/d/\tz.zip\tsub/\tf.txt\tDisk", {"/d/", "z.zip", "sub/", "f.txt", "Disk"}},
        // Fewer than four tabs: the missing middle fields stay empty, the last text is the disk.
        {"dir/\tname", {"dir/", "", "", "", "name"}},
        {"\ttail", {"", "", "", "", "tail"}},
        {"d\tz\tp", {"d", "z", "", "", "p"}},
        {"d\tz\tp\tf", {"d", "z", "p", "", "f"}},
        // Beyond the fifth field: cut at the next tab, unless the remainder starts with one.
        {"a\tb\tc\td\te\tf", {"a", "b", "c", "d", "e"}},
        {"a\tb\tc\td\t\tf", {"a", "b", "c", "d", "\tf"}},
        // Stored as read: no delimiter appended, no illegal character removed, no zip rule.
        {"x\t\t\ta?b.zip\t", {"x", "", "", "a?b.zip", ""}},
        // No tab at all: read as a path.
        {"/a/b.txt", {"/a/", "", "", "b.txt", ""}},
        {"/p/Arc.ZIP", {"/p/", "Arc.ZIP", "", "", ""}},
        {"", {}},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.text);
        EXPECT_EQ(Storage(r.text), r.want);
        EXPECT_EQ(PartsOf(BFilename(Str(r.text))), r.want);
    }
}

TEST(BFilename, StorageReaderEmptiesEveryComponentFirst) {
    BFilename f;
    f.SetStorageString("/d/\tz.zip\tsub/\tf.txt\tDisk");
    f.SetStorageString("x.txt");
    EXPECT_EQ(PartsOf(f), (FilenameParts{"", "", "", "x.txt", ""}));
}

TEST(BFilename, StorageWriterJoinsFieldsInFixedOrder) {
    BFilename f;
    AssignParts(f, {"/Users/a/", "data.zip", "img/", "x.png", "Backup"});
    EXPECT_EQ(Text(f.GetStorageString()), "/Users/a/\tdata.zip\timg/\tx.png\tBackup");
    AssignParts(f, {"", "", "", "x.png", ""});
    EXPECT_EQ(Text(f.GetStorageString()), "\t\t\tx.png\t");
}

TEST(BFilename, CatalogReaderHandlesPlainAndArchiveForms) {
    struct Row {
        const char* text;
        FilenameParts want;
    };
    const Row rows[] = {
        {"", {}},
        {"name", {"", "", "", "name", ""}},
        {"/a/b.txt", {"/a/", "", "", "b.txt", ""}},
        // A delimiter in the final position is never a split point.
        {"/a/b/", {"/a/", "", "", "b/", ""}},
        {"/", {"", "", "", "/", ""}},
        {"a\\b\\c", {"a\\b\\", "", "", "c", ""}},
        // Everything after the first tab is the disk name.
        {"/a/b.txt\tDisk\tx", {"/a/", "", "", "b.txt", "Disk\tx"}},
        {"\tDisk", {"", "", "", "", "Disk"}},
        // Only the exact prefix "Zip:" selects the archive form.
        {"zip:a.zip:f", {"", "", "", "zip:a.zip:f", ""}},
        {"Zip", {"", "", "", "Zip", ""}},
        {"Zip:/Users/a/data.zip:img/x.png\tBackup",
         {"/Users/a/", "data.zip", "img/", "x.png", "Backup"}},
        // The drive letter's colon lies before position 2 and is skipped.
        {"Zip:D:\\dir\\a.zip:sub\\f.txt", {"D:\\dir\\", "a.zip", "sub\\", "f.txt", ""}},
        {"Zip:a.zip:f", {"", "a.zip", "", "f", ""}},
        {"Zip:a.zip:x:y", {"", "a.zip", "", "x:y", ""}},
        {"Zip:a.zip:sub/", {"", "a.zip", "", "sub/", ""}},
        {"Zip:a.zip:\tD", {"", "a.zip", "", "", "D"}},
        // The archive part splits at its last delimiter even in the final position.
        {"Zip:dir/:f", {"dir/", "", "", "f", ""}},
        // No archive colon: the whole remainder is the archive part, no member.
        {"Zip:ab", {"", "ab", "", "", ""}},
        {"Zip:a:", {"", "a:", "", "", ""}},
        {"Zip:/x/a.zip", {"/x/", "a.zip", "", "", ""}},
        {"Zip:/x/a.zip\tDisk", {"/x/", "a.zip\tDisk", "", "", ""}},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.text);
        EXPECT_EQ(Catalog(r.text), r.want);
    }
}

TEST(BFilename, CatalogReaderRaisesIndexRangeWhenArchivePartTooShort) {
    for (const char* text : {"Zip:", "Zip:a"}) {
        SCOPED_TRACE(text);
        BFilename f;
        f.SetStorageString("/d/\tz.zip\tsub/\tf.txt\tDisk");
        try {
            f.SetCatalogString(text);
            ADD_FAILURE() << "no exception";
        } catch (const StrException& e) {
            EXPECT_EQ(e.code, Str::ecIndexRange);
        }
        EXPECT_EQ(PartsOf(f), FilenameParts{});
    }
}

TEST(BFilename, CatalogWriterMarksArchiveMembersAndAppendsDisk) {
    struct Row {
        FilenameParts parts;
        const char* want;
    };
    const Row rows[] = {
        {{}, ""},
        {{"/a/", "", "", "b.txt", ""}, "/a/b.txt"},
        {{"/a/", "", "ignored/", "b.txt", "Disk"}, "/a/b.txt\tDisk"},
        {{"/Users/a/", "data.zip", "img/", "x.png", "Backup"},
         "Zip:/Users/a/data.zip:img/x.png\tBackup"},
        {{"", "a.zip", "", "", ""}, "Zip:a.zip:"},
    };
    for (const Row& r : rows) {
        BFilename f;
        AssignParts(f, r.parts);
        EXPECT_EQ(Text(f.GetCatalogString()), r.want) << r.parts;
    }
}

// Random components within the documented limits: the storage string restores any tab-free
// components; the catalog string restores them under its stated conditions (a zip name without
// delimiters, no zip path outside an archive).
TEST(BFilename, StorageAndCatalogRoundTripRandomComponents) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    auto pick = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
    auto word = [&](int minLength) {
        static const char letters[] = "abZ.ip _-";
        std::string s;
        const int n = minLength + pick(5);
        for (int i = 0; i < n; ++i)
            s += letters[pick(sizeof letters - 1)];
        return s;
    };
    auto levels = [&] {
        std::string s;
        for (int i = pick(4); i > 0; --i)
            s += word(0) + (pick(2) ? "/" : "\\");
        return s;
    };
    for (int i = 0; i < 500; ++i) {
        FilenameParts p;
        p.dir = levels();
        p.file = word(1);
        p.disk = pick(2) ? word(0) + "/" + word(0) : "";
        if (pick(2)) {
            p.zip = word(2);
            p.zipPath = levels();
        }
        BFilename f;
        AssignParts(f, p);
        BFilename viaStorage;
        viaStorage.SetStorageString(f.GetStorageString());
        ASSERT_EQ(PartsOf(viaStorage), p);
        BFilename viaCatalog;
        viaCatalog.SetCatalogString(f.GetCatalogString());
        ASSERT_EQ(PartsOf(viaCatalog), p) << Text(f.GetCatalogString());
    }
}

TEST(BFilename, SetPathNormalisesAndAppliesZipRule) {
    struct Row {
        const char* path;
        FilenameParts want;
    };
    const Row rows[] = {
        {"/x/y/Archive.ZIP", {"/x/y/", "Archive.ZIP", "", "", ""}},
        {"x.zip", {"", "x.zip", "", "", ""}},
        {"/a/b.zip.txt", {"/a/", "", "", "b.zip.txt", ""}},
        // Windows delimiters become '/', '?' leaves the file name, the drive colon stays.
        {"D:\\dir\\f?.txt", {"D:/dir/", "", "", "f.txt", ""}},
        {"\\\\server\\share\\f", {"//server/share/", "", "", "f", ""}},
        {"name", {"", "", "", "name", ""}},
        {"dir/", {"dir/", "", "", "", ""}},
        {"/", {"/", "", "", "", ""}},
        {"a/b:c*d<e>f|g", {"a/", "", "", "bcdefg", ""}},
        {"a:b", {"", "", "", "ab", ""}},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.path);
        BFilename f;
        f.SetPath(r.path);
        EXPECT_EQ(PartsOf(f), r.want);
    }
}

TEST(BFilename, SetPathKeepsDiskZipPathAndNonZipArchiveName) {
    BFilename f;
    AssignParts(f, {"old/", "keep.zip", "zp/", "old.txt", "Disk"});
    f.SetPath("/n/new.txt");
    EXPECT_EQ(PartsOf(f), (FilenameParts{"/n/", "keep.zip", "zp/", "new.txt", "Disk"}));
    f.SetPath("/m/other.zip");
    EXPECT_EQ(PartsOf(f), (FilenameParts{"/m/", "other.zip", "zp/", "", "Disk"}));
}

TEST(BFilename, SetPathNullEmptyAndLengthLimits) {
    const FilenameParts start{"d/", "z.zip", "zp/", "f", "Disk"};
    BFilename f;
    AssignParts(f, start);
    f.SetPath("");
    EXPECT_EQ(PartsOf(f), start);
    f.SetPath(nullptr);
    EXPECT_EQ(PartsOf(f), (FilenameParts{"", "z.zip", "zp/", "", "Disk"}));

    // 2048 characters are converted in full; 2049 leave the object unchanged.
    const std::string longest = std::string(2040, 'a') + "\\b/c.txt";
    ASSERT_EQ(longest.size(), 2048u);
    f.SetPath(longest.c_str());
    EXPECT_EQ(PartsOf(f),
              (FilenameParts{std::string(2040, 'a') + "/b/", "z.zip", "zp/", "c.txt", "Disk"}));
    const FilenameParts before = PartsOf(f);
    f.SetPath((longest + "x").c_str());
    EXPECT_EQ(PartsOf(f), before);
}

TEST(BFilename, SetPathUsesTheObjectsDelimiters) {
    BFilename f;
    EXPECT_EQ(f.OSDelimiter('\\'), '\\');
    f.SetPath("/a/b");
    EXPECT_EQ(PartsOf(f), (FilenameParts{"\\a\\", "", "", "b", ""}));
    // A system delimiter that is neither Mac nor Windows one is appended to the directory even
    // when the directory already ends with it.
    BFilename g;
    g.OSDelimiter(':');
    g.SetPath("x/y");
    EXPECT_EQ(PartsOf(g), (FilenameParts{"x::", "", "", "y", ""}));
}

TEST(BFilename, DelimiterAccessorsStoreOnlyNonZero) {
    BFilename f;
    EXPECT_EQ(f.OSDelimiter(0), '/');
    EXPECT_EQ(f.OSDelimiter('\\'), '\\');
    EXPECT_EQ(f.OSDelimiter(0), '\\');
    EXPECT_EQ(f.MACDelimiter(':'), ':');
    EXPECT_EQ(f.WINDelimiter('|'), '|');
    f.BFilenameHelper();
    EXPECT_EQ(f.OSDelimiter(0), '/');
    EXPECT_EQ(f.MACDelimiter(0), '/');
    EXPECT_EQ(f.WINDelimiter(0), '\\');
}

TEST(BFilename, DelimiterTestsIgnoreTheSystemDelimiter) {
    struct Row {
        char os;
        const char* text;
        bool ends;
        const char* verified;
    };
    const Row rows[] = {
        {'/', "", false, ""},      {'/', "a", false, "a/"},   {'/', "a/", true, "a/"},
        {'/', "a\\", true, "a\\"}, {':', "a:", false, "a::"}, {':', "a/", true, "a/"},
    };
    for (const Row& r : rows) {
        BFilename f;
        f.OSDelimiter(r.os);
        EXPECT_EQ(f.EndsWithDelimiter(r.text), r.ends) << r.os << " " << r.text;
        EXPECT_EQ(Text(f.VerifyBackslash(r.text)), r.verified) << r.os << " " << r.text;
    }
}

TEST(BFilename, TextUtilitiesConvertAndClean) {
    BFilename f;
    EXPECT_EQ(Text(f.StripIllegals("a\\/:*?<>|b c.d")), "ab c.d");
    EXPECT_EQ(Text(f.StripIllegals("?")), "");

    char text[] = "a/b\\c/d";
    f.ReplaceChar(text, '/', '-');
    EXPECT_STREQ(text, "a-b\\c-d");
    f.ReplaceChar(text, '-', '-');
    EXPECT_STREQ(text, "a-b\\c-d");

    // PathForOS converts the caller's buffer in place and returns a copy of it.
    f.OSDelimiter('|');
    char path[] = "a/b\\c|d";
    EXPECT_EQ(Text(f.PathForOS(path)), "a|b|c|d");
    EXPECT_STREQ(path, "a|b|c|d");
    EXPECT_EQ(Text(f.PathForOS(static_cast<char*>(nullptr))), "");
}

TEST(BFilename, ExtensionAndIsA) {
    struct Row {
        const char* file;
        const char* ext;
        const char* query;
        bool is;
    };
    const Row rows[] = {
        {"a.zip", "zip", ".ZIP", true},
        {"a.zip", "zip", "zip", true},
        {"a.zip", "zip", "..zip", false},
        {"a.tar.gz", "gz", "gz", true},
        {"a.tar.gz", "gz", "tar.gz", false},
        {"a", "", "", true},
        {"a", "", ".", true},
        {"a.", "", ".", true},
        {"a.b", "b", ".", false},
        {".profile", "profile", "profile", true},
    };
    for (const Row& r : rows) {
        BFilename f;
        AssignParts(f, {"", "", "", r.file, ""});
        EXPECT_EQ(Text(f.GetExtension()), r.ext) << r.file;
        EXPECT_EQ(f.IsA(r.query), r.is) << r.file << " " << r.query;
    }
}

TEST(BFilename, AssignmentCopiesContentResetsDelimitersKeepsTag) {
    BFilename source;
    AssignParts(source, {"/d/", "z.zip", "zp/", "f.txt", "Disk"});
    source.OSDelimiter(':');
    source.m_tag.SetData("theirs");
    source.m_metaData.SetData("w", 5);
    SetDataBytes(source, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});

    BFilename target;
    target.OSDelimiter('|');
    target.WINDelimiter('#');
    target.m_tag.SetData("mine");
    target.m_metaData.SetData("old", 1);
    target = source;

    EXPECT_EQ(PartsOf(target), PartsOf(source));
    EXPECT_EQ(target.OSDelimiter(0), '/');
    EXPECT_EQ(target.WINDelimiter(0), '\\');
    EXPECT_EQ(target.CompareTag("mine"), 0);
    EXPECT_EQ(target.m_metaData.GetCount(), 1u);
    int w = 0;
    EXPECT_NE(target.m_metaData.GetData("w", w), nullptr);
    EXPECT_EQ(w, 5);
    EXPECT_EQ(DataOf(target), DataOf(source));

    BFilename copy(source);
    EXPECT_EQ(PartsOf(copy), PartsOf(source));
    EXPECT_EQ(copy.OSDelimiter(0), '/');
    EXPECT_EQ(DataOf(copy), DataOf(source));
}

TEST(BFilename, SelfAssignmentChangesNothing) {
    BFilename f;
    AssignParts(f, {"/d/", "z.zip", "zp/", "f.txt", "Disk"});
    f.OSDelimiter(':');
    f.m_metaData.SetData("w", 5);
    SetDataBytes(f, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    const FilenameParts before = PartsOf(f);
    BFilename& alias = f;
    f = alias;
    EXPECT_EQ(PartsOf(f), before);
    EXPECT_EQ(f.OSDelimiter(0), ':');
    EXPECT_EQ(f.m_metaData.GetCount(), 1u);
    EXPECT_EQ(DataOf(f), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(BFilename, SetWritesLengthStorageAndListRecord) {
    BFilename f;
    f.m_tag.SetData("T");
    f.Set();
    EXPECT_EQ(DataOf(f), Concat({{4, 0, 0, 0, 9, 9, 9, 9}, kEmptyList}));

    AssignParts(f, {"a/", "", "", "b", ""});
    f.m_metaData.SetData("w", 5);
    f.Set();
    EXPECT_EQ(DataOf(f), Concat({{7, 0, 0, 0}, Ascii("a/\t\t\tb\t"), kListW5}));
    EXPECT_EQ(f.CompareTag("T"), 0);
}

TEST(BFilename, GetRestoresFromRecordBytes) {
    struct Row {
        const char* reason;
        Bytes data;
        FilenameParts want;
        unsigned int items;
    };
    const Row rows[] = {
        {"ok: default record", Concat({{4, 0, 0, 0, 9, 9, 9, 9}, kEmptyList}), {}, 0},
        {"ok: components and one property",
         Concat({{7, 0, 0, 0}, Ascii("a/\t\t\tb\t"), kListW5}),
         {"a/", "", "", "b", ""},
         1},
        {"ok: storage string without tab is a path",
         Concat({{8, 0, 0, 0}, Ascii("/p/q.txt"), kEmptyList}),
         {"/p/", "", "", "q.txt", ""},
         0},
        {"ok: zero length", Concat({{0, 0, 0, 0}, kListW5}), {}, 1},
        {"truncated: no data at all", {}, {}, 0},
        {"truncated: half a length word", {7, 0}, {}, 0},
        {"truncated: storage string cut short",
         Concat({{7, 0, 0, 0}, Ascii("a/\t")}),
         {"a/", "", "", "", ""},
         0},
        {"truncated: list record cut in its marker",
         Concat({{7, 0, 0, 0}, Ascii("a/\t\t\tb\t"), Ascii("IDMD")}),
         {"a/", "", "", "b", ""},
         0},
        {"corrupt: length word far beyond the data",
         Concat({{0xFF, 0xFF, 0xFF, 0xFF}, Ascii("x/y")}),
         {"x/", "", "", "y", ""},
         0},
        {"corrupt: NUL inside the storage string ends the text",
         Concat({{5, 0, 0, 0}, {'a', 'b', 0, 9, 9}, kListW5}),
         {"", "", "", "ab", ""},
         1},
        {"corrupt: length swallows the list record",
         Concat({{20, 0, 0, 0}, Ascii("z"), kEmptyList}),
         {"", "", "", "zIDMDTL", ""},
         0},
        {"corrupt: wrong list marker",
         Concat({{4, 0, 0, 0}, Ascii("\t\t\t\tIDMDTX"), {0, 0, 0, 0}}),
         {},
         0},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.reason);
        BFilename f;
        AssignParts(f, {"old/", "o.zip", "op/", "of", "OD"});
        f.m_metaData.SetData("stale", 1);
        SetDataBytes(f, r.data);
        f.Get();
        EXPECT_EQ(PartsOf(f), r.want);
        EXPECT_EQ(f.m_metaData.GetCount(), r.items);
        EXPECT_EQ(DataOf(f), r.data);
    }
}

TEST(BFilename, SerialisedFormRoundTripsIntoAnotherObject) {
    for (const std::string& dir : {std::string("/Users/a/"), std::string(5000, 'd') + "/"}) {
        BFilename source;
        AssignParts(source, {dir, "data.zip", "img/", "x.png", "Backup"});
        source.m_metaData.SetData("w", 5);
        source.m_metaData.SetData("name", "value");
        source.Set();

        BFilename target;
        target.OSDelimiter(':');
        target.m_tag.SetData("mine");
        static_cast<BMetaData&>(target) = source;
        target.Get();

        EXPECT_EQ(PartsOf(target), PartsOf(source));
        EXPECT_TRUE(target.m_metaData == source.m_metaData);
        Str value;
        EXPECT_NE(target.m_metaData.GetData("name", value), nullptr);
        EXPECT_EQ(Text(value), "value");
        EXPECT_EQ(target.OSDelimiter(0), ':');
        EXPECT_EQ(target.CompareTag("mine"), 0);
        EXPECT_EQ(DataOf(target), DataOf(source));
    }
}
