// ValueArguments.h — the values `bkgcolors-defaults write` takes on its command line: a bare text,
// or a type flag with its value, or a list or dictionary of such values.
//
// Free functions over the words; the values made are returned by value.
#pragma once

#include "platform/PropertyValue.h"

#include <optional>
#include <string>
#include <vector>

struct WriteRequest {
    enum class Mode { Replace, AddToArray, AddToDictionary };
    Mode mode = Mode::Replace;
    platform::PropertyValue value;
};

// Reads the words after the key: `VALUE` (a text), `-TYPE VALUE` for -string, -int/-integer
// (64-bit), -float (finite), -bool/-boolean (true/false/yes/no/1/0, any case), -data HEX,
// -date, or `-array V...`, `-array-add V...`, `-dict K V...`, `-dict-add K V...`, whose items are
// texts or `-TYPE VALUE`. nullopt, with a one-line reason in `error` (translated), for anything
// else.
std::optional<WriteRequest> ParseWriteRequest(const std::vector<std::string>& words,
                                              std::string& error);
