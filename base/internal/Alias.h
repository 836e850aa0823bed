// Alias.h — whether a text handed to a Str operation lies inside a string's own block (not
// installed).
#pragma once

#include "base/Str.h"

#include <cstdint>

namespace StrImplementation {

// True when p points into [begin, end], the end included. Compared as addresses, since p may
// belong to another object.
inline bool PointsInto(const char* p, const char* begin, const char* end) {
    const auto a = reinterpret_cast<std::uintptr_t>(p);
    return a >= reinterpret_cast<std::uintptr_t>(begin) &&
           a <= reinterpret_cast<std::uintptr_t>(end);
}

// True when p points anywhere into the text area of s's block, its spare capacity included. The
// empty block is never written, so nothing handed in can change under a write to it.
inline bool PointsInto(const Str& s, const char* p) {
    const char* text = s;
    if (text == oInitializer.text)
        return false;
    return PointsInto(p, text, text + SBlock::of(text)->capacity);
}

} // namespace StrImplementation
