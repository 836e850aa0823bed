// bkgcolors-defaults — reads and changes the user-defaults file that the pane uses, with the
// verbs of the platform's defaults command: read, write and delete.

#include "platform/StringEncoding.h"
#include "platform/UserDefaults.h"
#include "tools/HexDigit.h"
#include "tools/Output.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace {

constexpr const char* kUsage =
    "usage: bkgcolors-defaults [--defaults FILE] read [KEY]\n"
    "       bkgcolors-defaults [--defaults FILE] write KEY (-int N | -string S | -data HEX)\n"
    "       bkgcolors-defaults [--defaults FILE] delete KEY\n";

using platform::UserDefaults;

[[noreturn]] void Fail(const std::string& message) {
    std::fprintf(stderr, "bkgcolors-defaults: %s\n", message.c_str());
    std::exit(2);
}

std::optional<std::int32_t> ParseInt(const std::string& text) {
    std::size_t digits = !text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0;
    if (text.size() == digits || text.find_first_not_of("0123456789", digits) != std::string::npos)
        return std::nullopt;
    errno = 0;
    char* end = nullptr;
    long long value = std::strtoll(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || value < INT32_MIN || value > INT32_MAX)
        return std::nullopt;
    return static_cast<std::int32_t>(value);
}

std::optional<UserDefaults::Bytes> ParseHex(const std::string& text) {
    if (text.size() % 2 != 0)
        return std::nullopt;
    UserDefaults::Bytes bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        int high = HexDigit(text[i]), low = HexDigit(text[i + 1]);
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes.push_back(static_cast<unsigned char>(high * 16 + low));
    }
    return bytes;
}

std::string Hex(const UserDefaults::Bytes& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string text = "<";
    for (unsigned char byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text + ">";
}

// A text in double quotes with quotes, backslashes and control characters escaped, so that each
// entry of a listing stays on one line.
std::string Quoted(const std::string& text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (c < 0x20 || c == 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\%03o", c);
            out += escape;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

// A value as one line of a listing: texts quoted, bytes in hex, numbers as the store reads them
// as text.
std::string Listed(const UserDefaults& store, const std::string& key,
                   const UserDefaults::Object& value) {
    if (const auto* text = std::get_if<std::string>(&value))
        return Quoted(*text);
    if (const auto* bytes = std::get_if<UserDefaults::Bytes>(&value))
        return Hex(*bytes);
    return store.stringForKey(key).value_or("");
}

std::string CheckedKey(const std::string& key) {
    if (!platform::isValidUTF8(key))
        Fail("key is not valid UTF-8");
    return key;
}

int Read(UserDefaults& store, const std::optional<std::string>& key) {
    if (!key) {
        std::printf("{\n");
        for (const std::string& name : store.allKeys())
            std::printf("    %s = %s;\n", Quoted(name).c_str(),
                        Listed(store, name, *store.objectForKey(name)).c_str());
        std::printf("}\n");
        return 0;
    }
    auto value = store.objectForKey(*key);
    if (!value) {
        std::fprintf(stderr, "bkgcolors-defaults: no value for key %s\n", Quoted(*key).c_str());
        return 1;
    }
    if (const auto* text = std::get_if<std::string>(&*value))
        std::printf("%s\n", text->c_str());
    else
        std::printf("%s\n", Listed(store, *key, *value).c_str());
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    std::size_t at = 0;
    if (!args.empty() && (args[0] == "-h" || args[0] == "--help")) {
        std::fputs(kUsage, stdout);
        return FinishOutput("bkgcolors-defaults", 0);
    }
    if (at < args.size() && args[at] == "--defaults") {
        if (at + 1 >= args.size() || args[at + 1].empty())
            Fail("--defaults needs a file name");
        UserDefaults::setStandardPath(args[at + 1]);
        at += 2;
    }
    if (at >= args.size())
        Fail("missing verb: read, write or delete (try --help)");
    std::string verb = args[at++];
    if (verb.size() > 1 && verb[0] == '-')
        Fail("unknown option " + verb + " (try --help)");
    std::vector<std::string> rest(args.begin() + static_cast<std::ptrdiff_t>(at), args.end());

    if (verb == "read") {
        if (rest.size() > 1)
            Fail("read takes at most one key");
        std::optional<std::string> key;
        if (!rest.empty())
            key = CheckedKey(rest[0]);
        UserDefaults& store = UserDefaults::standardUserDefaults();
        if (!store.synchronize())
            return 2;
        return FinishOutput("bkgcolors-defaults", Read(store, key));
    }
    if (verb == "write") {
        if (rest.size() != 3)
            Fail("write needs a key, a type (-int, -string or -data) and a value");
        std::string key = CheckedKey(rest[0]);
        UserDefaults::Object value;
        if (rest[1] == "-int") {
            auto number = ParseInt(rest[2]);
            if (!number)
                Fail("'" + rest[2] + "' is not a 32-bit integer");
            value = *number;
        } else if (rest[1] == "-string") {
            if (!platform::isValidUTF8(rest[2]))
                Fail("the text is not valid UTF-8");
            value = rest[2];
        } else if (rest[1] == "-data") {
            auto bytes = ParseHex(rest[2]);
            if (!bytes)
                Fail("'" + rest[2] + "' is not an even number of hex digits");
            value = std::move(*bytes);
        } else {
            Fail("unknown type " + rest[1] + " (use -int, -string or -data)");
        }
        UserDefaults& store = UserDefaults::standardUserDefaults();
        store.setObject(value, key);
        return store.synchronize() ? 0 : 2;
    }
    if (verb == "delete") {
        if (rest.size() != 1)
            Fail("delete needs exactly one key");
        std::string key = CheckedKey(rest[0]);
        UserDefaults& store = UserDefaults::standardUserDefaults();
        // Deleting an absent key is not an error and leaves the file as it is.
        if (store.objectForKey(key))
            store.removeObjectForKey(key);
        return store.synchronize() ? 0 : 2;
    }
    Fail("unknown verb " + verb + " (use read, write or delete)");
}
