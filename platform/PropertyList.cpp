#include "platform/internal/PropertyList.h"

#include <string_view>
#include <unordered_map>
#include <utility>

namespace platform::internal {

std::optional<Value> ReadPropertyList(const std::string& file, ReadFailure& failure) {
    failure = ReadFailure();
    if (file.size() >= kStoreFileLimit) {
        failure = {ReadError::TooLarge, "it holds more than the limit of " + StoreFileLimitText()};
        return std::nullopt;
    }
    if (file.empty())
        return Value::Dictionary();
    if (file.compare(0, 6, "bplist") == 0)
        return ReadBinary(file, failure);
    return ReadXml(file, failure);
}

void KeepLastOfEachKey(Value& dictionary) {
    auto& keys = dictionary.keys;
    auto& items = dictionary.items;
    if (keys.size() < 2)
        return;
    std::unordered_map<std::string_view, std::size_t> first; // key -> its place in the result
    first.reserve(keys.size());
    std::size_t kept = 0;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        auto [at, fresh] = first.emplace(keys[i], kept);
        if (!fresh) {
            items[at->second] = std::move(items[i]);
            continue;
        }
        if (kept != i) {
            keys[kept] = std::move(keys[i]);
            items[kept] = std::move(items[i]);
            // The map's view must follow the text to its new home.
            first.erase(at);
            first.emplace(keys[kept], kept);
        }
        ++kept;
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
