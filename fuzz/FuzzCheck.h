// The fuzz drivers' check: a broken property stops the run so that libFuzzer keeps the input.
#pragma once

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(expr)                                                                           \
    ((expr) ? static_cast<void>(0)                                                                 \
            : (std::fprintf(stderr, "fuzz check failed: %s (%s:%d)\n", #expr, __FILE__, __LINE__), \
               std::abort()))
