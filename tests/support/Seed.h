// Seed.h — the seed of every randomised test: a fixed default, so that each run repeats the last,
// or BKGCOLORS_TEST_SEED to replay a failure or explore; a failure inside its scope names it.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

class TestSeed {
public:
    const unsigned value = FromEnvironment();

private:
    static unsigned FromEnvironment() {
        const char* text = std::getenv("BKGCOLORS_TEST_SEED");
        return text != nullptr && *text != '\0' ? unsigned(std::strtoul(text, nullptr, 10))
                                                : 20240611u;
    }
    const testing::ScopedTrace trace_{
        __FILE__, __LINE__,
        "seed " + std::to_string(value) +
            " (replay with BKGCOLORS_TEST_SEED=" + std::to_string(value) + ")"};
};
