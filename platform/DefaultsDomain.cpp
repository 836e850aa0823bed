#include "platform/DefaultsDomain.h"

#include "platform/internal/PropertyList.h"
#include "platform/internal/StoreFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <pwd.h>
#include <unistd.h>

namespace platform {

using internal::Value;

namespace {

constexpr const char kSuffix[] = ".plist";

std::string FailureText(const internal::ReadFailure& failure) {
    return failure.kind == internal::ReadError::TooLarge ? failure.reason
                                                         : "not a property list: " + failure.reason;
}

std::optional<PropertyValue> Parse(const std::string& bytes, std::string& error,
                                   const std::string* onlyKey = nullptr) {
    internal::ReadFailure failure;
    auto root = internal::ReadPropertyList(bytes, failure, onlyKey);
    if (!root)
        error = FailureText(failure);
    return root;
}

// The file a change starts from: its tree, or an empty dictionary when it is absent or cannot be
// parsed. False, with a reason, when it cannot be read or is too large to change.
bool LoadForChange(const std::string& target, PropertyValue& root, bool& exists, bool& unparsable,
                   std::string& error, const std::string* onlyKey = nullptr) {
    std::string bytes;
    struct stat info;
    const internal::FileRead state = internal::ReadRegularFile(target, bytes, info, error);
    if (state == internal::FileRead::Failed)
        return false;
    root = PropertyValue::Dictionary();
    exists = state == internal::FileRead::Read;
    unparsable = false;
    if (!exists)
        return true;
    internal::ReadFailure failure;
    auto parsed = internal::ReadPropertyList(bytes, failure, onlyKey);
    if (failure.kind == internal::ReadError::TooLarge) {
        error = failure.reason;
        return false;
    }
    unparsable = !parsed;
    if (parsed)
        root = std::move(*parsed);
    return true;
}

} // namespace

std::string DefaultsFolder() {
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config && config[0] == '/')
        return config;
    const char* home = std::getenv("HOME");
    if (!home || !*home) {
        const passwd* user = getpwuid(getuid());
        home = user && user->pw_dir ? user->pw_dir : ".";
    }
    return std::string(home) + "/.config";
}

std::optional<std::vector<std::string>> DomainNames(std::string& error) {
    std::vector<std::string> names;
    const std::string folder = DefaultsFolder();
    DIR* listing = opendir(folder.c_str());
    if (!listing) {
        if (errno == ENOENT)
            return names;
        error = "cannot list " + folder + ": " + std::strerror(errno);
        return std::nullopt;
    }
    const std::size_t suffix = sizeof kSuffix - 1;
    errno = 0;
    while (const dirent* entry = readdir(listing)) {
        const std::string name = entry->d_name;
        if (name.size() > suffix && name.compare(name.size() - suffix, suffix, kSuffix) == 0)
            names.push_back(name.substr(0, name.size() - suffix));
    }
    const int why = errno;
    closedir(listing);
    if (why != 0) {
        error = "cannot list " + folder + ": " + std::strerror(why);
        return std::nullopt;
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<PropertyValue> ParsePropertyList(const std::string& bytes, std::string& error) {
    if (bytes.empty()) {
        error = "it is empty";
        return std::nullopt;
    }
    return Parse(bytes, error);
}

std::optional<std::string> XmlPropertyList(const PropertyValue& root, std::string& error) {
    return internal::WriteXml(root, error);
}

bool WriteWholeFile(const std::string& path, const std::string& bytes, std::string& error) {
    return internal::WriteWholeFile(path, bytes, error);
}

DefaultsDomain::Status DefaultsDomain::read(PropertyValue& root, std::string& error,
                                            const std::string* onlyKey) const {
    auto target = internal::ResolveStorePath(path_, error);
    if (!target)
        return Status::Failed;
    std::string bytes;
    struct stat info;
    switch (internal::ReadRegularFile(*target, bytes, info, error)) {
    case internal::FileRead::Missing:
        return Status::Missing;
    case internal::FileRead::Failed:
        return Status::Failed;
    case internal::FileRead::Read:
        break;
    }
    auto parsed = Parse(bytes, error, onlyKey);
    if (!parsed)
        return Status::Failed;
    root = std::move(*parsed);
    return Status::Present;
}

DefaultsDomain::Outcome DefaultsDomain::update(const Change& change, std::string& error,
                                               std::string& notice,
                                               const std::string* decidingKey) {
    auto target = internal::ResolveStorePath(path_, error);
    if (!target)
        return Outcome::Failed;
    // A change refused on the file as it stands takes no lock and makes no folder, so that a
    // refused command leaves the disk exactly as it was.
    PropertyValue root;
    bool exists = false, unparsable = false;
    if (!LoadForChange(*target, root, exists, unparsable, error, decidingKey))
        return Outcome::Failed;
    if (!change(root, exists))
        return Outcome::Declined;
    root = PropertyValue(); // decided again under the lock; a big domain is not held twice

    // Under the lock the file may have changed since it was first read: decide again on it.
    std::string aside;
    const internal::Commit outcome = internal::CommitChange(
        *target,
        [&](internal::Replacement& next, std::string& why) {
            if (!LoadForChange(*target, next.root, exists, next.damaged, why))
                return internal::Commit::Failed;
            return change(next.root, exists) ? internal::Commit::Written
                                             : internal::Commit::Declined;
        },
        error, aside);
    if (!aside.empty())
        notice = *target + " could not be parsed; moved to " + aside;
    return outcome == internal::Commit::Written    ? Outcome::Written
           : outcome == internal::Commit::Declined ? Outcome::Declined
                                                   : Outcome::Failed;
}

DefaultsDomain::Status DefaultsDomain::remove(std::string& error) {
    auto target = internal::ResolveStorePath(path_, error);
    if (!target)
        return Status::Failed;
    struct stat info;
    if (lstat(target->c_str(), &info) != 0) {
        if (errno == ENOENT || errno == ENOTDIR)
            return Status::Missing;
        error = std::strerror(errno);
        return Status::Failed;
    }
    internal::FileLock lock(*target + ".lock");
    if (!lock.held()) {
        error = lock.error();
        return Status::Failed;
    }
    if (::unlink(target->c_str()) == 0)
        return Status::Present;
    if (errno == ENOENT)
        return Status::Missing;
    error = std::strerror(errno);
    return Status::Failed;
}

} // namespace platform
