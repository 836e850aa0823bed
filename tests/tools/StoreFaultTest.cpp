// Faults around the defaults file: processes killed while writing, processes writing at once,
// and a folder that refuses the write.

#include "platform/UserDefaults.h"

#include "support/TempFolder.h"

#include "support/Testing.h"

#include <csignal>
#include <filesystem>
#include <iostream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using platform::UserDefaults;

namespace {

// Runs `body` in a child process that leaves without running this process's exit handlers.
template <typename Body> pid_t Fork(Body body) {
    pid_t pid = fork();
    if (pid == 0)
        _exit(body() ? 0 : 1);
    return pid;
}

TEST(StoreFault, KilledWriterLeavesTheOldFileOrTheNewOneWhole) {
    const unsigned seed = std::random_device{}();
    std::mt19937 random(seed);
    TempFolder folder;
    const std::string file = folder / "store.plist";
    std::int32_t generation = 0;
    int interrupted = 0;
    SCOPED_TRACE("seed " + std::to_string(seed));
    for (int trial = 0; trial < 200; ++trial) {
        SCOPED_TRACE("trial " + std::to_string(trial));
        pid_t child = Fork([&] {
            UserDefaults store(file);
            for (std::int32_t next = generation + 1;; ++next) {
                for (char k = 'a'; k < 'i'; ++k)
                    store.setObject(next, std::string(1, k));
                if (!store.synchronize())
                    return false;
            }
        });
        ASSERT_GT(child, 0);
        usleep(random() % 3000);
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the writer failed";
        interrupted += std::filesystem::exists(file + ".tmp");

        ::testing::internal::CaptureStderr();
        UserDefaults reread(file);
        ASSERT_EQ(::testing::internal::GetCapturedStderr(), "");
        ASSERT_FALSE(std::filesystem::exists(file + ".corrupt"));
        const std::int32_t now = reread.integerForKey("a");
        ASSERT_GE(now, generation);
        for (char k = 'b'; k < 'i'; ++k)
            ASSERT_EQ(reread.integerForKey(std::string(1, k)), now) << k;
        generation = now;
    }
    EXPECT_GT(generation, 0) << "no writer got as far as one synchronise";
    // A kill inside a write leaves the temporary behind; the next writer replaces it, so leftovers
    // never pile up beside the file and the lock.
    EXPECT_GT(interrupted, 0) << "no kill landed inside a write";
    EXPECT_LE(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 3);
}

TEST(StoreFault, ConcurrentWritersLoseNoKey) {
    TempFolder folder;
    const std::string file = folder / "store.plist";
    pid_t children[4];
    for (int p = 0; p < 4; ++p) {
        children[p] = Fork([&] {
            UserDefaults store(file);
            bool ok = true;
            for (int i = 0; i < 250; ++i)
                ok = store.setObject(p * 1000 + i, std::to_string(p * 1000 + i)) &&
                     store.synchronize() && ok;
            return ok;
        });
        ASSERT_GT(children[p], 0);
    }
    int status = 0;
    for (pid_t child : children)
        EXPECT_TRUE(waitpid(child, &status, 0) == child && status == 0) << status;
    UserDefaults reread(file);
    EXPECT_EQ(reread.allKeys().size(), 1000u);
    for (const std::string& key : reread.allKeys())
        EXPECT_EQ(std::to_string(reread.integerForKey(key)), key);
}

// A folder without write permission stops every user but root; a file size limit stops root too
// (the temporary file cannot grow past it, while stderr's capture can).
TEST(StoreFault, RefusedWriteKeepsTheFileAndThePendingChangesThenRetries) {
    for (bool byPermission : {true, false}) {
        const char* refusal = byPermission ? "folder without write permission" : "file size limit";
        SCOPED_TRACE(refusal);
        TempFolder folder;
        rlimit saved{};
        getrlimit(RLIMIT_FSIZE, &saved);
        const auto refuse = [&](bool on) {
            if (byPermission)
                return void(chmod(folder.path().c_str(), on ? 0500 : 0700));
            signal(SIGXFSZ, on ? SIG_IGN : SIG_DFL);
            const rlimit limit = on ? rlimit{1024, saved.rlim_max} : saved;
            setrlimit(RLIMIT_FSIZE, &limit);
        };
        const std::string file = folder / "store.plist";
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
        ::testing::internal::CaptureStderr();
        const bool first = store.synchronize(), second = store.synchronize();
        std::string err = ::testing::internal::GetCapturedStderr();
        refuse(false);

        EXPECT_FALSE(first || second);
        EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
        EXPECT_EQ(ReadBytes(file), before);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2)
            << "only the file and its lock; no temporary left behind";
        EXPECT_EQ(store.stringForKey("big")->size(), 4096u);
        ASSERT_TRUE(store.synchronize());
        UserDefaults reread(file);
        EXPECT_EQ(reread.integerForKey("old"), 1);
        EXPECT_EQ(reread.stringForKey("big")->size(), 4096u);
    }
}

} // namespace
