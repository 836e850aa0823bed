#include "platform/internal/PropertyList.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>

namespace platform::internal {

std::optional<Value> ReadPropertyList(const std::string& file, ReadFailure& failure,
                                      const std::string* onlyKey) {
    failure = ReadFailure();
    if (file.size() >= kStoreFileLimit) {
        failure = {ReadError::TooLarge, "it holds more than the limit of " + StoreFileLimitText()};
        return std::nullopt;
    }
    if (file.empty())
        return Value::Dictionary();
    if (file.compare(0, 6, "bplist") == 0)
        return ReadBinary(file, failure, onlyKey);
    auto root = ReadXml(file, failure);
    if (root && onlyKey) {
        Value one = Value::Dictionary();
        if (Value* value = root->find(*onlyKey))
            one.set(*onlyKey, std::move(*value));
        root = std::move(one);
    }
    return root;
}

void KeepLastOfEachKey(Value& dictionary) {
    auto& keys = dictionary.keys;
    auto& items = dictionary.items;
    // Files written in key order, as the store writes them, have no repeats to look for.
    if (std::adjacent_find(keys.begin(), keys.end(), std::greater_equal<>()) == keys.end())
        return;
    // An open-addressed table of the places kept so far, so that a big dictionary costs no
    // allocation per key.
    constexpr std::size_t kEmpty = SIZE_MAX;
    std::size_t mask = 1;
    while (mask < 2 * keys.size())
        mask <<= 1;
    std::vector<std::size_t> places(mask--, kEmpty);
    const std::hash<std::string_view> hash;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        std::size_t slot = hash(keys[i]) & mask;
        while (places[slot] != kEmpty && keys[places[slot]] != keys[i])
            slot = (slot + 1) & mask;
        if (places[slot] != kEmpty) {
            items[places[slot]] = std::move(items[i]);
            continue;
        }
        if (kept != i) {
            keys[kept] = std::move(keys[i]);
            items[kept] = std::move(items[i]);
        }
        places[slot] = kept++;
    }
    keys.resize(kept);
    items.resize(kept);
}

std::string KeyPathText(const std::vector<std::string>& path) {
    std::string text;
    for (const std::string& step : path)
        text += (text.empty() ? "" : "/") + step;
    return text;
}

} // namespace platform::internal
