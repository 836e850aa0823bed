#include "base/BAssert.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// The file is named by its stem alone ("BList" for ".../base/BList.h") so that the message does not
// depend on where the tree was built.
void PrintStem(FILE* out, const char* path) {
    const char* base = std::strrchr(path, '/');
    base = base ? base + 1 : path;
    const char* dot = std::strchr(base, '.');
    int len = dot ? static_cast<int>(dot - base) : static_cast<int>(std::strlen(base));
    std::fprintf(out, "%.*s", len, base);
}

} // namespace

namespace BAssertDetail {

void Fail(const char* function, const char* file, int line, const char* expression) {
    std::fprintf(stderr, "Assertion failed: (%s), function %s, file ", expression, function);
    PrintStem(stderr, file);
    std::fprintf(stderr, ", line %d.\n", line);
    std::fflush(stderr);
    std::abort();
}

} // namespace BAssertDetail
