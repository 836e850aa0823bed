#include "prefs/Utility.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Utility, StrFromPlatformStringKeepsOnlyPureAscii) {
    const struct {
        std::string platform;
        const char* expected;
    } rows[] = {
        {"BkgColors", "BkgColors"}, {"ctl\x01\x7f", "ctl\x01\x7f"}, {"", ""},
        {"caf\xC3\xA9", ""}, // one accented letter empties the whole result
        {"\xF0\x9F\x98\x80", ""},
    };
    Utility utility;
    for (const auto& row : rows) {
        Str result = utility.strFromNSString(row.platform);
        EXPECT_STREQ(result, row.expected) << row.platform;
        EXPECT_EQ(result.GetLength(), static_cast<int>(std::string(row.expected).size()));
    }
}

TEST(Utility, PlatformStringFromStrIsMissingForBytesOutsideAscii) {
    Utility utility;
    EXPECT_EQ(utility.nsStringFromStr(Str("abc")), "abc");
    EXPECT_EQ(utility.nsStringFromStr(Str::EmptyStr), "");
    EXPECT_FALSE(utility.nsStringFromStr(Str("caf\xC3\xA9")));
}

} // namespace
