#include "platform/UserDefaults.h"

#include "support/StoreTesting.h"
#include "support/TempFolder.h"

#include "support/Testing.h"

#include <cerrno>
#include <filesystem>

using platform::UserDefaults;
using Bytes = UserDefaults::Bytes;

namespace {

const auto XmlPlist = [](const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + body +
           "\n</plist>\n";
};

using UserDefaultsTest = StoreFileTest;

TEST_F(UserDefaultsTest, GettersCoerceAsThePlatformDocuments) {
    UserDefaults store(file);
    struct Row {
        const char* name; // also the key
        UserDefaults::Object value;
        std::int32_t integer;
        std::optional<std::string> text;
    };
    const Row rows[] = {
        {"leading space, sign, digits", std::string("  -42xyz"), -42, "  -42xyz"},
        {"no digits reads 0", std::string("abc"), 0, "abc"},
        {"saturates", std::string("99999999999"), INT32_MAX, "99999999999"},
        {"saturates below", std::string("-99999999999"), INT32_MIN, "-99999999999"},
        {"a zero among the digits", std::string("+1020"), 1020, "+1020"},
        {"a number reads as its decimal text", -7, -7, "-7"},
        {"bytes are neither text nor number", Bytes{'4', '2'}, 0, {}},
        {"empty bytes", Bytes{}, 0, {}},
        {"a real in the colour key gives its integer", 255.0, 255, "255"},
        {"truncated toward zero", -2.75, -2, "-2.75"},
        {"past 32 bits", 1e10, INT32_MAX, "10000000000"},
        {"below 32 bits", -1e10, INT32_MIN, "-10000000000"},
        {"not a number", std::nan(""), 0, "nan"},
        {"true", true, 1, "1"},
        {"false", false, 0, "0"},
    };
    for (const Row& row : rows)
        store.setObject(row.value, row.name);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(store.integerForKey(row.name), row.integer);
        EXPECT_EQ(store.stringForKey(row.name), row.text);
        const Bytes* bytes = std::get_if<Bytes>(&row.value);
        EXPECT_EQ(store.dataForKey(row.name), bytes ? std::optional(*bytes) : std::nullopt);
    }
    EXPECT_EQ(store.integerForKey("absent"), 0);
    EXPECT_FALSE(store.stringForKey("absent") || store.dataForKey("absent"));
}

TEST_F(UserDefaultsTest, RealsAndBooleansAreVisibleOtherKindsKeptAsTheyWere) {
    WriteBytes(file, XmlPlist("<dict><key>real</key><real>255</real><key>flag</key><true/>"
                              "<key>list</key><array><string>x</string></array>"
                              "<key>wide</key><integer>4294967301</integer></dict>"));
    UserDefaults store(file);
    EXPECT_EQ(store.allKeys(), (std::vector<std::string>{"flag", "real", "wide"}));
    EXPECT_EQ(store.objectForKey("real"), UserDefaults::Object(255.0));
    EXPECT_EQ(store.objectForKey("flag"), UserDefaults::Object(true));
    EXPECT_EQ(store.integerForKey("wide"), 5) << "the low 32 bits of a wider integer";
    store.setObject(1, "new");
    ASSERT_TRUE(store.synchronize());

    // In the binary file: an array of one text "x", the integer 2^32 + 5.
    const std::string bytes = ReadBytes(file);
    for (const std::string& kept :
         {std::string("\xA1"), std::string("\x51x"), std::string("\x13\0\0\0\x01\0\0\0\x05", 9)})
        EXPECT_NE(bytes.find(kept), std::string::npos);
    UserDefaults reread(file);
    EXPECT_EQ(reread.integerForKey("new"), 1);
    EXPECT_EQ(reread.objectForKey("real"), UserDefaults::Object(255.0));
    EXPECT_EQ(reread.objectForKey("flag"), UserDefaults::Object(true));
}

// {"a": value}: the dictionary at 8, its key "a" at 11, the value at 13.
const auto OneEntry = [](const std::string& value) {
    return Binary(std::string("\xD1\x01\x02\x51\x61", 5) + value, {8, 11, 13});
};

// {"a": chain}: a chain of `levels` arrays, each holding the next one (twice when `doubled`),
// ending in a text of 1000 bytes. Doubled, the file stays small while its size written out doubles
// with every level.
std::string Chain(int levels, bool doubled) {
    std::string objects = "\xD1" + Big(1, 4) + Big(2, 4) +
                          "\x51"
                          "a";
    std::vector<std::uint64_t> offsets = {8, 17};
    for (int i = 0; i < levels; ++i) {
        offsets.push_back(8 + objects.size());
        objects += (doubled ? "\xA2" + Big(3 + i, 4) : "\xA1") + Big(3 + i, 4);
    }
    offsets.push_back(8 + objects.size());
    return Binary(objects + "\x5F\x11" + Big(1000, 2) + std::string(1000, 'x'), offsets, 4);
}

enum class Load { Reads, Unparsable, TooLarge };

// Reading changes nothing on disk whatever the file holds; the first write then sets an
// unparsable file aside whole and refuses to replace one too large to read.
TEST_F(UserDefaultsTest, LoaderReadsWhatItCanAndTheFirstWriteDealsWithTheRest) {
    const std::string minimal = OneEntry("\x10\x01");
    const std::string a1 = "<dict><key>a</key><integer>1</integer><key>", x(1 << 20, 'x');
    std::string deep = a1 + "d</key>", closing;
    for (int i = 0; i < 40; ++i)
        deep += "<array>", closing += "</array>";
    struct Row {
        const char* name;
        std::string bytes;
        std::int32_t a; // the value of key "a" when the file reads
        Load load;
    };
    const Row rows[] = {
        {"minimal binary", minimal, 1, Load::Reads},
        {"XML", XmlPlist("<dict><key>a</key><integer>3</integer></dict>"), 3, Load::Reads},
        {"empty file", "", 0, Load::Reads},
        {"text holding a NUL", OneEntry(std::string("\x53\x37\x00\x79", 4)), 7, Load::Reads},
        {"XML nested 40 deep", XmlPlist(deep + closing + "</dict>"), 1, Load::Reads},
        {"larger than 1 MiB", XmlPlist(a1 + "p</key><string>" + x + "</string></dict>"), 1,
         Load::Reads},
        {"not a property list", "hello, world", 0, Load::Unparsable},
        {"truncated binary", minimal.substr(0, minimal.size() - 1), 0, Load::Unparsable},
        {"XML cut short", XmlPlist("<dict><key>a</key><integer>3</integer>"), 0, Load::Unparsable},
        {"binary nested 100000 deep", Chain(100000, false), 0, Load::Unparsable},
        // 8 levels: 256 copies of the text, 260 kB written out; 13 levels: 8 MB.
        {"shared objects written out under the bound", Chain(8, true), 0, Load::Reads},
        {"shared objects written out past the bound", Chain(13, true), 0, Load::TooLarge},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        TempFolder here;
        const std::string path = here / "store.plist";
        WriteBytes(path, row.bytes);
        std::unique_ptr<UserDefaults> store;
        const std::string err = Stderr([&] { store = std::make_unique<UserDefaults>(path); });
        EXPECT_EQ(Lines(err), row.load == Load::Reads ? 0 : 1) << err;
        EXPECT_EQ(store->integerForKey("a"), row.a);
        EXPECT_EQ(store->synchronize(), row.load != Load::TooLarge);
        EXPECT_EQ(Listing(here.path()), std::set<std::string>{"store.plist"}) << "reading alone";
        EXPECT_EQ(ReadBytes(path), row.bytes);

        store->setObject(2, "b");
        const std::string written =
            Stderr([&] { EXPECT_EQ(store->synchronize(), row.load != Load::TooLarge); });
        EXPECT_EQ(Lines(written), row.load == Load::Unparsable ? 1 : 0)
            << "one line naming the backup; a refusal already reported is not repeated: "
            << written;
        EXPECT_EQ(ReadBytes(path + ".corrupt"), row.load == Load::Unparsable ? row.bytes : "")
            << "set aside as it was";
        if (row.load == Load::TooLarge) {
            EXPECT_EQ(ReadBytes(path), row.bytes) << "a file it cannot read is not replaced";
            continue;
        }
        UserDefaults reread(path);
        EXPECT_EQ(reread.integerForKey("a"), row.load == Load::Reads ? row.a : 0)
            << "what it read is kept; what it set aside is not guessed at";
        EXPECT_EQ(reread.integerForKey("b"), 2);
    }
}

TEST_F(UserDefaultsTest, DamagedFilesAreSetAsideUnderNamesOfTheirOwn) {
    WriteBytes(file + ".corrupt", "older");
    WriteBytes(file + ".corrupt.1", "older still");
    WriteBytes(file, "garbage");
    std::string err = Stderr([&] {
        UserDefaults store(file);
        store.setObject(1, "k");
        EXPECT_TRUE(store.synchronize());
    });
    EXPECT_EQ(Lines(err), 2) << "one on reading, one naming the backup: " << err;
    EXPECT_NE(err.find(".corrupt.2"), std::string::npos) << err;
    EXPECT_EQ(ReadBytes(file + ".corrupt.2"), "garbage");
    EXPECT_EQ(ReadBytes(file + ".corrupt"), "older");
    EXPECT_EQ(ReadBytes(file + ".corrupt.1"), "older still");
    EXPECT_EQ(UserDefaults(file).integerForKey("k"), 1);
    std::filesystem::remove(file + ".corrupt.2");

    // Damaged while a store runs: found by its next synchronise, set aside, then written anew.
    UserDefaults store(file);
    WriteBytes(file, "garbage three");
    store.setObject(2, "j");
    err = Stderr([&] { EXPECT_TRUE(store.synchronize()); });
    EXPECT_EQ(ReadBytes(file + ".corrupt.2"), "garbage three") << err;
    UserDefaults reread(file);
    EXPECT_EQ(reread.integerForKey("j"), 2);
    EXPECT_FALSE(reread.objectForKey("k")) << "the damaged file's contents are not guessed";
}

TEST_F(UserDefaultsTest, TextsAndKeysHoldingNulReadAsTheyAre) {
    // {"k\0ey": "x\0y", "u": "\u00E9\0\u00FC\U0001F600"}, the last in UTF-16.
    WriteBytes(file, Binary(std::string("\xD2\x01\x02\x03\x04\x54k\0ey\x51u\x53x\0y"
                                        "\x65\0\xE9\0\0\0\xFC\xD8\x3D\xDE\0",
                                        27),
                            {8, 13, 18, 20, 24}));
    UserDefaults store(file);
    EXPECT_EQ(store.stringForKey(std::string("k\0ey", 4)), std::string("x\0y", 3));
    EXPECT_FALSE(store.objectForKey("k")) << "a key is not cut at its NUL";
    EXPECT_EQ(store.stringForKey("u"), std::string("\xC3\xA9\0\xC3\xBC\xF0\x9F\x98\x80", 9));
}

// A path that is no regular file is refused the same way; the defaults tool's tests and the host's
// (ProgramsTest) cover it.
TEST_F(UserDefaultsTest, RefusesTextsItCouldNotReadBackSilently) {
    UserDefaults store(file);
    const std::string err = Stderr([&] {
        EXPECT_FALSE(store.setObject(std::int32_t{1}, "\xFF")) << "a key that is not UTF-8";
        EXPECT_FALSE(store.setObject(std::string("a\0b", 3), "k")) << "a text holding NUL";
    });
    EXPECT_EQ(err, "");
    EXPECT_FALSE(store.objectForKey("k"));
    EXPECT_TRUE(store.allKeys().empty());
}

// errno means something only after a call fails: one left from before does not disturb a read.
TEST_F(UserDefaultsTest, AnErrnoLeftFromBeforeDoesNotDisturbReading) {
    UserDefaults(file).setObject(1, "k");
    errno = EINTR;
    EXPECT_EQ(UserDefaults(file).integerForKey("k"), 1);
}

TEST_F(UserDefaultsTest, ADiscardedChangeIsNeverWrittenNotEvenAtTheEnd) {
    UserDefaults(file).setObject(1, "kept");
    {
        UserDefaults store(file);
        store.setObject(2, "kept");
        store.setObject(3, "other");
        store.discardChange("kept");
        EXPECT_EQ(store.integerForKey("kept"), 1) << "the file's value shows again";
    }
    UserDefaults reread(file);
    EXPECT_EQ(reread.integerForKey("kept"), 1);
    EXPECT_EQ(reread.integerForKey("other"), 3) << "other changes are still written";
}

} // namespace
