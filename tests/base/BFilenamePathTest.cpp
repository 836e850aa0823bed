// Filename path operations: directory levels, system paths, file name and extension, numbered
// variants, archive members, display name, ordering and title case.
#include "base/BFilename.h"

#include "base/BFilenameTestPeer.h"
#include "base/StrList.h"

#include "support/Testing.h"

namespace {

// The elements of a list that held "keep" before DividePath appended the levels of path to it.
std::string Levels(const BFilename& f, const char* path) {
    StrList list;
    list.AddUnique("keep");
    f.DividePath(path, &list);
    std::string out;
    for (; list.GetCount() > 0; list.RemoveTail())
        out = Text(list.GetTail()) + "|" + out;
    return out;
}

// Runs the named operation with argument arg on a filename built from in: as its directory (file
// name "f"), as its file name, or as a storage string, whichever the operation works on.
std::string Apply(const std::string& op, const char* in, const char* arg) {
    BFilename dir = Make({in, "", "", "f", ""}), file = Make({"", "", "", in, ""}), full{Str(in)};
    StrList extensions;
    extensions.AddUnique(arg);
    const std::map<std::string, std::function<std::string()>> ops = {
        {"GetDirectory", [&] { return Text(dir.GetDirectory()); }},
        {"SetDirectory", [&] { return dir.SetDirectory(arg), PartsOf(dir)[0]; }},
        {"StripBackslash", [&] { return Text(dir.StripBackslash()); }},
        {"RenameLastDirectory", [&] { return Text(dir.RenameLastDirectory(arg)); }},
        {"OSPath", [&] { return Text(dir.OSPath()); }},
        {"PathForOS", [&] { return Text(dir.PathForOS(Str(in))); }},
        {"DividePath", [&] { return Levels(dir, in); }},
        {"ToUpperLower", [&] { return Text(dir.ToUpperLower(in)); }},
        {"IsA", [&] { return file.IsA(arg) ? "yes" : "no"; }},
        {"IsMatchingExt", [&] { return file.IsMatchingExt(extensions) ? "yes" : "no"; }},
        {"SetFileName", [&] { return file.SetFileName(arg), Text(file.GetFileName()); }},
        {"SetExtension", [&] { return Text(file.SetExtension(arg)); }},
        {"StripExtension", [&] { return Text(file.StripExtension()); }},
        {"RenameFile", [&] { return Text(file.RenameFile(arg)); }},
        {"AppendToName", [&] { return file.AppendToName(arg), Text(file.GetFileName()); }},
        {"GetNextUniqueName", [&] { return Text(file.GetNextUniqueName()); }},
        {"SetZipPath", [&] { return full.SetZipPath(arg), Text(full.GetStorageString()); }},
        {"GetZipPath", [&] { return Text(full.GetZipPath()); }},
        // The returned text, then the storage string after the call.
        {"UnZipFilename",
         [&] {
             const std::string returned = Text(full.UnZipFilename());
             return returned + Text(full.GetStorageString());
         }},
        {"GetDisplayName", [&] { return Text(full.GetDisplayName()); }},
        {"Compare", [&] { return std::to_string(full.Compare(BFilename(Str(arg)))); }},
    };
    return ops.at(op)();
}

} // namespace

// Operation, input, argument and result; directories and system paths first.
TEST(BFilenamePath, OperationsTable) {
    const std::string windows(3000, '\\'), system(3000, '/');
    const char* const rows[][4] = {
        {"GetDirectory", "x", "", "x/"},
        {"GetDirectory", "x\\", "", "x\\"},
        {"SetDirectory", "", "a?", "a?/"},
        // One trailing Mac delimiter, then one Windows delimiter, in that order.
        {"StripBackslash", "a\\/", "", "a"},
        {"StripBackslash", "a/\\", "", "a/"},
        {"StripBackslash", "a//", "", "a/"},
        {"StripBackslash", "", "", ""},
        {"RenameLastDirectory", "/U/a/old/", "new", "/U/a/new/"},
        // No system delimiter before the final character: the name is appended to all of it.
        {"RenameLastDirectory", "old/", "new", "old/new/"},
        {"OSPath", "a\\b/", "", "a/b/f"},
        // Any length converts in full.
        {"PathForOS", windows.c_str(), "", system.c_str()},
        {"DividePath", "/U/a/f.txt", "", "keep|/|U/|a/|f.txt|"},
        {"DividePath", "a\\b//", "", "keep|a\\|b/|/|"},
        // Words start after a space or '\', not after '/'.
        {"ToUpperLower", "my docs\\old FILES/x y", "", "My Docs\\Old Files/x Y"},
        // File name and extension.
        {"IsA", "a.zip", ".ZIP", "yes"},
        {"IsA", "a.zip", "..zip", "no"},
        {"IsA", "a.tar.gz", "tar.gz", "no"},
        {"IsA", "a", ".", "yes"},
        // List strings are compared as they are, case ignored.
        {"IsMatchingExt", "a.TXT", "txt", "yes"},
        {"IsMatchingExt", "a.txt", ".txt", "no"},
        {"SetFileName", "", "a\\/:*?<>|b c.d", "ab c.d"},
        {"SetExtension", "a.b.c", ".d", "a.b.d"},
        {"SetExtension", "a.doc", "", "a"},
        {"SetExtension", "a", "txt", "a.txt"},
        {"StripExtension", "a.b.c", "", "a.b"},
        {"StripExtension", ".profile", "", ""},
        {"RenameFile", "report.doc", "sum.txt", "sum.doc"},
        {"RenameFile", "README", "notes.txt", "notes"},
        {"AppendToName", "report.doc", "_old", "report_old.doc"},
        {"AppendToName", "README", "?-1", "README-1"},
        {"GetNextUniqueName", "report.txt", "", "report(2).txt"},
        {"GetNextUniqueName", "report(2).txt", "", "report(3).txt"},
        {"GetNextUniqueName", "a(10).txt", "", "a(11).txt"},
        {"GetNextUniqueName", "a(+5).txt", "", "a(6).txt"},
        {"GetNextUniqueName", "notes", "", "notes(2)"},
        // The number is read after the first '(' only, and wraps in 32 bits.
        {"GetNextUniqueName", "a(1)(5).txt", "", "a(2).txt"},
        {"GetNextUniqueName", "a(2147483647).txt", "", "a(-2147483648).txt"},
        // Archive members, display and order.
        {"SetZipPath", "\tz\to/\to\t", "i/j/a?.png", "\tz\ti/j/\ta.png\t"},
        {"SetZipPath", "\tz\to/\to\t", "a\\b", "\tz\ta\\\tb\t"},
        {"GetZipPath", "\tz\timg\tf\t", "", "img/"},
        {"GetZipPath", "\tz\t\tf\t", "", ""},
        {"UnZipFilename", "/d/\tz\tzp/\tf\tD", "", "/d/\t\t\t\tD/d/\tz\t\t\tD"},
        {"GetDisplayName", "/a/\t\t\tb.txt\tD", "", "/a/b.txt disk: 'D'."},
        // Plain files show the path as stored; members get directory and zip path normalised.
        {"GetDisplayName", "x\t\tzp\tf\t", "", "xf"},
        {"GetDisplayName", "d\tz.zip\timg\tx.png\t", "", "d/z.zip>>img/x.png"},
        // Compare(other) orders other against this; disk names take no part.
        {"Compare", "/a/\t\t\tf\tD1", "/a/\t\t\tf\tD2", "0"},
        {"Compare", "/a/\t\t\tf\t", "/b/\t\t\tf\t", "1"},
        {"Compare", "/a/\t\t\tf\t", "/a/\tz\t\tf\t", "1"},
    };
    for (const auto& [op, in, arg, want] : rows)
        EXPECT_EQ(Apply(op, in, arg), want) << op << " '" << in << "' '" << arg << "'";
}

// The text utilities read no byte outside the text they are given, and take null as nothing.
TEST(BFilenamePath, TextUtilitiesStayInsideTheirText) {
    const BFilename f;
    const char slash[] = "/";
    EXPECT_FALSE(f.EndsWithDelimiter(slash + 1)) << "an empty text ends with no delimiter";
    f.ReplaceChar(nullptr, '/', ':');
    EXPECT_EQ(Text(f.PathForOS(nullptr)), "");
}
