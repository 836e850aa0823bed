/// @file
/// UserDefaults.h — stands for NSUserDefaults: the user's persistent map from text keys to values,
/// kept in a binary property-list file and shared between processes.
///
/// Keys are case-sensitive UTF-8 texts. A value is UTF-8 text, a 32-bit signed integer, raw bytes,
/// a real or a boolean. Entries of other kinds found in the file (dates, arrays, dictionaries,
/// wider integers' upper bits) are kept and written back equal. Changes are held in memory as
/// pending until synchronize() merges them into the file: keys this store changed since its last
/// synchronize win, every other key takes the file's value.
///
/// Ownership: the store owns its copy of the file's contents and its pending changes; returned
/// values are copies. Invariant: reading never changes the disk; the file is only ever replaced
/// whole (written aside, renamed over), stays under 4 MiB, and a file that cannot be parsed is set
/// aside under a name of its own before a write, never overwritten.
/// Copying: not copyable. A store synchronises its pending changes when destroyed; the standard
/// store is destroyed at normal process exit.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace platform {

/// The user's persistent map from text keys to values, kept in a property-list file and shared
/// between processes (see UserDefaults.h).
class UserDefaults {
public:
    /// A raw-bytes value.
    using Bytes = std::vector<unsigned char>;
    /// A stored value: text, integer, raw bytes, real or boolean (NSString, NSNumber, NSData).
    using Object = std::variant<std::string, std::int32_t, Bytes, double, bool>;

    /// The process-wide store on standardPath(), made and loaded on first use.
    static UserDefaults& standardUserDefaults();
    /// The file of the standard store: the one given to setStandardPath, else $BKGCOLORS_DEFAULTS
    /// when set and not empty, else org.bkgcolors.host.plist in $XDG_CONFIG_HOME (when absolute) or
    /// in $HOME/.config.
    static std::string standardPath();
    /// Makes the standard store use `path` instead; false, changing nothing, once the standard
    /// store has been made.
    static bool setStandardPath(std::string path);

    /// A store on the file `path`, loaded now; the file need not exist.
    explicit UserDefaults(std::string path);
    /// Synchronises pending changes; a failure is reported on stderr like any other.
    ~UserDefaults();
    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;

    /// The file this store reads and writes.
    const std::string& path() const { return path_; }

    /// setObject:forKey: — stores `value` under `key`, or removes the key when `value` is empty.
    /// Returns false, changing nothing, when the key or a text value is not valid UTF-8 or holds
    /// a NUL byte (the platform cannot make such a string). Does not write the file.
    bool setObject(const std::optional<Object>& value, const std::string& key);
    /// removeObjectForKey: — the same as setObject with no value.
    void removeObjectForKey(const std::string& key);
    /// Forgets the change of `key` not yet written, so that nothing of it is written, not even at
    /// exit; the key reads as the file held it when last read. Does not touch the file.
    void discardChange(const std::string& key);

    /// objectForKey: — the value under `key`, with its kind; nullopt when absent.
    std::optional<Object> objectForKey(const std::string& key) const;
    /// integerForKey: — an integer as is; a real truncated toward zero and clamped to 32 bits; a
    /// boolean as 1 or 0; a text read as the platform reads integers (leading white space, sign,
    /// digits, clamped to 32 bits; no digits gives 0); 0 for bytes or absent.
    std::int32_t integerForKey(const std::string& key) const;
    /// stringForKey: — a text as is, a number (integer, real, boolean) as its decimal text; nullopt
    /// for bytes or absent.
    std::optional<std::string> stringForKey(const std::string& key) const;
    /// dataForKey: — raw bytes only; nullopt for any other kind or absent.
    std::optional<Bytes> dataForKey(const std::string& key) const;
    /// Every readable key, in byte order; does not list entries of other kinds.
    std::vector<std::string> allKeys() const;

    /// With changes pending: takes the file's lock, reloads the file if it changed, merges the
    /// changes into it and replaces it atomically. Returns false, keeping the changes pending and
    /// reporting one line on stderr, when the file cannot be written (no lock within the wait, no
    /// space or permission, the result would pass 4 MiB); the next call tries again. With nothing
    /// pending it only rereads the file, and is false when the file cannot be read.
    bool synchronize();
    /// Why the last load or synchronize could not read or write the file, as the line reported on
    /// stderr says it (without the program's prefix); empty once the file was read or written.
    const std::string& lastProblem() const { return lastReport_; }

private:
    struct File; ///< what was last read from the file

    void reload();
    /// Says `message` on stderr unless it was the last thing said; `reading` tells a problem with
    /// reading the file, which a good read clears, from one with writing it.
    void report(const std::string& message, bool reading = true);
    void readingWell();

    std::string path_;
    std::unique_ptr<File> file_;
    std::map<std::string, std::optional<Object>> pending_; ///< empty value: removed
    std::string lastReport_; ///< a failure is not repeated until it changes or clears
    bool reportedReading_ = true;
};

} // namespace platform
