// Linked into every test program that uses strings: when the tests are done, the blocks the string
// pool still keeps are freed, so that a leak checker sees only real leaks.
#include "base/Str.h"

#include "support/Testing.h"

namespace {

class PoolDrain : public ::testing::Environment {
public:
    void TearDown() override { Str::CompactFreeMemory(); }
};

// gtest owns registered environments and deletes them at exit.
::testing::Environment* const gPoolDrain = ::testing::AddGlobalTestEnvironment(new PoolDrain);

} // namespace
