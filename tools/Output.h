// Output.h — the end of both programs' standard output: a listing that did not reach its
// destination (a full disk, a closed pipe) is a failure of the program, not a silent success.
#pragma once

#include "tools/Translation.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

// Flushes stdout; when that or an earlier write to it failed, reports it in one line as `program`
// and gives exit status 2, else `status`.
inline int FinishOutput(const char* program, int status) {
    errno = 0;
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        const std::string why = errno ? std::strerror(errno) : _("write error");
        std::fprintf(stderr, "%s: %s\n", program,
                     Fill(_("cannot write the output: %s"), why).c_str());
        return 2;
    }
    return status;
}
