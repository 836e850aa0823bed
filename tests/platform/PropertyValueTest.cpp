// Equality of two trees: every field counts, children and keys included.

#include "platform/PropertyValue.h"

#include "support/Testing.h"

using platform::PropertyValue;

namespace {

TEST(PropertyValue, TwoValuesAreEqualOnlyWhenEveryFieldIs) {
    const PropertyValue base = PropertyValue::List({PropertyValue::Text("a")});
    const auto Changed = [&](const std::function<void(PropertyValue&)>& change) {
        PropertyValue other = base;
        change(other);
        return other;
    };
    const std::pair<const char*, PropertyValue> rows[] = {
        {"kind", Changed([](PropertyValue& v) { v.kind = PropertyValue::Kind::Set; })},
        {"wide", Changed([](PropertyValue& v) { v.wide = true; })},
        {"bits", Changed([](PropertyValue& v) { v.bits = 1; })},
        {"bytes", Changed([](PropertyValue& v) { v.bytes = "a"; })},
        {"an item", Changed([](PropertyValue& v) { v.items[0].bytes = "b"; })},
        {"keys", Changed([](PropertyValue& v) { v.keys = {"k"}; })},
    };
    EXPECT_TRUE(base == Changed([](PropertyValue&) {}));
    EXPECT_FALSE(base != base);
    for (const auto& [name, other] : rows) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(base == other);
        EXPECT_TRUE(base != other);
    }
}

} // namespace
