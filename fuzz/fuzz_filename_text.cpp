// Parses arbitrary text as a storage string, a catalog string and a path, then runs the path
// operations on the result. The first byte picks the delimiters, so unusual settings are covered.
// A storage string with exactly four tabs must parse back to itself.
#include "FuzzCheck.h"
#include "base/BFilename.h"
#include "base/StrList.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

int Tabs(const Str& s) {
    int n = 0;
    for (const char* p = s; *p; ++p)
        n += *p == '\t';
    return n;
}

void Exercise(BFilename& f) {
    const Str storage = f.GetStorageString();
    if (Tabs(storage) == 4) {
        BFilename again;
        again.SetStorageString(storage);
        FUZZ_CHECK(again.GetStorageString() == storage);
    }
    f.GetCatalogString();
    f.OSPath();
    f.GetDisplayName();
    f.StripBackslash();
    f.RenameLastDirectory("n");
    StrList levels;
    f.DividePath(f.GetPath(), &levels);
    f.IsMatchingExt(levels);
    f.AppendToName("_1");
    f.GetNextUniqueName();
    f.SetExtension(f.GetExtension());
    f.ToUpperLower(f.GetPath());
    f.UnZipFilename();
    BFilename copy(f);
    FUZZ_CHECK(copy.Compare(f) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    static const char delimiters[] = "/\\:|";
    const unsigned selector = data[0];
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    const char* s = text.c_str();

    BFilename f;
    f.OSDelimiter(delimiters[selector & 3]);
    f.MACDelimiter(delimiters[(selector >> 2) & 3]);
    f.WINDelimiter(delimiters[(selector >> 4) & 3]);

    f.SetStorageString(s);
    Exercise(f);
    try {
        f.SetCatalogString(s);
    } catch (const StrException&) {
        // "Zip:" with fewer than two characters after it: the components are left empty.
        FUZZ_CHECK(f.GetStorageString() == "\t\t\t\t");
    }
    Exercise(f);
    f.SetPath(s);
    Exercise(f);
    return 0;
}
