// ByteOrder.h — numbers to and from the byte orders of the library's formats (not installed).
#pragma once

#include <cstdint>

namespace StrImplementation {

// The low `width` bytes (at most 4) of bits at out, least significant first.
inline void StoreLittleEndian(unsigned char* out, std::uint32_t bits, unsigned int width) {
    for (unsigned int i = 0; i < width; ++i)
        out[i] = static_cast<unsigned char>(bits >> (8 * i));
}

// The number held in the `width` bytes (at most 4) at in, least significant first.
inline std::uint32_t LoadLittleEndian(const unsigned char* in, unsigned int width) {
    std::uint32_t bits = 0;
    for (unsigned int i = width; i-- > 0;)
        bits = (bits << 8) | in[i];
    return bits;
}

// The 8 bytes at p as one number whose order is theirs as a byte string.
inline std::uint64_t LoadBigEndian8(const unsigned char* p) {
    std::uint64_t v = 0;
    for (int i = 0; i < 8; ++i)
        v = v << 8 | p[i];
    return v;
}

} // namespace StrImplementation
