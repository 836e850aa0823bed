// StoreFile.h — platform-internal: the file-system side of the user-defaults store. Finding the
// file behind the store path, reading it without blocking, the advisory lock beside it, setting a
// damaged file aside and replacing the file atomically, and CommitChange, the one sequence through
// which every writer changes a store file.
//
// Plain functions and one RAII lock; nothing is cached between calls. Every failure comes back as
// false or nullopt with a one-line reason in `error`.
#pragma once

#include "platform/PropertyValue.h"

#include <functional>
#include <optional>
#include <string>
#include <sys/stat.h>

namespace platform::internal {

// The points a write passes, in order; a test hook can stop a writer at each.
enum class WritePoint { TempWritten, TempSynced, Renamed, FolderSynced };
using WriteHook = void (*)(WritePoint);
// For tests only: `hook` is called at every write point of this process (null: none).
void setWriteHook(WriteHook hook);
// For tests only: forgets how long this process has waited for locks.
void resetLockWait();

// The file the store path stands for: the path itself, or the end of a chain of symbolic links
// owned by this user. nullopt when a link belongs to someone else or cannot be read.
std::optional<std::string> ResolveStorePath(const std::string& path, std::string& error);

enum class FileRead { Missing, Read, Failed };
// Reads the file at `path` when it is a regular file, opened without blocking (a FIFO or device
// never stalls the caller); at most kStoreFileLimit bytes, which is enough to tell it is too big.
FileRead ReadRegularFile(const std::string& path, std::string& bytes, struct stat& info,
                         std::string& error);

// Makes the missing folders above `file` with mode 0700.
bool MakeFolders(const std::string& file, std::string& error);

// An exclusive advisory lock on `path` (created 0600, never through a symbolic link). The program
// waits for locks at most $BKGCOLORS_LOCK_TIMEOUT seconds (10 when unset) in all, however many
// it takes; a free lock is taken even after that. Released when destroyed.
class FileLock {
public:
    explicit FileLock(const std::string& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    bool held() const { return fd_ >= 0; }
    const std::string& error() const { return error_; }

private:
    int fd_ = -1;
    std::string error_;
};

// Renames `path` to path.corrupt, else path.corrupt.1, .2, ..., never over an existing name; the
// name used, or nullopt.
std::optional<std::string> MoveAside(const std::string& path, std::string& error);

// Replaces `path` with `bytes`: a temporary file in the same folder, written, flushed to disk and
// renamed over it, then the folder flushed. The new file keeps the permission bits of the old one,
// or gets 0600. On failure the old file is untouched and no temporary is left.
bool ReplaceFile(const std::string& path, const std::string& bytes, std::string& error);

// Writes `bytes` to `path` for someone outside the store (see platform::WriteWholeFile).
bool WriteWholeFile(const std::string& path, const std::string& bytes, std::string& error);

// How a change to a store file ended.
enum class Commit { Written, Declined, Failed };
// What a change makes of the file it finds under the lock: the new contents, and whether the file
// there could not be parsed (it is then set aside rather than overwritten).
struct Replacement {
    PropertyValue root = PropertyValue::Dictionary();
    bool damaged = false;
};
// Reads the file as it now is and fills the replacement; Written goes on to write it.
using Decide = std::function<Commit(Replacement& next, std::string& error)>;
// Makes the folders above `target`, takes the lock beside it and, holding it, asks `decide`. On
// Written the new contents are encoded (refused at kStoreFileLimit), a damaged file is set aside
// (`aside` gets its new name) and the new file replaces the old. Whatever else happens, the file
// and anything beside it but the lock file and the folders stay as they were.
Commit CommitChange(const std::string& target, const Decide& decide, std::string& error,
                    std::string& aside);

} // namespace platform::internal
