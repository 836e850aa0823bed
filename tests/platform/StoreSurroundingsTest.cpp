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

TEST(StoreSurroundings, APathThatIsNoRegularFileIsRefusedAtOnceAndLeftAlone) {
    TempFolder folder;
    const std::string fifo = folder / "fifo.plist", dir = folder / "dir.plist";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    ASSERT_TRUE(std::filesystem::create_directory(dir));
    // A FIFO nobody writes to would block a reader for ever; the store must not open it so.
    for (const std::string& path : {fifo, dir, std::string("/dev/null")}) {
        SCOPED_TRACE(path);
        std::string err = Stderr([&] {
            UserDefaults store(path);
            EXPECT_FALSE(store.synchronize());
            store.setObject(1, "k");
            EXPECT_FALSE(store.synchronize());
            store.removeObjectForKey("k");
        });
        EXPECT_EQ(Lines(err), 1) << err;
        EXPECT_NE(err.find("not a regular file"), std::string::npos) << err;
    }
    struct stat info {};
    EXPECT_TRUE(stat(fifo.c_str(), &info) == 0 && S_ISFIFO(info.st_mode));
    EXPECT_TRUE(std::filesystem::is_directory(dir));
    EXPECT_EQ(Listing(folder.path()), (std::set<std::string>{"fifo.plist", "dir.plist"}));
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

TEST(StoreSurroundings, ALinkOwnedBySomeoneElseIsRefused) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give a link to another user";
    TempFolder folder;
    const std::string target = folder / "theirs.plist", link = folder / "store.plist";
    WriteBytes(target, "");
    ASSERT_EQ(symlink(target.c_str(), link.c_str()), 0);
    ASSERT_EQ(lchown(link.c_str(), 65534, 65534), 0);
    const std::string err = Stderr([&] {
        UserDefaults store(link);
        store.setObject(1, "k");
        EXPECT_FALSE(store.synchronize());
        store.removeObjectForKey("k");
    });
    EXPECT_EQ(Lines(err), 1) << err;
    EXPECT_NE(err.find("owned by another user"), std::string::npos) << err;
    EXPECT_EQ(ReadBytes(target), "");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
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

    // A file where a folder belongs: the write is refused and says why.
    WriteBytes(folder / "blocker", "a file");
    UserDefaults blocked(folder / "blocker/store.plist");
    blocked.setObject(1, "k");
    const std::string said = Stderr([&] { EXPECT_FALSE(blocked.synchronize()); });
    EXPECT_NE(said.find(": Not a directory;"), std::string::npos) << said;
    EXPECT_EQ(ReadBytes(folder / "blocker"), "a file");
}

} // namespace
