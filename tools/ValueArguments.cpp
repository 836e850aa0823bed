#include "tools/ValueArguments.h"

#include "platform/StringEncoding.h"
#include "tools/Ascii.h"
#include "tools/HexDigit.h"
#include "tools/PlistText.h"
#include "tools/Translation.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

using platform::PropertyValue;

namespace {

bool Is(const std::string& word, const char* a, const char* b = nullptr) {
    return word == a || (b && word == b);
}

bool IsScalarFlag(const std::string& word) {
    return Is(word, "-string") || Is(word, "-int", "-integer") || Is(word, "-float") ||
           Is(word, "-bool", "-boolean") || Is(word, "-data") || Is(word, "-date");
}

// A word that reads as an option rather than as a text: a dash and a letter.
bool LooksLikeFlag(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && IsAsciiLetter(word[1]);
}

std::optional<PropertyValue> Text(const std::string& text, std::string& error) {
    if (!platform::isValidUTF8(text)) {
        error = _("the text is not valid UTF-8");
        return std::nullopt;
    }
    return PropertyValue::Text(text);
}

std::optional<PropertyValue> Integer(const std::string& text, std::string& error) {
    const std::size_t sign = !text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0;
    errno = 0;
    char* end = nullptr;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    if (text.size() == sign || text.find_first_not_of("0123456789", sign) != std::string::npos ||
        errno != 0 || *end != '\0') {
        error = Fill(_("'%s' is not a 64-bit integer"), text);
        return std::nullopt;
    }
    return PropertyValue::Number(value);
}

std::optional<PropertyValue> Real(const std::string& text, std::string& error) {
    char* end = nullptr;
    const double value = text.empty() || text.find_first_not_of("0123456789.+-eE") != text.npos
                             ? NAN
                             : std::strtod(text.c_str(), &end);
    if (!std::isfinite(value) || *end != '\0') {
        error = Fill(_("'%s' is not a finite number"), text);
        return std::nullopt;
    }
    return PropertyValue::Double(value);
}

std::optional<PropertyValue> Boolean(const std::string& text, std::string& error) {
    const std::string word = AsciiLower(text);
    if (Is(word, "true", "yes") || word == "1")
        return PropertyValue::Flag(true);
    if (Is(word, "false", "no") || word == "0")
        return PropertyValue::Flag(false);
    error = Fill(_("'%s' is not a boolean (true, false, yes, no, 1 or 0)"), text);
    return std::nullopt;
}

std::optional<PropertyValue> Data(const std::string& text, std::string& error) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        const int high = HexDigit(text[i]), low = HexDigit(text[i + 1]);
        if (high < 0 || low < 0)
            break;
        bytes += static_cast<char>(high * 16 + low);
    }
    if (bytes.size() * 2 != text.size()) {
        error = Fill(_("'%s' is not an even number of hex digits"), text);
        return std::nullopt;
    }
    return PropertyValue::Blob(std::move(bytes));
}

std::optional<PropertyValue> Date(const std::string& text, std::string& error) {
    auto seconds = ParseDate(text);
    if (!seconds) {
        error =
            Fill(_("'%s' is not a date (YYYY-MM-DD HH:MM:SS +ZZZZ or YYYY-MM-DDTHH:MM:SSZ)"), text);
        return std::nullopt;
    }
    return PropertyValue::Moment(*seconds);
}

std::optional<PropertyValue> Scalar(const std::string& flag, const std::string& text,
                                    std::string& error) {
    if (Is(flag, "-int", "-integer"))
        return Integer(text, error);
    if (flag == "-float")
        return Real(text, error);
    if (Is(flag, "-bool", "-boolean"))
        return Boolean(text, error);
    if (flag == "-data")
        return Data(text, error);
    if (flag == "-date")
        return Date(text, error);
    return Text(text, error);
}

// One item of a list or dictionary at words[at]: a text, or a scalar flag and its value. Moves
// `at` past it.
std::optional<PropertyValue> Item(const std::vector<std::string>& words, std::size_t& at,
                                  std::string& error) {
    const std::string& word = words[at++];
    if (!LooksLikeFlag(word))
        return Text(word, error);
    if (!IsScalarFlag(word)) {
        error = Is(word, "-array", "-dict")
                    ? Fill(_("%s cannot be nested"), word)
                    : Fill(_("unknown type %s (use -string, -int, -float, -bool, -data or -date)"),
                           word);
        return std::nullopt;
    }
    if (at >= words.size()) {
        error = Fill(_("%s needs a value"), word);
        return std::nullopt;
    }
    return Scalar(word, words[at++], error);
}

} // namespace

std::optional<WriteRequest> ParseWriteRequest(const std::vector<std::string>& words,
                                              std::string& error) {
    WriteRequest request;
    if (words.empty()) {
        error = _("write needs a value");
        return std::nullopt;
    }
    const std::string& head = words[0];
    const bool array = Is(head, "-array", "-array-add"),
               dictionary = Is(head, "-dict", "-dict-add");
    if (!array && !dictionary) {
        std::size_t at = 0;
        auto value = Item(words, at, error);
        if (value && at != words.size())
            error = Fill(_("write takes one value here; found '%s' after it"), words[at]);
        if (!value || at != words.size())
            return std::nullopt;
        request.value = std::move(*value);
        return request;
    }
    if (head.size() > 6)
        request.mode = array ? WriteRequest::Mode::AddToArray : WriteRequest::Mode::AddToDictionary;
    request.value = array ? PropertyValue::List({}) : PropertyValue::Dictionary();
    for (std::size_t at = 1; at < words.size();) {
        std::string key;
        if (dictionary) {
            if (at + 1 >= words.size()) {
                error = Fill(_("%s needs a value after the key '%s'"), head, words[at]);
                return std::nullopt;
            }
            auto text = Text(words[at++], error);
            if (!text)
                return std::nullopt;
            key = text->bytes;
        }
        auto item = Item(words, at, error);
        if (!item)
            return std::nullopt;
        if (dictionary)
            request.value.set(key, std::move(*item));
        else
            request.value.items.push_back(std::move(*item));
    }
    return request;
}
