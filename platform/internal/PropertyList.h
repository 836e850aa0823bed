// PropertyList.h — platform-internal: a property-list value tree, and the reading and writing of
// the files that hold one.
//
// A Value is any object of the standard kinds. Texts and dictionary keys are UTF-8 and may hold
// NUL; integers keep their 64-bit two's complement and whether they are unsigned past INT64_MAX;
// reals and dates keep their bits, so a value read is written back equal. Ownership: a value owns
// its children. Invariant: kind says which fields hold the value; a dictionary has as many keys as
// items. Copying: deep, proportional to the tree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace platform::internal {

// The bound on a store file, for reading and writing alike: its bytes, and its size once shared
// objects are written out each time they are reached, stay below it.
constexpr std::size_t kStoreFileLimit = 4u << 20;
// Containers nested below the top dictionary; deeper files are not read.
constexpr int kMaxNesting = 128;

struct Value {
    enum class Kind : std::uint8_t {
        Null,
        Boolean,
        Integer,
        Real,
        Date,
        Data,
        String,
        Uid,
        Array,
        Set,
        Dictionary
    };

    Kind kind = Kind::Null;
    bool wide = false;             // Integer: unsigned above INT64_MAX; Real: held as 32-bit float
    std::uint64_t bits = 0;        // Boolean, Integer, Uid; Real and Date: the bits of the double
    std::string bytes;             // String (UTF-8) or Data
    std::vector<Value> items;      // Array, Set, Dictionary values
    std::vector<std::string> keys; // Dictionary keys, one per item

    static Value Text(std::string text);
    static Value Number(std::int64_t number);
    static Value Double(double number);
    static Value Flag(bool flag);
    static Value Blob(std::string bytes);
    double real() const;
    bool operator==(const Value& other) const;
    bool operator!=(const Value& other) const { return !(*this == other); }
};

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
