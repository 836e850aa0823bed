#include "platform/UserDefaults.h"

#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <random>
#include <string>
#include <sys/resource.h>
#include <vector>

using platform::UserDefaults;
using Bytes = UserDefaults::Bytes;

namespace {

std::string XmlPlist(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + body +
           "\n</plist>\n";
}

// The file as XML, through the library, to inspect what the store wrote.
std::string FileAsXml(const std::string& path) {
    std::string bytes = ReadBytes(path);
    plist_t root = nullptr;
    plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
    if (!root)
        return "";
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(root, &xml, &length);
    std::string text(xml, length);
    plist_to_xml_free(xml);
    plist_free(root);
    return text;
}

class UserDefaultsTest : public ::testing::Test {
protected:
    TempFolder folder;
    std::string file = folder / "store.plist";
};

TEST_F(UserDefaultsTest, GettersCoerceAsThePlatformDocuments) {
    UserDefaults store(file);
    store.setObject(std::string("  -42xyz"), "text");
    store.setObject(std::string("abc"), "letters");
    store.setObject(std::string("99999999999"), "huge");
    store.setObject(std::string("-99999999999"), "tiny");
    store.setObject(-7, "number");
    store.setObject(Bytes{'4', '2'}, "bytes");
    store.setObject(Bytes{}, "empty");

    struct Row {
        const char* key;
        std::int32_t integer;
        std::optional<std::string> text;
        bool hasData;
    };
    const Row rows[] = {
        {"text", -42, "  -42xyz", false},          // leading space, sign, digits
        {"letters", 0, "abc", false},              // no digits reads 0
        {"huge", INT32_MAX, "99999999999", false}, // saturates
        {"tiny", INT32_MIN, "-99999999999", false},
        {"number", -7, "-7", false},      // a number reads as its decimal text
        {"bytes", 0, std::nullopt, true}, // bytes are neither text nor number
        {"empty", 0, std::nullopt, true},
        {"absent", 0, std::nullopt, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(store.integerForKey(row.key), row.integer) << row.key;
        EXPECT_EQ(store.stringForKey(row.key), row.text) << row.key;
        EXPECT_EQ(store.dataForKey(row.key).has_value(), row.hasData) << row.key;
        EXPECT_EQ(store.objectForKey(row.key).has_value(), std::string(row.key) != "absent");
    }
    EXPECT_EQ(store.dataForKey("bytes"), (Bytes{'4', '2'}));
    EXPECT_EQ(store.dataForKey("empty"), Bytes{});
}

TEST_F(UserDefaultsTest, KeysAreCaseSensitiveAndAMissingValueRemoves) {
    UserDefaults store(file);
    store.setObject(1, "Key");
    EXPECT_FALSE(store.objectForKey("key"));
    store.setObject(std::nullopt, "Key");
    EXPECT_FALSE(store.objectForKey("Key"));
    store.setObject(2, "Key");
    store.removeObjectForKey("Key");
    EXPECT_FALSE(store.objectForKey("Key"));
    EXPECT_TRUE(store.allKeys().empty());
}

TEST_F(UserDefaultsTest, RefusesKeysAndTextsThePlatformCannotHold) {
    UserDefaults store(file);
    EXPECT_FALSE(store.setObject(1, "bad\xFF"));
    EXPECT_FALSE(store.setObject(1, std::string("nul\0key", 7)));
    EXPECT_FALSE(store.setObject(std::string("\xC0\xAF"), "k"));
    EXPECT_FALSE(store.setObject(std::string("a\0b", 3), "k"));
    EXPECT_TRUE(store.allKeys().empty());
    EXPECT_TRUE(store.setObject(std::string(""), ""));
    EXPECT_EQ(store.stringForKey(""), "");
}

TEST_F(UserDefaultsTest, ChangesReachTheFileOnlyWhenSynchronised) {
    UserDefaults writer(file);
    writer.setObject(5, "n");
    EXPECT_FALSE(Exists(file));
    ASSERT_TRUE(writer.synchronize());
    EXPECT_EQ(ReadBytes(file).substr(0, 8), "bplist00");
    UserDefaults reader(file);
    EXPECT_EQ(reader.integerForKey("n"), 5);
}

TEST_F(UserDefaultsTest, DestroyingAStoreSynchronisesItsPendingChanges) {
    {
        UserDefaults store(file);
        store.setObject(std::string("kept"), "k");
    }
    EXPECT_EQ(UserDefaults(file).stringForKey("k"), "kept");
}

TEST_F(UserDefaultsTest, StandardStoreSynchronisesAtNormalExit) {
    EXPECT_EXIT(
        {
            setenv("BKGCOLORS_DEFAULTS", file.c_str(), 1);
            UserDefaults::standardUserDefaults().setObject(77, "atExit");
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(UserDefaults(file).integerForKey("atExit"), 77);
}

TEST_F(UserDefaultsTest, MissingFoldersAreMadePrivate) {
    std::string nested = folder / "a/b/store.plist";
    UserDefaults store(nested);
    store.setObject(1, "k");
    ASSERT_TRUE(store.synchronize());
    auto perms = std::filesystem::status(folder / "a/b").permissions();
    EXPECT_EQ(perms & std::filesystem::perms::all, std::filesystem::perms::owner_all);
}

// Two processes (here two stores) on one file: keys changed since the last synchronise win,
// every other key takes the file's value.
TEST_F(UserDefaultsTest, SynchroniseMergesChangesOfTwoStores) {
    UserDefaults a(file), b(file);
    a.setObject(1, "fromA");
    a.setObject(10, "shared");
    ASSERT_TRUE(a.synchronize());
    b.setObject(2, "fromB");
    ASSERT_TRUE(b.synchronize());
    EXPECT_EQ(b.integerForKey("fromA"), 1);
    EXPECT_EQ(b.integerForKey("shared"), 10);

    b.setObject(20, "shared");
    b.removeObjectForKey("fromA");
    ASSERT_TRUE(b.synchronize());
    EXPECT_EQ(a.integerForKey("shared"), 10) << "a has not synchronised yet";
    a.setObject(3, "fromA2");
    ASSERT_TRUE(a.synchronize());
    EXPECT_EQ(a.integerForKey("shared"), 20);
    EXPECT_FALSE(a.objectForKey("fromA"));
    EXPECT_EQ(a.integerForKey("fromB"), 2);

    a.setObject(30, "shared");
    b.setObject(40, "shared");
    ASSERT_TRUE(a.synchronize());
    ASSERT_TRUE(b.synchronize());
    EXPECT_EQ(UserDefaults(file).integerForKey("shared"), 40) << "the later writer wins its key";
    EXPECT_EQ(UserDefaults(file).integerForKey("fromA2"), 3);
}

TEST_F(UserDefaultsTest, TextsRoundTripWithControlCharactersAndAnyUtf8) {
    std::mt19937 random(20240611);
    std::vector<std::string> texts = {"\x01\x02\x1f\t\r\n<&>\"'", "\x7f", "\xEF\xBF\xBF",
                                      "\xF4\x8F\xBF\xBF", "\xEE\x80\x80"};
    auto append = [](std::string& text, std::uint32_t cp) {
        if (cp < 0x80) {
            text += static_cast<char>(cp);
        } else if (cp < 0x800) {
            text += static_cast<char>(0xC0 | (cp >> 6));
            text += static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            text += static_cast<char>(0xE0 | (cp >> 12));
            text += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            text += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            text += static_cast<char>(0xF0 | (cp >> 18));
            text += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
            text += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            text += static_cast<char>(0x80 | (cp & 0x3F));
        }
    };
    for (int i = 0; i < 200; ++i) {
        std::string text;
        int length = static_cast<int>(random() % 12);
        for (int j = 0; j < length; ++j) {
            std::uint32_t cp;
            do {
                std::uint32_t range[] = {0x80, 0x800, 0x10000, 0x110000};
                cp = 1 + random() % (range[random() % 4] - 1);
            } while (cp >= 0xD800 && cp <= 0xDFFF);
            append(text, cp);
        }
        texts.push_back(text);
    }
    {
        UserDefaults store(file);
        for (std::size_t i = 0; i < texts.size(); ++i) {
            ASSERT_TRUE(store.setObject(texts[i], "text" + std::to_string(i))) << i;
            ASSERT_TRUE(store.setObject(1, texts[i])) << "as a key too, " << i;
        }
        ASSERT_TRUE(store.synchronize());
    }
    UserDefaults reread(file);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(reread.stringForKey("text" + std::to_string(i)), texts[i])
            << "seed 20240611, " << i;
        EXPECT_EQ(reread.integerForKey(texts[i]), 1) << i;
    }
}

TEST_F(UserDefaultsTest, IntegersKeepTheirSignAndReadTheLow32BitsOfWiderOnes) {
    {
        UserDefaults store(file);
        store.setObject(INT32_MIN, "min");
        store.setObject(-1, "minusOne");
        store.setObject(INT32_MAX, "max");
    }
    UserDefaults reread(file);
    EXPECT_EQ(reread.integerForKey("min"), INT32_MIN);
    EXPECT_EQ(reread.integerForKey("minusOne"), -1);
    EXPECT_EQ(reread.integerForKey("max"), INT32_MAX);

    WriteBytes(file, XmlPlist("<dict><key>wide</key><integer>4294967301</integer>"
                              "<key>wideNegative</key><integer>-4294967297</integer></dict>"));
    UserDefaults wide(file);
    EXPECT_EQ(wide.integerForKey("wide"), 5);
    EXPECT_EQ(wide.integerForKey("wideNegative"), -1);
}

TEST_F(UserDefaultsTest, OtherKindsAreInvisibleButWrittenBackUnchanged) {
    WriteBytes(file, XmlPlist("<dict>"
                              "<key>real</key><real>2.5</real>"
                              "<key>flag</key><true/>"
                              "<key>list</key><array><string>x</string><integer>1</integer></array>"
                              "<key>wide</key><integer>4294967301</integer>"
                              "</dict>"));
    UserDefaults store(file);
    EXPECT_FALSE(store.objectForKey("real"));
    EXPECT_FALSE(store.objectForKey("flag"));
    EXPECT_FALSE(store.objectForKey("list"));
    EXPECT_EQ(store.allKeys(), std::vector<std::string>{"wide"});
    store.setObject(1, "new");
    ASSERT_TRUE(store.synchronize());

    std::string xml = FileAsXml(file);
    EXPECT_NE(xml.find("<key>real</key>\n\t<real>2.5"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<key>flag</key>\n\t<true/>"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<string>x</string>"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<integer>4294967301</integer>"), std::string::npos)
        << "an untouched wide integer keeps its 64 bits\n"
        << xml;
    EXPECT_NE(xml.find("<key>new</key>"), std::string::npos) << xml;
}

// Hand-written files, each either loaded or set aside as damaged.
struct FileRow {
    const char* name;
    std::string bytes;
    bool loads;
    std::int32_t value; // of key "a" when the file loads
};

std::string Trailer(unsigned offsetSize, unsigned refSize, std::uint64_t count, std::uint64_t top,
                    std::uint64_t table) {
    std::string t(6, '\0');
    t += static_cast<char>(offsetSize);
    t += static_cast<char>(refSize);
    for (std::uint64_t v : {count, top, table})
        for (int i = 7; i >= 0; --i)
            t += static_cast<char>((v >> (8 * i)) & 0xFF);
    return t;
}

// {"a": 1}: dict at 8, key "a" at 11, integer 1 at 13, offset table at 15.
const std::string kMinimal =
    std::string("bplist00\xD1\x01\x02\x51\x61\x10\x01\x08\x0B\x0D", 18) + Trailer(1, 1, 3, 0, 15);

// {"a": value} where `value` is the bytes of one object.
std::string OneEntry(const std::string& value) {
    std::string objects = std::string("bplist00\xD1\x01\x02\x51\x61", 13) + value;
    std::size_t table = objects.size();
    return objects + std::string("\x08\x0B\x0D", 3) + Trailer(1, 1, 3, 0, table);
}

std::vector<FileRow> FileRows() {
    std::string truncated = kMinimal.substr(0, kMinimal.size() - 1);
    std::string badOffset = kMinimal;
    badOffset[16] = '\x40'; // the key's offset points past the objects
    // The dictionary's value refers to the dictionary itself.
    std::string cycle =
        std::string("bplist00\xD1\x01\x00\x51\x61\x08\x0B", 13) + Trailer(1, 1, 2, 0, 11);
    // An array holding the integer, at the top.
    std::string array =
        std::string("bplist00\xA1\x01\x10\x01\x08\x0A", 12) + Trailer(1, 1, 2, 0, 10);
    // The key is an "ASCII" string holding a byte that is not ASCII.
    std::string notText = kMinimal;
    notText[12] = '\xFF';
    std::string deepXml = "<dict><key>a</key><integer>1</integer><key>d</key>";
    for (int i = 0; i < 40; ++i)
        deepXml += "<array>";
    for (int i = 0; i < 40; ++i)
        deepXml += "</array>";
    deepXml += "</dict>";
    std::string big = XmlPlist("<dict><key>a</key><integer>1</integer><key>pad</key><string>" +
                               std::string(1 << 20, 'x') + "</string></dict>");
    return {
        {"minimal binary", kMinimal, true, 1},
        {"UTF-16 text", OneEntry(std::string("\x62\x00\x37\x00\xE9", 5)), true, 7},
        {"UTF-16 surrogate pair", OneEntry(std::string("\x62\xD8\x3D\xDE\x00", 5)), true, 0},
        {"ASCII text holding a NUL", OneEntry(std::string("\x53\x78\x00\x79", 4)), false, 0},
        {"UTF-16 text holding a NUL", OneEntry(std::string("\x61\x00\x00", 3)), false, 0},
        {"UTF-16 lone high surrogate", OneEntry(std::string("\x61\xD8\x00", 3)), false, 0},
        {"UTF-16 lone low surrogate", OneEntry(std::string("\x62\xDC\x00\x00\x41", 5)), false, 0},
        {"text longer than the file", OneEntry(std::string("\x5F\x10\xFF\x41", 4)), false, 0},
        {"XML", XmlPlist("<dict><key>a</key><integer>3</integer></dict>"), true, 3},
        {"empty file", "", true, 0},
        {"truncated binary: trailer misread", truncated, false, 0},
        {"offset outside the objects", badOffset, false, 0},
        {"object graph with a cycle", cycle, false, 0},
        {"top object is not a dictionary", array, false, 0},
        {"key that is not UTF-8", notText, false, 0},
        {"not a property list", "hello, world", false, 0},
        {"XML cut short", XmlPlist("<dict><key>a</key><integer>3</integer>"), false, 0},
        {"XML nested deeper than any store", XmlPlist(deepXml), false, 0},
        {"larger than 1 MiB", big, false, 0},
    };
}

TEST_F(UserDefaultsTest, LoaderTakesGoodFilesAndSetsDamagedOnesAside) {
    for (const auto& row : FileRows()) {
        std::filesystem::remove(file);
        std::filesystem::remove(file + ".corrupt");
        WriteBytes(file, row.bytes);
        ::testing::internal::CaptureStderr();
        UserDefaults store(file);
        std::string err = ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(store.integerForKey("a"), row.value) << row.name;
        if (row.loads) {
            EXPECT_EQ(err, "") << row.name;
            EXPECT_FALSE(Exists(file + ".corrupt")) << row.name;
            continue;
        }
        EXPECT_FALSE(Exists(file)) << row.name;
        EXPECT_EQ(ReadBytes(file + ".corrupt"), row.bytes) << row.name;
        EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << row.name << ": " << err;
        EXPECT_NE(err.find(".corrupt"), std::string::npos) << row.name;
        EXPECT_TRUE(store.allKeys().empty()) << row.name;
    }
}

TEST_F(UserDefaultsTest, DamagedFileIsNeverOverwrittenAndReplacesAnOlderOne) {
    WriteBytes(file + ".corrupt", "older");
    WriteBytes(file, "garbage one");
    ::testing::internal::CaptureStderr();
    UserDefaults store(file);
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(ReadBytes(file + ".corrupt"), "garbage one");
    store.setObject(1, "k");
    ASSERT_TRUE(store.synchronize());
    EXPECT_EQ(ReadBytes(file + ".corrupt"), "garbage one");

    // Damaged while the store runs: found by the next synchronise, set aside, then written anew.
    WriteBytes(file, "garbage two");
    store.setObject(2, "j");
    ::testing::internal::CaptureStderr();
    ASSERT_TRUE(store.synchronize());
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("cannot be parsed"), std::string::npos);
    EXPECT_EQ(ReadBytes(file + ".corrupt"), "garbage two");
    UserDefaults reread(file);
    EXPECT_EQ(reread.integerForKey("j"), 2);
    EXPECT_FALSE(reread.objectForKey("k")) << "the damaged file's contents are not guessed";
}

// Nesting and sharing that would exhaust the stack or memory of the parser.
TEST_F(UserDefaultsTest, HostileBinaryShapesAreRejectedWithoutParsing) {
    auto big = [](std::uint64_t v) {
        std::string s;
        for (int i = 3; i >= 0; --i)
            s += static_cast<char>((v >> (8 * i)) & 0xFF);
        return s;
    };
    auto build = [&](int count, bool doubleRefs) {
        std::string data = "bplist00";
        std::vector<std::uint64_t> offsets;
        for (int i = 0; i < count; ++i) {
            offsets.push_back(data.size());
            if (i + 1 == count) {
                data += '\xA0';
            } else if (doubleRefs) {
                data += '\xA2' + big(i + 1) + big(i + 1);
            } else {
                data += '\xA1' + big(i + 1);
            }
        }
        std::uint64_t table = data.size();
        for (auto offset : offsets)
            data += big(offset);
        return data + Trailer(4, 4, count, 0, table);
    };
    const std::pair<const char*, std::string> rows[] = {
        {"100000 nested arrays", build(100000, false)},
        {"60 levels each used twice", build(60, true)},
    };
    for (const auto& [name, bytes] : rows) {
        WriteBytes(file, bytes);
        ::testing::internal::CaptureStderr();
        UserDefaults store(file);
        ::testing::internal::GetCapturedStderr();
        EXPECT_TRUE(Exists(file + ".corrupt")) << name;
        std::filesystem::remove(file + ".corrupt");
    }
}

TEST_F(UserDefaultsTest, FailedWriteKeepsOldFileAndPendingChangesThenRetries) {
    {
        UserDefaults store(file);
        store.setObject(1, "old");
    }
    std::string before = ReadBytes(file);

    UserDefaults store(file);
    store.setObject(std::string(4096, 'x'), "big");
    rlimit saved;
    getrlimit(RLIMIT_FSIZE, &saved);
    rlimit small = saved;
    small.rlim_cur = 1024; // the temporary file cannot grow past this; stderr's capture file can
    auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    ::testing::internal::CaptureStderr();
    bool first = store.synchronize();
    bool second = store.synchronize();
    std::string err = ::testing::internal::GetCapturedStderr();
    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, oldHandler);

    EXPECT_FALSE(first);
    EXPECT_FALSE(second);
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << "a repeated failure is told once";
    EXPECT_EQ(ReadBytes(file), before);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2)
        << "only the file and its lock; no temporary left behind";
    EXPECT_EQ(store.stringForKey("big")->size(), 4096u);
    ASSERT_TRUE(store.synchronize());
    UserDefaults reread(file);
    EXPECT_EQ(reread.integerForKey("old"), 1);
    EXPECT_EQ(reread.stringForKey("big")->size(), 4096u);
}

TEST_F(UserDefaultsTest, UnwritableFolderFailsWithOneLine) {
    WriteBytes(folder / "blocker", "a file where a folder should be");
    UserDefaults store(folder / "blocker/store.plist");
    store.setObject(1, "k");
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(store.synchronize());
    std::string err = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
    EXPECT_EQ(ReadBytes(folder / "blocker"), "a file where a folder should be");
    store.removeObjectForKey("k"); // nothing left to write when the store is destroyed
}

TEST(UserDefaultsPath, StandardFileFollowsTheEnvironment) {
    struct Row {
        const char* defaults;
        const char* config;
        const char* home;
        const char* expected;
    };
    const Row rows[] = {
        {"/x/explicit.plist", "/cfg", "/home/u", "/x/explicit.plist"},
        {"", "/cfg", "/home/u", "/cfg/org.bkgcolors.host.plist"},
        {nullptr, "/cfg", "/home/u", "/cfg/org.bkgcolors.host.plist"},
        {nullptr, "relative", "/home/u", "/home/u/.config/org.bkgcolors.host.plist"},
        {nullptr, "", "/home/u", "/home/u/.config/org.bkgcolors.host.plist"},
        {nullptr, nullptr, "/home/u", "/home/u/.config/org.bkgcolors.host.plist"},
    };
    std::vector<std::pair<std::string, std::optional<std::string>>> saved;
    for (const char* name : {"BKGCOLORS_DEFAULTS", "XDG_CONFIG_HOME", "HOME"}) {
        const char* value = std::getenv(name);
        saved.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
    }
    auto put = [](const char* name, const char* value) {
        if (value)
            setenv(name, value, 1);
        else
            unsetenv(name);
    };
    for (const auto& row : rows) {
        put("BKGCOLORS_DEFAULTS", row.defaults);
        put("XDG_CONFIG_HOME", row.config);
        put("HOME", row.home);
        EXPECT_EQ(UserDefaults::standardPath(), row.expected);
    }
    for (const auto& [name, value] : saved)
        put(name.c_str(), value ? value->c_str() : nullptr);
}

} // namespace
