// StrTestProbe.h — test helpers that look at a Str through its public layout: a Str is its text
// pointer and the block header lies just before the text.
#pragma once

#include "base/Str.h"

#include <cstddef>
#include <string>

#if defined(__SANITIZE_ADDRESS__)
#define STR_TEST_HEAP_PROBE 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define STR_TEST_HEAP_PROBE 1
#endif
#endif

#ifdef STR_TEST_HEAP_PROBE
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace strtest {

inline const StrImplementation::SBlock& Header(const Str& s) {
    const char* p = s;
    return *StrImplementation::SBlock::of(p);
}

inline const char* EmptyText() {
    return Str::EmptyStr;
}

inline bool OnEmptyBlock(const Str& s) {
    return static_cast<const char*>(s) == EmptyText();
}

// The text as the header's length describes it, embedded zeros included.
inline std::string Text(const Str& s) {
    return std::string(static_cast<const char*>(s), static_cast<std::size_t>(s.GetLength()));
}

// Heap bytes in use, exact only where the sanitizer's allocator reports them; tests that need it
// skip themselves elsewhere.
inline bool HaveHeapProbe() {
#ifdef STR_TEST_HEAP_PROBE
    return true;
#else
    return false;
#endif
}

inline long long HeapBytes() {
#ifdef STR_TEST_HEAP_PROBE
    return static_cast<long long>(__sanitizer_get_current_allocated_bytes());
#else
    return 0;
#endif
}

} // namespace strtest
