// StandardStore.h — test helper: points the process-wide user defaults at a file in a fresh
// temporary folder before any test touches them, and leaves nothing pending behind. Including it
// registers the helper for the whole test program.
#pragma once

#include "platform/UserDefaults.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

class StandardStore : public ::testing::Environment {
public:
    void SetUp() override {
        folder_ = std::make_unique<TempFolder>();
        ASSERT_TRUE(platform::UserDefaults::setStandardPath(path()));
    }
    void TearDown() override {
        // Written now, so that nothing recreates the folder when the store goes away at exit.
        platform::UserDefaults::standardUserDefaults().synchronize();
        folder_.reset();
    }
    static std::string path() { return *folder_ / "defaults.plist"; }

private:
    static inline std::unique_ptr<TempFolder> folder_;
};

inline const auto* const gStandardStore = ::testing::AddGlobalTestEnvironment(new StandardStore);
