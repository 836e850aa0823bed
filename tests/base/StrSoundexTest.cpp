// Phonetic keys and percent-encoding.
#include "base/StrTestProbe.h"

#include "support/Testing.h"

#include <cstdio>

using strtest::Text;

// Only a repeat of the same byte collapses: letters that merely share a digit are each coded.
TEST(StrSoundex, KeysCollapseOnlyIdenticalBytes) {
    const std::pair<std::string, const char*> rows[] = {
        {"Robert", "R163"},  {"Jackson", "J222"},
        {"Pfister", "P123"}, {"Lloyd", "L430"},
        {"llama", "L500"},   {"  42 x", "X000"},
        {"bb-b", "B100"},    {"Ashcraft", "A226"},
        {"x\xE9yz", "X200"}, {std::string("a\0b", 3), "A100"},
        {"1 \xC0", ""},
    };
    for (const auto& [word, key] : rows) {
        SCOPED_TRACE(word);
        Str s;
        s.NewFromString(word.c_str(), static_cast<int>(word.size()), 0, 0);
        EXPECT_EQ(Text(s.Soundex()), key);
    }
}

TEST(StrUrlEncode, EveryByteMatchesAnIndependentEncoder) {
    const std::string keep = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    std::string all;
    for (int b = 1; b < 256; ++b)
        all += static_cast<char>(b);
    for (signed char plus : {0, 1}) {
        std::string want;
        for (char c : all) {
            char buf[4];
            std::snprintf(buf, sizeof buf, "%%%02X", static_cast<unsigned char>(c));
            want += c == ' ' && plus                    ? "+"
                    : keep.find(c) != std::string::npos ? std::string(1, c)
                                                        : buf;
        }
        Str out("previous text");
        Str(all.c_str()).UrlEncode(out, plus);
        EXPECT_EQ(Text(out), want);
    }
    Str self("x y");
    self.UrlEncode(self, 0);
    EXPECT_EQ(Text(self), "x%20y") << "reads its own former text";
}
