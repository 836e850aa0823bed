// HexDigit.h — the value of one hexadecimal digit, shared by the two programs' argument parsers.
#pragma once

// 0-15 for 0-9, a-f and A-F; -1 for any other character.
inline int HexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}
