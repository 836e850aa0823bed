#include "platform/StringEncoding.h"

#include <gtest/gtest.h>

#include <string>

using platform::ASCIIStringEncoding;
using platform::UTF8StringEncoding;

namespace {

struct Utf8Row {
    std::string bytes;
    bool valid;
    const char* reason;
};

TEST(StringEncoding, Utf8ValidationFollowsTheShortestFormRules) {
    const Utf8Row rows[] = {
        {"", true, "empty text"},
        {"plain \x01\x1f\x7f", true, "ASCII including control characters"},
        {"\xC3\xA9", true, "two-byte e acute"},
        {"\xE2\x82\xAC", true, "three-byte euro sign"},
        {"\xEF\xBF\xBF", true, "U+FFFF is a valid scalar value"},
        {"\xF0\x9F\x98\x80", true, "four-byte emoji"},
        {"\xF4\x8F\xBF\xBF", true, "U+10FFFF, the last code point"},
        {"\x80", false, "lone continuation byte"},
        {"\xC3", false, "truncated two-byte sequence"},
        {"\xE2\x82", false, "truncated three-byte sequence"},
        {"\xF0\x9F\x98", false, "truncated four-byte sequence"},
        {"\xC0\xAF", false, "overlong slash"},
        {"\xC1\xBF", false, "overlong two-byte form"},
        {"\xE0\x9F\xBF", false, "overlong three-byte form"},
        {"\xF0\x8F\xBF\xBF", false, "overlong four-byte form"},
        {"\xED\xA0\x80", false, "UTF-16 high surrogate"},
        {"\xED\xBF\xBF", false, "UTF-16 low surrogate"},
        {"\xF4\x90\x80\x80", false, "past U+10FFFF"},
        {"\xF5\x80\x80\x80", false, "lead byte past F4"},
        {"\xFF", false, "never a UTF-8 byte"},
        {"\xC3\x28", false, "continuation byte missing"},
        {"\xE2\x28\xA1", false, "second byte not a continuation"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(platform::isValidUTF8(row.bytes), row.valid) << row.reason;
        auto converted = platform::stringWithCString(row.bytes.c_str(), UTF8StringEncoding);
        EXPECT_EQ(converted.has_value(), row.valid) << row.reason;
        if (converted) {
            EXPECT_EQ(*converted, row.bytes) << row.reason;
        }
    }
}

TEST(StringEncoding, AsciiRefusesAnyByteFrom0x80) {
    EXPECT_EQ(platform::stringWithCString("Bkg\x01\x7f", ASCIIStringEncoding), "Bkg\x01\x7f");
    for (int byte = 0x80; byte <= 0xFF; ++byte) {
        std::string text = "ab";
        text += static_cast<char>(byte);
        EXPECT_FALSE(platform::stringWithCString(text.c_str(), ASCIIStringEncoding)) << byte;
        EXPECT_FALSE(platform::cStringUsingEncoding(text, ASCIIStringEncoding)) << byte;
    }
    EXPECT_FALSE(platform::cStringUsingEncoding("caf\xC3\xA9", ASCIIStringEncoding));
    EXPECT_EQ(platform::cStringUsingEncoding("caf\xC3\xA9", UTF8StringEncoding), "caf\xC3\xA9");
}

TEST(StringEncoding, ConversionStopsAtTheFirstNulAndRefusesNull) {
    const char text[] = "ab\0cd";
    EXPECT_EQ(platform::stringWithCString(text, ASCIIStringEncoding), "ab");
    EXPECT_FALSE(platform::stringWithCString(nullptr, UTF8StringEncoding));
}

} // namespace
