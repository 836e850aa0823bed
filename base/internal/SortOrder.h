// SortOrder.h — the stable case-insensitive order of the keys of a list sort (not installed).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

class Str;

namespace StrImplementation {

// Collects the keys of a list's elements, head to tail, and gives their stable ascending order
// under STR_stricmp_ex. Each key is folded once, when it is added, into bytes that order as
// STR_stricmp orders its characters, so the key's own text need not outlive the call.
class CaseOrder {
public:
    explicit CaseOrder(std::size_t expected);
    // The zero-terminated key of the next element (null counts as "").
    void Add(const char* key);
    // The key of the next element: the texts of parts joined by separator, as far as the first
    // zero byte of the joined text.
    void AddJoined(const Str* const* parts, int count, char separator);
    // order[r] is the index of the key of rank r; equal keys keep the order they were added in.
    std::vector<std::uint32_t> Order();

private:
    // Appends the folded form of n bytes to the key being added.
    void Fold(const char* text, std::size_t n);
    // Closes the key being added, which starts at offset in folded_.
    void Close(std::size_t offset);

    // Kept small: on a machine where fresh pages are dear, the scratch memory of a sort of many
    // elements costs more than its comparisons.
    struct Entry {
        std::uint64_t head;   // the first 8 folded bytes, big-endian, zero-padded
        std::uint64_t next;   // the 8 after them
        std::uint32_t index;  // of the element, and of its tail's offset in offsets_
        std::uint32_t length; // of the folded key
    };
    std::vector<unsigned char> folded_; // the folded bytes of each key beyond the 16th
    std::vector<std::uint32_t> offsets_;
    std::vector<Entry> entries_;
};

} // namespace StrImplementation
