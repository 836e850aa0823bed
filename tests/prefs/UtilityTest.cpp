// The string bridge reads both directions as 7-bit ASCII: anything else gives no string.
#include "prefs/Utility.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

TEST(Utility, BridgesOnlyAsciiText) {
    const Utility bridge;
    const struct {
        std::string platform;
        const char* str;
        std::optional<std::string> back;
    } rows[] = {
        {"BkgColors", "BkgColors", "BkgColors"},
        {"", "", ""},
        {"caf\xC3\xA9", "", std::nullopt},
        {"tab\there", "tab\there", "tab\there"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.platform);
        EXPECT_STREQ(bridge.strFromNSString(r.platform), r.str);
        EXPECT_EQ(bridge.nsStringFromStr(Str(r.platform.c_str())), r.back);
    }
}
