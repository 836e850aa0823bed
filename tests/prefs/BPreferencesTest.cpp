#include "prefs/BPreferences.h"
#include "prefs/BPreferencesCocoaWrapper.h"

#include "base/BMemFile.h"
#include "base/BMetaDataClass.h"
#include "base/BMetaDataTaggedList.h"

#include "support/StandardStore.h"

#include "support/Testing.h"

using platform::UserDefaults;
using Bytes = UserDefaults::Bytes;

namespace {

const auto Standard = []() -> UserDefaults& { return UserDefaults::standardUserDefaults(); };
// What another process reading the file sees: every Set is synchronised before it returns.
const auto OnDisk = [] { return UserDefaults(StandardStore::path()); };

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
    static const unsigned char three[] = {0, 1, 0xFF};
    using Set = void (*)(BPreferences&);
    using S = Str;
    struct Row {
        Set set;
        std::string key;
        std::optional<UserDefaults::Object> stored;
    };
    const Row rows[] = {
        // Str text as UTF-8, Str-keyed int, char* as bytes without the NUL, a byte run.
        {[](auto& p) { p.Set(S("Bkg"), S("Text"), S("h\xC3\xA9")); }, "BkgText",
         std::string("h\xC3\xA9")},
        {[](auto& p) { p.Set(S("Bkg"), S("Color"), -1); }, "BkgColor", -1},
        {[](auto& p) { p.Set(S("S"), S("abc"), "abc"); }, "Sabc", Bytes{'a', 'b', 'c'}},
        {[](auto& p) { p.Set(S("S"), S("run"), three, 3u); }, "Srun", Bytes{0, 1, 0xFF}},
        // The char-keyed forms: Str as ASCII, char*, byte run, empty run, float as 4 little-endian
        // bytes, int, and int with an empty section (the key is the name).
        {[](auto& p) { p.Set("S", "ascii", S("x\x01y")); }, "Sascii", std::string("x\x01y")},
        {[](auto& p) { p.Set("S", "chars", "hi"); }, "Schars", Bytes{'h', 'i'}},
        {[](auto& p) { p.Set("S", "bytes", three, 2u); }, "Sbytes", Bytes{0, 1}},
        {[](auto& p) { p.Set("S", "none", nullptr, 0u); }, "Snone", Bytes{}},
        {[](auto& p) { p.Set("S", "float", 1.0f); }, "Sfloat", Bytes{0x00, 0x00, 0x80, 0x3F}},
        {[](auto& p) { p.Set("", "Name", 3); }, "Name", 3},
        {[](auto& p) { p.Set("S", "k", 7); }, "Sk", 7},
        // A char-keyed Str outside ASCII and a Str-keyed Str that is not UTF-8 remove the key; a
        // section or name outside ASCII does nothing.
        {[](auto& p) { p.Set("S", "k", S("caf\xC3\xA9")); }, "Sk", std::nullopt},
        {[](auto& p) { p.Set("S", "k", 7), p.Set(S("S"), S("k"), S("\xFF")); }, "Sk", std::nullopt},
        {[](auto& p) { p.Set("S\xC3\xA9", "x", 1); }, "S\xC3\xA9x", std::nullopt},
        {[](auto& p) { p.Set(S("S"), S("\xC3\xA9"), 2); }, "S\xC3\xA9", std::nullopt},
    };
    for (const auto& [set, key, stored] : rows) {
        set(prefs);
        EXPECT_EQ(OnDisk().objectForKey(key), stored) << key;
    }
    EXPECT_EQ(OnDisk().allKeys().size(), 10u) << "nothing stored under any other key";
}

// The char-keyed forms stop the program at a null section, name or text; the store is not reached.
TEST_F(BPreferencesTest, ANullSectionNameOrTextStopsTheProgram) {
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"section && name", [&] { prefs.Set(nullptr, "n", 1); }},
        {"section && name", [&] { prefs.Set("S", nullptr, Str("x")); }},
        {"section && name && value", [&] { prefs.Set("S", "n", static_cast<char*>(nullptr)); }},
    };
    for (const auto& [expression, set] : rows) {
        SCOPED_TRACE(expression);
        EXPECT_DEATH(set(), "\\(" + std::string(expression) +
                                "\\), function Set, file BPreferencesCocoaWrapper, line [0-9]+");
    }
}

TEST_F(BPreferencesTest, GettersGiveTheDefaultOnlyWhereTheKindDoesNotFit) {
    prefs.Set("G", "text", Str("12abc"));
    prefs.Set("G", "int", -1);
    prefs.Set("G", "bytes", "abc");
    const unsigned char five[] = {0x00, 0x00, 0xC0, 0x3F, 0xAA};
    prefs.Set("G", "four", five, 4u);
    prefs.Set("G", "five", five, 5u);
    prefs.Set("G\xC3\xA9", "x", 1);
    // Section, name, then the readings as text, integer and float.
    struct Row {
        const char* section;
        const char* name;
        const char* text;
        int integer;
        float real;
    };
    const Row rows[] = {
        {"G", "text", "12abc", 12, 9.0f},    // the integer reading parses the text
        {"G", "int", "-1", -1, 9.0f},        // a number reads as its decimal text
        {"G", "bytes", "fallback", 0, 9.0f}, // present, so no default for int; 3 bytes: no float
        {"G", "four", "fallback", 0, 1.5f},  // the first four bytes, little-endian
        {"G", "five", "fallback", 0, 1.5f},
        {"G", "absent", "fallback", 77, 9.0f},
        {"G\xC3\xA9", "x", "fallback", 77, 9.0f}, // a non-ASCII section reads nothing
    };
    for (const auto& [section, name, text, integer, real] : rows) {
        EXPECT_STREQ(prefs.Get(Str(section), Str(name), Str("fallback")), text) << name;
        EXPECT_EQ(prefs.Get(Str(section), Str(name), 77), integer) << name;
        EXPECT_EQ(prefs.Get(Str(section), Str(name), 9.0f), real) << name;
    }
}

TEST_F(BPreferencesTest, GetDataHandsOutAnOwnedCopyOrLeavesTheArgumentsAlone) {
    prefs.Set("D", "int", 5);
    prefs.Set("D", "abc", "abc");
    unsigned char sentinel = 0, *buffer = &sentinel;
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

TEST_F(BPreferencesTest, RemoveTakesTheWholeKeyAndGetSizeCountsOnlyBytes) {
    prefs.Set("A", "B", "xyz");
    prefs.Set("A", "", 1);
    BPreferencesCocoaWrapper backend;
    EXPECT_EQ(backend.GetSize(Str("A"), Str("B")), 3u);
    EXPECT_EQ(backend.GetSize(Str("A"), Str("")), 0u) << "a number is no byte entry";
    prefs.Remove(Str("A"), Str("B"));
    EXPECT_FALSE(Standard().objectForKey("AB"));
    EXPECT_TRUE(Standard().objectForKey("A"));
    backend.Remove("A");
    EXPECT_FALSE(Standard().objectForKey("A"));
    EXPECT_TRUE(OnDisk().objectForKey("A")) << "a removal waits for the next synchronise";
}

Bytes RecordOf(const BMetaDataTaggedList& list) {
    BMemFile file;
    list.Write(file, 1);
    return Bytes(file.m_buffer, file.m_buffer + file.m_length);
}

class BPreferencesStructured : public BPreferencesTest {
protected:
    void SetUp() override {
        BPreferencesTest::SetUp();
        list.SetData("w", 5);
        list.SetData("name", "a text long enough to be allocated");
    }
    BMetaDataTaggedList list;
};

TEST_F(BPreferencesStructured, ListsAndObjectsRoundTrip) {
    BMetaDataClass object, objectBack;
    object.m_metaData += list;
    prefs.Set("Sec", "List", list);
    prefs.Set(Str("Sec"), Str("StrList"), list);
    prefs.Set(Str("Sec"), Str("Object"), object);
    for (const char* name : {"List", "StrList"}) {
        BMetaDataTaggedList back;
        back.SetData("stale", 1);
        EXPECT_EQ(prefs.Get(Str("Sec"), Str(name), back), 0) << name;
        EXPECT_EQ(RecordOf(back), RecordOf(list)) << name << ": same items, tags and order";
    }
    EXPECT_EQ(prefs.Get(Str("Sec"), Str("Object"), objectBack), 0);
    EXPECT_EQ(RecordOf(objectBack.m_metaData), RecordOf(list));
}

// An entry without raw bytes leaves the target alone with status 1; junk bytes read as no list.
TEST_F(BPreferencesStructured, EntriesThatHoldNoListRecord) {
    const unsigned char junk[] = {'I', 'D', 'M', 'D', 'T', 'X', 1, 0, 0, 0};
    prefs.Set(Str("Sec"), Str("Int"), 7);
    prefs.Set(Str("Sec"), Str("Text"), Str("text"));
    prefs.Set(Str("Sec"), Str("Junk"), junk, sizeof junk);
    // Status 1 also means the target keeps its one item; junk reads as no item.
    for (const auto& [name, status] :
         {std::pair{"Absent", 1}, {"Int", 1}, {"Text", 1}, {"Junk", 0}}) {
        SCOPED_TRACE(name);
        BMetaDataTaggedList target;
        BMetaDataClass object;
        target.SetData("kept", 1);
        object.m_metaData.SetData("kept", 1);
        EXPECT_EQ(prefs.Get(Str("Sec"), Str(name), target), status);
        EXPECT_EQ(prefs.Get(Str("Sec"), Str(name), object), status);
        EXPECT_EQ(target.GetCount(), unsigned(status));
        EXPECT_EQ(object.m_metaData.GetCount(), unsigned(status));
    }
}

// An object that packs its bytes as they are.
class Packed : public BMetaDataClass {
public:
    Bytes bytes;
    void Set() override {
        CreateDataBuff(static_cast<unsigned int>(bytes.size()));
        std::copy(bytes.begin(), bytes.end(), GetDataPtr());
    }
    void Get() override { bytes.assign(GetDataPtr(), GetDataPtr() + m_size); }
};

// Up to 8 bytes an object keeps its packed form inside itself, from 9 in an allocation; the entry
// is exactly those bytes either way. An entry of no bytes is present (status 0) yet unpacks
// nothing.
TEST_F(BPreferencesStructured, ObjectsOfEverySizeAreStoredAsExactlyTheirPackedBytes) {
    for (std::size_t size : {0, 1, 8, 9, 300}) {
        SCOPED_TRACE("packed size " + std::to_string(size));
        Packed object, back;
        for (std::size_t i = 0; i < size; ++i)
            object.bytes.push_back(static_cast<unsigned char>(i * 7 + 1));
        prefs.Set("Sec", "Object", object);
        EXPECT_EQ(OnDisk().objectForKey("SecObject"), UserDefaults::Object(object.bytes));
        back.bytes = {0xEE};
        EXPECT_EQ(prefs.Get(Str("Sec"), Str("Object"), back), 0);
        EXPECT_EQ(back.bytes, size != 0 ? object.bytes : Bytes{0xEE});
    }
}

} // namespace
