#include "platform/PreferencePane.h"
#include "platform/PaneBundle.h"

#include <gtest/gtest.h>

namespace {

struct TwoWellPane : platform::PreferencePane {
    platform::ColorWell* first = addColorWell("first");
    platform::ColorWell* second = addColorWell("second");
    platform::ColorWell* again = addColorWell("first");
};

TEST(PreferencePane, OutletsNameTheWellsInTheOrderMade) {
    TwoWellPane pane;
    EXPECT_EQ(pane.colorWellOutlets(), (std::vector<std::string>{"first", "second"}));
    EXPECT_EQ(pane.again, pane.first);
    EXPECT_EQ(pane.colorWell("second"), pane.second);
    EXPECT_EQ(pane.colorWell("third"), nullptr);
}

TEST(PaneBundle, MissingModuleGivesAOneLineReason) {
    std::string error;
    EXPECT_EQ(platform::PaneBundle::load("/nonexistent/pane.so", error), nullptr);
    EXPECT_NE(error.find("/nonexistent/pane.so"), std::string::npos);
    EXPECT_EQ(error.find('\n'), std::string::npos);
}

} // namespace
