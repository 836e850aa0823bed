// SortOrder.h — the stable case-insensitive order of the keys of a list sort (not installed).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace StrImplementation {

// Collects the keys of a list's elements, head to tail, and gives their stable ascending order
// under STR_stricmp_ex. Each key is folded once, when it is added, into bytes that order as
// STR_stricmp orders its characters, so the key's own text need not outlive the call.
class CaseOrder {
public:
    explicit CaseOrder(std::size_t expected);
    // The zero-terminated key of the next element (null counts as "").
    void Add(const char* key);
    // order[r] is the index of the key of rank r; equal keys keep the order they were added in.
    std::vector<std::uint32_t> Order();

private:
    struct Entry {
        std::uint64_t head; // the first 8 folded bytes, big-endian, zero-padded
        std::size_t offset; // of the folded bytes in folded_
        std::size_t length;
        std::uint32_t index;
    };
    std::vector<unsigned char> folded_;
    std::vector<Entry> entries_;
};

} // namespace StrImplementation
