// Faults around the defaults file: processes killed while writing, a lock held too long or planted
// as a link, and a folder that refuses the write. Processes meet through pipes at named points,
// never by waiting a while. Processes writing at once the defaults tool's tests run
// (defaults_tool_test.py); the merge of stores that write in turn, UserDefaultsMergeTest.

#include "platform/UserDefaults.h"
#include "platform/internal/StoreFile.h"

#include "support/StoreTesting.h"
#include "support/TempFolder.h"

#include "support/Testing.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using platform::UserDefaults;

namespace {

using StoreFault = StoreFileTest;

using platform::internal::WritePoint;

// The writer's side of the meeting: at `stopAt` it tells the test through the pipe and waits to be
// killed.
int stopPipe = -1;
WritePoint stopAt = WritePoint::TempWritten;

void StopHere(WritePoint point) {
    if (point != stopAt)
        return;
    const char here = 'x';
    if (write(stopPipe, &here, 1) == 1)
        for (;;)
            pause();
}

TEST_F(StoreFault, KilledWriterLeavesTheOldFileOrTheNewOneWhole) {
    struct Stop {
        const char* name;
        WritePoint point;
        bool renamed; // whether the new file is in place at this point
    };
    const Stop stops[] = {
        {"temporary file written", WritePoint::TempWritten, false},
        {"temporary file flushed", WritePoint::TempSynced, false},
        {"renamed over the file", WritePoint::Renamed, true},
        {"folder flushed", WritePoint::FolderSynced, true},
    };
    std::int32_t generation = 1;
    {
        UserDefaults first(file);
        for (char k = 'a'; k < 'i'; ++k)
            first.setObject(generation, std::string(1, k));
    }
    for (const Stop& stop : stops) {
        SCOPED_TRACE(stop.name);
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        const pid_t child = fork();
        if (child == 0) {
            close(fds[0]);
            stopPipe = fds[1];
            stopAt = stop.point;
            platform::internal::setWriteHook(StopHere);
            UserDefaults store(file);
            for (char k = 'a'; k < 'i'; ++k)
                store.setObject(generation + 1, std::string(1, k));
            store.synchronize();
            // Not reached while the hook waits; _exit runs none of this process's exit handlers.
            _exit(1);
        }
        ASSERT_GT(child, 0);
        close(fds[1]);
        char here = 0;
        const bool reached = read(fds[0], &here, 1) == 1;
        close(fds[0]);
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(reached) << "the writer ended before the point";
        ASSERT_TRUE(WIFSIGNALED(status));

        const std::int32_t expected = generation + (stop.renamed ? 1 : 0);
        const std::string err = Stderr([&] {
            UserDefaults reread(file);
            for (char k = 'a'; k < 'i'; ++k)
                EXPECT_EQ(reread.integerForKey(std::string(1, k)), expected) << k;
        });
        EXPECT_EQ(err, "");
        generation = expected;
    }
    // A kill inside a write leaves the temporary behind; the next writer replaces it, so leftovers
    // never pile up beside the file and the lock.
    UserDefaults next(file);
    next.setObject(0, "z");
    ASSERT_TRUE(next.synchronize());
    EXPECT_EQ(Listing(folder.path()), (std::set<std::string>{"store.plist", "store.plist.lock"}));
}

// A link planted where the lock goes: one line, the file and the link's target as they were, the
// change pending until the link is gone. A lock held past the wait is refused the same way (below).
TEST_F(StoreFault, ALockPlantedAsALinkRefusesTheWrite) {
    const std::string lock = file + ".lock";
    UserDefaults(file).setObject(1, "old");
    const std::string before = ReadBytes(file);
    WriteBytes(folder / "victim", "not to be touched");
    UserDefaults store(file);
    store.setObject(2, "new");
    std::filesystem::remove(lock);
    ASSERT_EQ(symlink((folder / "victim").c_str(), lock.c_str()), 0);
    const std::string err = Stderr([&] { EXPECT_FALSE(store.synchronize()); });
    EXPECT_EQ(Lines(err), 1) << err;
    EXPECT_NE(err.find(lock), std::string::npos) << err;
    EXPECT_EQ(ReadBytes(file), before);
    EXPECT_EQ(ReadBytes(folder / "victim"), "not to be touched");
    std::filesystem::remove(lock);
    EXPECT_TRUE(store.synchronize()) << "the pending change goes in once the lock is free";
    EXPECT_EQ(UserDefaults(file).integerForKey("new"), 2);
}

// However often a program synchronises, it waits for locks at most the bound in all; a lock that
// is free is still taken once the wait is spent.
TEST_F(StoreFault, TheLockWaitIsOneBoundForTheWholeRun) {
    const std::string lock = file + ".lock";
    platform::internal::resetLockWait();
    setenv("BKGCOLORS_LOCK_TIMEOUT", "1", 1);
    const int holder = open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(flock(holder, LOCK_EX), 0);
    UserDefaults store(file);
    std::string said;
    const auto start = std::chrono::steady_clock::now();
    for (int attempt = 0; attempt < 4; ++attempt) {
        store.setObject(attempt, "k");
        said += Stderr([&] { EXPECT_FALSE(store.synchronize()); });
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    EXPECT_LT(took.count(), 3.0) << "four attempts each waited the whole bound";
    EXPECT_EQ(Lines(said), 2) << said;
    EXPECT_NE(said.find("held the lock " + lock + " for the 1 s this program may wait"),
              std::string::npos)
        << said;
    EXPECT_NE(said.find("has waited the 1 s it may wait for locks"), std::string::npos) << said;
    EXPECT_FALSE(std::filesystem::exists(file)) << "nothing written past a lock not had";
    close(holder);
    EXPECT_TRUE(store.synchronize()) << "a free lock is taken with the wait spent";
    EXPECT_EQ(UserDefaults(file).integerForKey("k"), 3);
    unsetenv("BKGCOLORS_LOCK_TIMEOUT");
    platform::internal::resetLockWait();
}

// A folder without write permission stops every user but root; a file size limit stops root too
// (the temporary file cannot grow past it, while stderr's capture can).
TEST_F(StoreFault, RefusedWriteKeepsTheFileAndThePendingChangesThenRetries) {
    for (bool byPermission : {true, false}) {
        const char* refusal = byPermission ? "folder without write permission" : "file size limit";
        SCOPED_TRACE(refusal);
        std::filesystem::remove(file);
        rlimit saved{};
        getrlimit(RLIMIT_FSIZE, &saved);
        const auto refuse = [&](bool on) {
            if (byPermission)
                return void(chmod(folder.path().c_str(), on ? 0500 : 0700));
            signal(SIGXFSZ, on ? SIG_IGN : SIG_DFL);
            const rlimit limit = on ? rlimit{1024, saved.rlim_max} : saved;
            setrlimit(RLIMIT_FSIZE, &limit);
        };
        UserDefaults(file).setObject(1, "old");
        const std::string before = ReadBytes(file);
        UserDefaults store(file);
        store.setObject(std::string(4096, 'x'), "big");

        refuse(true);
        WriteBytes(folder / "probe", std::string(2048, 'x'));
        const bool written = ReadBytes(folder / "probe").size() == 2048;
        std::remove((folder / "probe").c_str());
        if (written) {
            refuse(false);
            std::cerr << "skipping \"" << refusal << "\": it does not stop this user\n";
            continue;
        }
        const std::string err = Stderr([&] {
            EXPECT_FALSE(store.synchronize());
            EXPECT_FALSE(store.synchronize());
        });
        refuse(false);
        EXPECT_EQ(Lines(err), 1) << err;
        EXPECT_EQ(ReadBytes(file), before);
        EXPECT_EQ(Listing(folder.path()),
                  (std::set<std::string>{"store.plist", "store.plist.lock"}))
            << "no temporary left behind";
        EXPECT_EQ(store.stringForKey("big")->size(), 4096u);
        ASSERT_TRUE(store.synchronize());
        UserDefaults reread(file);
        EXPECT_EQ(reread.integerForKey("old"), 1);
        EXPECT_EQ(reread.stringForKey("big")->size(), 4096u);
    }
}

} // namespace
