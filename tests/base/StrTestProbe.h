// StrTestProbe.h — test helpers that look at a Str through its public layout: a Str is its text
// pointer and the block header lies just before the text.
#pragma once

#include "base/Str.h"

#include <cstddef>
#include <string>

#if defined(__SANITIZE_ADDRESS__)
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace strtest {

inline const StrImplementation::SBlock& Header(const Str& s) {
    return *StrImplementation::SBlock::of(s);
}

inline bool OnEmptyBlock(const Str& s) {
    return static_cast<const char*>(s) == static_cast<const char*>(Str::EmptyStr);
}

// The text as the header's length describes it, embedded zeros included.
inline std::string Text(const Str& s) {
    return std::string(static_cast<const char*>(s), static_cast<std::size_t>(s.GetLength()));
}

// Heap bytes in use, exact only under the sanitizer's allocator; tests that need it skip
// themselves elsewhere.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kHaveHeapProbe = true;
inline long long HeapBytes() {
    return static_cast<long long>(__sanitizer_get_current_allocated_bytes());
}
#else
constexpr bool kHaveHeapProbe = false;
inline long long HeapBytes() {
    return 0;
}
#endif

} // namespace strtest
