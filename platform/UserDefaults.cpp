#include "platform/UserDefaults.h"

#include "platform/DefaultsDomain.h"
#include "platform/StringEncoding.h"
#include "platform/internal/PropertyList.h"
#include "platform/internal/StoreFile.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

using internal::Value;

namespace {

bool IsPlatformText(const std::string& text) {
    return text.find('\0') == std::string::npos && isValidUTF8(text);
}

std::optional<UserDefaults::Object> Interpret(const Value& value) {
    switch (value.kind) {
    case Value::Kind::String:
        return UserDefaults::Object(value.bytes);
    case Value::Kind::Integer:
        // The low 32 bits, as a 32-bit reader of the number gives.
        return UserDefaults::Object(
            static_cast<std::int32_t>(static_cast<std::uint32_t>(value.bits)));
    case Value::Kind::Data:
        return UserDefaults::Object(UserDefaults::Bytes(value.bytes.begin(), value.bytes.end()));
    case Value::Kind::Real:
        return UserDefaults::Object(value.real());
    case Value::Kind::Boolean:
        return UserDefaults::Object(value.bits != 0);
    default:
        return std::nullopt;
    }
}

Value MakeValue(const UserDefaults::Object& object) {
    if (const auto* text = std::get_if<std::string>(&object))
        return Value::Text(*text);
    if (const auto* number = std::get_if<std::int32_t>(&object))
        return Value::Number(*number);
    if (const auto* bytes = std::get_if<UserDefaults::Bytes>(&object))
        return Value::Blob(std::string(bytes->begin(), bytes->end()));
    if (const auto* real = std::get_if<double>(&object))
        return Value::Double(*real);
    return Value::Flag(std::get<bool>(object));
}

// The platform's integer reading of a text: leading white space, an optional sign, then digits;
// the value saturates at the 32-bit limits.
std::int32_t ReadInteger(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size() && std::strchr(" \t\n\v\f\r", text[i]) && text[i] != '\0')
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        negative = text[i++] == '-';
    std::int64_t magnitude = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        magnitude = magnitude * 10 + (text[i] - '0');
        if (magnitude > static_cast<std::int64_t>(INT32_MAX) + 1)
            magnitude = static_cast<std::int64_t>(INT32_MAX) + 1;
    }
    std::int64_t value = negative ? -magnitude : magnitude;
    if (value > INT32_MAX)
        value = INT32_MAX;
    return static_cast<std::int32_t>(value);
}

} // namespace

struct UserDefaults::File {
    enum class State { Unread, Readable, Unparsable, Unreadable };
    State state = State::Unread;
    std::map<std::string, Value> entries; // the top dictionary
    std::string target;                   // the file behind the store path, as last resolved
};

namespace {

// Guarded by the single-threaded use of the store, like the rest of the platform layer.
std::optional<std::string> chosenStandardPath;
bool standardStoreMade = false;

} // namespace

UserDefaults& UserDefaults::standardUserDefaults() {
    static UserDefaults store((standardStoreMade = true, standardPath()));
    return store;
}

bool UserDefaults::setStandardPath(std::string path) {
    if (standardStoreMade)
        return false;
    chosenStandardPath = std::move(path);
    return true;
}

std::string UserDefaults::standardPath() {
    if (chosenStandardPath)
        return *chosenStandardPath;
    const char* explicitFile = std::getenv("BKGCOLORS_DEFAULTS");
    if (explicitFile && *explicitFile)
        return explicitFile;
    return DefaultsFolder() + "/org.bkgcolors.host.plist";
}

UserDefaults::UserDefaults(std::string path) : path_(std::move(path)), file_(new File) {
    reload();
}

UserDefaults::~UserDefaults() {
    if (pending_.empty())
        return;
    // A destructor must not throw; running out of memory here loses only the unsaved changes.
    try {
        synchronize();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bkgcolors: cannot save defaults to %s: %s\n", path_.c_str(),
                     e.what());
    }
}

bool UserDefaults::setObject(const std::optional<Object>& value, const std::string& key) {
    if (!IsPlatformText(key))
        return false;
    if (value) {
        if (const auto* text = std::get_if<std::string>(&*value); text && !IsPlatformText(*text))
            return false;
    }
    pending_[key] = value;
    return true;
}

void UserDefaults::removeObjectForKey(const std::string& key) {
    setObject(std::nullopt, key);
}

void UserDefaults::discardChange(const std::string& key) {
    pending_.erase(key);
}

std::optional<UserDefaults::Object> UserDefaults::objectForKey(const std::string& key) const {
    auto change = pending_.find(key);
    if (change != pending_.end())
        return change->second;
    auto entry = file_->entries.find(key);
    if (entry == file_->entries.end())
        return std::nullopt;
    return Interpret(entry->second);
}

std::int32_t UserDefaults::integerForKey(const std::string& key) const {
    auto value = objectForKey(key);
    if (!value)
        return 0;
    if (const auto* number = std::get_if<std::int32_t>(&*value))
        return *number;
    if (const auto* text = std::get_if<std::string>(&*value))
        return ReadInteger(*text);
    if (const auto* real = std::get_if<double>(&*value)) {
        if (std::isnan(*real))
            return 0;
        const double whole = std::trunc(*real);
        return whole <= INT32_MIN   ? INT32_MIN
               : whole >= INT32_MAX ? INT32_MAX
                                    : static_cast<std::int32_t>(whole);
    }
    if (const auto* flag = std::get_if<bool>(&*value))
        return *flag ? 1 : 0;
    return 0;
}

std::optional<std::string> UserDefaults::stringForKey(const std::string& key) const {
    auto value = objectForKey(key);
    if (!value)
        return std::nullopt;
    if (const auto* text = std::get_if<std::string>(&*value))
        return *text;
    if (const auto* number = std::get_if<std::int32_t>(&*value))
        return std::to_string(*number);
    if (const auto* real = std::get_if<double>(&*value))
        return RealDescription(*real);
    if (const auto* flag = std::get_if<bool>(&*value))
        return std::string(*flag ? "1" : "0");
    return std::nullopt;
}

std::optional<UserDefaults::Bytes> UserDefaults::dataForKey(const std::string& key) const {
    auto value = objectForKey(key);
    if (value)
        if (auto* bytes = std::get_if<Bytes>(&*value))
            return std::move(*bytes);
    return std::nullopt;
}

std::vector<std::string> UserDefaults::allKeys() const {
    std::set<std::string> keys;
    for (const auto& [key, value] : file_->entries)
        if (Interpret(value))
            keys.insert(key);
    for (const auto& [key, value] : pending_) {
        if (value)
            keys.insert(key);
        else
            keys.erase(key);
    }
    return {keys.begin(), keys.end()};
}

bool UserDefaults::synchronize() {
    using State = File::State;
    // A file that cannot be read (or is no regular file) is refused before anything is locked
    // or made.
    reload();
    if (pending_.empty() || file_->state == State::Unreadable)
        return file_->state != State::Unreadable;
    const std::string target = file_->target;
    std::string error, aside;
    std::map<std::string, Value> merged;
    const internal::Commit outcome = internal::CommitChange(
        target,
        [&](internal::Replacement& next, std::string& why) {
            // Under the lock, the file is read as it is now, whatever was read before: a file
            // another process has just replaced may look the same to every stamp (a reused inode,
            // the same size, the same time tick) and still hold other values.
            reload();
            if (file_->state == State::Unreadable)
                return internal::Commit::Declined;
            if (file_->target != target) {
                why = "the link changed while it was written";
                return internal::Commit::Failed;
            }
            next.damaged = file_->state == State::Unparsable;
            if (!next.damaged)
                merged = file_->entries;
            for (const auto& [key, value] : pending_) {
                if (value)
                    merged[key] = MakeValue(*value);
                else
                    merged.erase(key);
            }
            next.root.keys.reserve(merged.size());
            next.root.items.reserve(merged.size());
            for (const auto& [key, value] : merged) {
                next.root.keys.push_back(key);
                next.root.items.push_back(value);
            }
            return internal::Commit::Written;
        },
        error, aside);
    if (!aside.empty()) {
        report("defaults file " + target + " cannot be parsed; moved to " + aside);
        lastReport_.clear(); // each damaged file is worth its own line
    }
    if (outcome == internal::Commit::Failed)
        report("cannot save defaults to " + path_ + ": " + error + "; the change is kept unsaved",
               false);
    if (outcome != internal::Commit::Written)
        return false;
    file_->entries = std::move(merged);
    file_->state = State::Readable;
    pending_.clear();
    lastReport_.clear();
    return true;
}

void UserDefaults::reload() {
    using State = File::State;
    std::string error;
    auto target = internal::ResolveStorePath(path_, error);
    if (!target) {
        report("cannot use defaults file " + path_ + ": " + error);
        file_->state = State::Unreadable;
        return;
    }
    file_->target = *target;

    std::string bytes;
    struct stat info;
    switch (internal::ReadRegularFile(*target, bytes, info, error)) {
    case internal::FileRead::Missing:
        file_->entries.clear();
        file_->state = State::Readable;
        readingWell();
        return;
    case internal::FileRead::Failed:
        report("cannot read defaults file " + path_ + ": " + error);
        file_->state = State::Unreadable;
        return;
    case internal::FileRead::Read:
        break;
    }
    internal::ReadFailure failure;
    auto root = internal::ReadPropertyList(bytes, failure);
    file_->entries.clear();
    if (root) {
        for (std::size_t i = 0; i < root->keys.size(); ++i)
            file_->entries.emplace(std::move(root->keys[i]), std::move(root->items[i]));
        file_->state = State::Readable;
        readingWell();
    } else if (failure.kind == internal::ReadError::TooLarge) {
        report("cannot read defaults file " + path_ + ": " + failure.reason);
        file_->state = State::Unreadable;
    } else {
        report("defaults file " + path_ + " cannot be parsed (" + failure.reason +
               "); it reads as empty and is moved aside before the next write");
        file_->state = State::Unparsable;
    }
}

void UserDefaults::readingWell() {
    if (reportedReading_)
        lastReport_.clear();
}

void UserDefaults::report(const std::string& message, bool reading) {
    reportedReading_ = reading;
    if (message == lastReport_)
        return;
    lastReport_ = message;
    std::fprintf(stderr, "bkgcolors: %s\n", message.c_str());
}

} // namespace platform
