#include "platform/StringEncoding.h"

#include "support/Testing.h"

using platform::ASCIIStringEncoding;
using platform::UTF8StringEncoding;

TEST(StringEncoding, ConversionsRefuseWhatTheEncodingCannotHold) {
    const struct {
        const char* name;
        std::string bytes;
        bool utf8, ascii;
    } rows[] = {
        {"ASCII including control characters", "plain \x01\x1f\x7f", true, true},
        {"two-, three- and four-byte forms", "\xC3\xA9\xE2\x82\xAC\xF4\x8F\xBF\xBF", true, false},
        {"lone continuation byte", "\x80", false, false},
        {"overlong slash", "\xC0\xAF", false, false},
        {"overlong four-byte form", "\xF0\x8F\xBF\xBF", false, false},
        {"UTF-16 surrogate", "\xED\xA0\x80", false, false},
        {"past U+10FFFF", "\xF4\x90\x80\x80", false, false},
        {"second byte not a continuation", "\xE2\x28\xA1", false, false},
        {"never a UTF-8 byte", "ab\xFF", false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(platform::stringWithCString(row.bytes.c_str(), UTF8StringEncoding),
                  row.utf8 ? std::optional(row.bytes) : std::nullopt);
        EXPECT_EQ(platform::cStringUsingEncoding(row.bytes, ASCIIStringEncoding).has_value(),
                  row.ascii);
    }
    EXPECT_EQ(platform::stringWithCString("ab\0cd", ASCIIStringEncoding), "ab");
}
