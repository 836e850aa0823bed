// Helpers shared by the tests of the serialised records: byte runs, and reading from or writing to
// a memory file.
#pragma once

#include "base/BMemFile.h"
#include "base/BMetaDataTaggedList.h"

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

// The data bytes of an item or tag.
inline Bytes DataOf(const BMetaData& item) {
    return RunOf(item.GetDataPtr(), item.m_size);
}

// The tags of a list, head to tail, each up to its first zero byte.
inline std::vector<std::string> Tags(const BMetaDataTaggedList& list) {
    std::vector<std::string> tags;
    for (__POSITION* pos = list.GetHeadPosition(); pos != nullptr;)
        tags.push_back(reinterpret_cast<const char*>(list.GetNext(pos).m_tag.GetDataPtr()));
    return tags;
}

// The list records of the empty list and of the list holding tag "w" with the integer 5, mode 1.
const Bytes kEmptyList = {0x49, 0x44, 0x4D, 0x44, 0x54, 0x4C, 0, 0, 0, 0};
const Bytes kListW5 = {0x49, 0x44, 0x4D, 0x44, 0x54, 0x4C, 0x01, 0, 0,    0, 0x02, 0,
                       0,    0,    0x77, 0x00, 0x04, 0,    0,    0, 0x05, 0, 0,    0};

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
