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

inline const auto Header = [](const Str& s) -> const auto& {
    return *StrImplementation::SBlock::of(s);
};
inline const auto OnEmptyBlock = [](const Str& s) {
    return static_cast<const char*>(s) == static_cast<const char*>(Str::EmptyStr);
};
// The text as the header's length describes it, embedded zeros included.
inline const auto Text = [](const Str& s) {
    return std::string(static_cast<const char*>(s), static_cast<std::size_t>(s.GetLength()));
};

// Heap bytes in use, exact only under the sanitizer's allocator; tests that need it skip
// themselves elsewhere.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kHaveHeapProbe = true;
inline const auto HeapBytes = [] {
    return static_cast<long long>(__sanitizer_get_current_allocated_bytes());
};
#else
constexpr bool kHaveHeapProbe = false;
inline const auto HeapBytes = [] { return 0LL; };
#endif

} // namespace strtest
