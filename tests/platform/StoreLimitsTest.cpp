// One bound, 4 MiB, for what the store reads and what it writes, so that every file it wrote
// reads back.

#include "platform/UserDefaults.h"
#include "platform/internal/PropertyList.h"

#include "support/StoreTesting.h"
#include "support/TempFolder.h"

#include "support/Testing.h"

using platform::UserDefaults;
using platform::internal::kStoreFileLimit;

namespace {

using StoreLimits = StoreFileTest;

TEST_F(StoreLimits, FilesJustUnderTheBoundReadAndAtTheBoundAreRefused) {
    // The size given to plist_files.py: positive for binary, negative for XML.
    const std::pair<long, bool> rows[] = {
        {static_cast<long>(kStoreFileLimit) - 1, true},
        {-static_cast<long>(kStoreFileLimit) + 1, true},
        {static_cast<long>(kStoreFileLimit), false},
        {-static_cast<long>(kStoreFileLimit), false},
    };
    for (const auto& [size, reads] : rows) {
        SCOPED_TRACE(size);
        const int made = PlistFiles("limit '" + file + "' " + std::to_string(size));
        if (made == -1)
            GTEST_SKIP() << "python3 with plistlib is not installed";
        ASSERT_EQ(made, 0);
        const std::string before = ReadBytes(file);
        std::optional<UserDefaults::Object> pad;
        const std::string err = Stderr([&] {
            UserDefaults store(file);
            pad = store.objectForKey("pad");
            // Stored again as it was read: the file written is no larger than the one read.
            store.setObject(reads ? pad : UserDefaults::Object(1), "pad");
            EXPECT_EQ(store.synchronize(), reads) << "a file written back must read back";
        });
        EXPECT_EQ(Lines(err), reads ? 0 : 1) << err;
        EXPECT_EQ(pad.has_value(), reads);
        EXPECT_EQ(reads ? UserDefaults(file).objectForKey("pad") == pad : ReadBytes(file) == before,
                  true)
            << "written back and read again, or, too large to read, not replaced";
    }
}

// The change that would pass the bound is refused and kept pending; everything accepted before
// it stays readable, by this store and by the next.
TEST_F(StoreLimits, AChangePastTheBoundIsRefusedAndKeptPendingTheRestStays) {
    const std::string text(1 << 20, 'x');
    UserDefaults store(file);
    int accepted = 0;
    std::string err;
    for (int i = 0; i < 6 && err.empty(); ++i) {
        store.setObject(text, "k" + std::to_string(i));
        err = Stderr([&] { accepted += store.synchronize(); });
    }
    EXPECT_EQ(accepted, 3);
    EXPECT_EQ(Lines(err), 1) << err;
    EXPECT_NE(err.find("4 MiB"), std::string::npos) << err;
    EXPECT_LT(ReadBytes(file).size(), kStoreFileLimit);
    EXPECT_EQ(store.stringForKey("k3"), text) << "the refused change stays pending";

    UserDefaults next(file);
    EXPECT_EQ(next.allKeys(), (std::vector<std::string>{"k0", "k1", "k2"}));
    store.removeObjectForKey("k0");
    EXPECT_TRUE(store.synchronize()) << "room made, the pending change goes in";
    EXPECT_EQ(UserDefaults(file).allKeys(), (std::vector<std::string>{"k1", "k2", "k3"}));

    // Refused over a damaged file, the change leaves that file where it was.
    const std::string damaged = folder / "damaged.plist";
    WriteBytes(damaged, "not a property list");
    Stderr([&] {
        UserDefaults over(damaged);
        over.setObject(std::string(kStoreFileLimit, 'x'), "big");
        EXPECT_FALSE(over.synchronize());
    });
    EXPECT_EQ(ReadBytes(damaged), "not a property list");
    EXPECT_FALSE(std::filesystem::exists(damaged + ".corrupt"));
}

} // namespace
