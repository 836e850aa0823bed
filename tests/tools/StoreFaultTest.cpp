// Faults around the defaults file: processes killed while writing, processes writing at once,
// and a folder that refuses the write.

#include "platform/UserDefaults.h"

#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <random>
#include <string>
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
    for (int trial = 0; trial < 200; ++trial) {
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
        ASSERT_TRUE(WIFSIGNALED(status)) << "the writer failed; seed " << seed;
        interrupted += std::filesystem::exists(file + ".tmp");

        ::testing::internal::CaptureStderr();
        UserDefaults reread(file);
        ASSERT_EQ(::testing::internal::GetCapturedStderr(), "") << "seed " << seed;
        ASSERT_FALSE(std::filesystem::exists(file + ".corrupt"))
            << "seed " << seed << ", trial " << trial;
        std::int32_t now = reread.integerForKey("a");
        ASSERT_GE(now, generation) << "seed " << seed << ", trial " << trial;
        for (char k = 'b'; k < 'i'; ++k)
            ASSERT_EQ(reread.integerForKey(std::string(1, k)), now) << "seed " << seed << ", " << k;
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
    for (pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
    UserDefaults reread(file);
    EXPECT_EQ(reread.allKeys().size(), 1000u);
    for (const std::string& key : reread.allKeys())
        EXPECT_EQ(std::to_string(reread.integerForKey(key)), key);
}

bool Writable(const std::string& path) {
    const std::string bytes(2048, 'x');
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT, 0600);
    bool written = fd >= 0 && write(fd, bytes.data(), bytes.size()) == 2048;
    ::close(fd);
    std::remove(path.c_str());
    return written;
}

// A folder without write permission stops every user but root; a file size limit stops root too
// (the temporary file cannot grow past it, while stderr's capture can).
void Refuse(int method, const std::string& folder, bool refuse) {
    static rlimit saved;
    if (method == 0) {
        chmod(folder.c_str(), refuse ? 0500 : 0700);
    } else if (refuse) {
        getrlimit(RLIMIT_FSIZE, &saved);
        rlimit small{1024, saved.rlim_max};
        signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &small);
    } else {
        setrlimit(RLIMIT_FSIZE, &saved);
        signal(SIGXFSZ, SIG_DFL);
    }
}

TEST(StoreFault, RefusedWriteKeepsTheFileAndThePendingChangesThenRetries) {
    for (int method : {0, 1}) {
        const char* refusal = method == 0 ? "folder without write permission" : "file size limit";
        TempFolder folder;
        const std::string file = folder / "store.plist";
        UserDefaults(file).setObject(1, "old");
        const std::string before = ReadBytes(file);
        UserDefaults store(file);
        store.setObject(std::string(4096, 'x'), "big");

        Refuse(method, folder.path(), true);
        if (Writable(folder / "probe")) {
            Refuse(method, folder.path(), false);
            std::cerr << "skipping \"" << refusal << "\": it does not stop this user\n";
            continue;
        }
        ::testing::internal::CaptureStderr();
        bool first = store.synchronize();
        bool second = store.synchronize();
        std::string err = ::testing::internal::GetCapturedStderr();
        Refuse(method, folder.path(), false);

        EXPECT_FALSE(first) << refusal;
        EXPECT_FALSE(second) << refusal;
        EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << refusal << ": " << err;
        EXPECT_EQ(ReadBytes(file), before) << refusal;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2)
            << refusal << ": only the file and its lock; no temporary left behind";
        EXPECT_EQ(store.stringForKey("big")->size(), 4096u) << refusal;
        ASSERT_TRUE(store.synchronize()) << refusal;
        UserDefaults reread(file);
        EXPECT_EQ(reread.integerForKey("old"), 1) << refusal;
        EXPECT_EQ(reread.stringForKey("big")->size(), 4096u) << refusal;
    }
}

} // namespace
