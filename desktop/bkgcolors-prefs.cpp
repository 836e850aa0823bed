// bkgcolors-prefs — the desktop host of the background colour pane: loads the pane module, shows
// the pane in a window with a colour button per well, and stores the colour picked on Apply and
// when the window closes.

#include "desktop/PrefsWindow.h"
#include "platform/PaneBundle.h"
#include "platform/UserDefaults.h"
#include "platform/View.h"
#include "tools/ColourText.h"

#include <gtk/gtk.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace {

constexpr const char* Usage =
    "usage: bkgcolors-prefs [--plugin PATH] [--defaults FILE] [--color COLOUR]\n"
    "  COLOUR is #RRGGBB or R,G,B[,A] with components from 0 to 1\n";

struct Options {
    std::string plugin;
    std::optional<std::string> defaults;
    std::optional<platform::Color> colour;
};

[[noreturn]] void Fail(int status, const std::string& message) {
    std::fprintf(stderr, "bkgcolors-prefs: %s\n", message.c_str());
    std::exit(status);
}

Options ParseOptions(int argc, char** argv) {
    Options options;
    options.plugin = platform::PaneBundle::builtInPlugInPath();
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&]() -> std::string {
            if (i + 1 >= argc)
                Fail(2, "option " + arg + " needs a value");
            return argv[++i];
        };
        if (arg == "-h" || arg == "--help") {
            std::fputs(Usage, stdout);
            std::exit(0);
        } else if (arg == "--plugin") {
            options.plugin = value();
        } else if (arg == "--defaults") {
            options.defaults = value();
            if (options.defaults->empty())
                Fail(2, "--defaults needs a file name");
        } else if (arg == "--color") {
            const std::string text = value();
            options.colour = ParseColour(text);
            if (!options.colour)
                Fail(2, "unrecognised colour '" + text + "' (use #RRGGBB or R,G,B[,A])");
        } else if (!arg.empty() && arg[0] == '-') {
            Fail(2, "unknown option " + arg + " (try --help)");
        } else {
            Fail(2, "unexpected argument '" + arg + "' (try --help)");
        }
    }
    return options;
}

struct Session {
    platform::PreferencePane* pane;
    std::optional<platform::Color> colour;
    std::unique_ptr<PrefsWindow> window;
};

void Activate(GtkApplication* app, Session* session) {
    if (!session->window)
        session->window = std::make_unique<PrefsWindow>(app, *session->pane, session->colour);
    gtk_window_present(session->window->window());
}

} // namespace

int main(int argc, char** argv) {
    Options options = ParseOptions(argc, argv);
    if (options.defaults && !platform::UserDefaults::setStandardPath(*options.defaults))
        Fail(1, "the defaults file could not be chosen");

    std::string error;
    auto bundle = platform::PaneBundle::load(options.plugin, error);
    if (!bundle)
        Fail(1, error);
    platform::PaneBundle::PanePtr pane = bundle->instantiate();
    if (!pane)
        Fail(1, "pane plug-in " + options.plugin + " made no pane");

    if (!gtk_init_check())
        Fail(1, "cannot open a display (set DISPLAY or WAYLAND_DISPLAY)");

    platform::View browser("browser");
    try {
        pane->setBrowserView(&browser);
        pane->mainViewDidLoad();
        pane->didSelect();
    } catch (const std::exception& e) {
        Fail(1, std::string("the pane failed: ") + e.what());
    }

    // Several windows may be open at once, each on its own pane; none hands over to another.
    GtkApplication* app =
        gtk_application_new("org.bkgcolors.Preferences", G_APPLICATION_NON_UNIQUE);
    Session session{pane.get(), options.colour, nullptr};
    g_signal_connect(app, "activate", G_CALLBACK(Activate), &session);
    // The program's own options are read above; GApplication would refuse them.
    int status = g_application_run(G_APPLICATION(app), 1, argv);
    bool failed = session.window && session.window->failed();
    session.window.reset();
    g_object_unref(app);
    return status != 0 || failed ? 1 : 0;
}
