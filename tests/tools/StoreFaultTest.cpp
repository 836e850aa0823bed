// Faults around the defaults file: processes killed while writing, processes writing at once,
// and a folder that refuses the write.

#include "platform/UserDefaults.h"

#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <iostream>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using platform::UserDefaults;

namespace {

constexpr int kKeys = 8;

std::string Key(int i) {
    return "k" + std::to_string(i);
}

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
    for (int trial = 0; trial < 200; ++trial) {
        pid_t child = Fork([&] {
            UserDefaults store(file);
            for (std::int32_t next = generation + 1;; ++next) {
                for (int k = 0; k < kKeys; ++k)
                    store.setObject(next, Key(k));
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

        ::testing::internal::CaptureStderr();
        UserDefaults reread(file);
        ASSERT_EQ(::testing::internal::GetCapturedStderr(), "") << "seed " << seed;
        ASSERT_FALSE(Exists(file + ".corrupt")) << "seed " << seed << ", trial " << trial;
        std::int32_t now = reread.integerForKey(Key(0));
        ASSERT_GE(now, generation) << "seed " << seed << ", trial " << trial;
        for (int k = 1; k < kKeys; ++k)
            ASSERT_EQ(reread.integerForKey(Key(k)), now) << "seed " << seed << ", trial " << trial;
        generation = now;
    }
    EXPECT_GT(generation, 0) << "no writer got as far as one synchronise";
    // Each kill inside a write leaves its temporary beside the file and the lock.
    EXPECT_GT(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2)
        << "no kill landed inside a write";
}

TEST(StoreFault, ConcurrentWritersLoseNoKey) {
    TempFolder folder;
    const std::string file = folder / "store.plist";
    pid_t children[4];
    for (int p = 0; p < 4; ++p) {
        children[p] = Fork([&] {
            UserDefaults store(file);
            for (int i = 0; i < 250; ++i) {
                store.setObject(p * 1000 + i, "p" + std::to_string(p) + "-" + std::to_string(i));
                if (!store.synchronize())
                    return false;
            }
            return true;
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
    for (int p = 0; p < 4; ++p)
        for (int i = 0; i < 250; ++i)
            EXPECT_EQ(reread.integerForKey("p" + std::to_string(p) + "-" + std::to_string(i)),
                      p * 1000 + i);
}

// A folder without write permission stops every user but root; a file size limit stops root too.
struct Refusal {
    const char* name;
    std::function<void(const std::string& folder)> begin;
    std::function<void(const std::string& folder)> end;
};

rlimit savedLimit;

bool Writable(const std::string& path) {
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT, 0600);
    const std::string bytes(2048, 'x');
    bool written = fd >= 0 && write(fd, bytes.data(), bytes.size()) == 2048;
    if (fd >= 0)
        ::close(fd);
    std::remove(path.c_str());
    return written;
}

const Refusal kRefusals[] = {
    {"folder without write permission", [](const std::string& f) { chmod(f.c_str(), 0500); },
     [](const std::string& f) { chmod(f.c_str(), 0700); }},
    {"file size limit",
     [](const std::string&) {
         getrlimit(RLIMIT_FSIZE, &savedLimit);
         rlimit small = savedLimit;
         small.rlim_cur = 1024; // the temporary file cannot grow past this; stderr's capture can
         signal(SIGXFSZ, SIG_IGN);
         setrlimit(RLIMIT_FSIZE, &small);
     },
     [](const std::string&) {
         setrlimit(RLIMIT_FSIZE, &savedLimit);
         signal(SIGXFSZ, SIG_DFL);
     }},
};

TEST(StoreFault, RefusedWriteKeepsTheFileAndThePendingChangesThenRetries) {
    for (const Refusal& refusal : kRefusals) {
        TempFolder folder;
        const std::string file = folder / "store.plist";
        UserDefaults(file).setObject(1, "old");
        const std::string before = ReadBytes(file);
        UserDefaults store(file);
        store.setObject(std::string(4096, 'x'), "big");

        refusal.begin(folder.path());
        if (Writable(folder / "probe")) {
            refusal.end(folder.path());
            std::cerr << "skipping \"" << refusal.name << "\": it does not stop this user\n";
            continue;
        }
        ::testing::internal::CaptureStderr();
        bool first = store.synchronize();
        bool second = store.synchronize();
        std::string err = ::testing::internal::GetCapturedStderr();
        refusal.end(folder.path());

        EXPECT_FALSE(first) << refusal.name;
        EXPECT_FALSE(second) << refusal.name;
        EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << refusal.name << ": " << err;
        EXPECT_EQ(ReadBytes(file), before) << refusal.name;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2)
            << refusal.name << ": only the file and its lock; no temporary left behind";
        EXPECT_EQ(store.stringForKey("big")->size(), 4096u) << refusal.name;
        ASSERT_TRUE(store.synchronize()) << refusal.name;
        UserDefaults reread(file);
        EXPECT_EQ(reread.integerForKey("old"), 1) << refusal.name;
        EXPECT_EQ(reread.stringForKey("big")->size(), 4096u) << refusal.name;
    }
}

} // namespace
