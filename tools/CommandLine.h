// CommandLine.h — the argument reader the three programs share: long options with a value, help
// and version anywhere among the options, `--` ending them, and the operands in order.
//
// A CommandLine keeps copies of the arguments it read; nothing else is held. Errors of the command
// line are one line on stderr and exit status 2, as every program of the project reports them.
#pragma once

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

class CommandLine {
public:
    // `usage` is printed whole, translated, for -h/--help (mark it with N_); `program` starts
    // every error line.
    CommandLine(const char* program, const char* usage) : program_(program), usage_(usage) {}

    // Reads argv. `options` are the long options that take a value (`--name VALUE`); -h/--help
    // prints the usage and exits 0, --version prints the version and exits 0, `--` makes every
    // later word an operand. Any other word that starts with `--` is an unknown option (exit 2);
    // other words starting with one dash are operands when `dashOperands` holds, else unknown
    // options too.
    void read(int argc, char** argv, std::initializer_list<const char*> options, bool dashOperands);

    // Every value given to `--name`, in order; none when it was not given.
    std::vector<std::string> values(const char* name) const;
    // The value of `--name` given last, or `fallback`.
    std::string value(const char* name, const std::string& fallback = "") const;
    bool has(const char* name) const { return !values(name).empty(); }
    const std::vector<std::string>& operands() const { return operands_; }

    // One line `program: message` on stderr, then exit with `status`; the message comes
    // translated.
    [[noreturn]] void fail(const std::string& message, int status = 2) const;
    const char* program() const { return program_; }

private:
    const char* program_;
    const char* usage_;
    std::vector<std::pair<std::string, std::string>> options_;
    std::vector<std::string> operands_;
};
