// StoreTesting.h — test helpers for the user-defaults store: what a folder holds, how many lines a
// capture has, and binary files built byte by byte.
#pragma once

#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

// A fresh folder for each test, and the store file's place in it.
class StoreFileTest : public ::testing::Test {
protected:
    TempFolder folder;
    const std::string file = folder / "store.plist";
};

// The names in `folder`, so that a test can see that nothing was added, renamed or left behind.
inline std::set<std::string> Listing(const std::string& folder) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}

inline long Lines(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}

// Captures stderr around `body` and gives what was written.
template <typename Body> std::string Stderr(Body body) {
    ::testing::internal::CaptureStderr();
    body();
    return ::testing::internal::GetCapturedStderr();
}

// `v` as `width` big-endian bytes, the order binary files use.
inline std::string Big(std::uint64_t v, int width) {
    std::string s;
    for (int i = width - 1; i >= 0; --i)
        s += static_cast<char>((v >> (8 * i)) & 0xFF);
    return s;
}

// A binary file: the objects after the header, then their offsets, then the trailer; offsets and
// object references are `width` bytes wide and the top object is the first.
inline std::string Binary(const std::string& objects, const std::vector<std::uint64_t>& offsets,
                          int width = 1) {
    std::string data = "bplist00" + objects;
    for (auto offset : offsets)
        data += Big(offset, width);
    return data + std::string(6, '\0') + Big(width * 0x101, 2) + Big(offsets.size(), 8) +
           Big(0, 8) + Big(8 + objects.size(), 8);
}
