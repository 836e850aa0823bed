// StrTokenize.cpp — spans of a character set and the tokens between separators.
#include "base/Str.h"

#include <cstring>

// --- Spans and tokens --------------------------------------------------------------------------

int Str::StringSpanIncluding(const char* str, const char* set) {
    if (!str || !set || *set == 0)
        return 0;
    if (set[1] == 0) {
        const char c = set[0];
        int n = 0;
        while (str[n] == c)
            ++n;
        return n;
    }
    return static_cast<int>(std::strspn(str, set));
}

int Str::StringSpanExcluding(const char* str, const char* set) {
    if (!str || !set || *set == 0)
        return -1;
    const std::size_t n = std::strcspn(str, set);
    return str[n] == 0 ? -1 : static_cast<int>(n);
}

Str Str::SpanIncluding(const char* set) const {
    const int n = StringSpanIncluding(dptr, set);
    return n < 1 ? Str() : Mid(0, n);
}

Str Str::SpanExcluding(const char* set) const {
    const int n = StringSpanExcluding(dptr, set);
    return n < 1 ? Str() : Mid(0, n);
}

Str Str::Tokenize(const char* set, int& pos) const {
    if (pos < 0)
        return Str();
    const int len = GetLength();
    if (pos < len) {
        const int start = pos + StringSpanIncluding(dptr + pos, set);
        if (dptr[start] != 0) {
            int n = StringSpanExcluding(dptr + start, set);
            if (n < 0)
                n = len - start;
            pos = start + n < len ? start + n : -1;
            return Mid(start, n);
        }
    }
    pos = -1;
    return Str();
}
