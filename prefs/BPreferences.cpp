#include "prefs/BPreferences.h"

#include "prefs/BPreferencesCocoaWrapper.h"

#include <cstdint>
#include <cstring>
#include <string>

void BPreferences::Set(Str section, Str name, Str value) {
    BPreferencesCocoaWrapper backend;
    backend.Set(section, name, value);
}

void BPreferences::Set(Str section, Str name, int value) {
    BPreferencesCocoaWrapper backend;
    backend.Set(section, name, value);
}

void BPreferences::Set(Str section, Str name, const char* value) {
    BPreferencesCocoaWrapper backend;
    backend.Set(section, name, value);
}

void BPreferences::Set(Str section, Str name, const unsigned char* bytes, unsigned int count) {
    BPreferencesCocoaWrapper backend;
    backend.Set(section, name, bytes, count);
}

void BPreferences::Set(const char* section, const char* name, Str value) {
    BPreferencesCocoaWrapper backend;
    backend.Set(section, name, value);
}

void BPreferences::Set(const char* section, const char* name, int value) {
    BPreferencesCocoaWrapper backend;
    backend.Set(section, name, value);
}

void BPreferences::Set(const char* section, const char* name, const char* value) {
    BPreferencesCocoaWrapper backend;
    backend.Set(section, name, value);
}

void BPreferences::Set(const char* section, const char* name, const unsigned char* bytes,
                       unsigned int count) {
    BPreferencesCocoaWrapper backend;
    backend.Set(section, name, bytes, count);
}

void BPreferences::Set(const char* section, const char* name, float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    unsigned char bytes[4];
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
    BPreferencesCocoaWrapper backend;
    backend.Set(section, name, bytes, 4);
}

Str BPreferences::Get(Str section, Str name, Str defaultValue) {
    BPreferencesCocoaWrapper backend;
    return backend.Get(section, name, defaultValue);
}

int BPreferences::Get(Str section, Str name, int defaultValue) {
    BPreferencesCocoaWrapper backend;
    return backend.Get(section, name, defaultValue);
}

float BPreferences::Get(Str section, Str name, float defaultValue) {
    unsigned char* buffer = nullptr;
    unsigned int count = 0;
    GetData(section, name, &buffer, &count);
    float result = defaultValue;
    if (count >= 4 && buffer) {
        std::uint32_t bits = 0;
        for (int i = 0; i < 4; ++i)
            bits |= static_cast<std::uint32_t>(buffer[i]) << (8 * i);
        std::memcpy(&result, &bits, sizeof result);
    }
    // An entry of 0 bytes still hands out an array, which is released too.
    delete[] buffer;
    return result;
}

int BPreferences::GetData(Str section, Str name, unsigned char** buffer, unsigned int* count) {
    BPreferencesCocoaWrapper backend;
    return backend.GetData(section, name, buffer, count);
}

void BPreferences::Remove(Str section, Str name) {
    std::string key = static_cast<const char*>(section);
    key += static_cast<const char*>(name);
    BPreferencesCocoaWrapper backend;
    backend.Remove(Str(key.c_str()));
}
