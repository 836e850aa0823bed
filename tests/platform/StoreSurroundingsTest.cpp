// What a real home folder can put around the store file: a FIFO, a device or a folder in its
// place, symbolic links (the user's own and someone else's), permission bits, hard links, and
// folders that do not exist yet.

#include "platform/UserDefaults.h"

#include "support/StoreTesting.h"
#include "support/TempFolder.h"

#include "support/Testing.h"

#include <sys/stat.h>
#include <unistd.h>

using platform::UserDefaults;

namespace {

mode_t Mode(const std::string& path) {
    struct stat info {};
    stat(path.c_str(), &info);
    return info.st_mode & 07777;
}

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

TEST(StoreSurroundings, TheUsersOwnLinkIsWrittenThroughAndStays) {
    TempFolder folder;
    std::filesystem::create_directory(folder / "real");
    const std::string target = folder / "real/store.plist", link = folder / "store.plist";
    UserDefaults(target).setObject(1, "old");
    ASSERT_EQ(symlink("real/store.plist", link.c_str()), 0);
    {
        UserDefaults store(link);
        EXPECT_EQ(store.integerForKey("old"), 1);
        store.setObject(2, "new");
        EXPECT_TRUE(store.synchronize());
    }
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    UserDefaults target_(target);
    EXPECT_EQ(target_.integerForKey("new"), 2);
    EXPECT_EQ(target_.integerForKey("old"), 1);
    EXPECT_EQ(Listing(folder.path()), (std::set<std::string>{"real", "store.plist"}))
        << "the lock and the temporary live beside the target";
}

TEST(StoreSurroundings, PermissionBitsAreKeptNewFilesAre0600AndHardLinksKeepTheOldFile) {
    TempFolder folder;
    const std::string file = folder / "store.plist", other = folder / "other.plist";
    const mode_t saved = umask(0);
    UserDefaults(file).setObject(1, "k");
    umask(saved);
    EXPECT_EQ(Mode(file), 0600u) << "a new file, whatever the umask";

    ASSERT_EQ(chmod(file.c_str(), 0644), 0);
    ASSERT_EQ(link(file.c_str(), other.c_str()), 0);
    const std::string before = ReadBytes(file);
    UserDefaults(file).setObject(2, "k");
    EXPECT_EQ(Mode(file), 0644u);
    EXPECT_EQ(UserDefaults(file).integerForKey("k"), 2);
    EXPECT_EQ(ReadBytes(other), before) << "the other name keeps the old contents";
}

TEST(StoreSurroundings, ReadingMakesNoFolderAndWritingMakesThemPrivate) {
    TempFolder folder;
    const std::string file = folder / "a/b/store.plist";
    UserDefaults store(file);
    EXPECT_TRUE(store.synchronize());
    EXPECT_FALSE(std::filesystem::exists(folder / "a"));
    store.setObject(1, "k");
    EXPECT_TRUE(store.synchronize());
    EXPECT_EQ(Mode(folder / "a"), 0700u);
    EXPECT_EQ(Mode(folder / "a/b"), 0700u);
}

} // namespace
