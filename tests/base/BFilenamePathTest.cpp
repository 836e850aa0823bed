// Filename path operations: system paths, directory levels, file name and extension, numbered
// variants, archive members, display name, ordering and title case.
#include "base/BFilename.h"

#include "base/BFilenameTestPeer.h"
#include "base/StrList.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::string Text(const Str& s) {
    return std::string(s, s.GetLength());
}

BFilename Make(const FilenameParts& parts) {
    BFilename f;
    AssignParts(f, parts);
    return f;
}

BFilename WithFile(const char* file) {
    return Make({"", "", "", file, ""});
}

std::vector<std::string> Elements(const StrList& list) {
    std::vector<std::string> out;
    for (__POSITION* pos = list.GetHeadPosition(); pos != nullptr;) {
        auto* node = reinterpret_cast<BListNode<Str>*>(pos);
        out.push_back(Text(node->value));
        pos = reinterpret_cast<__POSITION*>(node->next);
    }
    return out;
}

} // namespace

TEST(BFilenamePath, OSPathConvertsMacAndWindowsDelimitersWithoutChangingObject) {
    BFilename f = Make({"a\\b/", "", "", "c", ""});
    EXPECT_EQ(Text(f.OSPath()), "a/b/c");
    EXPECT_EQ(PartsOf(f).dir, "a\\b/");
    f.OSDelimiter('\\');
    EXPECT_EQ(Text(f.OSPath()), "a\\b\\c");

    // Paths of any length convert in full.
    std::string longDir;
    for (int i = 0; i < 1000; ++i)
        longDir += "d\\";
    BFilename g = Make({longDir, "", "", "f", ""});
    const std::string want = Text(g.OSPath());
    ASSERT_EQ(want.size(), longDir.size() + 1);
    EXPECT_EQ(want.find('\\'), std::string::npos);
}

TEST(BFilenamePath, PathForOSLeavesCallersStringAlone) {
    const BFilename f;
    const Str path("a\\b/c");
    EXPECT_EQ(Text(f.PathForOS(path)), "a/b/c");
    EXPECT_EQ(Text(path), "a\\b/c");
    EXPECT_EQ(Text(f.PathForOS(Str())), "");
    const std::string longPath(3000, '\\');
    EXPECT_EQ(Text(f.PathForOS(Str(longPath.c_str()))), std::string(3000, '/'));
}

TEST(BFilenamePath, DirectoryGettersAndSettersAddTheTrailingDelimiter) {
    struct Row {
        const char* stored;
        const char* want;
    };
    const Row rows[] = {{"x", "x/"}, {"", ""}, {"x\\", "x\\"}, {"a\\b", "a\\b/"}, {"a?", "a?/"}};
    for (const Row& r : rows) {
        BFilename viaGet = Make({r.stored, "", "", "f", ""});
        EXPECT_EQ(Text(viaGet.GetDirectory()), r.want) << r.stored;
        EXPECT_EQ(PartsOf(viaGet).dir, r.want) << r.stored;
        BFilename viaSet;
        viaSet.SetDirectory(r.stored);
        EXPECT_EQ(PartsOf(viaSet).dir, r.want) << r.stored;
    }
}

TEST(BFilenamePath, StripBackslashDropsOneMacThenOneWindowsDelimiter) {
    struct Row {
        const char* dir;
        const char* want;
    };
    const Row rows[] = {{"/a/", "/a"},    {"/", ""},     {"a\\", "a"},
                        {"a\\/", "a"},    {"a//", "a/"}, {"a/\\", "a/"},
                        {"a\\\\", "a\\"}, {"", ""},      {"a", "a"}};
    for (const Row& r : rows) {
        BFilename f = Make({r.dir, "", "", "f", ""});
        EXPECT_EQ(Text(f.StripBackslash()), r.want) << r.dir;
        EXPECT_EQ(PartsOf(f).dir, r.want) << r.dir;
    }
}

TEST(BFilenamePath, RenameLastDirectoryReplacesTheLastLevel) {
    struct Row {
        const char* dir;
        const char* name;
        const char* want;
    };
    const Row rows[] = {
        {"/Users/a/old/", "new", "/Users/a/new/"},
        {"/a/b", "c", "/a/c/"},
        {"/a/old/", "", "/a/"},
        // No system delimiter before the final character: the name is appended to all of it.
        {"old/", "new", "old/new/"},
        {"", "new", "new/"},
        {"/", "x", "/x/"},
        {"a\\b\\", "c", "a\\b\\c/"},
    };
    for (const Row& r : rows) {
        BFilename f = Make({r.dir, "", "", "f", ""});
        EXPECT_EQ(Text(f.RenameLastDirectory(r.name)), r.want) << r.dir << " " << r.name;
        EXPECT_EQ(PartsOf(f).dir, r.want);
    }
}

TEST(BFilenamePath, DividePathAppendsLevelsWithTheirDelimiters) {
    struct Row {
        const char* path;
        std::vector<std::string> want;
    };
    const Row rows[] = {
        {"/Users/a/file.txt", {"/", "Users/", "a/", "file.txt"}},
        {"a\\b/c", {"a\\", "b/", "c"}},
        {"dir/", {"dir/"}},
        {"//", {"/", "/"}},
        {"/", {"/"}},
        {"a", {"a"}},
        {"", {}},
    };
    const BFilename f;
    for (const Row& r : rows) {
        StrList list;
        f.DividePath(r.path, &list);
        EXPECT_EQ(Elements(list), r.want) << r.path;
    }
    StrList list;
    Str first("keep");
    list.AddTail(first);
    f.DividePath("a/b", &list);
    EXPECT_EQ(Elements(list), (std::vector<std::string>{"keep", "a/", "b"}));
}

TEST(BFilenamePath, FileNameSettersRemoveIllegalCharacters) {
    BFilename f;
    f.SetFileName("a/b?.txt");
    EXPECT_EQ(Text(f.GetFileName()), "ab.txt");
}

TEST(BFilenamePath, SetExtensionReplacesTheLastExtension) {
    struct Row {
        const char* file;
        const char* ext;
        const char* want;
    };
    const Row rows[] = {
        {"a.doc", "txt", "a.txt"}, {"a.doc", ".txt", "a.txt"}, {"a.doc", "", "a"},
        {"a.doc", ".", "a."},      {"a", "txt", "a.txt"},      {"a.b.c", "d", "a.b.d"},
        {"", "txt", ".txt"},       {"a.doc", "..x", "a..x"},
    };
    for (const Row& r : rows) {
        BFilename f = WithFile(r.file);
        EXPECT_EQ(Text(f.SetExtension(r.ext)), r.want) << r.file << " " << r.ext;
        EXPECT_EQ(Text(f.GetFileName()), r.want);
    }
}

TEST(BFilenamePath, StripExtensionLeavesObjectAlone) {
    struct Row {
        const char* file;
        const char* want;
    };
    const Row rows[] = {{"a.b.c", "a.b"}, {"a", "a"}, {".x", ""}, {"a.", "a"}, {"", ""}};
    for (const Row& r : rows) {
        const BFilename f = WithFile(r.file);
        EXPECT_EQ(Text(f.StripExtension()), r.want) << r.file;
        EXPECT_EQ(Text(f.GetFileName()), r.file);
    }
}

TEST(BFilenamePath, IsMatchingExtComparesListStringsAsTheyAre) {
    struct Row {
        const char* file;
        std::vector<const char*> list;
        bool match;
    };
    const Row rows[] = {
        {"a.TXT", {"doc", "txt"}, true}, {"a.txt", {".txt"}, false},      {"a.txt", {}, false},
        {"README", {"doc", ""}, true},   {"a.tar.gz", {"tar.gz"}, false},
    };
    for (const Row& r : rows) {
        StrList list;
        for (const char* s : r.list) {
            Str e(s);
            list.AddTail(e);
        }
        EXPECT_EQ(WithFile(r.file).IsMatchingExt(list), r.match) << r.file;
    }
}

TEST(BFilenamePath, RenameFileKeepsTheOldExtension) {
    struct Row {
        const char* file;
        const char* name;
        const char* want;
    };
    const Row rows[] = {
        {"report.doc", "summary.txt", "summary.doc"},
        {"README", "notes.txt", "notes"},
        {"x.txt", "a/b.c", "ab.txt"},
        {"x.txt", "plain", "plain.txt"},
    };
    for (const Row& r : rows) {
        BFilename f = WithFile(r.file);
        EXPECT_EQ(Text(f.RenameFile(r.name)), r.want) << r.file << " " << r.name;
        EXPECT_EQ(Text(f.GetFileName()), r.want);
    }
}

TEST(BFilenamePath, AppendToNameInsertsBeforeTheExtension) {
    struct Row {
        const char* file;
        const char* suffix;
        const char* want;
    };
    const Row rows[] = {
        {"report.doc", "_old", "report_old.doc"},
        {"README", "-1", "README-1"},
        {"a.txt", "?x", "ax.txt"},
    };
    for (const Row& r : rows) {
        BFilename f = WithFile(r.file);
        f.AppendToName(r.suffix);
        EXPECT_EQ(Text(f.GetFileName()), r.want) << r.file << " " << r.suffix;
    }
}

TEST(BFilenamePath, GetNextUniqueNameCountsInParentheses) {
    struct Row {
        const char* file;
        const char* want;
    };
    const Row rows[] = {
        {"report.txt", "report(2).txt"},
        {"report(2).txt", "report(3).txt"},
        {"notes", "notes(2)"},
        {"a(9).txt", "a(10).txt"},
        {"x(old).txt", "x(1).txt"},
        {"(3).txt", "(4).txt"},
        {"a(b", "a(b(2)"},
        {"r1.2.", "r12(2)"},
        {"", "(2)"},
        // The number is read after the first '(' only.
        {"a(1)(5).txt", "a(2).txt"},
        {"a( -3).txt", "a(-2).txt"},
        {"a(2147483647).txt", "a(-2147483648).txt"},
    };
    for (const Row& r : rows) {
        BFilename f = WithFile(r.file);
        EXPECT_EQ(Text(f.GetNextUniqueName()), r.want) << r.file;
        EXPECT_EQ(Text(f.GetFileName()), r.want);
    }
}

TEST(BFilenamePath, SetZipPathSplitsMemberPath) {
    struct Row {
        const char* path;
        const char* zipPath;
        const char* file;
    };
    const Row rows[] = {
        {"img/icons/a.png", "img/icons/", "a.png"},
        {"img/", "img/", ""},
        {"a.png", "", "a.png"},
        {"sub/a?.png", "sub/", "a.png"},
        {"a\\b", "a\\", "b"},
        {"", "", ""},
    };
    for (const Row& r : rows) {
        BFilename f = Make({"/d/", "z.zip", "old/", "old", "Disk"});
        f.SetZipPath(r.path);
        EXPECT_EQ(PartsOf(f), (FilenameParts{"/d/", "z.zip", r.zipPath, r.file, "Disk"})) << r.path;
    }
    // The member path is split at the object's own Mac and Windows delimiters.
    BFilename g;
    g.MACDelimiter(':');
    g.SetZipPath("x:y/z");
    EXPECT_EQ(PartsOf(g), (FilenameParts{"", "", "x:", "yz", ""}));
}

TEST(BFilenamePath, GetZipPathAddsTheTrailingDelimiter) {
    struct Row {
        const char* stored;
        const char* want;
    };
    const Row rows[] = {{"img", "img/"}, {"", ""}, {"img\\", "img\\"}, {"img/", "img/"}};
    for (const Row& r : rows) {
        BFilename f = Make({"", "z.zip", r.stored, "f", ""});
        EXPECT_EQ(Text(f.GetZipPath()), r.want) << r.stored;
        EXPECT_EQ(PartsOf(f).zipPath, r.want) << r.stored;
    }
}

TEST(BFilenamePath, UnZipFilenameKeepsTheArchive) {
    BFilename f = Make({"/d/", "z.zip", "zp/", "f.txt", "Disk"});
    EXPECT_EQ(Text(f.UnZipFilename()), "/d/\t\t\t\tDisk");
    EXPECT_EQ(PartsOf(f), (FilenameParts{"/d/", "z.zip", "", "", "Disk"}));
}

TEST(BFilenamePath, DisplayNameShowsArchiveAndDisk) {
    struct Row {
        FilenameParts parts;
        const char* want;
        FilenameParts after;
    };
    const Row rows[] = {
        {{"/a/", "", "", "b.txt", ""}, "/a/b.txt", {"/a/", "", "", "b.txt", ""}},
        {{"/a/", "", "", "b.txt", "Disk"},
         "/a/b.txt disk: 'Disk'.",
         {"/a/", "", "", "b.txt", "Disk"}},
        // Plain files show the path as it is, without normalising the directory.
        {{"x", "", "zp", "f", ""}, "xf", {"x", "", "zp", "f", ""}},
        {{"/Users/a/", "data.zip", "img", "x.png", "Backup"},
         "/Users/a/data.zip>>img/x.png disk: 'Backup'.",
         {"/Users/a/", "data.zip", "img/", "x.png", "Backup"}},
        {{"d", "z.zip", "", "f", ""}, "d/z.zip>>f", {"d/", "z.zip", "", "f", ""}},
    };
    for (const Row& r : rows) {
        BFilename f = Make(r.parts);
        EXPECT_EQ(Text(f.GetDisplayName()), r.want) << r.parts;
        EXPECT_EQ(PartsOf(f), r.after);
    }
}

TEST(BFilenamePath, CompareOrdersStorageStringsIgnoringDiskNames) {
    const BFilename a = Make({"/a/", "", "", "f", "Disk1"});
    const BFilename b = Make({"/b/", "", "", "f", "Disk2"});
    const BFilename a2 = Make({"/a/", "", "", "f", "Other"});
    EXPECT_EQ(a.Compare(a), 0);
    EXPECT_EQ(a.Compare(a2), 0);
    EXPECT_EQ(a.Compare(b), 1);
    EXPECT_EQ(b.Compare(a), -1);
    // Case counts, and the zip fields take part.
    EXPECT_NE(a.Compare(Make({"/A/", "", "", "f", ""})), 0);
    EXPECT_EQ(a.Compare(Make({"/a/", "z.zip", "", "f", ""})), 1);
    EXPECT_EQ(PartsOf(a).disk, "Disk1");
    EXPECT_EQ(PartsOf(b).disk, "Disk2");
}

TEST(BFilenamePath, ToUpperLowerTitleCasesWordsAfterSpaceOrBackslash) {
    struct Row {
        const char* text;
        const char* want;
    };
    const Row rows[] = {
        {"", ""},       {"a/b d", "A/b D"}, {"my documents\\old FILES", "My Documents\\Old Files"},
        {"ABC", "Abc"}, {" x", " X"},       {"1a b", "1a B"},
    };
    const BFilename f;
    for (const Row& r : rows)
        EXPECT_EQ(Text(f.ToUpperLower(r.text)), r.want) << r.text;
}
