#include "platform/PropertyValue.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace platform {

namespace {

PropertyValue Of(PropertyValue::Kind kind) {
    PropertyValue value;
    value.kind = kind;
    return value;
}

std::uint64_t BitsOf(double number) {
    std::uint64_t bits;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

} // namespace

PropertyValue PropertyValue::Text(std::string text) {
    PropertyValue value = Of(Kind::String);
    value.bytes = std::move(text);
    return value;
}

PropertyValue PropertyValue::Number(std::int64_t number) {
    PropertyValue value = Of(Kind::Integer);
    value.bits = static_cast<std::uint64_t>(number);
    return value;
}

PropertyValue PropertyValue::Double(double number) {
    PropertyValue value = Of(Kind::Real);
    value.bits = BitsOf(number);
    return value;
}

PropertyValue PropertyValue::Moment(double seconds) {
    PropertyValue value = Of(Kind::Date);
    value.bits = BitsOf(seconds);
    return value;
}

PropertyValue PropertyValue::Flag(bool flag) {
    PropertyValue value = Of(Kind::Boolean);
    value.bits = flag;
    return value;
}

PropertyValue PropertyValue::Blob(std::string bytes) {
    PropertyValue value = Of(Kind::Data);
    value.bytes = std::move(bytes);
    return value;
}

PropertyValue PropertyValue::List(std::vector<PropertyValue> items) {
    PropertyValue value = Of(Kind::Array);
    value.items = std::move(items);
    return value;
}

PropertyValue PropertyValue::Dictionary() {
    return Of(Kind::Dictionary);
}

double PropertyValue::real() const {
    double number;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

const PropertyValue* PropertyValue::find(const std::string& key) const {
    auto at = std::find(keys.begin(), keys.end(), key);
    return at == keys.end() ? nullptr : &items[static_cast<std::size_t>(at - keys.begin())];
}

PropertyValue* PropertyValue::find(const std::string& key) {
    return const_cast<PropertyValue*>(std::as_const(*this).find(key));
}

void PropertyValue::set(const std::string& key, PropertyValue value) {
    if (PropertyValue* old = find(key)) {
        *old = std::move(value);
        return;
    }
    keys.push_back(key);
    items.push_back(std::move(value));
}

bool PropertyValue::erase(const std::string& key) {
    auto at = std::find(keys.begin(), keys.end(), key);
    if (at == keys.end())
        return false;
    items.erase(items.begin() + (at - keys.begin()));
    keys.erase(at);
    return true;
}

std::string RealDescription(double real) {
    char text[40];
    std::snprintf(text, sizeof text, "%.16g", real);
    if (std::strtod(text, nullptr) != real)
        std::snprintf(text, sizeof text, "%.17g", real);
    return text;
}

bool PropertyValue::operator==(const PropertyValue& other) const {
    return kind == other.kind && wide == other.wide && bits == other.bits && bytes == other.bytes &&
           items == other.items && keys == other.keys;
}

} // namespace platform
