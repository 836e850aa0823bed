/// @file
/// DefaultsDomain.h — stands for the defaults command's view of the user-defaults files: a domain
/// is one file of the defaults folder, read as a whole property-list tree and replaced whole.
///
/// A domain holds only its path; nothing is cached between calls. Reading never changes the disk.
/// A change runs under the same lock the store takes and is written the way the store writes
/// (temporary file, flushed, renamed over), within the same size limit, so a store and this view
/// can work on one file at once. Copying: copies the path.
#pragma once

#include "platform/PropertyValue.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// The folder of the defaults files: $XDG_CONFIG_HOME when it is absolute, else $HOME/.config.
std::string DefaultsFolder();
/// The domains of DefaultsFolder(): its `*.plist` files without the suffix, sorted; an absent
/// folder has none. nullopt, with a reason, when the folder cannot be listed.
std::optional<std::vector<std::string>> DomainNames(std::string& error);

/// A property list (binary or XML, with a dictionary at the top) read from `bytes`; nullopt, with a
/// one-line reason saying what is wrong and where, for anything else, nothing at all, or anything
/// past the store's size limit.
std::optional<PropertyValue> ParsePropertyList(const std::string& bytes, std::string& error);
/// The XML form of `root`, which reads back as the same tree (a 32-bit real reads back as the same
/// number in 64 bits); nullopt, with a reason and the key path, when it holds what XML cannot
/// carry: a control character in a text or key, a date that is not a whole second of the years 1 to
/// 9999, a set, a null or a UID.
std::optional<std::string> XmlPropertyList(const PropertyValue& root, std::string& error);

/// Writes `bytes` to the file `path`, through symbolic links. A regular file (or a new one) is
/// replaced only once the new contents are whole on disk, so a failure leaves it as it was; a
/// device or FIFO is written in place and never removed. False, with a one-line reason, on failure.
bool WriteWholeFile(const std::string& path, const std::string& bytes, std::string& error);

/// One domain file of the defaults folder, read and replaced whole (see DefaultsDomain.h).
class DefaultsDomain {
public:
    /// The domain kept in the file `path`; nothing is read yet.
    explicit DefaultsDomain(std::string path) : path_(std::move(path)) {}
    /// The domain's file.
    const std::string& path() const { return path_; }

    /// What read found: no file, a file read, or a failure.
    enum class Status { Missing, Present, Failed };
    /// Reads the file into `root`, or, given `onlyKey`, reads and checks it whole but keeps only
    /// that key's entry. Failed, with a one-line reason, when it is not a regular file or cannot be
    /// read or parsed.
    Status read(PropertyValue& root, std::string& error,
                const std::string* onlyKey = nullptr) const;

    /// Decides a change: gets the file's tree (an empty dictionary when the file is absent or
    /// cannot be parsed) and whether the file exists; returns true to have the changed tree
    /// written. It may be called twice (before the lock and under it), each time on a fresh tree.
    using Change = std::function<bool(PropertyValue& root, bool exists)>;
    /// What update did: wrote the file, left it as the change declined, or failed.
    enum class Outcome { Written, Declined, Failed };
    /// Under the file's lock: reads the file, hands it to `change` and, when that accepts, writes
    /// the result. A change declined on the file as it stands takes no lock and makes nothing; with
    /// `decidingKey`, that first decision is made on the file's entry of that key alone, which
    /// spares reading a big file whole twice (the change must then depend on no other key to
    /// decline). A file that could not be parsed is first moved aside (reported in `notice`).
    /// Failed, with a reason and the file untouched, when it cannot be read, locked or written, or
    /// the result would pass the size limit.
    Outcome update(const Change& change, std::string& error, std::string& notice,
                   const std::string* decidingKey = nullptr);

    /// Under the file's lock: removes the file. Missing when there was none.
    Status remove(std::string& error);

private:
    std::string path_;
};

} // namespace platform
