// A pane is released by the destroy function of the module that made it, never by the host.
#include "platform/PaneBundle.h"

#include "support/Testing.h"

namespace {

std::vector<platform::PreferencePane*> destroyed;

void Destroy(platform::PreferencePane* pane) {
    destroyed.push_back(pane);
    delete pane;
}

TEST(PaneBundle, APaneGoesBackToItsModulesDestroyFunction) {
    auto* pane = new platform::PreferencePane;
    platform::PaneBundle::PanePtr(pane, {Destroy}).reset();
    EXPECT_EQ(destroyed, std::vector<platform::PreferencePane*>{pane});
}

} // namespace
