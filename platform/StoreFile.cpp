#include "platform/internal/StoreFile.h"

#include "platform/internal/PropertyList.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace platform::internal {

namespace {

// Guarded by the single-threaded use of the store, like the rest of the platform layer.
WriteHook writeHook = nullptr;
// How long this program has waited for locks so far: the bound is on the whole run, so a program
// that synchronises often still gives up within it.
std::chrono::steady_clock::duration lockWaited{};

void Reached(WritePoint point) {
    if (writeHook)
        writeHook(point);
}

std::string ErrorText(int error) {
    return std::strerror(error);
}

std::string FolderOf(const std::string& path) {
    std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool WriteAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        ssize_t n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            if (n == 0)
                errno = EIO;
            return false;
        }
        data += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

// Gives the new file `fd` (at `temporary`; -1 when it could not be made) `mode` and `bytes`,
// flushes it to disk and renames it over `target`. On failure the temporary is removed, `target`
// is untouched and `error` says why.
bool FillAndRename(int fd, const std::string& temporary, const std::string& target, mode_t mode,
                   const std::string& bytes, std::string& error) {
    bool ok = fd >= 0 && fchmod(fd, mode) == 0 && WriteAll(fd, bytes.data(), bytes.size());
    if (ok)
        Reached(WritePoint::TempWritten);
    ok = ok && fsync(fd) == 0;
    int why = errno;
    if (fd >= 0 && ::close(fd) != 0 && ok) {
        ok = false;
        why = errno;
    }
    if (ok)
        Reached(WritePoint::TempSynced);
    if (ok && std::rename(temporary.c_str(), target.c_str()) != 0) {
        ok = false;
        why = errno;
    }
    if (!ok) {
        if (fd >= 0)
            ::unlink(temporary.c_str());
        error = ErrorText(why);
    }
    return ok;
}

std::chrono::duration<double> LockTimeout() {
    const char* text = std::getenv("BKGCOLORS_LOCK_TIMEOUT");
    char* end = nullptr;
    double seconds = text && *text ? std::strtod(text, &end) : -1;
    if (!end || *end != '\0' || !(seconds >= 0) || seconds > 86400)
        seconds = 10;
    return std::chrono::duration<double>(seconds);
}

} // namespace

void setWriteHook(WriteHook hook) {
    writeHook = hook;
}

void resetLockWait() {
    lockWaited = {};
}

std::optional<std::string> ResolveStorePath(const std::string& path, std::string& error) {
    std::string current = path;
    for (int hops = 0; hops < 40; ++hops) {
        struct stat info;
        if (lstat(current.c_str(), &info) != 0 || !S_ISLNK(info.st_mode))
            return current;
        // A link someone else owns could send this user's writes anywhere they choose.
        if (info.st_uid != geteuid()) {
            error = current + " is a symbolic link owned by another user";
            return std::nullopt;
        }
        std::vector<char> target(static_cast<std::size_t>(std::max<off_t>(info.st_size, 255)) + 2);
        ssize_t n = readlink(current.c_str(), target.data(), target.size());
        if (n < 0 || static_cast<std::size_t>(n) >= target.size()) {
            error = "cannot read the symbolic link " + current + ": " +
                    ErrorText(n < 0 ? errno : ENAMETOOLONG);
            return std::nullopt;
        }
        std::string next(target.data(), static_cast<std::size_t>(n));
        current = next[0] == '/' ? next : FolderOf(current) + "/" + next;
    }
    error = "too many symbolic links from " + path;
    return std::nullopt;
}

FileRead ReadRegularFile(const std::string& path, std::string& bytes, struct stat& info,
                         std::string& error) {
    bytes.clear();
    int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        // A folder on the way that is missing or not a folder: there is no file yet.
        if (errno == ENOENT || errno == ENOTDIR)
            return FileRead::Missing;
        error = ErrorText(errno);
        return FileRead::Failed;
    }
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        error = S_ISREG(info.st_mode) ? ErrorText(errno) : "not a regular file";
        ::close(fd);
        return FileRead::Failed;
    }
    bytes.reserve(static_cast<std::size_t>(std::min<off_t>(info.st_size, kStoreFileLimit)));
    char buffer[65536];
    while (bytes.size() < kStoreFileLimit) {
        ssize_t n = ::read(fd, buffer, std::min(sizeof buffer, kStoreFileLimit - bytes.size()));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            error = ErrorText(errno);
            ::close(fd);
            return FileRead::Failed;
        }
        if (n == 0)
            break;
        bytes.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return FileRead::Read;
}

bool MakeFolders(const std::string& file, std::string& error) {
    const std::string folder = FolderOf(file);
    for (std::size_t pos = 1; pos <= folder.size(); ++pos) {
        if (pos != folder.size() && folder[pos] != '/')
            continue;
        if (mkdir(folder.substr(0, pos).c_str(), 0700) != 0 && errno != EEXIST) {
            error = ErrorText(errno);
            return false;
        }
    }
    struct stat info {};
    if (stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
        error = ErrorText(S_ISDIR(info.st_mode) ? errno : ENOTDIR);
        return false;
    }
    return true;
}

FileLock::FileLock(const std::string& path) {
    fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd_ < 0) {
        error_ = "cannot open the lock " + path + ": " + ErrorText(errno);
        return;
    }
    // Polled rather than blocking, so that the wait is bounded without touching signals. A lock
    // that is free is taken even once the program's wait is used up.
    const auto timeout = LockTimeout();
    const auto start = std::chrono::steady_clock::now();
    const bool spent = lockWaited >= timeout;
    auto pause = std::chrono::milliseconds(1);
    while (flock(fd_, LOCK_EX | LOCK_NB) != 0) {
        const int why = errno;
        if (why == EINTR)
            continue;
        const auto waited = lockWaited + (std::chrono::steady_clock::now() - start);
        if (why != EWOULDBLOCK || waited >= timeout) {
            lockWaited += std::chrono::steady_clock::now() - start;
            char bound[32];
            std::snprintf(bound, sizeof bound, "%g s", timeout.count());
            error_ = why != EWOULDBLOCK ? "cannot lock " + path + ": " + ErrorText(why)
                     : spent            ? "another process holds the lock " + path +
                                   " and this program has waited the " + bound +
                                   " it may wait for locks"
                             : "another process held the lock " + path + " for the " + bound +
                                   " this program may wait for locks";
            ::close(fd_);
            fd_ = -1;
            return;
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::steady_clock::duration>(timeout - waited);
        std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(pause, left));
        pause = std::min(pause * 2, std::chrono::milliseconds(20));
    }
    lockWaited += std::chrono::steady_clock::now() - start;
}

FileLock::~FileLock() {
    if (fd_ >= 0)
        ::close(fd_); // closing the descriptor releases the lock
}

std::optional<std::string> MoveAside(const std::string& path, std::string& error) {
    for (int n = 0; n < 10000; ++n) {
        std::string aside = path + ".corrupt" + (n ? "." + std::to_string(n) : "");
        if (renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0)
            return aside;
        if (errno != EEXIST) {
            error = ErrorText(errno);
            return std::nullopt;
        }
    }
    error = "too many earlier copies beside it";
    return std::nullopt;
}

bool WriteWholeFile(const std::string& path, const std::string& bytes, std::string& error) {
    // Through links to the file they name, so that the link itself stays a link.
    char* resolved = realpath(path.c_str(), nullptr);
    const std::string target = resolved ? resolved : path;
    std::free(resolved);
    struct stat old;
    const bool exists = stat(target.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        // A device, FIFO or terminal is written in place: there is nothing to replace it with, and
        // it is never removed.
        const int fd = ::open(target.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
        bool ok = fd >= 0 && WriteAll(fd, bytes.data(), bytes.size());
        int why = errno;
        if (fd >= 0 && ::close(fd) != 0 && ok) {
            ok = false;
            why = errno;
        }
        if (!ok)
            error = ErrorText(why);
        return ok;
    }
    // A regular file is replaced only once its successor is whole, so a failure leaves it as it
    // was; a new one gets the permissions the user's mask gives.
    mode_t mode = old.st_mode & 07777;
    if (!exists) {
        const mode_t mask = umask(0);
        umask(mask);
        mode = 0666 & ~mask;
    }
    std::string temporary = FolderOf(target) + "/.bkgcolors-export-XXXXXX";
    return FillAndRename(mkostemp(temporary.data(), O_CLOEXEC), temporary, target, mode, bytes,
                         error);
}

bool ReplaceFile(const std::string& path, const std::string& bytes, std::string& error) {
    struct stat old;
    const mode_t mode = stat(path.c_str(), &old) == 0 ? old.st_mode & 07777 : 0600;
    // Only the holder of the lock writes, so one fixed temporary name suffices; a writer that was
    // killed mid-write leaves it behind, and the next writer replaces it instead of adding another.
    const std::string temporary = path + ".tmp";
    ::unlink(temporary.c_str());
    const int fd =
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (!FillAndRename(fd, temporary, path, mode, bytes, error))
        return false;
    Reached(WritePoint::Renamed);
    int folder = ::open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        ::close(folder);
    }
    Reached(WritePoint::FolderSynced);
    return true;
}

Commit CommitChange(const std::string& target, const Decide& decide, std::string& error,
                    std::string& aside) {
    if (!MakeFolders(target, error))
        return Commit::Failed;
    FileLock lock(target + ".lock");
    if (!lock.held()) {
        error = lock.error();
        return Commit::Failed;
    }
    Replacement next;
    const Commit verdict = decide(next, error);
    if (verdict != Commit::Written)
        return verdict;
    // Encoded before anything moves, so that a change past the limit leaves a damaged file where
    // it was.
    auto bytes = WriteBinary(next.root);
    if (!bytes) {
        error = "the file would reach the limit of " + StoreFileLimitText();
        return Commit::Failed;
    }
    if (next.damaged) {
        std::string why;
        auto moved = MoveAside(target, why);
        if (!moved) {
            error = "it cannot be parsed and cannot be moved aside: " + why;
            return Commit::Failed;
        }
        aside = *moved;
    }
    return ReplaceFile(target, *bytes, error) ? Commit::Written : Commit::Failed;
}

} // namespace platform::internal
