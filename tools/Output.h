// Output.h — the end of both programs' standard output: a listing that did not reach its
// destination (a full disk, a closed pipe) is a failure of the program, not a silent success.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

// Flushes stdout; when that or an earlier write to it failed, reports it in one line as `program`
// and gives exit status 2, else `status`.
inline int FinishOutput(const char* program, int status) {
    errno = 0;
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "%s: cannot write the output: %s\n", program,
                     errno ? std::strerror(errno) : "write error");
        return 2;
    }
    return status;
}
