// PropertyList.h — platform-internal: the reading and writing of the files that hold a property
// list (the tree itself is platform/PropertyValue.h).
#pragma once

#include "platform/PropertyValue.h"

#include <cstddef>
#include <optional>
#include <string>

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

// Why a file could not be read.
enum class ReadError { None, Unparsable, TooLarge };

// Reads a binary or XML property list whose top object is a dictionary. An empty file reads as an
// empty dictionary. Files at or past kStoreFileLimit, or that would write out at or past it, are
// TooLarge; anything else that cannot be read is Unparsable.
std::optional<Value> ReadPropertyList(const std::string& file, ReadError& error);

// The binary form of `root`, every object written where it is reached; nullopt when it would
// reach `limit` bytes.
std::optional<std::string> WriteBinary(const Value& root, std::size_t limit = kStoreFileLimit);

// Reads a binary property list only (the form WriteBinary makes).
std::optional<Value> ReadBinary(const std::string& file, ReadError& error);

// UTF-16 big-endian `units` to UTF-8, appended to `out`; false on a surrogate that does not pair
// up.
bool Utf16ToUtf8(const unsigned char* units, std::uint64_t count, std::string& out);

} // namespace platform::internal
