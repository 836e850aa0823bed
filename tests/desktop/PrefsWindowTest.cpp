// The preference window in this process, on a private display and the test store: its swatches,
// Apply, Revert, following the store, closing when the store refuses, and problems shown inside.

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
using namespace std::chrono_literals;

GtkWidget* FindByName(GtkWidget* root, const std::string& name) {
    if (name == gtk_widget_get_name(root))
        return root;
    for (GtkWidget* child = gtk_widget_get_first_child(root); child;
         child = gtk_widget_get_next_sibling(child))
        if (GtkWidget* found = FindByName(child, name))
            return found;
    return nullptr;
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

// What another program does: its own store on the file, written at once.
void StoreElsewhere(int packed) {
    UserDefaults other(StandardStore::path());
    other.setObject(std::int32_t{packed}, "BkgColorsSelectedColor");
    ASSERT_TRUE(other.synchronize());
}

// Runs the main loop until `condition` holds; false when it did not within a bound that only a
// hang reaches.
template <typename Condition> bool Until(Condition condition) {
    return WaitFor(20s, [&] {
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

std::string Current(const PrefsWindow& window) {
    return Hex(window.swatch("currentColorWell")->colour());
}
std::string New(const PrefsWindow& window) {
    return Hex(window.swatch("newColorWell")->colour());
}

// Picks `colour` in the new colour's chooser as a person does: opened from its swatch, answered OK.
void Pick(PrefsWindow& window, const GdkRGBA& colour) {
    gtk_widget_activate(window.swatch("newColorWell")->widget());
    GtkWindow* chooser = nullptr;
    ASSERT_TRUE(Until([&] { return (chooser = OpenDialogOf(window.window())) != nullptr; }));
    G_GNUC_BEGIN_IGNORE_DEPRECATIONS
    gtk_color_chooser_set_rgba(GTK_COLOR_CHOOSER(chooser), &colour);
    gtk_dialog_response(GTK_DIALOG(chooser), GTK_RESPONSE_OK);
    G_GNUC_END_IGNORE_DEPRECATIONS
    ASSERT_TRUE(Until([&] { return OpenDialogOf(window.window()) == nullptr; }));
}

void Click(GtkWindow* window, const char* name) {
    GtkWidget* button = FindByName(GTK_WIDGET(window), name);
    ASSERT_TRUE(button) << name;
    g_signal_emit_by_name(button, "clicked");
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
        std::filesystem::remove_all(StandardStore::path());
        auto& store = UserDefaults::standardUserDefaults();
        store.removeObjectForKey("BkgColorsSelectedColor");
        ASSERT_TRUE(store.synchronize());
        pane.mainViewDidLoad();
    }

    static inline XvfbServer* server_ = nullptr;
    static inline bool gtkReady_ = false;
    BackgroundColorPref pane;
};

constexpr int Blue = 0xCC6633, Red = 0x0000FF; // packed: red in the lowest byte

TEST_F(PrefsWindowTest, SwatchesShowTheWellsExactly) {
    StoreElsewhere(0xFF563412); // top byte ignored: red 12, green 34, blue 56
    pane.didSelect();
    const std::optional<platform::Color> picks[] = {std::nullopt, ParseColour("#3366CC")};
    for (const auto& picked : picks) {
        SCOPED_TRACE(picked ? "--color #3366CC" : "nothing picked");
        PrefsWindow window(nullptr, pane, picked);
        EXPECT_EQ(FindByName(GTK_WIDGET(window.window()), "newColorWell"),
                  window.swatch("newColorWell")->widget());
        EXPECT_EQ(Current(window), "123456/1");
        EXPECT_EQ(New(window), picked ? "3366CC/1" : "123456/1");
        EXPECT_EQ(window.notice(), "");
    }
}

TEST_F(PrefsWindowTest, ApplyStoresTheColourPickedAndShowsItAsCurrent) {
    pane.didSelect();
    PrefsWindow window(nullptr, pane, std::nullopt);
    gtk_window_present(window.window());
    const struct {
        const char* name;
        GdkRGBA picked;
        int stored;
    } rows[] = {
        {"byte colour", RgbaFromBytes(0x33, 0x66, 0xCC), Blue},
        {"half grey, shown as 80", {0.5f, 0.5f, 0.5f, 1.0f}, 0x808080},
        {"black", RgbaFromBytes(0, 0, 0), 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Pick(window, row.picked);
        Click(window.window(), "apply");
        EXPECT_EQ(Stored(), row.stored);
        EXPECT_EQ(Current(window), Hex(FromPacked(row.stored)));
        EXPECT_EQ(New(window), Hex(FromPacked(row.stored)));
    }
}

TEST_F(PrefsWindowTest, CurrentColourIsShownButTheMouseAndKeyboardGoPastIt) {
    pane.didSelect();
    PrefsWindow window(nullptr, pane, std::nullopt);
    gtk_window_present(window.window());
    GtkWidget* root = GTK_WIDGET(window.window());
    ASSERT_TRUE(
        Until([&] { return gtk_widget_get_width(window.swatch("newColorWell")->widget()) > 0; }));
    for (const char* outlet : {"currentColorWell", "newColorWell"}) {
        SCOPED_TRACE(outlet);
        GtkWidget* swatch = window.swatch(outlet)->widget();
        graphene_point_t centre, at;
        graphene_point_init(&centre, gtk_widget_get_width(swatch) / 2.0f,
                            gtk_widget_get_height(swatch) / 2.0f);
        ASSERT_TRUE(gtk_widget_compute_point(swatch, root, &centre, &at));
        GtkWidget* hit = gtk_widget_pick(root, at.x, at.y, GTK_PICK_DEFAULT);
        const bool reaches = hit && (hit == swatch || gtk_widget_is_ancestor(hit, swatch));
        EXPECT_EQ(reaches, outlet != std::string(PrefsWindow::CurrentOutlet));
    }
    gtk_widget_child_focus(root, GTK_DIR_TAB_FORWARD);
    for (int step = 0; step < 6; ++step) {
        GtkWidget* focus = gtk_window_get_focus(window.window());
        ASSERT_TRUE(focus);
        EXPECT_NE(focus, window.swatch("currentColorWell")->widget());
        gtk_widget_child_focus(root, GTK_DIR_TAB_FORWARD);
    }
}

TEST_F(PrefsWindowTest, CloseWaitsWhileTheChooserIsOpen) {
    pane.didSelect();
    PrefsWindow window(nullptr, pane, ParseColour("#3366CC"));
    gtk_window_present(window.window());
    gtk_widget_activate(window.swatch("newColorWell")->widget());
    GtkWindow* chooser = nullptr;
    ASSERT_TRUE(Until([&] { return (chooser = OpenDialogOf(window.window())) != nullptr; }));
    gtk_window_close(window.window());
    EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(window.window())));
    EXPECT_EQ(Stored(), 0) << "nothing stored while choosing";
    gtk_window_close(chooser);
    ASSERT_TRUE(Until([&] { return OpenDialogOf(window.window()) == nullptr; }));
    gtk_window_close(window.window());
    EXPECT_FALSE(gtk_widget_get_visible(GTK_WIDGET(window.window())));
    EXPECT_EQ(Stored(), Blue);
}

// Another program changes the store while the window is open: the current colour follows, the new
// one too unless the person picked one, and closing keeps the newer colour.
TEST_F(PrefsWindowTest, ChangesMadeElsewhereShowAndAreNotUndoneByClosing) {
    const struct {
        const char* name;
        bool pickFirst;
        bool revertAfter;
        const char* newShown; // after the change from elsewhere
        int storedOnClose;
    } rows[] = {
        {"untouched: the new colour follows", false, false, "3366CC/1", Blue},
        {"picked: the pick stays", true, false, "00FF00/1", 0x00FF00},
        {"picked, then reverted: follows again", true, true, "3366CC/1", Blue},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        StoreElsewhere(Red);
        pane.didSelect();
        PrefsWindow window(nullptr, pane, std::nullopt);
        gtk_window_present(window.window());
        if (row.pickFirst)
            Pick(window, FromPacked(0x00FF00));
        if (row.revertAfter)
            Click(window.window(), "revert");
        StoreElsewhere(Blue);
        EXPECT_TRUE(Until([&] { return Current(window) == "3366CC/1"; }))
            << "still shows " << Current(window);
        EXPECT_EQ(New(window), row.newShown);
        gtk_window_close(window.window());
        EXPECT_EQ(window.outcome(), PrefsWindow::Outcome::Stored);
        EXPECT_EQ(Stored(), row.storedOnClose);
    }
}

// A store that is a link has its target replaced in the target's folder: that is watched too.
TEST_F(PrefsWindowTest, StoreThatIsALinkIsFollowedThroughIt) {
    const std::string file = StandardStore::path();
    const std::string elsewhere = file + ".d";
    std::filesystem::create_directory(elsewhere);
    std::filesystem::remove(file);
    std::filesystem::create_symlink(elsewhere + "/real.plist", file);
    StoreElsewhere(Red);
    pane.didSelect();
    PrefsWindow window(nullptr, pane, std::nullopt);
    StoreElsewhere(Blue);
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    EXPECT_TRUE(Until([&] { return Current(window) == "3366CC/1"; }))
        << "still shows " << Current(window);
    std::filesystem::remove_all(elsewhere);
}

// The store refuses the colour on close: the window stays with the reason, and the person either
// retries once the cause is gone or closes without saving.
TEST_F(PrefsWindowTest, RefusedStoreOnCloseKeepsTheColourUntilThePersonDecides) {
    const struct {
        const char* name;
        const char* answer;
        PrefsWindow::Outcome outcome;
        int stored; // once the store can be written again
    } rows[] = {
        {"retry", "retry", PrefsWindow::Outcome::Stored, Blue},
        {"close without saving", "discard", PrefsWindow::Outcome::Discarded, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        pane.didSelect();
        const std::string file = StandardStore::path();
        std::filesystem::remove_all(file);
        std::filesystem::create_directory(file); // a folder where the file should be
        PrefsWindow window(nullptr, pane, ParseColour("#3366CC"));
        gtk_window_present(window.window());
        const std::string said = Stderr([&] { gtk_window_close(window.window()); });
        EXPECT_EQ(Lines(said), 1) << said;
        GtkWindow* message = OpenDialogOf(window.window());
        ASSERT_TRUE(message);
        EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(window.window())));
        EXPECT_EQ(window.outcome(), PrefsWindow::Outcome::Open);

        gtk_window_close(message); // dismissed: nothing decided yet
        EXPECT_TRUE(gtk_widget_get_visible(GTK_WIDGET(window.window())));
        EXPECT_NE(window.notice().find("not stored yet"), std::string::npos) << window.notice();
        Stderr([&] { gtk_window_close(window.window()); });
        ASSERT_TRUE(message = OpenDialogOf(window.window()));
        const std::string reason = UserDefaults::standardUserDefaults().lastProblem();
        GtkWidget* body = FindByName(GTK_WIDGET(message), "detail");
        ASSERT_TRUE(body);
        EXPECT_NE(std::string(gtk_label_get_text(GTK_LABEL(body))).find(reason), std::string::npos)
            << "the message says why: " << reason;

        std::filesystem::remove(file);
        Click(message, row.answer);
        EXPECT_FALSE(gtk_widget_get_visible(GTK_WIDGET(window.window())));
        EXPECT_EQ(window.outcome(), row.outcome);
        UserDefaults::standardUserDefaults().synchronize(); // what exit would write
        EXPECT_EQ(Stored(), row.stored);
    }
}

// A store that cannot be used at start: the window says so and shows the default; a store put
// right meanwhile clears the notice. (The folder comes first: a store that was read before keeps
// what it read when its path turns into a folder.)
TEST_F(PrefsWindowTest, StoreProblemsAtStartAreShownInTheWindow) {
    const struct {
        const char* name;
        std::function<void(const std::string&)> make;
        const char* says;
    } rows[] = {
        {"a folder", [](const std::string& f) { std::filesystem::create_directory(f); },
         "not a regular file"},
        {"unparsable", [](const std::string& f) { WriteBytes(f, "not a property list"); },
         "cannot be parsed"},
        {"oversized", [](const std::string& f) { WriteBytes(f, std::string(4 << 20, ' ')); },
         "more than"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string file = StandardStore::path();
        std::filesystem::remove_all(file);
        row.make(file);
        Stderr([&] { pane.didSelect(); });
        PrefsWindow window(nullptr, pane, std::nullopt);
        EXPECT_NE(window.notice().find("default colour is shown"), std::string::npos)
            << window.notice();
        EXPECT_NE(window.notice().find(row.says), std::string::npos) << window.notice();
        EXPECT_EQ(Current(window), "E6E6E6/1");

        std::filesystem::remove_all(file);
        StoreElsewhere(Blue);
        EXPECT_TRUE(Until([&] { return window.notice().empty(); })) << window.notice();
        EXPECT_EQ(Current(window), "3366CC/1");
    }
}

} // namespace
