#include "platform/StringEncoding.h"

#include "support/Testing.h"

using platform::ASCIIStringEncoding;
using platform::UTF8StringEncoding;

TEST(StringEncoding, ConversionsRefuseWhatTheEncodingCannotHold) {
    const std::tuple<std::string, bool, const char*> rows[] = {
        {"plain \x01\x1f\x7f", true, "ASCII including control characters"},
        {"\xC3\xA9\xE2\x82\xAC\xF4\x8F\xBF\xBF", true, "two-, three- and four-byte forms"},
        {"\x80", false, "lone continuation byte"},
        {"\xC0\xAF", false, "overlong slash"},
        {"\xF0\x8F\xBF\xBF", false, "overlong four-byte form"},
        {"\xED\xA0\x80", false, "UTF-16 surrogate"},
        {"\xF4\x90\x80\x80", false, "past U+10FFFF"},
        {"\xE2\x28\xA1", false, "second byte not a continuation"},
        {"ab\xFF", false, "never a UTF-8 byte"},
    };
    for (const auto& [bytes, utf8, reason] : rows) {
        SCOPED_TRACE(reason);
        const bool ascii = bytes[0] == 'p'; // only the first row is pure ASCII
        EXPECT_EQ(platform::stringWithCString(bytes.c_str(), UTF8StringEncoding),
                  utf8 ? std::optional(bytes) : std::nullopt);
        EXPECT_EQ(platform::cStringUsingEncoding(bytes, ASCIIStringEncoding).has_value(), ascii);
    }
    EXPECT_EQ(platform::stringWithCString("ab\0cd", ASCIIStringEncoding), "ab");
}
