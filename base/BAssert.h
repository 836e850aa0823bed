/// @file
/// BAssert.h — the library's assertion for broken preconditions (a null object, a null buffer, a
/// list that must not be empty). A failed check prints one line naming the function, the stem of
/// the source file (BList, LinkedList, BMemFile), the line and the failed expression, then aborts.
/// It is always compiled in: these are programming errors that must stop the program, not debug
/// aids. Checks of `this` are kept by -fno-delete-null-pointer-checks, which the library's exported
/// targets and pkg-config file pass on to every program built against it, since the templates that
/// check `this` are compiled in those programs.
#pragma once

namespace BAssertDetail {
/// Prints the assertion line and aborts.
[[noreturn]] void Fail(const char* function, const char* file, int line, const char* expression);
} // namespace BAssertDetail

/// Stops the program with the assertion line when expr is false.
#define B_ASSERT(expr)                                                                             \
    ((expr) ? static_cast<void>(0) : ::BAssertDetail::Fail(__func__, __FILE__, __LINE__, #expr))
