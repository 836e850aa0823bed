/// @file
/// BPreferencesCocoaWrapper.h — the backend of the preferences facade: each operation reads or
/// writes one entry of the standard user defaults and is complete when it returns.
///
/// An entry's key is the section followed directly by the name, both read as 7-bit ASCII; when
/// either holds another byte the operation does nothing (getters give their default, GetData 1,
/// GetSize 0). Every Set synchronises the user defaults; Remove does not.
///
/// Ownership: the class has no state; a buffer handed out by GetData belongs to the caller, who
/// releases it with delete[]. Copying costs nothing. Null section, name or value pointers are
/// programming errors and stop the program through B_ASSERT.
#pragma once

#include "base/Str.h"

/// The backend of the preferences facade: one entry of the standard user defaults per operation
/// (see BPreferencesCocoaWrapper.h).
class BPreferencesCocoaWrapper {
public:
    /// Stores the text read as UTF-8; a text that is not UTF-8 removes the entry.
    void Set(Str section, Str name, Str value);
    /// Stores a number.
    void Set(Str section, Str name, int value);
    /// Stores the strlen(value) bytes of value as raw bytes, without the terminating NUL.
    void Set(Str section, Str name, const char* value);
    /// Stores exactly `count` bytes as raw bytes; `bytes` may be null only when count is 0.
    void Set(Str section, Str name, const unsigned char* bytes, unsigned int count);
    /// Stores the text read as ASCII; a text with a byte >= 0x80 removes the entry.
    void Set(const char* section, const char* name, Str value);
    /// Stores a number.
    void Set(const char* section, const char* name, int value);
    /// Stores the strlen(value) bytes of value as raw bytes, without the terminating NUL.
    void Set(const char* section, const char* name, const char* value);
    /// Stores exactly `count` bytes as raw bytes; `bytes` may be null only when count is 0.
    void Set(const char* section, const char* name, const unsigned char* bytes, unsigned int count);

    /// The stored text (a number as its decimal text), else the default; never raw bytes.
    Str Get(Str section, Str name, Str defaultValue);
    /// The default when the key is absent, else the store's integer reading of the entry (a text
    /// is parsed; raw bytes read as 0).
    int Get(Str section, Str name, int defaultValue);
    /// For a raw-byte entry: sets *count, allocates *buffer with new unsigned char[*count], copies
    /// the bytes and returns 0. Otherwise returns 1 and leaves both out-arguments untouched.
    int GetData(Str section, Str name, unsigned char** buffer, unsigned int* count);
    /// The length of the raw-byte entry, 0 when there is none.
    unsigned int GetSize(Str section, Str name);

    /// Removes the entry whose whole key is `key`, without synchronising.
    void Remove(Str key);
    /// Removes the entry whose whole key is the NUL-terminated `key`, without synchronising.
    void Remove(const char* key);
};
