// One bound, 4 MiB, for what the store reads and what it writes, so that every file it wrote
// reads back. Files a byte under it and at it, from another writer, the defaults tool's tests read
// and write back (defaults_tool_test.py).

#include "platform/UserDefaults.h"
#include "platform/internal/PropertyList.h"

#include "support/StoreTesting.h"
#include "support/TempFolder.h"

#include "support/Testing.h"

using platform::UserDefaults;
using platform::internal::kStoreFileLimit;

namespace {

using StoreLimits = StoreFileTest;

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
