// The two forms of a property-list file as the store reads them: the XML rules (one table of
// snippets, each with the value it gives or why it is refused), binary files built byte by byte,
// the size bound counted without encoding, and a seeded round trip of every kind through both.

#include "platform/internal/PropertyList.h"

#include "support/Seed.h"
#include "support/StoreTesting.h"

#include "support/Testing.h"

using platform::PropertyValue;
using namespace platform::internal;

namespace {

PropertyValue Wide(std::uint64_t bits) {
    PropertyValue value = PropertyValue::Number(0);
    value.bits = bits;
    value.wide = bits >> 63;
    return value;
}

PropertyValue Dict(std::vector<std::pair<std::string, PropertyValue>> entries) {
    PropertyValue dict = PropertyValue::Dictionary();
    for (auto& [key, value] : entries) {
        dict.keys.push_back(key);
        dict.items.push_back(value);
    }
    return dict;
}

std::string Nested(int arrays) {
    std::string open, close;
    for (int i = 0; i < arrays; ++i) {
        open += "<array>";
        close += "</array>";
    }
    return "<plist><dict><key>k</key>" + open + close + "</dict></plist>";
}

struct XmlRow {
    const char* name;
    std::string xml;    // a value for the key "k", or, starting with '<' + '?' or "<plist", a file
    const char* reason; // refused: what the refusal must say, or ""
    std::optional<PropertyValue> value = {}; // read: what "k" holds, if checked
};

std::string Document(const std::string& xml) {
    if (xml.rfind("<?", 0) == 0 || xml.rfind("<plist", 0) == 0 || xml.rfind("<!", 0) == 0 ||
        xml.rfind("\xEF\xBB\xBF", 0) == 0)
        return xml;
    return "<plist version=\"1.0\"><dict><key>k</key>" + xml + "</dict></plist>";
}

TEST(PropertyListForms, XmlIsReadByTheRulesAndNothingIsInvented) {
    const std::vector<XmlRow> rows = {
        {"leading zeros stay decimal", "<integer>0123</integer>", "", PropertyValue::Number(123)},
        {"sign and white space", "<integer> -42\n</integer>", "", PropertyValue::Number(-42)},
        {"plus sign", "<integer>+7</integer>", "", PropertyValue::Number(7)},
        {"hexadecimal", "<integer>0x1F</integer>", "", PropertyValue::Number(31)},
        {"negative hexadecimal", "<integer>-0X10</integer>", "", PropertyValue::Number(-16)},
        {"largest unsigned", "<integer>18446744073709551615</integer>", "", Wide(~0ull)},
        {"smallest signed", "<integer>-9223372036854775808</integer>", "",
         PropertyValue::Number(INT64_MIN)},
        {"real", "<real>-2.5e3</real>", "", PropertyValue::Double(-2500)},
        {"real infinity", "<real>inf</real>", "", PropertyValue::Double(HUGE_VAL)},
        {"date", "<date>2026-11-24T08:30:00Z</date>", "", PropertyValue::Moment(817201800)},
        {"date of year 1", "<date>0001-01-01T00:00:00Z</date>", "",
         PropertyValue::Moment(-63113904000)},
        {"base64 with white space", "<data>AAEC\n\tAw==</data>", "",
         PropertyValue::Blob(std::string("\0\1\2\3", 4))},
        {"empty data", "<data/>", "", PropertyValue::Blob("")},
        {"empty text", "<string/>", "", PropertyValue::Text("")},
        {"references", "<string>a&amp;&lt;&#13;&#x10000;</string>", "",
         PropertyValue::Text("a&<\r\xF0\x90\x80\x80")},
        {"booleans", "<array><true/><false/></array>", "",
         PropertyValue::List({PropertyValue::Flag(true), PropertyValue::Flag(false)})},
        {"empty key", "<plist><dict><key/><integer>1</integer></dict></plist>", "",
         PropertyValue::Number(1)},
        {"byte-order mark and comment after",
         "\xEF\xBB\xBF<plist><dict><key>k</key><true/></dict></plist>\n<!-- end -->", "",
         PropertyValue::Flag(true)},
        {"128 arrays under the top", Nested(128), ""},
        {"integer of letters", "<integer>helo</integer>",
         "<integer> 'helo' is not a 64-bit integer at k"},
        {"bare 0x", "<integer>0x</integer>", "not a 64-bit integer"},
        {"empty integer", "<integer/>", "not a 64-bit integer"},
        {"integer with a tail", "<integer>12abc</integer>", "'12abc'"},
        {"two signs", "<integer>+-1</integer>", "not a 64-bit integer"},
        {"past 64 bits", "<integer>99999999999999999999</integer>", "not a 64-bit integer"},
        {"below the smallest", "<integer>-9223372036854775809</integer>", "not a 64-bit integer"},
        {"real of letters", "<real>helo</real>", "<real> 'helo' is not a number"},
        {"real with a tail", "<real>1.5x</real>", "not a number"},
        {"empty real", "<real></real>", "not a number"},
        {"no such month", "<date>2026-13-01T00:00:00Z</date>", "not YYYY-MM-DDTHH:MM:SSZ"},
        {"no such day", "<date>2025-02-29T00:00:00Z</date>", "<date>"},
        {"date in words", "<date>yesterday</date>", "<date>"},
        {"date with a fraction", "<date>2026-01-01T00:00:00.5Z</date>", "<date>"},
        {"base64 with a stray byte", "<data>AA*A</data>", "not base64"},
        {"base64 cut to one sextet", "<data>AAECA</data>", "not base64"},
        {"padding inside", "<data>AA==AAAA</data>", "not base64"},
        {"bits left over", "<data>AB==</data>", "not base64"},
        {"key inside an array", "<array><key>x</key></array>", "<key> outside a <dict> at k/0"},
        {"key without a value", "<plist><dict><key>a</key></dict></plist>",
         "<key> 'a' has no value"},
        {"two keys in a row", "<plist><dict><key>a</key><key>b</key><true/></dict></plist>",
         "<key> 'a' has no value"},
        {"value without a key", "<plist><dict><true/></dict></plist>",
         "<true> where a <key> belongs"},
        {"second top value", "<plist><dict/><dict/></plist>", "a second value in <plist>"},
        {"text after the document", "<plist><dict/></plist>junk", "junk after document element"},
        {"text between values", "<plist><dict>hello<key>a</key><true/></dict></plist>",
         "the text 'hello' outside a value"},
        {"text in a boolean", "<true>yes</true>", "outside a value"},
        {"element in a text", "<string><true/></string>", "<true> inside a value that holds text"},
        {"unknown element", "<number>1</number>", "unknown element <number>"},
        {"document that is no plist", "<?xml version=\"1.0\"?><dict/>",
         "the document is <dict>, not <plist>"},
        {"top value no dictionary", "<plist><array/></plist>", "not a <dict>"},
        {"empty plist", "<plist/>", "holds no value"},
        {"entity declared",
         "<!DOCTYPE plist [<!ENTITY e \"x\">]><plist><dict><key>k</key><string>&e;</string>"
         "</dict></plist>",
         "declaration of the entity &e;"},
        {"entity undefined",
         "<!DOCTYPE plist PUBLIC \"-//x//y//EN\" \"plist.dtd\"><plist><dict><key>k</key>"
         "<string>a&e;</string></dict></plist>",
         "undefined entity &e;"},
        {"129 arrays under the top", Nested(129), "nested deeper than 128"},
        {"not UTF-8", "<string>\xC3</string>", "line 1"},
    };
    for (const XmlRow& row : rows) {
        SCOPED_TRACE(row.name);
        ReadFailure failure;
        const auto root = ReadPropertyList(Document(row.xml), failure);
        if (!row.reason[0]) {
            ASSERT_TRUE(root) << failure.reason;
            EXPECT_EQ(failure.kind, ReadError::None);
            if (row.value) {
                EXPECT_EQ(root->items.at(0), *row.value);
            }
            EXPECT_EQ(root->keys.size(), 1u);
            continue;
        }
        EXPECT_FALSE(root);
        EXPECT_EQ(failure.kind, ReadError::Unparsable);
        EXPECT_NE(failure.reason.find(row.reason), std::string::npos) << failure.reason;
    }
    ReadFailure failure;
    EXPECT_EQ(ReadPropertyList(Document(rows[16].xml), failure)->keys,
              std::vector<std::string>{""});
}

TEST(PropertyListForms, ARepeatedKeyKeepsItsFirstPlaceAndItsLastValue) {
    const PropertyValue expected =
        Dict({{"a", PropertyValue::Number(3)}, {"b", PropertyValue::Number(2)}});
    // {"a": 1, "b": 2, "a": 3}, with the key "a" written once and referred to twice.
    const std::string binary = Binary("\xD3\x01\x02\x01\x03\x04\x05"
                                      "\x51"
                                      "a"
                                      "\x51"
                                      "b"
                                      "\x10\x01\x10\x02\x10\x03",
                                      {8, 15, 17, 19, 21, 23});
    const std::string xml = "<plist><dict><key>a</key><integer>1</integer><key>b</key>"
                            "<integer>2</integer><key>a</key><integer>3</integer></dict></plist>";
    for (const std::string& file : {binary, xml}) {
        ReadFailure failure;
        const auto root = ReadPropertyList(file, failure);
        ASSERT_TRUE(root) << failure.reason;
        EXPECT_EQ(*root, expected);
    }
}

TEST(PropertyListForms, TheWriterGivesEachNumberTheFewestBytesItsKindAllows) {
    PropertyValue single = PropertyValue::Double(1.5f);
    single.wide = true;
    const std::pair<PropertyValue, std::string> rows[] = {
        {PropertyValue::Number(0), std::string("\x10\x00", 2)},
        {PropertyValue::Number(255), "\x10\xFF"},
        {PropertyValue::Number(256), std::string("\x11\x01\x00", 3)},
        {PropertyValue::Number(65536), "\x12" + Big(65536, 4)},
        {PropertyValue::Number(INT64_C(1) << 32), "\x13" + Big(std::uint64_t{1} << 32, 8)},
        {PropertyValue::Number(-1), "\x13" + Big(~std::uint64_t{0}, 8)},
        {Wide(std::uint64_t{1} << 63), "\x14" + Big(0, 8) + Big(std::uint64_t{1} << 63, 8)},
        {single, "\x22" + Big(0x3FC00000, 4)},
        {PropertyValue::Double(1.5), "\x23" + Big(0x3FF8000000000000, 8)},
    };
    for (const auto& [value, bytes] : rows) {
        SCOPED_TRACE(::testing::PrintToString(bytes));
        EXPECT_EQ(WriteBinary(Dict({{"k", value}})), Binary("\xD1\x01\x02\x51"
                                                            "k" +
                                                                bytes,
                                                            {8, 11, 13}));
    }
}

// `file` with the 8-byte field at `at` of its trailer (8: the count of objects, 16: the top
// object, 24: the place of the offset table) set to `value`.
std::string WithTrailer(std::string file, std::size_t at, std::uint64_t value) {
    return file.replace(file.size() - 32 + at, 8, Big(value, 8));
}

TEST(PropertyListForms, BinaryRefusalsSayWhatIsWrongAndWhere) {
    struct Row {
        const char* name;
        std::string file;
        const char* reason;
    };
    const Row rows[] = {
        {"integer of 128 bits with high bits set",
         Binary("\xD1\x01\x02\x51"
                "a\x14" +
                    std::string(7, '\0') + "\x01" + std::string(8, '\0'),
                {8, 11, 13}),
         "an integer beyond 64 bits at a"},
        {"integer of 256 bits",
         Binary("\xD1\x01\x02\x51"
                "a\x15" +
                    std::string(32, '\0'),
                {8, 11, 13}),
         "an integer of 256 bits, beyond 64 bits at a"},
        {"array holding itself",
         Binary("\xD1\x01\x02\x51"
                "a\xA1\x02",
                {8, 11, 13}),
         "a dictionary or array that holds itself at a/0"},
        {"UTF-16 text past the end",
         Binary("\xD1\x01\x02\x51"
                "a\x6F\x11\x10\x00",
                {8, 11, 13}),
         "object 2 is cut short at a"},
        {"top object an array", Binary("\xA0", {8}), "top object is not a dictionary"},
        {"key that is no text", Binary("\xD1\x01\x01\x10\x01", {8, 11}),
         "a dictionary key that is not a text at (key 1)"},
        {"offset past the end", Binary("\xD0", {200}), "object 0 lies outside the file"},
        {"offset table past the end", WithTrailer(Binary("\xD0", {8}), 24, 1000),
         "trailer is damaged"},
        {"offset table in the header", WithTrailer(Binary("\xD0", {8}), 24, 4),
         "trailer is damaged"},
        {"more objects than offsets", WithTrailer(Binary("\xD0", {8}), 8, 2), "trailer is damaged"},
        {"top object past the count", WithTrailer(Binary("\xD0", {8}), 16, 1),
         "trailer is damaged"},
        {"no trailer", "bplist00\xD0", "no bplist00 header or trailer"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ReadFailure failure;
        EXPECT_FALSE(ReadPropertyList(row.file, failure));
        EXPECT_EQ(failure.kind, ReadError::Unparsable);
        EXPECT_NE(failure.reason.find(row.reason), std::string::npos) << failure.reason;
    }
}

// Random values of every kind; `xml` leaves out what the XML form cannot carry (sets, nulls, UIDs,
// 32-bit reals, control characters, fractions of a second).
class RandomTree {
public:
    RandomTree(unsigned seed, bool xml) : random_(seed), xml_(xml) {}

    PropertyValue dictionary(int depth) {
        PropertyValue dict = PropertyValue::Dictionary();
        const int n = Pick(0, depth > 2 ? 2 : 6);
        for (int i = 0; i < n; ++i) {
            std::string key = text();
            PropertyValue item = value(depth + 1);
            if (dict.find(key))
                continue;
            dict.keys.push_back(std::move(key));
            dict.items.push_back(std::move(item));
        }
        return dict;
    }

private:
    int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
    std::uint64_t Bits() { return std::uniform_int_distribution<std::uint64_t>()(random_); }

    // Pieces that each form must take care of; the last two XML cannot carry.
    std::string text() {
        using namespace std::literals;
        static const std::string_view pieces[] = {
            "a",    "Z",   " ",  "\t",  "\n",       "\r",           "&",
            "<",    ">",   "\"", "]]>", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
            "\x01", "\0"sv};
        std::string out;
        for (int n = Pick(0, 6); n > 0; --n)
            out += pieces[Pick(0, xml_ ? 13 : 15)];
        return out;
    }

    PropertyValue value(int depth) {
        const int kind = Pick(0, depth > 3 ? 7 : 9);
        switch (kind) {
        case 0:
            return PropertyValue::Text(text());
        case 1:
            return Wide(Bits() >> Pick(0, 63));
        case 2:
            return PropertyValue::Number(-static_cast<std::int64_t>(Bits() >> 1));
        case 3: {
            double real = std::ldexp(static_cast<double>(Bits() >> 11), Pick(-1074, 971));
            if (Pick(0, 1))
                real = -real;
            if (xml_ || Pick(0, 3))
                return PropertyValue::Double(real);
            PropertyValue single = PropertyValue::Double(static_cast<float>(real));
            single.wide = true;
            return single;
        }
        case 4: {
            // Whole seconds of the years 1 to 9999, or any moment where XML is not involved.
            const double second =
                static_cast<double>(Pick(-63113904, 252423992)) * 1000 + Pick(0, 999);
            return PropertyValue::Moment(xml_ ? second : second + 0.25);
        }
        case 5: {
            std::string bytes;
            for (int n = Pick(0, 9); n > 0; --n)
                bytes += static_cast<char>(Pick(0, 255));
            return PropertyValue::Blob(bytes);
        }
        case 6:
            return PropertyValue::Flag(Pick(0, 1));
        case 7:
            if (!xml_ && Pick(0, 1)) {
                PropertyValue uid;
                uid.kind = PropertyValue::Kind::Uid;
                uid.bits = Bits() >> 32;
                return uid;
            }
            return PropertyValue::Text(text());
        case 8: {
            PropertyValue list = PropertyValue::List({});
            if (!xml_ && Pick(0, 3) == 0)
                list.kind = PropertyValue::Kind::Set;
            for (int n = Pick(0, 4); n > 0; --n)
                list.items.push_back(value(depth + 1));
            return list;
        }
        default:
            return dictionary(depth);
        }
    }

    std::mt19937_64 random_;
    bool xml_;
};

// The size counted object by object, as the readers count it, is the size the writer writes.
void CountInto(BinarySize& size, const PropertyValue& value) {
    size.addValue(value);
    for (const std::string& key : value.keys)
        size.addKey(key);
    for (const PropertyValue& item : value.items)
        CountInto(size, item);
}

TEST(PropertyListForms, EveryValueComesBackThroughBothFormsAndTheSizeIsCountedExactly) {
    const TestSeed seed;
    for (const bool xml : {false, true}) {
        RandomTree random(seed.value + xml, xml);
        for (int step = 0; step < 300; ++step) {
            SCOPED_TRACE((xml ? "XML, step " : "binary, step ") + std::to_string(step));
            const PropertyValue tree = random.dictionary(0);
            ReadFailure failure;
            std::optional<PropertyValue> back;
            if (xml) {
                std::string error;
                const auto text = WriteXml(tree, error);
                ASSERT_TRUE(text) << error;
                back = ReadPropertyList(*text, failure);
            } else {
                const auto bytes = WriteBinary(tree);
                ASSERT_TRUE(bytes);
                BinarySize size;
                CountInto(size, tree);
                EXPECT_EQ(size.total(), bytes->size());
                back = ReadPropertyList(*bytes, failure);
            }
            ASSERT_TRUE(back) << failure.reason;
            ASSERT_EQ(*back, tree);
        }
    }
}

// A text reached twice counts twice: a file that written out would take exactly the bound is too
// large, though itself far smaller, and one byte less reads.
TEST(PropertyListForms, AFileThatWouldWriteOutAtTheBoundIsTooLarge) {
    const std::string shared(3 << 19, 's');
    const auto Tree = [&](std::size_t pad) {
        return Dict(
            {{"a", PropertyValue::List({PropertyValue::Text(shared), PropertyValue::Text(shared)})},
             {"pad", PropertyValue::Text(std::string(pad, 'p'))}});
    };
    // The tree in the binary form, the shared text written once.
    const auto File = [&](std::size_t pad) {
        const std::string parts[] = {"\xD2" + Big(1, 4) + Big(2, 4) + Big(3, 4) + Big(4, 4),
                                     "\x51" + std::string("a"),
                                     "\x53" + std::string("pad"),
                                     "\xA2" + Big(5, 4) + Big(5, 4),
                                     "\x5F\x12" + Big(pad, 4) + std::string(pad, 'p'),
                                     "\x5F\x12" + Big(shared.size(), 4) + shared};
        std::string objects;
        std::vector<std::uint64_t> offsets;
        for (const std::string& part : parts) {
            offsets.push_back(8 + objects.size());
            objects += part;
        }
        return Binary(objects, offsets, 4);
    };
    BinarySize guess;
    CountInto(guess, Tree(1 << 20));
    const std::size_t pad = (1 << 20) + kStoreFileLimit - guess.total();
    BinarySize exact;
    CountInto(exact, Tree(pad));
    ASSERT_EQ(exact.total(), kStoreFileLimit);
    for (const auto& [size, kind] :
         {std::pair{pad, ReadError::TooLarge}, {pad - 1, ReadError::None}}) {
        SCOPED_TRACE(size);
        ReadFailure failure;
        const auto root = ReadPropertyList(File(size), failure);
        EXPECT_EQ(failure.kind, kind) << failure.reason;
        EXPECT_EQ(root == Tree(size), kind == ReadError::None);
    }
}

// XML shares nothing, yet a text of two-byte characters takes as many bytes in it as in the binary
// form, which adds a reference and offsets: an XML file under the bound may write out at it.
TEST(PropertyListForms, AnXmlFileThatWouldWriteOutAtTheBoundIsTooLarge) {
    const auto Text = [](std::size_t characters) {
        std::string text;
        for (std::size_t i = 0; i < characters; ++i)
            text += "\xC3\xA9";
        return text;
    };
    BinarySize guess;
    CountInto(guess, Dict({{"k", PropertyValue::Text(Text(1 << 20))}}));
    const std::size_t n = (1 << 20) + (kStoreFileLimit - guess.total()) / 2;
    BinarySize exact;
    CountInto(exact, Dict({{"k", PropertyValue::Text(Text(n))}}));
    ASSERT_EQ(exact.total(), kStoreFileLimit);
    for (const auto& [size, kind] : {std::pair{n, ReadError::TooLarge}, {n - 1, ReadError::None}}) {
        SCOPED_TRACE(size);
        ReadFailure failure;
        ReadPropertyList(
            "<plist><dict><key>k</key><string>" + Text(size) + "</string></dict></plist>", failure);
        EXPECT_EQ(failure.kind, kind) << failure.reason;
    }
    // Cut short after its text, a file is unparsable, unless what it held by then already takes
    // the bound at least.
    const auto HeldAtLeast = [&](std::size_t characters) {
        BinarySize held;
        held.addKey("k");
        held.addValue(PropertyValue::Text(Text(characters)));
        return held.atLeast(0);
    };
    const std::size_t cut = (1 << 20) + (kStoreFileLimit - 1 - HeldAtLeast(1 << 20)) / 2;
    ASSERT_EQ(HeldAtLeast(cut), kStoreFileLimit - 1);
    for (const auto& [size, kind] :
         {std::pair{cut, ReadError::Unparsable}, {cut + 1, ReadError::TooLarge}}) {
        SCOPED_TRACE(size);
        ReadFailure failure;
        ReadPropertyList("<plist><dict><key>k</key><string>" + Text(size) + "</string>", failure);
        EXPECT_EQ(failure.kind, kind) << failure.reason;
    }
}

TEST(PropertyListForms, ExportRefusesWhatXmlCannotCarryAndNamesTheKey) {
    PropertyValue set = PropertyValue::List({});
    set.kind = PropertyValue::Kind::Set;
    const std::pair<PropertyValue, const char*> rows[] = {
        {PropertyValue::Text(std::string("a\0b", 3)), "XML cannot carry at outer/k"},
        {PropertyValue::Text("\xEF\xBF\xBE"), "XML cannot carry at outer/k"},
        {PropertyValue::Text("\xEF\xBF\xBF"), "XML cannot carry at outer/k"},
        {PropertyValue::Moment(0.5), "whole second"},
        {PropertyValue::Moment(-63113904001.0), "years 1 to 9999"},
        {set, "a set"},
        {PropertyValue(), "a null"},
    };
    for (const auto& [value, reason] : rows) {
        SCOPED_TRACE(reason);
        std::string error;
        EXPECT_FALSE(WriteXml(Dict({{"outer", Dict({{"k", value}})}}), error));
        EXPECT_NE(error.find(reason), std::string::npos) << error;
    }
    // What it can carry it writes as it is, one element a line, indented by depth.
    std::string error;
    const auto text = WriteXml(Dict({{"first", PropertyValue::Moment(-63113904000)},
                                     {"text", PropertyValue::Text("\r\xEF\xBF\xBD")},
                                     {"list", PropertyValue::List({PropertyValue::Flag(true),
                                                                   PropertyValue::Dictionary()})}}),
                               error);
    ASSERT_TRUE(text) << error;
    EXPECT_EQ(*text, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
                     "\t<key>first</key>\n\t<date>0001-01-01T00:00:00Z</date>\n"
                     "\t<key>text</key>\n\t<string>&#13;\xEF\xBF\xBD</string>\n"
                     "\t<key>list</key>\n\t<array>\n\t\t<true/>\n\t\t<dict/>\n\t</array>\n"
                     "</dict>\n</plist>\n");
}

} // namespace
