#include "prefs/BPreferencesCocoaWrapper.h"

#include "base/BAssert.h"
#include "platform/AutoreleasePool.h"
#include "platform/StringEncoding.h"
#include "platform/UserDefaults.h"

#include <cstring>
#include <optional>
#include <string>

namespace {

using platform::UserDefaults;

// The entry's key: section then name, each read as ASCII; none when either is not ASCII.
std::optional<std::string> MakeKey(const char* section, const char* name) {
    auto head = platform::stringWithCString(section, platform::ASCIIStringEncoding);
    auto tail = platform::stringWithCString(name, platform::ASCIIStringEncoding);
    if (!head || !tail)
        return std::nullopt;
    return *head + *tail;
}

void Store(const char* section, const char* name,
           const std::optional<UserDefaults::Object>& value) {
    platform::AutoreleasePool pool;
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    auto key = MakeKey(section, name);
    if (!key)
        return;
    defaults.setObject(value, *key);
    defaults.synchronize();
}

std::optional<UserDefaults::Object> Text(const char* value, platform::StringEncoding encoding) {
    auto text = platform::stringWithCString(value, encoding);
    if (!text)
        return std::nullopt;
    return UserDefaults::Object(std::move(*text));
}

UserDefaults::Object Bytes(const unsigned char* bytes, std::size_t count) {
    return UserDefaults::Object(UserDefaults::Bytes(bytes, bytes + count));
}

} // namespace

void BPreferencesCocoaWrapper::Set(Str section, Str name, Str value) {
    Store(section, name, Text(value, platform::UTF8StringEncoding));
}

void BPreferencesCocoaWrapper::Set(Str section, Str name, int value) {
    Store(section, name, UserDefaults::Object(static_cast<std::int32_t>(value)));
}

void BPreferencesCocoaWrapper::Set(Str section, Str name, const char* value) {
    B_ASSERT(value);
    Store(section, name, Bytes(reinterpret_cast<const unsigned char*>(value), std::strlen(value)));
}

void BPreferencesCocoaWrapper::Set(Str section, Str name, const unsigned char* bytes,
                                   unsigned int count) {
    B_ASSERT(bytes || count == 0);
    Store(section, name, Bytes(bytes, count));
}

void BPreferencesCocoaWrapper::Set(const char* section, const char* name, Str value) {
    B_ASSERT(section && name);
    Store(section, name, Text(value, platform::ASCIIStringEncoding));
}

void BPreferencesCocoaWrapper::Set(const char* section, const char* name, int value) {
    B_ASSERT(section && name);
    Store(section, name, UserDefaults::Object(static_cast<std::int32_t>(value)));
}

void BPreferencesCocoaWrapper::Set(const char* section, const char* name, const char* value) {
    B_ASSERT(section && name && value);
    Store(section, name, Bytes(reinterpret_cast<const unsigned char*>(value), std::strlen(value)));
}

void BPreferencesCocoaWrapper::Set(const char* section, const char* name,
                                   const unsigned char* bytes, unsigned int count) {
    B_ASSERT(section && name);
    B_ASSERT(bytes || count == 0);
    Store(section, name, Bytes(bytes, count));
}

Str BPreferencesCocoaWrapper::Get(Str section, Str name, Str defaultValue) {
    platform::AutoreleasePool pool;
    Str result = defaultValue;
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    auto key = MakeKey(section, name);
    if (!key)
        return result;
    if (auto text = defaults.stringForKey(*key))
        if (auto bytes = platform::cStringUsingEncoding(*text, platform::UTF8StringEncoding))
            result.Copy_Native(bytes->c_str());
    return result;
}

int BPreferencesCocoaWrapper::Get(Str section, Str name, int defaultValue) {
    platform::AutoreleasePool pool;
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    auto key = MakeKey(section, name);
    if (!key || !defaults.objectForKey(*key))
        return defaultValue;
    return defaults.integerForKey(*key);
}

int BPreferencesCocoaWrapper::GetData(Str section, Str name, unsigned char** buffer,
                                      unsigned int* count) {
    B_ASSERT(buffer && count);
    platform::AutoreleasePool pool;
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    auto key = MakeKey(section, name);
    if (!key)
        return 1;
    auto data = defaults.dataForKey(*key);
    if (!data)
        return 1;
    *count = static_cast<unsigned int>(data->size());
    *buffer = new unsigned char[data->size()];
    if (!data->empty())
        std::memcpy(*buffer, data->data(), data->size());
    return 0;
}

unsigned int BPreferencesCocoaWrapper::GetSize(Str section, Str name) {
    platform::AutoreleasePool pool;
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    auto key = MakeKey(section, name);
    if (!key)
        return 0;
    auto data = defaults.dataForKey(*key);
    return data ? static_cast<unsigned int>(data->size()) : 0;
}

void BPreferencesCocoaWrapper::Remove(Str key) {
    Remove(static_cast<const char*>(key));
}

void BPreferencesCocoaWrapper::Remove(const char* key) {
    B_ASSERT(key);
    platform::AutoreleasePool pool;
    UserDefaults& defaults = UserDefaults::standardUserDefaults();
    if (auto whole = platform::stringWithCString(key, platform::ASCIIStringEncoding))
        defaults.removeObjectForKey(*whole);
}
