// bkgcolors-prefs as a person meets it: the program on a private display, its swatches found on
// screenshots by their exact colour, the mouse in the colour chooser, the close request a window
// manager sends, and the integer the store holds afterwards.

#include "desktop/probe/XProbe.h"
#include "platform/UserDefaults.h"
#include "support/Display.h"
#include "support/StoreTesting.h"
#include "support/TempFolder.h"

#include "support/Testing.h"

#include <fcntl.h>

namespace {

using namespace std::chrono_literals;

const auto Environment = [](const char* n) { return std::string(getenv(n) ? getenv(n) : ""); };

std::string Hex(std::uint32_t rgb) {
    char text[8];
    std::snprintf(text, sizeof text, "%06X", rgb);
    return text;
}

class PrefsProgram {
public:
    // Starts the program with `args`, its output kept in `folder`.
    PrefsProgram(const TempFolder& folder, const std::vector<std::string>& args) : folder_(folder) {
        std::vector<std::string> all = {Environment("BKGCOLORS_BIN") + "/bkgcolors-prefs"};
        all.insert(all.end(), args.begin(), args.end());
        pid_ = fork();
        if (pid_ == 0) {
            dup2(open((folder / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
            dup2(open((folder / "err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
            std::vector<char*> argv;
            for (auto& arg : all)
                argv.push_back(arg.data());
            argv.push_back(nullptr);
            execv(argv[0], argv.data());
            _exit(127);
        }
    }
    ~PrefsProgram() {
        if (status_ == Running) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
    }
    pid_t pid() const { return pid_; }
    bool running() {
        int raw = 0;
        if (status_ == Running && waitpid(pid_, &raw, WNOHANG) == pid_)
            status_ = WIFEXITED(raw) ? WEXITSTATUS(raw) : Killed;
        return status_ == Running;
    }
    // The exit status once the program has ended; Running when it did not end in time.
    int finish() {
        WaitFor(30s, [&] { return !running(); });
        return status_;
    }
    std::string errors() const { return ReadBytes(folder_ / "err"); }

    static constexpr int Running = -1, Killed = -2;

private:
    const TempFolder& folder_;
    pid_t pid_ = -1;
    int status_ = Running;
};

class PrefsProgramTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (Environment("BKGCOLORS_BIN").empty() || plugin.empty())
            GTEST_SKIP() << "BKGCOLORS_BIN and BKGCOLORS_PLUGIN are set by ctest";
        server = std::make_unique<XvfbServer>();
        if (server->display().empty())
            GTEST_SKIP() << "no display for the window: " << server->problem();
        UseDisplay(server->display());
        probe = std::make_unique<XProbe>(server->display());
    }

    std::unique_ptr<PrefsProgram> Start(std::vector<std::string> args) {
        args.insert(args.begin(), {"--plugin", plugin, "--defaults", store});
        return std::make_unique<PrefsProgram>(folder, args);
    }
    int Stored() const {
        return platform::UserDefaults(store).integerForKey("BkgColorsSelectedColor");
    }
    // The swatches of the colours `wanted` from top to bottom, once the screen shows exactly those
    // colours in that order; empty when it does not in time (the last seen is traced).
    std::vector<XProbe::Rect> Swatches(const std::vector<std::uint32_t>& wanted) {
        std::vector<std::pair<XProbe::Rect, std::uint32_t>> seen;
        bool shown = WaitFor(20s, [&] {
            const XProbe::Image screen = probe->screenshot();
            seen.clear();
            for (std::uint32_t rgb : std::set<std::uint32_t>(wanted.begin(), wanted.end()))
                for (const XProbe::Rect& area : XProbe::findColour(screen, rgb, 10))
                    seen.emplace_back(area, rgb);
            std::sort(seen.begin(), seen.end(),
                      [](const auto& a, const auto& b) { return a.first.y < b.first.y; });
            std::vector<std::uint32_t> order;
            for (const auto& [area, rgb] : seen)
                order.push_back(rgb);
            return order == wanted;
        });
        std::vector<XProbe::Rect> found;
        std::string trace;
        for (const auto& [area, rgb] : seen) {
            found.push_back(area);
            trace += " " + Hex(rgb);
        }
        if (!shown) {
            ADD_FAILURE() << "the screen showed swatches" << trace;
            return {};
        }
        return found;
    }
    // The dialogs of process `pid` once exactly `count` are open, or empty after the time allowed.
    std::vector<XProbe::Window> Dialogs(pid_t pid, std::size_t count) {
        std::vector<XProbe::Window> dialogs;
        WaitFor(20s, [&] {
            dialogs.clear();
            for (XProbe::Window window : probe->windowsOf(pid))
                if (probe->transientFor(window))
                    dialogs.push_back(window);
            return dialogs.size() == count;
        });
        return dialogs;
    }
    // Closes the program's window as a window manager would and returns its exit status.
    int Close(PrefsProgram& program) {
        XProbe::Window main = 0;
        if (!WaitFor(20s, [&] { return (main = probe->mainWindowOf(program.pid())) != 0; }))
            return PrefsProgram::Running;
        EXPECT_TRUE(probe->requestClose(main));
        return program.finish();
    }

    TempFolder folder;
    std::string store = folder / "defaults.plist", plugin = Environment("BKGCOLORS_PLUGIN");
    std::unique_ptr<XvfbServer> server;
    std::unique_ptr<XProbe> probe;
};

constexpr std::uint32_t Grey = 0xE6E6E6, Blue = 0x3366CC;

TEST_F(PrefsProgramTest, SwatchesShowTheStoreAndClosingStoresTheNewColour) {
    const struct {
        const char* name;
        std::vector<std::string> args;
        std::vector<std::uint32_t> shown; // current, then new
        int stored;
        bool byKeyboard; // Ctrl+W instead of the window manager's request
    } steps[] = {
        {"empty store", {}, {Grey, Grey}, 15132390, false},
        {"colour given", {"--color", "#3366CC"}, {Grey, Blue}, 13395507, false},
        {"restarted", {}, {Blue, Blue}, 13395507, false},
        {"closed with Ctrl+W", {"--color", "0,0.5,1"}, {Blue, 0x007FFF}, 0xFF7F00, true},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        auto program = Start(step.args);
        auto swatches = Swatches(step.shown);
        ASSERT_EQ(swatches.size(), 2u) << program->errors();
        if (step.byKeyboard) {
            probe->shortcut(swatches[0].x - 20, swatches[0].y, "Control_L", "w");
            ASSERT_EQ(program->finish(), 0) << program->errors();
        } else {
            ASSERT_EQ(Close(*program), 0) << program->errors();
        }
        EXPECT_EQ(program->errors(), "");
        EXPECT_EQ(Stored(), step.stored);
    }
}

TEST_F(PrefsProgramTest, ColourPickedWithTheMouseIsShownStoredAndShownAgain) {
    constexpr std::uint32_t Red = 0xE01B24; // a swatch of the chooser's palette
    auto program = Start({});
    auto swatches = Swatches({Grey, Grey});
    ASSERT_EQ(swatches.size(), 2u) << program->errors();
    // The current colour's button takes no click: had it opened its chooser, that modal chooser
    // would hold the second click and the one open would not be the new colour's.
    probe->click(swatches[0].centreX(), swatches[0].centreY());
    probe->click(swatches[1].centreX(), swatches[1].centreY());
    auto dialogs = Dialogs(program->pid(), 1);
    ASSERT_EQ(dialogs.size(), 1u);
    EXPECT_EQ(probe->title(dialogs[0]), "New colour");

    std::vector<XProbe::Rect> palette;
    ASSERT_TRUE(WaitFor(
        20s, [&] { return !(palette = XProbe::findColour(probe->screenshot(), Red, 10)).empty(); }))
        << "no palette swatch of " << Hex(Red);
    probe->click(palette[0].centreX(), palette[0].centreY(), 2);
    EXPECT_EQ(Swatches({Grey, Red}).size(), 2u) << "picked in the new well; current unchanged";
    EXPECT_TRUE(Dialogs(program->pid(), 0).empty());
    EXPECT_EQ(Stored(), 0) << "nothing stored before the window closes";

    ASSERT_EQ(Close(*program), 0) << program->errors();
    EXPECT_EQ(Stored(), 0x241BE0);
    auto again = Start({});
    EXPECT_EQ(Swatches({Red, Red}).size(), 2u);
    EXPECT_EQ(Close(*again), 0) << again->errors();
}

// The store refuses the colour on close: the program stays with a message until the person
// retries (once the cause is gone) or closes without saving, and its exit status says which.
TEST_F(PrefsProgramTest, RefusedStoreKeepsTheWindowUntilThePersonDecides) {
    const struct {
        const char* name;
        bool putRight;   // the blocking file is replaced by the folder the store needs
        const char* key; // Alt+R: Retry, Alt+W: Close Without Saving
        int status;
        int stored;
    } rows[] = {
        {"retry once put right", true, "r", 0, 13395507},
        {"close without saving", false, "w", 3, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::filesystem::remove_all(folder / "blocker");
        WriteBytes(folder / "blocker", "a file where a folder should be");
        const std::string file = folder / "blocker/defaults.plist";
        PrefsProgram program(folder,
                             {"--plugin", plugin, "--defaults", file, "--color", "#3366CC"});
        ASSERT_EQ(Swatches({Grey, Blue}).size(), 2u) << program.errors();
        ASSERT_TRUE(probe->requestClose(probe->mainWindowOf(program.pid())));
        auto message = Dialogs(program.pid(), 1);
        ASSERT_EQ(message.size(), 1u) << "the failure is shown in the window";
        ASSERT_TRUE(probe->requestClose(message[0])); // dismissed: nothing is decided
        ASSERT_TRUE(Dialogs(program.pid(), 0).empty());
        ASSERT_NE(probe->mainWindowOf(program.pid()), 0u) << "the colour is not dropped";

        ASSERT_TRUE(probe->requestClose(probe->mainWindowOf(program.pid())));
        ASSERT_EQ((message = Dialogs(program.pid(), 1)).size(), 1u);
        if (row.putRight) {
            std::filesystem::remove(folder / "blocker");
            std::filesystem::create_directory(folder / "blocker");
        }
        const XProbe::Rect at = probe->geometry(message[0]);
        probe->shortcut(at.centreX(), at.centreY(), "Alt_L", row.key);
        EXPECT_EQ(program.finish(), row.status) << program.errors();
        const std::string said = program.errors();
        EXPECT_EQ(Lines(said), 1) << said;
        if (row.putRight)
            EXPECT_EQ(platform::UserDefaults(file).integerForKey("BkgColorsSelectedColor"),
                      row.stored);
        else
            EXPECT_EQ(ReadBytes(folder / "blocker"), "a file where a folder should be");
    }
}

// A colour stored by another window shows in this one, and closing this one afterwards keeps it.
TEST_F(PrefsProgramTest, TwoWindowsOnOneStoreDoNotUndoEachOther) {
    auto first = Start({});
    ASSERT_EQ(Swatches({Grey, Grey}).size(), 2u) << first->errors();
    auto second = Start({"--color", "#3366CC"});
    ASSERT_EQ(Swatches({Grey, Blue}).size(), 2u) << second->errors();
    ASSERT_EQ(Close(*second), 0) << second->errors();
    EXPECT_EQ(Stored(), 13395507);
    EXPECT_EQ(Swatches({Blue, Blue}).size(), 2u) << "the first window follows the store";
    ASSERT_EQ(Close(*first), 0) << first->errors();
    EXPECT_EQ(Stored(), 13395507) << "closing the untouched window keeps the newer colour";
}

TEST_F(PrefsProgramTest, CtrlZRevertsThePickToTheCurrentColour) {
    auto program = Start({"--color", "#3366CC"});
    auto swatches = Swatches({Grey, Blue});
    ASSERT_EQ(swatches.size(), 2u) << program->errors();
    probe->shortcut(swatches[0].x - 20, swatches[0].y, "Control_L", "z");
    EXPECT_EQ(Swatches({Grey, Grey}).size(), 2u);
    ASSERT_EQ(Close(*program), 0) << program->errors();
    EXPECT_EQ(Stored(), 15132390);
}

// Started from a desktop menu there is no terminal: a plug-in that cannot be loaded is told in a
// message window as well as on stderr.
TEST_F(PrefsProgramTest, MissingPlugInIsToldInAMessageWindow) {
    PrefsProgram program(folder, {"--plugin", folder / "none.so", "--defaults", store});
    XProbe::Window message = 0;
    ASSERT_TRUE(WaitFor(20s, [&] { return (message = probe->mainWindowOf(program.pid())) != 0; }))
        << program.errors();
    EXPECT_EQ(probe->title(message), "Background Colour");
    EXPECT_TRUE(program.running());
    ASSERT_TRUE(probe->requestClose(message));
    EXPECT_EQ(program.finish(), 1);
    const std::string said = program.errors();
    EXPECT_EQ(Lines(said), 1) << said;
    EXPECT_NE(said.find("none.so"), std::string::npos) << said;
    EXPECT_FALSE(std::filesystem::exists(store));
}

// Failures before any window: one line on stderr, status 2 for bad arguments and 1 otherwise,
// and the store untouched. No display is needed for these.
TEST(PrefsProgramStart, FailuresBeforeTheWindowSayWhyInOneLine) {
    const std::string plugin = Environment("BKGCOLORS_PLUGIN");
    if (Environment("BKGCOLORS_BIN").empty() || plugin.empty())
        GTEST_SKIP() << "BKGCOLORS_BIN and BKGCOLORS_PLUGIN are set by ctest";
    TempFolder folder;
    const std::string store = folder / "defaults.plist";
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    const struct {
        const char* name;
        std::vector<std::string> args;
        int status;
    } rows[] = {
        {"unknown option", {"--defaults", store, "--bogus"}, 2},
        {"bad colour", {"--defaults", store, "--color", "#12345"}, 2},
        {"colour out of range", {"--defaults", store, "--color", "1.5,0,0"}, 2},
        {"option without value", {"--defaults", store, "--color"}, 2},
        {"stray argument", {"--defaults", store, "#112233"}, 2},
        {"empty store name", {"--defaults", ""}, 2},
        {"module missing", {"--defaults", store, "--plugin", folder / "none.so"}, 1},
        {"not a module", {"--defaults", store, "--plugin", "/etc/hostname"}, 1},
        {"no display", {"--defaults", store, "--plugin", plugin, "--color", "#112233"}, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        PrefsProgram program(folder, row.args);
        EXPECT_EQ(program.finish(), row.status);
        const std::string said = program.errors();
        EXPECT_EQ(Lines(said), 1) << said;
        EXPECT_EQ(said.rfind("bkgcolors-prefs: ", 0), 0u) << said;
        EXPECT_EQ(said.find("--white"), std::string::npos) << "an option the window does not take";
        EXPECT_FALSE(std::filesystem::exists(store));
    }
}

} // namespace
