// Helpers shared by the tests of the serialised records: byte runs, and reading from or writing to
// a memory file.
#pragma once

#include "base/BMemFile.h"
#include "base/BMetaDataTaggedList.h"

#include <algorithm>
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

inline const auto RunOf = [](const unsigned char* p, unsigned int n) { return Bytes(p, p + n); };
inline const auto Written = [](const BMemFile& f) { return RunOf(f.m_buffer, f.m_length); };
inline const auto DataOf = [](const BMetaData& item) {
    return RunOf(item.GetDataPtr(), item.m_size);
};

// Replaces the item's data with these bytes.
inline void SetDataBytes(BMetaData& item, const Bytes& bytes) {
    item.CreateDataBuff(static_cast<unsigned int>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), item.GetDataPtr());
}

// The tags of a list, head to tail, each up to its first zero byte.
inline std::vector<std::string> Tags(const BMetaDataTaggedList& list) {
    std::vector<std::string> tags;
    for (__POSITION* pos = list.GetHeadPosition(); pos != nullptr;)
        tags.push_back(reinterpret_cast<const char*>(list.GetNext(pos).m_tag.GetDataPtr()));
    return tags;
}

// The list records of the empty list and of the list holding tag "w" with the integer 5, mode 1.
const Bytes kEmptyList = {'I', 'D', 'M', 'D', 'T', 'L', 0, 0, 0, 0};
const Bytes kListW5 = {'I', 'D', 'M', 'D', 'T', 'L', 1, 0, 0, 0, 2, 0,
                       0,   0,   'w', 0,   4,   0,   0, 0, 5, 0, 0, 0};

} // namespace byterecords
