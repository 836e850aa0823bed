#include "tools/CommandLine.h"

#include "tools/Output.h"
#include "tools/Translation.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

void CommandLine::read(int argc, char** argv, std::initializer_list<const char*> options,
                       bool dashOperands) {
    bool optionsEnded = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            operands_.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
        } else if (arg == "-h" || arg == "--help") {
            std::fputs(_(usage_), stdout);
            std::exit(FinishOutput(program_, 0));
        } else if (arg == "--version") {
            std::printf("%s %s\n", program_, BKGCOLORS_VERSION);
            std::exit(FinishOutput(program_, 0));
        } else if (arg[1] != '-' && dashOperands) {
            operands_.push_back(arg);
        } else {
            bool known = false;
            for (const char* name : options)
                known = known || arg == name;
            if (!known)
                fail(Fill(_("unknown option %s (try --help)"), arg));
            if (i + 1 >= argc)
                fail(Fill(_("option %s needs a value"), arg));
            options_.emplace_back(arg, argv[++i]);
        }
    }
}

std::vector<std::string> CommandLine::values(const char* name) const {
    std::vector<std::string> found;
    for (const auto& [option, value] : options_)
        if (option == name)
            found.push_back(value);
    return found;
}

std::string CommandLine::value(const char* name, const std::string& fallback) const {
    auto found = values(name);
    return found.empty() ? fallback : found.back();
}

void CommandLine::fail(const std::string& message, int status) const {
    std::fprintf(stderr, "%s: %s\n", program_, message.c_str());
    std::exit(status);
}
