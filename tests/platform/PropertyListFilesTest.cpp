// Files that another property-list tool (Python's plistlib) writes: every kind, NUL in texts and
// keys, 64-bit integers, nesting to 128, XML with and without a byte-order mark. The store reads
// them, and a write of its own leaves everything else in them equal.

#include "platform/UserDefaults.h"

#include "support/StoreTesting.h"
#include "support/TempFolder.h"

#include "support/Testing.h"

using platform::UserDefaults;

namespace {

TEST(PropertyListFiles, WhatOtherToolsWriteIsReadAndWrittenBackEqual) {
    TempFolder made, work;
    const int status = PlistFiles("make '" + made.path() + "'");
    if (status == -1)
        GTEST_SKIP() << "python3 with plistlib is not installed";
    ASSERT_EQ(status, 0);
    const std::set<std::string> names = Listing(made.path());
    ASSERT_GE(names.size(), 10u);
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const bool reads = name.rfind("read-", 0) == 0;
        const std::string original = made / name, file = work / name;
        std::filesystem::copy_file(original, file);
        const std::string err = Stderr([&] {
            UserDefaults store(file);
            store.setObject(1, "new");
            EXPECT_TRUE(store.synchronize());
        });
        EXPECT_EQ(Lines(err), reads ? 0 : 2) << err;
        if (reads) {
            EXPECT_EQ(PlistFiles("same '" + original + "' '" + file + "'"), 0);
        } else {
            EXPECT_EQ(ReadBytes(file + ".corrupt"), ReadBytes(original));
            EXPECT_EQ(UserDefaults(file).allKeys(), std::vector<std::string>{"new"});
        }
    }
}

TEST(PropertyListFiles, TextsAndKeysHoldingNulReadAsTheyAre) {
    TempFolder made;
    if (PlistFiles("make '" + made.path() + "'") == -1)
        GTEST_SKIP() << "python3 with plistlib is not installed";
    UserDefaults texts(made / "read-text-nul-bin.plist");
    EXPECT_EQ(texts.stringForKey("nul"), std::string("x\0y", 3));
    EXPECT_EQ(texts.stringForKey("unicode"), std::string("\xC3\xA9\0\xC3\xBC\xF0\x9F\x98\x80", 9));
    UserDefaults keys(made / "read-key-nul-bin.plist");
    EXPECT_EQ(keys.integerForKey(std::string("k\0ey", 4)), 1);
    EXPECT_FALSE(keys.objectForKey("k")) << "a key is not cut at its NUL";
    UserDefaults numbers(made / "read-numbers-bin.plist");
    EXPECT_EQ(numbers.integerForKey("neg"), -1);
    EXPECT_EQ(numbers.integerForKey("wide"), 5);
}

} // namespace
