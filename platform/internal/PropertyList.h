// PropertyList.h — platform-internal: the reading and writing of the files that hold a property
// list (the tree itself is platform/PropertyValue.h), and the bound they are held to.
#pragma once

#include "platform/PropertyValue.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform::internal {

// The bound on a store file, for reading and writing alike: its bytes, and its size once shared
// objects are written out each time they are reached, stay below it.
constexpr std::size_t kStoreFileLimit = 4u << 20;
// The bound as messages name it.
inline std::string StoreFileLimitText() {
    return std::to_string(kStoreFileLimit >> 20) + " MiB";
}
// Containers nested below the top dictionary; deeper files are not read.
constexpr int kMaxNesting = 128;

using Value = PropertyValue;

// Why a file could not be read, and where: `reason` is a phrase that completes "cannot read X: ",
// naming the key path, the nesting depth or the offending token.
enum class ReadError { None, Unparsable, TooLarge };
struct ReadFailure {
    ReadError kind = ReadError::None;
    std::string reason;
};

// Reads a binary or XML property list whose top object is a dictionary. An empty file reads as an
// empty dictionary. Files at or past kStoreFileLimit, or that would write out at or past it, are
// TooLarge; anything else that cannot be read is Unparsable. A key repeated in a dictionary keeps
// its first place and its last value. Never encodes: the bound is counted while decoding. With
// `onlyKey` the file is read and checked whole, but of the top dictionary only the entry of that
// key is kept (none when it is absent), which spares a big file's memory.
std::optional<Value> ReadPropertyList(const std::string& file, ReadFailure& failure,
                                      const std::string* onlyKey = nullptr);

// Reads a binary property list only (the form WriteBinary makes).
std::optional<Value> ReadBinary(const std::string& file, ReadFailure& failure,
                                const std::string* onlyKey = nullptr);
// Reads an XML property list only, by the rules of PropertyListXml.cpp.
std::optional<Value> ReadXml(const std::string& file, ReadFailure& failure);

// The binary form of `root`, every object written where it is reached; nullopt when it would
// reach `limit` bytes.
std::optional<std::string> WriteBinary(const Value& root, std::size_t limit = kStoreFileLimit);
// The XML form of `root`; nullopt, with the reason and the key path, when it holds what the XML
// form cannot give back as it is (a control character, a fraction of a second, a set or a null).
std::optional<std::string> WriteXml(const Value& root, std::string& error);

// The size WriteBinary gives a tree, added up object by object as a reader meets them: each value
// (a container without its references) and each dictionary key once, in any order.
class BinarySize {
public:
    void addValue(const Value& value);
    void addKey(const std::string& key);
    // A container of `count` items, as addValue counts it whatever its items now hold.
    void addContainer(std::uint64_t count);
    // A text of `units` UTF-16 units or bytes costs at least this; for a check before decoding it.
    static std::uint64_t leastForText(std::uint64_t units) { return 1 + units; }
    // What the file takes at least, whatever is added later.
    std::uint64_t atLeast(std::uint64_t more = 0) const;
    // What the file takes once every object has been added.
    std::uint64_t total() const;

private:
    std::uint64_t objects_ = 0, bytes_ = 0;
};

// UTF-16 big-endian `units` to UTF-8, appended to `out`; false on a surrogate that does not pair
// up.
bool Utf16ToUtf8(const unsigned char* units, std::uint64_t count, std::string& out);

// Leaves one entry of each key of `dictionary`: where the key first was, with its last value.
void KeepLastOfEachKey(Value& dictionary);

// A dictionary path as messages show it: the keys and array indexes from the top, joined by '/'.
std::string KeyPathText(const std::vector<std::string>& path);

} // namespace platform::internal
