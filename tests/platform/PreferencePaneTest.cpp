// The pane base: fixed answers to the host, and wells kept once per outlet name.
#include "platform/PreferencePane.h"

#include "support/Testing.h"

// Wells are made by the pane itself, as a pane's view is loaded.
struct LoadedPane : platform::PreferencePane {
    using PreferencePane::addColorWell;
};

TEST(PreferencePane, BaseAnswersTheHostAndKeepsOneWellPerOutlet) {
    LoadedPane pane;
    pane.setBrowserView(nullptr);
    pane.mainViewDidLoad();
    pane.didSelect();
    pane.didUnselect();
    EXPECT_FALSE(pane.editPane());
    EXPECT_TRUE(pane.windowWillClose());
    platform::ColorWell* current = pane.addColorWell("currentColorWell");
    EXPECT_NE(pane.addColorWell("newColorWell"), current);
    EXPECT_EQ(pane.addColorWell("currentColorWell"), current);
    EXPECT_EQ(pane.colorWell("currentColorWell"), current);
    EXPECT_EQ(pane.colorWell("cp"), nullptr);
    EXPECT_EQ(pane.colorWellOutlets(),
              (std::vector<std::string>{"currentColorWell", "newColorWell"}));
}
