/// @file
/// BPreferences.h — the preferences facade: typed values kept in the user's defaults under a
/// section and a name (the entry's key is the section followed directly by the name).
///
/// What each setter stores: a Str through a Str-keyed Set as UTF-8 text, through a char-keyed Set
/// as ASCII text; an int as a number; a NUL-terminated string or a byte run as raw bytes; a float
/// as 4 raw bytes, least significant first. Read raw bytes back with GetData, not with the Str Get.
///
/// Ownership: no state. Every call makes a fresh backend object and hands it copies of its Str
/// arguments, released on return (also when an exception passes). A buffer handed out by GetData
/// belongs to the caller, who releases it with delete[]. Copying costs nothing.
#pragma once

#include "base/Str.h"

class BMetaDataClass;
class BMetaDataTaggedList;

/// The preferences facade: typed values kept in the user's defaults under a section and a name
/// (see BPreferences.h).
class BPreferences {
public:
    /// Stores the text read as UTF-8 (a text that is not UTF-8 removes the entry).
    void Set(Str section, Str name, Str value);
    /// Stores a number.
    void Set(Str section, Str name, int value);
    /// Stores the characters of value up to, not including, the NUL as raw bytes.
    void Set(Str section, Str name, const char* value);
    /// Stores exactly `count` bytes as raw bytes.
    void Set(Str section, Str name, const unsigned char* bytes, unsigned int count);
    /// Stores the text read as ASCII (a text with a byte >= 0x80 removes the entry).
    void Set(const char* section, const char* name, Str value);
    /// Stores a number.
    void Set(const char* section, const char* name, int value);
    /// Stores the characters of value up to, not including, the NUL as raw bytes.
    void Set(const char* section, const char* name, const char* value);
    /// Stores exactly `count` bytes as raw bytes.
    void Set(const char* section, const char* name, const unsigned char* bytes, unsigned int count);
    /// Stores the 4 bytes of the IEEE-754 value, least significant first, as raw bytes.
    void Set(const char* section, const char* name, float value);

    /// The stored text, else the default.
    Str Get(Str section, Str name, Str defaultValue);
    /// The stored integer; the default only when the key is absent.
    int Get(Str section, Str name, int defaultValue);
    /// The first 4 bytes of a raw-byte entry read as a little-endian float; the default when
    /// there is no raw-byte entry or it is shorter than 4 bytes.
    float Get(Str section, Str name, float defaultValue);
    /// Hands out a copy of a raw-byte entry (status 0) or returns 1, leaving the out-arguments
    /// untouched, when the key holds no raw bytes.
    int GetData(Str section, Str name, unsigned char** buffer, unsigned int* count);

    /// Removes the entry under section + name; the change is written by the next synchronise.
    void Remove(Str section, Str name);

    ///@{
    /// Structured values travel as the raw bytes of their serialised forms (mode 1), nothing
    /// added. A list is stored as its list record.
    void Set(Str section, Str name, BMetaDataTaggedList& list);
    void Set(const char* section, const char* name, BMetaDataTaggedList& list);
    ///@}
    ///@{
    /// An object is packed by its Set() and its data stored; the object keeps the packed data.
    void Set(Str section, Str name, BMetaDataClass& object);
    void Set(const char* section, const char* name, BMetaDataClass& object);
    ///@}
    /// Reads a stored list record into list (the list's Read replaces its items). Returns the
    /// GetData status: 1 when there are no raw bytes (list untouched), 0 when there are; an entry
    /// of 0 bytes leaves the list untouched.
    int Get(Str section, Str name, BMetaDataTaggedList& list);
    /// Copies the stored bytes into the object's data and rebuilds it with its Get(). Status and
    /// untouched cases as for lists.
    int Get(Str section, Str name, BMetaDataClass& object);
};
