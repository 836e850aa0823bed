// Helpers shared by the tests of the serialised records: byte runs, and reading from or writing to
// a memory file.
#pragma once

#include "base/BMemFile.h"

#include <initializer_list>
#include <string>
#include <vector>

namespace byterecords {

using Bytes = std::vector<unsigned char>;

inline Bytes Concat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}

// The written bytes of a memory file.
inline Bytes Written(const BMemFile& f) {
    return Bytes(f.m_buffer, f.m_buffer + f.m_length);
}

// The bytes of a data run.
inline Bytes RunOf(const unsigned char* p, unsigned int n) {
    return Bytes(p, p + n);
}

inline std::string Hex(const Bytes& b) {
    static const char digits[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : b) {
        out += digits[c >> 4];
        out += digits[c & 15];
        out += ' ';
    }
    return out;
}

} // namespace byterecords
