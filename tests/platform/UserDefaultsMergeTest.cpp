// Differential test of synchronisation: random changes and synchronisations of three stores on one
// file, compared after every step with a model of the merge rule. The texts are any UTF-8 and the
// keys the texts that need care, so that every text the store takes is seen to come back from the
// file as it was.

#include "platform/UserDefaults.h"

#include "support/StoreTesting.h"
#include "support/TempFolder.h"

#include "support/Seed.h"
#include "support/Testing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using platform::UserDefaults;
using Object = UserDefaults::Object;

namespace {

using UserDefaultsMerge = StoreFileTest;

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
        for (const auto& [key, value] : pending)
            value ? void(file[key] = *value) : void(file.erase(key));
        pending.clear();
        view = file;
    }
};

TEST_F(UserDefaultsMerge, RandomChangesOfThreeStoresFollowTheMergeRule) {
    const TestSeed seed;
    std::mt19937 random(seed.value);
    // Keys that need care: the code points at each end of the two-, three- and four-byte forms,
    // control characters and markup, DEL, and no text at all.
    const std::string keys[] = {"\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80",
                                "\x01\x1f\t\r\n<&>\"'", "\x7f", "\xF4\x8F\xBF\xBF", ""};

    std::map<std::string, Object> modelFile;
    ModelStore models[3];
    std::unique_ptr<UserDefaults> stores[3];
    for (auto& store : stores)
        store = std::make_unique<UserDefaults>(file);

    // Code points from every length of UTF-8, surrogates left out.
    auto randomText = [&] {
        const std::uint32_t limits[] = {0x80, 0x800, 0x10000, 0x110000};
        std::string text;
        for (int j = static_cast<int>(random() % 12); j > 0; --j) {
            const std::uint32_t cp = 1 + random() % (limits[random() % 4] - 1);
            const int tail = (cp >= 0x80) + (cp >= 0x800) + (cp >= 0x10000);
            for (int t = tail; t >= 0 && (cp < 0xD800 || cp > 0xDFFF); --t)
                text += static_cast<char>(t < tail ? 0x80 | ((cp >> (6 * t)) & 0x3F)
                                                   : "\0\xC0\xE0\xF0"[tail] | (cp >> (6 * t)));
        }
        return text;
    };
    auto randomValue = [&]() -> Object {
        const unsigned kind = random() % 3, size = random() % 3;
        const char c = static_cast<char>('x' + random() % 3);
        return kind == 0   ? Object(randomText())
               : kind == 1 ? Object(static_cast<std::int32_t>(size) - 1)
                           : Object(UserDefaults::Bytes(size, static_cast<unsigned char>(c)));
    };

    for (int step = 0; step < 400; ++step) {
        int which = static_cast<int>(random() % 3);
        const std::string& key = keys[random() % 5];
        const unsigned action = random() % 6;
        if (action < 3) { // set twice as often as remove
            const std::optional<Object> value =
                action < 2 ? std::optional(randomValue()) : std::nullopt;
            stores[which]->setObject(value, key);
            models[which].pending[key] = value;
        } else if (action < 5) {
            ASSERT_TRUE(stores[which]->synchronize());
            models[which].synchronize(modelFile);
        } else { // a process ends (its changes are written) and another starts
            stores[which].reset();
            models[which].synchronize(modelFile);
            stores[which] = std::make_unique<UserDefaults>(file);
            models[which] = ModelStore{modelFile, {}};
        }
        for (int s = 0; s < 3; ++s)
            for (const std::string& k : keys)
                ASSERT_EQ(stores[s]->objectForKey(k), models[s].read(k))
                    << "step " << step << ", store " << s << ", key " << k;
    }
}

// Another process may replace the file with one that every stamp takes for the old one (the inode
// reused, the same size, the same time tick). Under the lock the file is read all the same, so
// what that process wrote is merged, never undone.
TEST_F(UserDefaultsMerge, AFileThatLooksUnchangedIsReadAgainUnderTheLock) {
    const std::string theirs = folder / "theirs.plist";
    for (const std::string& path : {file, theirs}) {
        UserDefaults writer(path);
        writer.setObject(path == file ? 1 : 2, "theirs");
        writer.setObject(1, "mine");
    }
    UserDefaults store(file);
    ASSERT_EQ(store.integerForKey("theirs"), 1);

    struct stat before {};
    ASSERT_EQ(stat(file.c_str(), &before), 0);
    const std::string replaced = ReadBytes(theirs);
    ASSERT_EQ(replaced.size(), static_cast<std::size_t>(before.st_size));
    WriteBytes(file, replaced); // in place: the same inode
    const timespec times[2] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);

    store.setObject(5, "mine");
    ASSERT_TRUE(store.synchronize());
    UserDefaults reread(file);
    EXPECT_EQ(reread.integerForKey("theirs"), 2) << "the other process's value was undone";
    EXPECT_EQ(reread.integerForKey("mine"), 5);
    EXPECT_EQ(store.integerForKey("theirs"), 2);
}

// A file that could not be parsed when it was read, and that another process has put right since,
// is merged into like any other, not set aside as damaged.
TEST_F(UserDefaultsMerge, AFileRepairedSinceItWasReadIsMergedNotSetAside) {
    const std::string good = folder / "good.plist";
    WriteBytes(file, "not a property list");
    std::unique_ptr<UserDefaults> store;
    Stderr([&] { store = std::make_unique<UserDefaults>(file); });
    UserDefaults(good).setObject(1, "theirs");
    std::filesystem::rename(good, file);
    EXPECT_TRUE(store->synchronize()) << "read again, and readable now";
    store->setObject(2, "mine");
    EXPECT_EQ(Stderr([&] { EXPECT_TRUE(store->synchronize()); }), "");
    EXPECT_FALSE(std::filesystem::exists(file + ".corrupt"));
    EXPECT_EQ(UserDefaults(file).integerForKey("theirs"), 1);
}

// A file the user has made unreadable since it was read is not written over: the write is
// refused, the file keeps its contents and mode, and the change stays pending.
TEST_F(UserDefaultsMerge, AFileMadeUnreadableSinceItWasReadIsNotWrittenOver) {
    UserDefaults(file).setObject(1, "theirs");
    const std::string before = ReadBytes(file);
    UserDefaults store(file);
    ASSERT_EQ(chmod(file.c_str(), 0), 0);
    if (access(file.c_str(), R_OK) == 0) {
        chmod(file.c_str(), 0600);
        GTEST_SKIP() << "mode 000 does not stop this user from reading";
    }
    store.setObject(2, "mine");
    const std::string said = Stderr([&] { EXPECT_FALSE(store.synchronize()); });
    EXPECT_NE(said.find("Permission denied"), std::string::npos) << said;
    struct stat info {};
    ASSERT_EQ(stat(file.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0u);
    ASSERT_EQ(chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(ReadBytes(file), before);
    EXPECT_EQ(store.integerForKey("mine"), 2) << "the change stays pending";
}

} // namespace
