#include "support/StandardStore.h"

namespace {
// Every test of this program runs against a private store file.
const auto* const store = ::testing::AddGlobalTestEnvironment(new StandardStore);
} // namespace
