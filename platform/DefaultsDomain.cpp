#include "platform/DefaultsDomain.h"

#include "platform/internal/PropertyList.h"
#include "platform/internal/StoreFile.h"

#include <plist/plist.h>

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

std::optional<PropertyValue> Parse(const std::string& bytes, std::string& error) {
    internal::ReadError why = internal::ReadError::None;
    auto root = internal::ReadPropertyList(bytes, why);
    if (!root)
        error = why == internal::ReadError::TooLarge
                    ? "it holds more than the limit of " + internal::StoreFileLimitText()
                    : "it is not a property list with a dictionary at the top";
    return root;
}

// XML 1.0 has no way to write these, not even as character references.
bool XmlCarries(const std::string& text) {
    return std::none_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
    });
}

bool XmlCarriesAll(const PropertyValue& value) {
    if (value.kind == PropertyValue::Kind::String && !XmlCarries(value.bytes))
        return false;
    return std::all_of(value.keys.begin(), value.keys.end(), XmlCarries) &&
           std::all_of(value.items.begin(), value.items.end(), XmlCarriesAll);
}

// The file a change starts from: its tree, or an empty dictionary when it is absent or cannot be
// parsed. False, with a reason, when it cannot be read or is too large to change.
bool LoadForChange(const std::string& target, PropertyValue& root, bool& exists, bool& unparsable,
                   std::string& error) {
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
    internal::ReadError why = internal::ReadError::None;
    auto parsed = internal::ReadPropertyList(bytes, why);
    if (why == internal::ReadError::TooLarge) {
        error = "it holds more than the limit of " + internal::StoreFileLimitText();
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
    return Parse(bytes, error);
}

// libplist writes the XML from the binary form, which carries every kind exactly; what it cannot
// hold in its C strings (a NUL) is among what XML cannot carry, and is refused before.
std::optional<std::string> XmlPropertyList(const PropertyValue& root, std::string& error) {
    if (!XmlCarriesAll(root)) {
        error = "it holds a text with a control character, which XML cannot carry";
        return std::nullopt;
    }
    auto binary = internal::WriteBinary(root, SIZE_MAX);
    plist_t tree = nullptr;
    if (binary)
        plist_from_bin(binary->data(), static_cast<std::uint32_t>(binary->size()), &tree);
    char* xml = nullptr;
    std::uint32_t length = 0;
    if (tree)
        plist_to_xml(tree, &xml, &length);
    plist_free(tree);
    if (!xml) {
        error = "it cannot be written as XML";
        return std::nullopt;
    }
    std::string text(xml, length);
    plist_to_xml_free(xml);
    return text;
}

DefaultsDomain::Status DefaultsDomain::read(PropertyValue& root, std::string& error) const {
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
    auto parsed = Parse(bytes, error);
    if (!parsed)
        return Status::Failed;
    root = std::move(*parsed);
    return Status::Present;
}

DefaultsDomain::Outcome DefaultsDomain::update(const Change& change, std::string& error,
                                               std::string& notice) {
    auto target = internal::ResolveStorePath(path_, error);
    if (!target)
        return Outcome::Failed;
    // A change refused on the file as it stands takes no lock and makes no folder, so that a
    // refused command leaves the disk exactly as it was.
    PropertyValue root;
    bool exists = false, unparsable = false;
    if (!LoadForChange(*target, root, exists, unparsable, error))
        return Outcome::Failed;
    if (!change(root, exists))
        return Outcome::Declined;

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
