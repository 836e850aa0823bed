// Differential test of synchronisation: random changes and synchronisations of three stores on one
// file, compared after every step with a model of the merge rule.

#include "platform/UserDefaults.h"

#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>

using platform::UserDefaults;
using Object = UserDefaults::Object;

namespace {

// A store as the merge rule sees it: what it last read from the file, and its own changes since.
struct ModelStore {
    std::map<std::string, Object> view;
    std::map<std::string, std::optional<Object>> pending;

    std::optional<Object> read(const std::string& key) const {
        if (auto change = pending.find(key); change != pending.end())
            return change->second;
        if (auto found = view.find(key); found != view.end())
            return found->second;
        return std::nullopt;
    }
    void synchronize(std::map<std::string, Object>& file) {
        for (const auto& [key, value] : pending) {
            if (value)
                file[key] = *value;
            else
                file.erase(key);
        }
        pending.clear();
        view = file;
    }
};

TEST(UserDefaultsMerge, RandomChangesOfThreeStoresFollowTheMergeRule) {
    const unsigned seed = std::random_device{}();
    std::mt19937 random(seed);
    TempFolder folder;
    const std::string file = folder / "store.plist";
    const std::string keys[] = {"a", "b", "c", "d", "e"};

    std::map<std::string, Object> modelFile;
    ModelStore models[3];
    std::unique_ptr<UserDefaults> stores[3];
    for (auto& store : stores)
        store = std::make_unique<UserDefaults>(file);

    auto randomValue = [&]() -> Object {
        switch (random() % 3) {
        case 0:
            return std::string(1 + random() % 3, static_cast<char>('x' + random() % 3));
        case 1:
            return static_cast<std::int32_t>(random() % 5) - 2;
        default:
            return UserDefaults::Bytes(random() % 3, static_cast<unsigned char>(random()));
        }
    };

    for (int step = 0; step < 400; ++step) {
        int which = static_cast<int>(random() % 3);
        const std::string& key = keys[random() % 5];
        switch (random() % 6) {
        case 0:
        case 1: {
            Object value = randomValue();
            stores[which]->setObject(value, key);
            models[which].pending[key] = value;
            break;
        }
        case 2:
            stores[which]->removeObjectForKey(key);
            models[which].pending[key] = std::nullopt;
            break;
        case 3:
        case 4:
            ASSERT_TRUE(stores[which]->synchronize()) << "seed " << seed;
            models[which].synchronize(modelFile);
            break;
        default: // a process ends (its changes are written) and another starts
            stores[which].reset();
            models[which].synchronize(modelFile);
            stores[which] = std::make_unique<UserDefaults>(file);
            models[which] = ModelStore{modelFile, {}};
            break;
        }
        for (int s = 0; s < 3; ++s)
            for (const std::string& k : keys)
                ASSERT_EQ(stores[s]->objectForKey(k), models[s].read(k))
                    << "seed " << seed << ", step " << step << ", store " << s << ", key " << k;
    }
}

} // namespace
