// What a real home folder can put in the store file's place: a FIFO, a device or a folder, a file
// where a folder belongs, someone else's symbolic link. The user's own link, permission bits, hard
// links and folders that do not exist yet the defaults tool's tests cover, through the same file
// code (defaults_tool_test.py).

#include "platform/UserDefaults.h"

#include "support/StoreTesting.h"
#include "support/TempFolder.h"

#include "support/Testing.h"

#include <sys/stat.h>
#include <unistd.h>

using platform::UserDefaults;

namespace {

// One line says why; what is there stays as it was. A path that is no regular file is refused as
// soon as it is read.
TEST(StoreSurroundings, WhatCannotBeTheStoreFileIsRefusedAndLeftAlone) {
    TempFolder folder;
    const std::string fifo = folder / "fifo.plist", dir = folder / "dir.plist",
                      theirs = folder / "theirs.plist";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    ASSERT_TRUE(std::filesystem::create_directory(dir));
    WriteBytes(folder / "blocker", "a file");
    WriteBytes(folder / "target", "");
    ASSERT_EQ(symlink((folder / "target").c_str(), theirs.c_str()), 0);
    // Only root can give a link to another user.
    const bool given = geteuid() == 0 && lchown(theirs.c_str(), 65534, 65534) == 0;
    const struct {
        const char* name;
        std::string path;
        const char* said;
        bool readable;
    } rows[] = {
        // A FIFO nobody writes to would block a reader for ever; the store must not open it so.
        {"FIFO", fifo, "not a regular file", false},
        {"folder", dir, "not a regular file", false},
        {"device", "/dev/null", "not a regular file", false},
        {"a file where a folder belongs", folder / "blocker/store.plist", ": Not a directory;",
         true},
        {"a link owned by another user", given ? theirs : "", "owned by another user", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.path.empty())
            continue;
        const std::string err = Stderr([&] {
            UserDefaults store(row.path);
            EXPECT_EQ(store.synchronize(), row.readable);
            store.setObject(1, "k");
            EXPECT_FALSE(store.synchronize());
            store.removeObjectForKey("k");
        });
        EXPECT_EQ(Lines(err), 1) << err;
        EXPECT_NE(err.find(row.said), std::string::npos) << err;
    }
    struct stat info {};
    EXPECT_TRUE(stat(fifo.c_str(), &info) == 0 && S_ISFIFO(info.st_mode));
    EXPECT_TRUE(std::filesystem::is_directory(dir));
    EXPECT_TRUE(std::filesystem::is_symlink(theirs));
    EXPECT_EQ(ReadBytes(folder / "blocker"), "a file");
    EXPECT_EQ(ReadBytes(folder / "target"), "");
    EXPECT_EQ(Listing(folder.path()), (std::set<std::string>{"fifo.plist", "dir.plist", "blocker",
                                                             "target", "theirs.plist"}));
}

} // namespace
