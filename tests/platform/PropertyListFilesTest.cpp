// Files that another property-list tool (Python's plistlib) writes, as the store's getters read
// them. That every file of tests/support/plist_files.py reads, and a write leaves the rest of it
// equal, defaults_tool_test.py checks through the same reader and writer.

#include "platform/UserDefaults.h"

#include "support/StoreTesting.h"
#include "support/TempFolder.h"

#include "support/Testing.h"

using platform::UserDefaults;

namespace {

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
