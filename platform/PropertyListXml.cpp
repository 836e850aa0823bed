// Reading a store file: the binary form directly, XML through libplist once its known failures are
// kept away from it (a byte-order mark it does not skip, nesting it recurses on without limit,
// texts that are not UTF-8, which its writer walks as if they were).

#include "platform/internal/PropertyList.h"

#include "platform/StringEncoding.h"

#include <plist/plist.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace platform::internal {

namespace {

struct PlistFree {
    void operator()(void* node) const { plist_free(node); }
};
using Plist = std::unique_ptr<void, PlistFree>;

bool StartsWith(const std::string& text, std::size_t at, const char* word) {
    return text.compare(at, std::strlen(word), word) == 0;
}

// The document as UTF-8 without a byte-order mark; false when a UTF-16 document does not convert.
bool WithoutByteOrderMark(std::string& xml) {
    if (StartsWith(xml, 0, "\xEF\xBB\xBF")) {
        xml.erase(0, 3);
        return true;
    }
    const bool little = StartsWith(xml, 0, "\xFF\xFE"), big = StartsWith(xml, 0, "\xFE\xFF");
    if (!little && !big)
        return true;
    if (xml.size() % 2 != 0)
        return false;
    std::string units = xml.substr(2);
    for (std::size_t i = 0; little && i < units.size(); i += 2)
        std::swap(units[i], units[i + 1]);
    xml.clear();
    return Utf16ToUtf8(reinterpret_cast<const unsigned char*>(units.data()), units.size() / 2, xml);
}

// Counts the nesting of array and dict elements without parsing; anything that merely looks like
// such a tag counts too, so the estimate errs on the safe side.
bool NestingIsSafe(const std::string& xml) {
    int depth = 0;
    for (std::size_t i = xml.find('<'); i != std::string::npos; i = xml.find('<', i + 1)) {
        const bool closing = StartsWith(xml, i + 1, "/");
        const std::size_t name = i + (closing ? 2 : 1);
        if (!StartsWith(xml, name, "array") && !StartsWith(xml, name, "dict"))
            continue;
        if (closing) {
            --depth;
            continue;
        }
        const std::size_t end = xml.find('>', name);
        if (end != std::string::npos && xml[end - 1] == '/')
            continue;
        if (++depth > kMaxNesting + 1)
            return false;
    }
    return true;
}

// Entities can still spell characters that are not UTF-8 (a lone surrogate).
bool TextsAreValid(plist_t node) {
    std::uint64_t length = 0;
    switch (plist_get_node_type(node)) {
    case PLIST_STRING: {
        const char* text = plist_get_string_ptr(node, &length);
        return text && isValidUTF8(std::string_view(text, length)) && std::strlen(text) == length;
    }
    case PLIST_ARRAY:
        for (std::uint32_t i = 0, n = plist_array_get_size(node); i < n; ++i)
            if (!TextsAreValid(plist_array_get_item(node, i)))
                return false;
        return true;
    case PLIST_DICT: {
        plist_dict_iter iter = nullptr;
        plist_dict_new_iter(node, &iter);
        bool ok = true;
        while (ok) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, iter, &key, &value);
            if (!value) {
                std::free(key);
                break;
            }
            ok = key && isValidUTF8(key) && TextsAreValid(value);
            std::free(key);
        }
        std::free(iter);
        return ok;
    }
    default:
        return true;
    }
}

// libplist reads the XML and hands the tree over in binary form, which carries every kind it
// knows (64-bit integers of either sign included) exactly.
std::optional<Value> ReadXml(std::string xml, ReadError& error) {
    error = ReadError::Unparsable;
    if (!WithoutByteOrderMark(xml) || !isValidUTF8(xml) || xml.find('\0') != std::string::npos ||
        !NestingIsSafe(xml))
        return std::nullopt;
    plist_t parsed = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &parsed);
    Plist root(parsed);
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT || !TextsAreValid(root.get()))
        return std::nullopt;
    char* encoded = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root.get(), &encoded, &length);
    if (!encoded)
        return std::nullopt;
    std::string binary(encoded, length);
    plist_to_bin_free(encoded);
    return ReadBinary(binary, error);
}

} // namespace

std::optional<Value> ReadPropertyList(const std::string& file, ReadError& error) {
    if (file.size() >= kStoreFileLimit) {
        error = ReadError::TooLarge;
        return std::nullopt;
    }
    if (file.empty()) {
        error = ReadError::None;
        Value empty;
        empty.kind = Value::Kind::Dictionary;
        return empty;
    }
    if (StartsWith(file, 0, "bplist"))
        return ReadBinary(file, error);
    return ReadXml(file, error);
}

} // namespace platform::internal
