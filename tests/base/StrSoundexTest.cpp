// Phonetic keys and percent-encoding.
#include "base/StrTestProbe.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

using strtest::Header;
using strtest::OnEmptyBlock;
using strtest::Text;

TEST(StrSoundex, KeysCollapseOnlyIdenticalBytes) {
    struct Row {
        std::string word;
        const char* key;
    } rows[] = {
        {"Robert", "R163"},
        {"Rupert", "R163"},
        {"Tymczak", "T522"},
        {"Jackson", "J222"}, // c, k and s all contribute
        {"Pfister", "P123"}, // the F after the P is coded
        {"Lloyd", "L430"},   // l differs in case from L
        {"llama", "L500"},   // the repeated l is the same byte
        {"A", "A000"},
        {"  42 x", "X000"},
        {"Aaron", "A650"},
        {"Shaw", "S000"},
        {"Ashcraft", "A226"}, // h separates nothing
        {"bb-b", "B100"},     // '-' breaks the repetition of b
        {"Tt", "T300"},
        {"Bookkeeper", "B216"},
        {"x\xE9yz", "X200"}, // bytes above ASCII are not letters
        {std::string("a\0b", 3), "A100"},
        {"Washington", "W252"},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.word);
        Str s;
        s.NewFromString(r.word.c_str(), static_cast<int>(r.word.size()), 0, 0);
        const Str key = s.Soundex();
        EXPECT_EQ(Text(key), r.key);
        EXPECT_EQ(Text(s), r.word);
    }
}

TEST(StrSoundex, NoLetterGivesTheEmptyString) {
    for (const char* text : {"", "1234", " -!", "\xC0\xE9"}) {
        SCOPED_TRACE(text);
        EXPECT_TRUE(OnEmptyBlock(Str(text).Soundex()));
    }
}

namespace {

std::string PercentEncode(const std::string& in, bool spaceAsPlus) {
    static const std::string keep =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    std::string out;
    for (char c : in) {
        if (c == ' ' && spaceAsPlus) {
            out += '+';
        } else if (keep.find(c) != std::string::npos) {
            out += c;
        } else {
            char buf[4];
            std::snprintf(buf, sizeof buf, "%%%02X", static_cast<unsigned char>(c));
            out += buf;
        }
    }
    return out;
}

} // namespace

TEST(StrUrlEncode, KnownTexts) {
    struct Row {
        const char* text;
        signed char plus;
        const char* encoded;
    } rows[] = {
        {"a b&c", 1, "a+b%26c"}, {"a b&c", 0, "a%20b%26c"}, {"x~y.z-_", 1, "x~y.z-_"},
        {"\xE9", 0, "%E9"},      {"100%", 0, "100%25"},     {"", 1, ""},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.text);
        const Str s(r.text);
        Str out("previous text");
        s.UrlEncode(out, r.plus);
        EXPECT_EQ(Text(out), r.encoded);
        EXPECT_EQ(Text(s), r.text);
    }
}

TEST(StrUrlEncode, EveryByteMatchesAnIndependentEncoder) {
    std::string all;
    for (int b = 1; b < 256; ++b)
        all += static_cast<char>(b);
    const Str s(all.c_str());
    for (signed char plus : {0, 1}) {
        Str out;
        s.UrlEncode(out, plus);
        EXPECT_EQ(Text(out), PercentEncode(all, plus != 0));
        EXPECT_EQ(Header(out).capacity, out.GetLength() | 63);
    }
}

TEST(StrUrlEncode, StopsAtAnEmbeddedZero) {
    Str s;
    s.NewFromString("a b\0c d", 7, 0, 0);
    Str out;
    s.UrlEncode(out, 0);
    EXPECT_EQ(Text(out), "a%20b");
}

TEST(StrUrlEncode, OutputSizingAndSharing) {
    // Plain text fits the block sized for the unencoded length.
    const std::string plain(100, 'p');
    Str out;
    Str(plain.c_str()).UrlEncode(out, 0);
    EXPECT_EQ(Header(out).capacity, 127);

    // An output that shares its block leaves the other holder alone.
    Str shared("keep me");
    Str alias = shared;
    Str("a b").UrlEncode(shared, 1);
    EXPECT_EQ(Text(shared), "a+b");
    EXPECT_EQ(Text(alias), "keep me");

    // Encoding a string into itself reads the original text.
    Str self("x y");
    self.UrlEncode(self, 0);
    EXPECT_EQ(Text(self), "x%20y");

    // An empty string leaves the output empty.
    Str emptyOut("old");
    Str().UrlEncode(emptyOut, 0);
    EXPECT_EQ(emptyOut.GetLength(), 0);
}
