#include "prefs/BPreferences.h"
#include "prefs/BPreferencesCocoaWrapper.h"

#include "support/StandardStore.h"

#include <gtest/gtest.h>

#include <cmath>
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
std::optional<UserDefaults::Object> OnDisk(const std::string& key) {
    return UserDefaults(StandardStore::path()).objectForKey(key);
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

struct SetRow {
    const char* what;
    std::function<void(BPreferences&)> set;
    std::string key;
    std::optional<UserDefaults::Object> stored;
};

TEST_F(BPreferencesTest, EachSetterStoresItsKindUnderSectionFollowedByName) {
    const unsigned char three[] = {0, 1, 0xFF};
    const SetRow rows[] = {
        {"Str text as UTF-8",
         [](BPreferences& p) { p.Set(Str("Bkg"), Str("Text"), Str("h\xC3\xA9")); }, "BkgText",
         std::string("h\xC3\xA9")},
        {"Str-keyed int",
         [](BPreferences& p) { p.Set(Str("BkgColors"), Str("SelectedColor"), -1); },
         "BkgColorsSelectedColor", std::int32_t(-1)},
        {"Str-keyed char* as bytes without the NUL",
         [](BPreferences& p) { p.Set(Str("S"), Str("abc"), "abc"); }, "Sabc", Bytes{'a', 'b', 'c'}},
        {"Str-keyed byte run", [&](BPreferences& p) { p.Set(Str("S"), Str("run"), three, 3u); },
         "Srun", Bytes{0, 1, 0xFF}},
        {"char-keyed Str as ASCII", [](BPreferences& p) { p.Set("S", "ascii", Str("x\x01y")); },
         "Sascii", std::string("x\x01y")},
        {"char-keyed int", [](BPreferences& p) { p.Set("S", "int", 7); }, "Sint", std::int32_t(7)},
        {"char-keyed char* as bytes", [](BPreferences& p) { p.Set("S", "chars", "hi"); }, "Schars",
         Bytes{'h', 'i'}},
        {"char-keyed byte run", [&](BPreferences& p) { p.Set("S", "bytes", three, 2u); }, "Sbytes",
         Bytes{0, 1}},
        {"empty byte run", [](BPreferences& p) { p.Set("S", "none", nullptr, 0u); }, "Snone",
         Bytes{}},
        {"float as 4 little-endian bytes", [](BPreferences& p) { p.Set("S", "float", 1.0f); },
         "Sfloat", Bytes{0x00, 0x00, 0x80, 0x3F}},
        {"empty section: the key is the name", [](BPreferences& p) { p.Set("", "Name", 3); },
         "Name", std::int32_t(3)},
        {"empty section through Str", [](BPreferences& p) { p.Set(Str(""), Str("Only"), 4); },
         "Only", std::int32_t(4)},
    };
    for (const auto& row : rows) {
        row.set(prefs);
        EXPECT_EQ(OnDisk(row.key), row.stored) << row.what;
    }
}

TEST_F(BPreferencesTest, TextThatCannotBeConvertedRemovesTheEntry) {
    const SetRow rows[] = {
        {"char-keyed Str with a byte outside ASCII",
         [](BPreferences& p) { p.Set("S", "k", Str("caf\xC3\xA9")); }, "Sk", std::nullopt},
        {"Str-keyed Str that is not UTF-8",
         [](BPreferences& p) { p.Set(Str("S"), Str("k"), Str("\xFF")); }, "Sk", std::nullopt},
    };
    for (const auto& row : rows) {
        prefs.Set("S", "k", 5);
        ASSERT_TRUE(OnDisk("Sk")) << row.what;
        row.set(prefs);
        EXPECT_EQ(OnDisk(row.key), row.stored) << row.what;
    }
}

TEST_F(BPreferencesTest, NonAsciiSectionOrNameDoesNothing) {
    prefs.Set("Sec\xC3\xA9", "x", 1);
    prefs.Set(Str("Sec"), Str("\xC3\xA9"), Str("v"));
    EXPECT_TRUE(UserDefaults(StandardStore::path()).allKeys().empty());

    prefs.Set("Sec", "x", 1);
    EXPECT_EQ(prefs.Get(Str("Sec\xC3\xA9"), Str("x"), 42), 42);
    EXPECT_EQ(prefs.Get(Str("S\x80"), Str("x"), 2.5f), 2.5f);
    unsigned char* buffer = nullptr;
    unsigned int count = 9;
    EXPECT_EQ(prefs.GetData(Str("\xFF"), Str(""), &buffer, &count), 1);
    EXPECT_EQ(count, 9u);
    prefs.Remove(Str("Sec\xC3\xA9"), Str("x"));
    EXPECT_TRUE(Standard().objectForKey("Secx"));
}

TEST_F(BPreferencesTest, GettersGiveTheDefaultOnlyWhereTheKindDoesNotFit) {
    prefs.Set("G", "text", Str("12abc"));
    prefs.Set("G", "int", -1);
    prefs.Set("G", "bytes", "abc");
    const Str fallback("fallback");

    struct Row {
        const char* name;
        std::string text;
        int integer;
        float real;
    };
    const Row rows[] = {
        {"text", "12abc", 12, 9.0f},    // the integer reading parses the text
        {"int", "-1", -1, 9.0f},        // a number reads as its decimal text
        {"bytes", "fallback", 0, 9.0f}, // present, so no default for int; 3 bytes is no float
        {"absent", "fallback", 77, 9.0f},
    };
    for (const auto& row : rows) {
        EXPECT_STREQ(prefs.Get(Str("G"), Str(row.name), fallback), row.text.c_str()) << row.name;
        EXPECT_EQ(prefs.Get(Str("G"), Str(row.name), 77), row.integer) << row.name;
        EXPECT_EQ(prefs.Get(Str("G"), Str(row.name), 9.0f), row.real) << row.name;
    }
}

TEST_F(BPreferencesTest, FloatReadsTheFirstFourBytesLittleEndian) {
    const unsigned char five[] = {0x00, 0x00, 0xC0, 0x3F, 0xAA};
    struct Row {
        const char* what;
        unsigned int count;
        float expected;
    };
    const Row rows[] = {
        {"no bytes", 0, -3.0f},    {"one byte", 1, -3.0f},           {"three bytes", 3, -3.0f},
        {"exactly four", 4, 1.5f}, {"extra bytes ignored", 5, 1.5f},
    };
    for (const auto& row : rows) {
        prefs.Set("F", "v", five, row.count);
        EXPECT_EQ(prefs.Get(Str("F"), Str("v"), -3.0f), row.expected) << row.what;
    }
    prefs.Set("F", "v", 1.0f);
    EXPECT_EQ(prefs.Get(Str("F"), Str("v"), 123.0f), 1.0f);
    prefs.Set("F", "v", -0.0f);
    EXPECT_TRUE(std::signbit(prefs.Get(Str("F"), Str("v"), 5.0f)));
}

TEST_F(BPreferencesTest, GetDataHandsOutAnOwnedCopyOrLeavesTheArgumentsAlone) {
    unsigned char sentinel = 0;
    unsigned char* buffer = &sentinel;
    unsigned int count = 42;
    EXPECT_EQ(prefs.GetData(Str("D"), Str("absent"), &buffer, &count), 1);
    EXPECT_EQ(buffer, &sentinel);
    EXPECT_EQ(count, 42u);

    prefs.Set("D", "int", 5);
    EXPECT_EQ(prefs.GetData(Str("D"), Str("int"), &buffer, &count), 1) << "a number is no data";
    EXPECT_EQ(count, 42u);

    prefs.Set("D", "empty", nullptr, 0u);
    EXPECT_EQ(prefs.GetData(Str("D"), Str("empty"), &buffer, &count), 0);
    EXPECT_EQ(count, 0u);
    EXPECT_NE(buffer, &sentinel);
    delete[] buffer;

    prefs.Set("D", "abc", "abc");
    EXPECT_EQ(prefs.GetData(Str("D"), Str("abc"), &buffer, &count), 0);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(std::memcmp(buffer, "abc", 3), 0);
    delete[] buffer;

    BPreferencesCocoaWrapper backend;
    EXPECT_EQ(backend.GetSize(Str("D"), Str("abc")), 3u);
    EXPECT_EQ(backend.GetSize(Str("D"), Str("int")), 0u);
    EXPECT_EQ(backend.GetSize(Str("D"), Str("absent")), 0u);
}

TEST_F(BPreferencesTest, RemoveTakesTheJoinedKeyAndDoesNotSynchronise) {
    prefs.Set("A", "B", 1);
    prefs.Set("", "A", 2);
    prefs.Remove(Str("A"), Str("B"));
    EXPECT_FALSE(Standard().objectForKey("AB"));
    EXPECT_TRUE(Standard().objectForKey("A"));
    EXPECT_TRUE(OnDisk("AB")) << "the removal waits for the next synchronise";
    Standard().synchronize();
    EXPECT_FALSE(OnDisk("AB"));

    BPreferencesCocoaWrapper backend;
    backend.Remove("A");
    backend.Remove(Str("not\xC3\xA9"));
    EXPECT_FALSE(Standard().objectForKey("A"));
}

TEST_F(BPreferencesTest, TextRoundTripsThroughTheStrGetter) {
    prefs.Set(Str("T"), Str("utf8"), Str("\xF0\x9F\x98\x80 \x01"));
    EXPECT_STREQ(prefs.Get(Str("T"), Str("utf8"), Str::EmptyStr), "\xF0\x9F\x98\x80 \x01");
}

using BPreferencesDeathTest = BPreferencesTest;

TEST_F(BPreferencesDeathTest, NullPointersAreProgrammingErrors) {
    BPreferencesCocoaWrapper backend;
    const char* none = nullptr;
    unsigned int count = 0;
    unsigned char* buffer = nullptr;
    EXPECT_DEATH(backend.Set(none, "n", 1),
                 "Assertion failed: \\(section && name\\), function Set, file "
                 "BPreferencesCocoaWrapper, line");
    EXPECT_DEATH(backend.Set(Str("s"), Str("n"), none), "\\(value\\), function Set");
    EXPECT_DEATH(backend.Set(Str("s"), Str("n"), static_cast<const unsigned char*>(nullptr), 2u),
                 "\\(bytes \\|\\| count == 0\\)");
    EXPECT_DEATH(backend.GetData(Str("s"), Str("n"), nullptr, &count),
                 "\\(buffer && count\\), function GetData");
    EXPECT_DEATH(prefs.GetData(Str("s"), Str("n"), &buffer, nullptr), "function GetData");
    EXPECT_DEATH(backend.Remove(none), "\\(key\\), function Remove");
}

} // namespace
