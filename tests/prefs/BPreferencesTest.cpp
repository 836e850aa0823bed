#include "prefs/BPreferences.h"

#include "support/StandardStore.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <optional>
#include <string>

using platform::UserDefaults;
using Bytes = UserDefaults::Bytes;

namespace {

UserDefaults& Standard() {
    return UserDefaults::standardUserDefaults();
}

// What another process reading the file sees: every Set is synchronised before it returns.
UserDefaults OnDisk() {
    return UserDefaults(StandardStore::path());
}

class BPreferencesTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const std::string& key : Standard().allKeys())
            Standard().removeObjectForKey(key);
        Standard().synchronize();
    }
    BPreferences prefs;
};

TEST_F(BPreferencesTest, EachSetterStoresItsKindUnderSectionFollowedByName) {
    const unsigned char three[] = {0, 1, 0xFF};
    const struct {
        const char* what;
        std::function<void(BPreferences&)> set;
        std::string key;
        std::optional<UserDefaults::Object> stored;
    } rows[] = {
        {"Str text as UTF-8", [](auto& p) { p.Set(Str("Bkg"), Str("Text"), Str("h\xC3\xA9")); },
         "BkgText", std::string("h\xC3\xA9")},
        {"Str-keyed int", [](auto& p) { p.Set(Str("BkgColors"), Str("SelectedColor"), -1); },
         "BkgColorsSelectedColor", -1},
        {"char* as bytes without the NUL", [](auto& p) { p.Set(Str("S"), Str("abc"), "abc"); },
         "Sabc", Bytes{'a', 'b', 'c'}},
        {"byte run", [&](auto& p) { p.Set(Str("S"), Str("run"), three, 3u); }, "Srun",
         Bytes{0, 1, 0xFF}},
        {"char-keyed Str as ASCII", [](auto& p) { p.Set("S", "ascii", Str("x\x01y")); }, "Sascii",
         std::string("x\x01y")},
        {"char-keyed char*", [](auto& p) { p.Set("S", "chars", "hi"); }, "Schars", Bytes{'h', 'i'}},
        {"char-keyed byte run", [&](auto& p) { p.Set("S", "bytes", three, 2u); }, "Sbytes",
         Bytes{0, 1}},
        {"empty byte run", [](auto& p) { p.Set("S", "none", nullptr, 0u); }, "Snone", Bytes{}},
        {"float as 4 little-endian bytes", [](auto& p) { p.Set("S", "float", 1.0f); }, "Sfloat",
         Bytes{0x00, 0x00, 0x80, 0x3F}},
        {"empty section: the key is the name", [](auto& p) { p.Set("", "Name", 3); }, "Name", 3},
        {"char-keyed int", [](auto& p) { p.Set("S", "k", 7); }, "Sk", 7},
        {"char-keyed Str outside ASCII removes",
         [](auto& p) { p.Set("S", "k", Str("caf\xC3\xA9")); }, "Sk", std::nullopt},
        {"Str-keyed Str that is not UTF-8 removes",
         [](auto& p) {
             p.Set("S", "k", 7);
             p.Set(Str("S"), Str("k"), Str("\xFF"));
         },
         "Sk", std::nullopt},
        {"non-ASCII section does nothing", [](auto& p) { p.Set("S\xC3\xA9", "x", 1); },
         "S\xC3\xA9x", std::nullopt},
        {"non-ASCII name does nothing", [](auto& p) { p.Set(Str("S"), Str("\xC3\xA9"), 2); },
         "S\xC3\xA9", std::nullopt},
    };
    for (const auto& row : rows) {
        row.set(prefs);
        EXPECT_EQ(OnDisk().objectForKey(row.key), row.stored) << row.what;
    }
    EXPECT_EQ(OnDisk().allKeys().size(), 10u) << "nothing stored under any other key";
}

TEST_F(BPreferencesTest, GettersGiveTheDefaultOnlyWhereTheKindDoesNotFit) {
    prefs.Set("G", "text", Str("12abc"));
    prefs.Set("G", "int", -1);
    prefs.Set("G", "bytes", "abc");
    const unsigned char five[] = {0x00, 0x00, 0xC0, 0x3F, 0xAA};
    prefs.Set("G", "four", five, 4u);
    prefs.Set("G", "five", five, 5u);
    prefs.Set("G\xC3\xA9", "x", 1);
    const struct {
        const char* section;
        const char* name;
        std::string text;
        int integer;
        float real;
    } rows[] = {
        {"G", "text", "12abc", 12, 9.0f},    // the integer reading parses the text
        {"G", "int", "-1", -1, 9.0f},        // a number reads as its decimal text
        {"G", "bytes", "fallback", 0, 9.0f}, // present, so no default for int; 3 bytes: no float
        {"G", "four", "fallback", 0, 1.5f},  // the first four bytes, little-endian
        {"G", "five", "fallback", 0, 1.5f},
        {"G", "absent", "fallback", 77, 9.0f},
        {"G\xC3\xA9", "x", "fallback", 77, 9.0f}, // a non-ASCII section reads nothing
    };
    for (const auto& row : rows) {
        Str section(row.section), name(row.name);
        EXPECT_STREQ(prefs.Get(section, name, Str("fallback")), row.text.c_str()) << row.name;
        EXPECT_EQ(prefs.Get(section, name, 77), row.integer) << row.name;
        EXPECT_EQ(prefs.Get(section, name, 9.0f), row.real) << row.name;
    }
}

TEST_F(BPreferencesTest, GetDataHandsOutAnOwnedCopyOrLeavesTheArgumentsAlone) {
    prefs.Set("D", "int", 5);
    prefs.Set("D", "abc", "abc");
    unsigned char sentinel = 0;
    unsigned char* buffer = &sentinel;
    unsigned int count = 42;
    // Absent, a number (no data), and a section outside ASCII.
    for (const auto& [section, name] : {std::pair{"D", "absent"}, {"D", "int"}, {"D\x80", "abc"}}) {
        EXPECT_EQ(prefs.GetData(Str(section), Str(name), &buffer, &count), 1) << name;
        EXPECT_EQ(buffer, &sentinel) << name;
        EXPECT_EQ(count, 42u) << name;
    }
    EXPECT_EQ(prefs.GetData(Str("D"), Str("abc"), &buffer, &count), 0);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(std::memcmp(buffer, "abc", 3), 0);
    delete[] buffer;
}

} // namespace
