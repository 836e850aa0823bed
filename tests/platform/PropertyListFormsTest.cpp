// The two forms of a property-list file: the size bound counted without encoding, and a seeded
// round trip of every kind through both. The XML rules, the refusals of damaged binary files, a
// repeated key, the bytes each number takes and what export refuses, the defaults tool's tests
// check through import and export, one named row each (defaults_tool_test.py).

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

} // namespace
