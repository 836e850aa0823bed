#include "prefs/Utility.h"

#include <gtest/gtest.h>

namespace {

TEST(Utility, ConversionsKeepOnlyPureAscii) {
    Utility utility;
    EXPECT_STREQ(utility.strFromNSString("ctl\x01\x7f"), "ctl\x01\x7f");
    EXPECT_STREQ(utility.strFromNSString("caf\xC3\xA9"), "") << "one letter empties the result";
    EXPECT_EQ(utility.nsStringFromStr(Str("abc")), "abc");
    EXPECT_FALSE(utility.nsStringFromStr(Str("caf\xC3\xA9")));
}

} // namespace
