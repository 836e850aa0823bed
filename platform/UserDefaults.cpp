#include "platform/UserDefaults.h"

#include "platform/StringEncoding.h"

#include <plist/plist.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <pwd.h>
#include <set>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

// The parser of the property-list library trusts its input; these limits keep a damaged or hostile
// file from exhausting memory or the stack before the library sees it.
constexpr std::size_t kMaxFileSize = 1u << 20;
constexpr int kMaxDepth = 32;                         // the store itself is one flat dictionary
constexpr std::uint64_t kMaxExpandedNodes = 1u << 20; // shared objects are parsed once per use

std::uint64_t BigEndian(const unsigned char* p, unsigned size) {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < size; ++i)
        value = (value << 8) | p[i];
    return value;
}

// Checks the object graph of a binary property list: every offset and reference inside the file,
// no cycles, nesting at most kMaxDepth, and a bounded number of nodes once shared objects are
// expanded, as the library expands them.
bool BinaryShapeIsSafe(const unsigned char* data, std::size_t size) {
    constexpr std::size_t kHeader = 8, kTrailer = 32;
    if (size < kHeader + kTrailer)
        return false;
    const unsigned char* trailer = data + size - kTrailer;
    unsigned offsetSize = trailer[6], refSize = trailer[7];
    std::uint64_t count = BigEndian(trailer + 8, 8);
    std::uint64_t top = BigEndian(trailer + 16, 8);
    std::uint64_t table = BigEndian(trailer + 24, 8);
    std::size_t objectsEnd = size - kTrailer;
    if (offsetSize < 1 || offsetSize > 8 || refSize < 1 || refSize > 8)
        return false;
    if (table < kHeader || table > objectsEnd || count == 0 || top >= count)
        return false;
    if (count > (objectsEnd - table) / offsetSize)
        return false;

    struct Children {
        std::size_t first = 0; // byte position of the first reference
        std::uint64_t refs = 0;
    };
    // Finds the references of a container and checks the characters of a text: the library
    // asserts that a text holds no NUL and converts UTF-16 assuming its surrogates pair up.
    auto childrenOf = [&](std::uint64_t object, Children& out) {
        std::uint64_t offset = BigEndian(data + table + object * offsetSize, offsetSize);
        if (offset < kHeader || offset >= table)
            return false;
        unsigned marker = data[offset];
        unsigned type = marker >> 4;
        out = Children();
        if (type != 0x5 && type != 0x6 && type != 0xA && type != 0xC && type != 0xD)
            return true;
        std::uint64_t length = marker & 0xF;
        std::size_t pos = offset + 1;
        if (length == 0xF) {
            if (pos >= table || (data[pos] >> 4) != 0x1 || (data[pos] & 0xF) > 3)
                return false;
            unsigned width = 1u << (data[pos] & 0xF);
            if (pos + 1 + width > table)
                return false;
            length = BigEndian(data + pos + 1, width);
            pos += 1 + width;
        }
        if (length > table)
            return false;
        if (type == 0x5) {
            if (length > table - pos)
                return false;
            for (std::size_t i = 0; i < length; ++i)
                if (data[pos + i] == 0 || data[pos + i] >= 0x80)
                    return false;
            return true;
        }
        if (type == 0x6) {
            if (length > (table - pos) / 2)
                return false;
            bool expectLow = false;
            for (std::size_t i = 0; i < length; ++i) {
                unsigned unit = static_cast<unsigned>(BigEndian(data + pos + 2 * i, 2));
                bool high = unit >= 0xD800 && unit <= 0xDBFF;
                bool low = unit >= 0xDC00 && unit <= 0xDFFF;
                if (unit == 0 || low != expectLow || (expectLow && high))
                    return false;
                expectLow = high;
            }
            return !expectLow;
        }
        std::uint64_t refs = type == 0xD ? length * 2 : length;
        if (refs > (table - pos) / refSize)
            return false;
        out.first = pos;
        out.refs = refs;
        return true;
    };

    enum : unsigned char { kUnseen, kOpen, kDone };
    std::vector<unsigned char> state(count, kUnseen);
    std::vector<std::uint64_t> expanded(count, 0);
    struct Frame {
        std::uint64_t object;
        Children children;
        std::uint64_t next;
        std::uint64_t nodes;
    };
    std::vector<Frame> stack;
    auto open = [&](std::uint64_t object) {
        Frame frame{object, {}, 0, 1};
        if (!childrenOf(object, frame.children))
            return false;
        if (stack.size() >= static_cast<std::size_t>(kMaxDepth))
            return false;
        state[object] = kOpen;
        stack.push_back(frame);
        return true;
    };
    if (!open(top))
        return false;
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next == frame.children.refs) {
            state[frame.object] = kDone;
            expanded[frame.object] = frame.nodes;
            std::uint64_t nodes = frame.nodes;
            stack.pop_back();
            if (!stack.empty()) {
                stack.back().nodes += nodes;
                if (stack.back().nodes > kMaxExpandedNodes)
                    return false;
            }
            continue;
        }
        std::uint64_t child =
            BigEndian(data + frame.children.first + frame.next * refSize, refSize);
        ++frame.next;
        if (child >= count || state[child] == kOpen)
            return false;
        if (state[child] == kDone) {
            frame.nodes += expanded[child];
            if (frame.nodes > kMaxExpandedNodes)
                return false;
            continue;
        }
        if (!open(child))
            return false;
    }
    return true;
}

bool StartsWithAt(const char* data, std::size_t size, std::size_t at, const char* word) {
    std::size_t n = std::strlen(word);
    return at + n <= size && std::memcmp(data + at, word, n) == 0;
}

// Counts the nesting of array and dict elements without parsing; anything that merely looks like
// such a tag counts too, so the estimate errs on the safe side.
bool XmlDepthIsSafe(const char* data, std::size_t size) {
    int depth = 0;
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] != '<')
            continue;
        bool closing = i + 1 < size && data[i + 1] == '/';
        std::size_t name = i + (closing ? 2 : 1);
        if (!StartsWithAt(data, size, name, "array") && !StartsWithAt(data, size, name, "dict"))
            continue;
        if (closing) {
            --depth;
            continue;
        }
        const void* end = std::memchr(data + name, '>', size - name);
        if (end && static_cast<const char*>(end)[-1] == '/')
            continue;
        if (++depth > kMaxDepth)
            return false;
    }
    return true;
}

bool IsPlatformText(const std::string& text) {
    return text.find('\0') == std::string::npos && isValidUTF8(text);
}

// The text of a string node when it is one the platform can hold: UTF-8 without NUL bytes.
std::optional<std::string> TextOf(plist_t node) {
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    if (!text)
        return std::nullopt;
    std::string value(text, length);
    if (!IsPlatformText(value))
        return std::nullopt;
    return value;
}

// Every key and text in the tree must be UTF-8: the library's writer walks texts assuming it.
bool TextsAreValid(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_STRING:
        return TextOf(node).has_value();
    case PLIST_ARRAY:
        for (std::uint32_t i = 0, n = plist_array_get_size(node); i < n; ++i)
            if (!TextsAreValid(plist_array_get_item(node, i)))
                return false;
        return true;
    case PLIST_DICT: {
        plist_dict_iter iter = nullptr;
        plist_dict_new_iter(node, &iter);
        bool ok = true;
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, iter, &key, &value);
            if (!value) {
                std::free(key);
                break;
            }
            ok = key && isValidUTF8(key) && TextsAreValid(value);
            std::free(key);
            if (!ok)
                break;
        }
        std::free(iter);
        return ok;
    }
    default:
        return true;
    }
}

// The parsed dictionary of a store file, or null when the bytes are not a usable store.
plist_t ParseStore(const std::vector<char>& bytes) {
    if (bytes.empty())
        return plist_new_dict();
    if (bytes.size() > kMaxFileSize)
        return nullptr;
    auto size = static_cast<std::uint32_t>(bytes.size());
    plist_t root = nullptr;
    if (plist_is_binary(bytes.data(), size)) {
        if (!BinaryShapeIsSafe(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()))
            return nullptr;
        plist_from_bin(bytes.data(), size, &root);
    } else {
        if (!XmlDepthIsSafe(bytes.data(), bytes.size()))
            return nullptr;
        plist_from_xml(bytes.data(), size, &root);
    }
    if (root && (plist_get_node_type(root) != PLIST_DICT || !TextsAreValid(root))) {
        plist_free(root);
        root = nullptr;
    }
    return root;
}

std::optional<UserDefaults::Object> Interpret(plist_t node) {
    if (!node)
        return std::nullopt;
    switch (plist_get_node_type(node)) {
    case PLIST_STRING: {
        auto text = TextOf(node);
        if (!text)
            return std::nullopt;
        return UserDefaults::Object(std::move(*text));
    }
    case PLIST_UINT: {
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        // The low 32 bits, as a 32-bit reader of the number gives.
        return UserDefaults::Object(static_cast<std::int32_t>(static_cast<std::uint32_t>(value)));
    }
    case PLIST_DATA: {
        std::uint64_t length = 0;
        const auto* bytes =
            reinterpret_cast<const unsigned char*>(plist_get_data_ptr(node, &length));
        return UserDefaults::Object(UserDefaults::Bytes(bytes, bytes + (bytes ? length : 0)));
    }
    default:
        return std::nullopt;
    }
}

plist_t MakeNode(const UserDefaults::Object& value) {
    if (const auto* text = std::get_if<std::string>(&value))
        return plist_new_string(text->c_str());
    if (const auto* number = std::get_if<std::int32_t>(&value))
        // Sign-extended, so that a negative number is written as the signed 64-bit form.
        return plist_new_uint(static_cast<std::uint64_t>(static_cast<std::int64_t>(*number)));
    const auto& bytes = std::get<UserDefaults::Bytes>(value);
    return plist_new_data(reinterpret_cast<const char*>(bytes.data()), bytes.size());
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

std::string FolderOf(const std::string& path) {
    std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Makes the missing folders above `path` with mode 0700; false with errno set when the folder
// cannot be made or is not a folder.
bool MakeFolders(const std::string& path) {
    std::string folder = FolderOf(path);
    for (std::size_t pos = 1; pos <= folder.size(); ++pos) {
        if (pos != folder.size() && folder[pos] != '/')
            continue;
        std::string prefix = folder.substr(0, pos);
        if (mkdir(prefix.c_str(), 0700) != 0 && errno != EEXIST)
            return false;
    }
    struct stat info;
    if (stat(folder.c_str(), &info) != 0)
        return false;
    if (!S_ISDIR(info.st_mode)) {
        errno = ENOTDIR;
        return false;
    }
    return true;
}

bool WriteAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        ssize_t n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        data += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

// Reads at most `limit` bytes; reading one more than the cap is enough to know the file is too big.
bool ReadAll(int fd, std::vector<char>& out, std::size_t limit) {
    out.clear();
    char buffer[65536];
    while (out.size() < limit) {
        ssize_t n = ::read(fd, buffer, std::min(sizeof buffer, limit - out.size()));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return false;
        if (n == 0)
            break;
        out.insert(out.end(), buffer, buffer + n);
    }
    return true;
}

std::string ErrorText(int error) {
    return std::strerror(error);
}

template <class StampType> StampType StampOf(const struct stat& info) {
    return StampType{true,
                     info.st_dev,
                     info.st_ino,
                     info.st_size,
                     static_cast<std::int64_t>(info.st_mtim.tv_sec),
                     info.st_mtim.tv_nsec};
}

} // namespace

void UserDefaults::PlistDeleter::operator()(void* node) const {
    plist_free(node);
}

bool UserDefaults::Stamp::operator==(const Stamp& other) const {
    return exists == other.exists && device == other.device && inode == other.inode &&
           size == other.size && mtimeSec == other.mtimeSec && mtimeNsec == other.mtimeNsec;
}

class UserDefaults::Lock {
public:
    explicit Lock(const std::string& path)
        : fd_(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        if (fd_ < 0) {
            error_ = errno;
            return;
        }
        while (flock(fd_, LOCK_EX) != 0) {
            if (errno == EINTR)
                continue;
            error_ = errno;
            ::close(fd_);
            fd_ = -1;
            return;
        }
    }
    ~Lock() {
        if (fd_ >= 0)
            ::close(fd_); // closing the descriptor releases the lock
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    bool held() const { return fd_ >= 0; }
    int error() const { return error_; }

private:
    int fd_;
    int error_ = 0;
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
    std::string folder;
    const char* config = std::getenv("XDG_CONFIG_HOME");
    if (config && config[0] == '/') {
        folder = config;
    } else {
        const char* home = std::getenv("HOME");
        if (!home || !*home) {
            const passwd* user = getpwuid(getuid());
            home = user && user->pw_dir ? user->pw_dir : ".";
        }
        folder = std::string(home) + "/.config";
    }
    return folder + "/org.bkgcolors.host.plist";
}

UserDefaults::UserDefaults(std::string path) : path_(std::move(path)) {
    reload(nullptr);
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

std::optional<UserDefaults::Object> UserDefaults::objectForKey(const std::string& key) const {
    auto change = pending_.find(key);
    if (change != pending_.end())
        return change->second;
    if (!file_ || !IsPlatformText(key))
        return std::nullopt;
    return Interpret(plist_dict_get_item(file_.get(), key.c_str()));
}

std::int32_t UserDefaults::integerForKey(const std::string& key) const {
    auto value = objectForKey(key);
    if (!value)
        return 0;
    if (const auto* number = std::get_if<std::int32_t>(&*value))
        return *number;
    if (const auto* text = std::get_if<std::string>(&*value))
        return ReadInteger(*text);
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
    if (file_) {
        plist_dict_iter iter = nullptr;
        plist_dict_new_iter(file_.get(), &iter);
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(file_.get(), iter, &key, &value);
            if (!value) {
                std::free(key);
                break;
            }
            if (key && Interpret(value))
                keys.insert(key);
            std::free(key);
        }
        std::free(iter);
    }
    for (const auto& [key, value] : pending_) {
        if (value)
            keys.insert(key);
        else
            keys.erase(key);
    }
    return {keys.begin(), keys.end()};
}

bool UserDefaults::synchronize() {
    if (pending_.empty()) {
        reload(nullptr);
        return readable_;
    }
    if (!MakeFolders(path_)) {
        report("cannot save defaults to " + path_ + ": " + ErrorText(errno));
        return false;
    }
    Lock lock(path_ + ".lock");
    if (!lock.held()) {
        report("cannot lock defaults file " + path_ + ": " + ErrorText(lock.error()));
        return false;
    }
    reload(&lock);
    if (!readable_)
        return false;
    Plist merged(plist_copy(file_.get()));
    for (const auto& [key, value] : pending_) {
        if (value)
            plist_dict_set_item(merged.get(), key.c_str(), MakeNode(*value));
        else if (plist_dict_get_item(merged.get(), key.c_str()))
            plist_dict_remove_item(merged.get(), key.c_str());
    }
    if (!write(merged.get()))
        return false;
    file_ = std::move(merged);
    pending_.clear();
    lastReport_.clear();
    struct stat info;
    if (stat(path_.c_str(), &info) == 0)
        stamp_ = StampOf<Stamp>(info);
    return true;
}

void UserDefaults::reload(const Lock* held) {
    struct stat info;
    Stamp now;
    if (stat(path_.c_str(), &info) == 0)
        now = StampOf<Stamp>(info);
    if (file_ && readable_ && now == stamp_)
        return;

    int fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        // A folder on the way that is missing or not a folder: there is no file yet.
        if (errno == ENOENT || errno == ENOTDIR) {
            file_.reset(plist_new_dict());
            stamp_ = Stamp();
            readable_ = true;
            lastReport_.clear();
            return;
        }
        report("cannot read defaults file " + path_ + ": " + ErrorText(errno));
        readable_ = false;
        return;
    }
    std::vector<char> bytes;
    bool regular = fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
    bool read = regular && ReadAll(fd, bytes, kMaxFileSize + 1);
    int readError = errno;
    ::close(fd);
    if (!regular || !read) {
        report("cannot read defaults file " + path_ + ": " +
               (regular ? ErrorText(readError) : std::string("not a regular file")));
        readable_ = false;
        return;
    }
    now = StampOf<Stamp>(info);

    if (plist_t root = ParseStore(bytes)) {
        file_.reset(root);
        stamp_ = now;
        readable_ = true;
        lastReport_.clear();
        return;
    }
    // Set the damaged file aside under the lock, so that it is this file and not one another
    // process has just written in its place.
    if (!held) {
        Lock lock(path_ + ".lock");
        if (lock.held()) {
            stamp_ = Stamp();
            file_.reset();
            reload(&lock);
            return;
        }
    }
    std::string aside = path_ + ".corrupt";
    if (std::rename(path_.c_str(), aside.c_str()) != 0) {
        report("defaults file " + path_ +
               " cannot be parsed and cannot be moved aside: " + ErrorText(errno));
        readable_ = false;
        return;
    }
    report("defaults file " + path_ + " cannot be parsed; moved to " + aside);
    lastReport_.clear(); // each damaged file is worth its own line
    file_.reset(plist_new_dict());
    stamp_ = Stamp();
    readable_ = true;
}

bool UserDefaults::write(void* dict) {
    char* encoded = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(dict, &encoded, &length);
    if (!encoded) {
        report("cannot encode defaults for " + path_);
        return false;
    }
    // Only the holder of the lock writes, so one fixed temporary name suffices; a writer that was
    // killed mid-write leaves it behind, and the next writer replaces it instead of adding another.
    std::string temporary = path_ + ".tmp";
    ::unlink(temporary.c_str());
    int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    bool ok = fd >= 0;
    ok = ok && WriteAll(fd, encoded, length);
    ok = ok && fsync(fd) == 0;
    int error = errno;
    if (fd >= 0 && ::close(fd) != 0 && ok) {
        ok = false;
        error = errno;
    }
    plist_to_bin_free(encoded);
    if (ok && std::rename(temporary.c_str(), path_.c_str()) != 0) {
        ok = false;
        error = errno;
    }
    if (!ok) {
        if (fd >= 0)
            ::unlink(temporary.c_str());
        report("cannot save defaults to " + path_ + ": " + ErrorText(error));
        return false;
    }
    int folder = ::open(FolderOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        ::close(folder);
    }
    return true;
}

void UserDefaults::report(const std::string& message) {
    if (message == lastReport_)
        return;
    lastReport_ = message;
    std::fprintf(stderr, "bkgcolors: %s\n", message.c_str());
}

} // namespace platform
