// The preference window in this process, on a private display and the test store: its buttons,
// Apply, closing, and what the current colour's button does not do.

#include "desktop/PrefsWindow.h"
#include "desktop/ColourBytes.h"
#include "desktop/probe/XProbe.h"
#include "pane/BackgroundColorPref.h"
#include "platform/UserDefaults.h"
#include "support/Display.h"
#include "support/StandardStore.h"
#include "support/StoreTesting.h"
#include "tools/ColourText.h"

#include "support/Testing.h"

#include <filesystem>

namespace {

using platform::UserDefaults;

GtkWidget* FindByName(GtkWidget* root, const std::string& name) {
    if (name == gtk_widget_get_name(root))
        return root;
    for (GtkWidget* child = gtk_widget_get_first_child(root); child;
         child = gtk_widget_get_next_sibling(child))
        if (GtkWidget* found = FindByName(child, name))
            return found;
    return nullptr;
}

GdkRGBA Shown(GtkWidget* button) {
    GdkRGBA* boxed = nullptr;
    g_object_get(button, "rgba", &boxed, nullptr);
    GdkRGBA colour = *boxed;
    gdk_rgba_free(boxed);
    return colour;
}

std::string Hex(const GdkRGBA& c) {
    char text[48];
    std::snprintf(text, sizeof text, "%02X%02X%02X/%g", ShownByte(c.red), ShownByte(c.green),
                  ShownByte(c.blue), double(c.alpha));
    return text;
}

GdkRGBA FromPacked(int packed) {
    return RgbaFromBytes(packed & 0xFF, (packed >> 8) & 0xFF, (packed >> 16) & 0xFF);
}

int Stored() {
    return UserDefaults(StandardStore::path()).integerForKey("BkgColorsSelectedColor");
}

// Runs the main loop until `condition` holds; false when it did not within the time allowed.
template <typename Condition> bool Until(Condition condition) {
    return WaitFor(std::chrono::seconds(20), [&] {
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
        return condition();
    });
}

GtkWindow* OpenDialogOf(GtkWindow* owner) {
    GListModel* toplevels = gtk_window_get_toplevels();
    GtkWindow* found = nullptr;
    for (guint i = 0; i < g_list_model_get_n_items(toplevels) && !found; ++i) {
        auto* window = static_cast<GtkWindow*>(g_list_model_get_item(toplevels, i));
        if (gtk_window_get_transient_for(window) == owner &&
            gtk_widget_get_visible(GTK_WIDGET(window)))
            found = window;
        g_object_unref(window);
    }
    return found;
}

class PrefsWindowTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        server_ = new XvfbServer;
        if (!server_->display().empty()) {
            UseDisplay(server_->display());
            gtkReady_ = gtk_init_check();
        }
    }
    static void TearDownTestSuite() {
        delete server_;
        server_ = nullptr;
    }
    void SetUp() override {
        if (!gtkReady_)
            GTEST_SKIP() << "no display for the window: " << server_->problem();
        auto& store = UserDefaults::standardUserDefaults();
        store.removeObjectForKey("BkgColorsSelectedColor");
        ASSERT_TRUE(store.synchronize());
        pane.mainViewDidLoad();
    }
    void Store(int packed) {
        auto& store = UserDefaults::standardUserDefaults();
        store.setObject(std::int32_t{packed}, "BkgColorsSelectedColor");
        ASSERT_TRUE(store.synchronize());
    }

    static inline XvfbServer* server_ = nullptr;
    static inline bool gtkReady_ = false;
    BackgroundColorPref pane;
};

TEST_F(PrefsWindowTest, ButtonsCarryTheOutletNamesAndShowTheWellsExactly) {
    Store(0xFF563412); // top byte ignored: red 12, green 34, blue 56
    pane.didSelect();
    const std::optional<platform::Color> picks[] = {std::nullopt, ParseColour("#3366CC")};
    for (const auto& picked : picks) {
        SCOPED_TRACE(picked ? "--color #3366CC" : "nothing picked");
        PrefsWindow window(nullptr, pane, picked);
        GtkWidget* current = FindByName(GTK_WIDGET(window.window()), "currentColorWell");
        GtkWidget* chosen = FindByName(GTK_WIDGET(window.window()), "newColorWell");
        ASSERT_TRUE(current && chosen);
        EXPECT_EQ(current, window.button("currentColorWell"));
        EXPECT_EQ(Hex(Shown(current)), "123456/1");
        EXPECT_EQ(Hex(Shown(current)),
                  Hex(RgbaFromWell(pane.colorWell("currentColorWell")->color())));
        EXPECT_EQ(Hex(Shown(chosen)), picked ? "3366CC/1" : "123456/1");
    }
}

TEST_F(PrefsWindowTest, ApplyStoresTheColourShownAndShowsItAsCurrent) {
    pane.didSelect();
    PrefsWindow window(nullptr, pane, std::nullopt);
    GtkWidget* chosen = window.button("newColorWell");
    GtkWidget* apply = FindByName(GTK_WIDGET(window.window()), "apply");
    ASSERT_TRUE(chosen && apply);
    const struct {
        const char* name;
        GdkRGBA picked;
        int stored;
    } rows[] = {
        {"byte colour", RgbaFromBytes(0x33, 0x66, 0xCC), 13395507},
        {"half grey, shown as 80", {0.5f, 0.5f, 0.5f, 1.0f}, 0x808080},
        {"translucent, alpha dropped", {1.0f, 0.0f, 0.0f, 0.25f}, 0x0000FF},
        {"black", RgbaFromBytes(0, 0, 0), 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        g_object_set(chosen, "rgba", &row.picked, nullptr);
        g_signal_emit_by_name(apply, "clicked");
        EXPECT_EQ(Stored(), row.stored);
        EXPECT_EQ(Hex(Shown(window.button("currentColorWell"))), Hex(FromPacked(row.stored)));
        EXPECT_EQ(Hex(Shown(chosen)), Hex(FromPacked(row.stored)));
    }
}

TEST_F(PrefsWindowTest, CurrentColourIsShownUndimmedButTheMouseGoesPastIt) {
    pane.didSelect();
    PrefsWindow window(nullptr, pane, std::nullopt);
    gtk_window_present(window.window());
    GtkWidget* root = GTK_WIDGET(window.window());
    ASSERT_TRUE(Until([&] { return gtk_widget_get_width(window.button("newColorWell")) > 0; }));
    for (const char* outlet : {"currentColorWell", "newColorWell"}) {
        SCOPED_TRACE(outlet);
        GtkWidget* button = window.button(outlet);
        graphene_point_t centre, at;
        graphene_point_init(&centre, gtk_widget_get_width(button) / 2.0f,
                            gtk_widget_get_height(button) / 2.0f);
        ASSERT_TRUE(gtk_widget_compute_point(button, root, &centre, &at));
        GtkWidget* hit = gtk_widget_pick(root, at.x, at.y, GTK_PICK_DEFAULT);
        const bool reaches = hit && (hit == button || gtk_widget_is_ancestor(hit, button));
        EXPECT_EQ(reaches, outlet != std::string(PrefsWindow::CurrentOutlet));
        EXPECT_TRUE(gtk_widget_get_sensitive(button)) << "an insensitive button greys its colour";
    }
    // Nor can the keyboard reach it.
    gtk_widget_child_focus(root, GTK_DIR_TAB_FORWARD);
    for (int step = 0; step < 6; ++step) {
        GtkWidget* focus = gtk_window_get_focus(window.window());
        ASSERT_TRUE(focus);
        GtkWidget* current = window.button("currentColorWell");
        EXPECT_FALSE(focus == current || gtk_widget_is_ancestor(focus, current));
        gtk_widget_child_focus(root, GTK_DIR_TAB_FORWARD);
    }
}

TEST_F(PrefsWindowTest, CloseWaitsWhileTheChooserIsOpen) {
    pane.didSelect();
    PrefsWindow window(nullptr, pane, ParseColour("#3366CC"));
    gtk_window_present(window.window());
    gtk_widget_activate(window.button("newColorWell"));
    GtkWindow* chooser = nullptr;
    ASSERT_TRUE(Until([&] { return (chooser = OpenDialogOf(window.window())) != nullptr; }));
    gtk_window_close(window.window());
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(window.window())));
    EXPECT_EQ(Stored(), 0) << "nothing stored while choosing";
    gtk_window_close(chooser);
    ASSERT_TRUE(Until([&] { return OpenDialogOf(window.window()) == nullptr; }));
    gtk_window_close(window.window());
    EXPECT_FALSE(gtk_widget_get_visible(GTK_WIDGET(window.window())));
    EXPECT_EQ(Stored(), 13395507);
}

TEST_F(PrefsWindowTest, RefusedStoreIsReportedAndTheWindowClosesOnceItIsRead) {
    pane.didSelect();
    const std::string file = StandardStore::path();
    std::filesystem::remove(file);
    std::filesystem::create_directory(file); // a folder where the file should be
    PrefsWindow window(nullptr, pane, ParseColour("#3366CC"));
    gtk_window_present(window.window());
    const std::string said = Stderr([&] { gtk_window_close(window.window()); });
    EXPECT_EQ(Lines(said), 1) << said;
    EXPECT_TRUE(window.failed());
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(window.window()))) << "kept open for the message";
    GtkWindow* message = OpenDialogOf(window.window());
    ASSERT_TRUE(message);
    std::filesystem::remove(file);
    gtk_window_close(message);
    EXPECT_FALSE(gtk_widget_get_visible(GTK_WIDGET(window.window())));
    ASSERT_TRUE(UserDefaults::standardUserDefaults().synchronize());
    EXPECT_EQ(Stored(), 13395507) << "the colour stayed pending and is stored at the next try";
}

} // namespace
