/// @file
/// PropertyValue.h — stands for the platform's property-list objects: one value of any of the
/// standard kinds, with its children.
///
/// Texts and dictionary keys are UTF-8 and may hold NUL; integers keep their 64-bit two's
/// complement and whether they are unsigned past INT64_MAX; reals and dates keep their bits, so a
/// value read is written back equal. Ownership: a value owns its children. Invariant: kind says
/// which fields hold the value; a dictionary has as many keys as items. Copying: deep, proportional
/// to the tree.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

/// One property-list value of any of the standard kinds, with its children (see PropertyValue.h).
struct PropertyValue {
    /// The kinds of value a property list holds.
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

    Kind kind = Kind::Null;           ///< which of the fields below hold the value
    bool wide = false;                ///< Integer: unsigned above INT64_MAX; Real: a 32-bit float
    std::uint64_t bits = 0;           ///< Boolean, Integer, Uid; Real and Date: the double's bits
    std::string bytes;                ///< String (UTF-8) or Data
    std::vector<PropertyValue> items; ///< Array, Set, Dictionary values
    std::vector<std::string> keys;    ///< Dictionary keys, one per item

    /// A String.
    static PropertyValue Text(std::string text);
    /// An Integer.
    static PropertyValue Number(std::int64_t number);
    /// A 64-bit Real.
    static PropertyValue Double(double number);
    /// A date as seconds since 2001-01-01 00:00:00 UTC.
    static PropertyValue Moment(double seconds);
    /// A Boolean.
    static PropertyValue Flag(bool flag);
    /// A Data value holding `bytes`.
    static PropertyValue Blob(std::string bytes);
    /// An Array of `items`.
    static PropertyValue List(std::vector<PropertyValue> items);
    /// An empty Dictionary.
    static PropertyValue Dictionary();

    /// Real and Date: the double the bits hold.
    double real() const;
    ///@{
    /// Dictionary: the value under `key`, or null when absent. Never adds a key.
    const PropertyValue* find(const std::string& key) const;
    PropertyValue* find(const std::string& key);
    ///@}
    /// Dictionary: sets `key` to `value`, replacing an entry of that key in place or adding one at
    /// the end.
    void set(const std::string& key, PropertyValue value);
    /// Dictionary: removes `key`; false when it was absent.
    bool erase(const std::string& key);

    /// Same kind and equal contents, children compared in order (dictionary keys too).
    bool operator==(const PropertyValue& other) const;
    /// The opposite of operator==.
    bool operator!=(const PropertyValue& other) const { return !(*this == other); }
};

/// A real as the platform describes a number: 16 significant digits, or 17 when 16 would not read
/// back as the same number.
std::string RealDescription(double real);

} // namespace platform
