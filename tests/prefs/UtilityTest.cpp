// The string bridge reads both directions as 7-bit ASCII: anything else gives no string.
#include "prefs/Utility.h"

#include "support/Testing.h"

TEST(Utility, BridgesOnlyAsciiText) {
    const Utility bridge;
    // Platform text, the Str made from it, and the platform text made back from that Str.
    struct Row {
        std::string platform;
        const char* str;
        std::optional<std::string> back;
    };
    const Row rows[] = {{"BkgColors", "BkgColors", "BkgColors"},
                        {"", "", ""},
                        {"caf\xC3\xA9", "", std::nullopt},
                        {"tab\there", "tab\there", "tab\there"}};
    for (const auto& [platform, str, back] : rows) {
        SCOPED_TRACE(platform);
        EXPECT_STREQ(bridge.strFromNSString(platform), str);
        EXPECT_EQ(bridge.nsStringFromStr(Str(platform.c_str())), back);
    }
}
