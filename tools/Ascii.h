// Ascii.h — letter tests and lower case of the ASCII letters alone, for the programs' syntax and
// their fixed output: the programs follow the user's character set (for their translated
// messages), where <cctype> would take bytes of UTF-8 text for letters of a single-byte locale.
#pragma once

#include <string>

inline bool IsAsciiLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
inline bool IsAsciiLetterOrDigit(char c) {
    return IsAsciiLetter(c) || (c >= '0' && c <= '9');
}

// `text` with A-Z made a-z; every other byte as it is.
inline std::string AsciiLower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}
