#include "platform/StringEncoding.h"

#include <gtest/gtest.h>

#include <string>

using platform::ASCIIStringEncoding;
using platform::UTF8StringEncoding;

namespace {

TEST(StringEncoding, Utf8ValidationFollowsTheShortestFormRules) {
    const struct {
        std::string bytes;
        bool valid;
        const char* reason;
    } rows[] = {
        {"plain \x01\x1f\x7f", true, "ASCII including control characters"},
        {"\xC3\xA9\xE2\x82\xAC", true, "two- and three-byte forms"},
        {"\xF4\x8F\xBF\xBF", true, "U+10FFFF, the last code point"},
        {"\x80", false, "lone continuation byte"},
        {"\xC0\xAF", false, "overlong slash"},
        {"\xF0\x8F\xBF\xBF", false, "overlong four-byte form"},
        {"\xED\xA0\x80", false, "UTF-16 surrogate"},
        {"\xF4\x90\x80\x80", false, "past U+10FFFF"},
        {"\xE2\x28\xA1", false, "second byte not a continuation"},
    };
    for (const auto& row : rows) {
        auto converted = platform::stringWithCString(row.bytes.c_str(), UTF8StringEncoding);
        EXPECT_EQ(converted, row.valid ? std::optional(row.bytes) : std::nullopt) << row.reason;
    }
}

TEST(StringEncoding, AsciiRefusesAnyByteFrom0x80) {
    EXPECT_EQ(platform::stringWithCString("Bkg\x01\x7f", ASCIIStringEncoding), "Bkg\x01\x7f");
    for (int byte = 0x80; byte <= 0xFF; ++byte) {
        const std::string text = "ab" + std::string(1, static_cast<char>(byte));
        EXPECT_FALSE(platform::stringWithCString(text.c_str(), ASCIIStringEncoding)) << byte;
        EXPECT_FALSE(platform::cStringUsingEncoding(text, ASCIIStringEncoding)) << byte;
    }
    EXPECT_EQ(platform::cStringUsingEncoding("caf\xC3\xA9", UTF8StringEncoding), "caf\xC3\xA9");
    EXPECT_EQ(platform::stringWithCString("ab\0cd", ASCIIStringEncoding), "ab");
}

} // namespace
