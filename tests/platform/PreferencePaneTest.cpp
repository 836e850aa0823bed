#include "platform/PreferencePane.h"
#include "platform/PaneBundle.h"

#include <gtest/gtest.h>

namespace {

class TwoWellPane : public platform::PreferencePane {
public:
    TwoWellPane() {
        first = addColorWell("first");
        second = addColorWell("second");
        again = addColorWell("first");
    }
    platform::ColorWell* first;
    platform::ColorWell* second;
    platform::ColorWell* again;
};

TEST(PreferencePane, OutletsNameTheWellsInTheOrderMade) {
    TwoWellPane pane;
    EXPECT_EQ(pane.colorWellOutlets(), (std::vector<std::string>{"first", "second"}));
    EXPECT_EQ(pane.colorWell("first"), pane.first);
    EXPECT_EQ(pane.again, pane.first);
    EXPECT_EQ(pane.colorWell("second"), pane.second);
    EXPECT_EQ(pane.colorWell("third"), nullptr);
}

TEST(PreferencePane, BaseCallbacksAnswerAsThePlatformDoes) {
    platform::PreferencePane pane;
    EXPECT_FALSE(pane.editPane());
    EXPECT_TRUE(pane.windowWillClose());
}

TEST(PaneBundle, MissingModuleGivesAReasonInsteadOfABundle) {
    std::string error;
    EXPECT_EQ(platform::PaneBundle::load("/nonexistent/pane.so", error), nullptr);
    EXPECT_NE(error.find("/nonexistent/pane.so"), std::string::npos);
    EXPECT_EQ(error.find('\n'), std::string::npos);
}

TEST(PaneBundle, BuiltInPlugInLiesInLibBesideTheProgramFolder) {
    std::string path = platform::PaneBundle::builtInPlugInPath();
    EXPECT_NE(path.find("/../lib/bkgcolors/bkgcolors-pane.so"), std::string::npos) << path;
}

} // namespace
