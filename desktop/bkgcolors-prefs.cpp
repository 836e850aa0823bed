// bkgcolors-prefs — the desktop host of the background colour pane: loads the pane module, shows
// the pane in a window with a swatch per well, and stores the colour picked on Apply and when the
// window closes.

#include "desktop/Controls.h"
#include "desktop/PrefsWindow.h"
#include "platform/PaneBundle.h"
#include "platform/UserDefaults.h"
#include "platform/View.h"
#include "tools/ColourText.h"
#include "tools/CommandLine.h"
#include "tools/Translation.h"

#include <gtk/gtk.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace {

constexpr const char* Usage =
    N_("usage: bkgcolors-prefs [--plugin PATH] [--defaults FILE] [--color COLOUR]\n"
       "       bkgcolors-prefs -h | --help | --version\n"
       "Opens the background colour pane in a window; Apply or closing the window stores the\n"
       "new colour, and the window follows changes made to the store elsewhere.\n"
       "  --color COLOUR   preselects the new colour: #RRGGBB, #RGB, rgb(R, G, B) or R,G,B\n"
       "  --plugin PATH    the pane module to load (default: the one installed with the program)\n"
       "  --defaults FILE  the defaults file to use instead of the user's\n"
       "Exit status: 0 the colour shown was stored, 1 the pane or the display failed, 2 bad\n"
       "arguments, 3 the store refused the colour and the window was closed without saving it.\n");

struct Options {
    std::string plugin;
    std::optional<std::string> defaults;
    std::optional<platform::Color> colour;
};

Options ParseOptions(const CommandLine& line) {
    Options options;
    options.plugin = line.value("--plugin", platform::PaneBundle::builtInPlugInPath());
    if (!line.operands().empty())
        line.fail(Fill(_("unexpected argument '%s' (try --help)"), line.operands().front()));
    if (line.has("--defaults")) {
        options.defaults = line.value("--defaults");
        if (options.defaults->empty())
            line.fail(_("--defaults needs a file name"));
    }
    if (line.has("--color")) {
        std::string why;
        options.colour = ParseColour(line.value("--color"), &why, nullptr);
        if (!options.colour)
            line.fail(why);
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

// Ends the program with status 1 after saying why: the line on stderr, and, for a person who
// started the program from a desktop menu and sees no terminal, a message window when there is a
// display.
[[noreturn]] void FailShown(const CommandLine& line, const std::string& heading,
                            const std::string& why) {
    std::fprintf(stderr, "%s: %s\n", line.program(), why.c_str());
    if (gtk_init_check()) {
        ShowMessage(nullptr, heading, why, {{_("_Close"), "close", {}}});
        GListModel* toplevels = gtk_window_get_toplevels();
        while (g_list_model_get_n_items(toplevels) > 0)
            g_main_context_iteration(nullptr, TRUE);
    }
    std::exit(1);
}

} // namespace

int main(int argc, char** argv) {
    UseCatalogues("UTF-8");
    CommandLine line("bkgcolors-prefs", Usage);
    line.read(argc, argv, {"--plugin", "--defaults", "--color"}, false);
    const Options options = ParseOptions(line);
    if (options.defaults && !platform::UserDefaults::setStandardPath(*options.defaults))
        line.fail(_("the defaults file could not be chosen"), 1);

    const std::string cannotOpen = _("The background colour pane could not be opened");
    std::string error;
    auto bundle = platform::PaneBundle::load(options.plugin, error);
    if (!bundle)
        FailShown(line, cannotOpen, error);
    platform::PaneBundle::PanePtr pane = bundle->instantiate();
    if (!pane)
        FailShown(line, cannotOpen, Fill(_("pane plug-in %s made no pane"), options.plugin));

    if (!gtk_init_check())
        line.fail(_("cannot open a display (set DISPLAY or WAYLAND_DISPLAY)"), 1);

    platform::View browser("browser");
    try {
        pane->setBrowserView(&browser);
        pane->mainViewDidLoad();
        pane->didSelect();
    } catch (const std::exception& e) {
        FailShown(line, cannotOpen, std::string("the pane failed: ") + e.what());
    }

    // Several windows may be open at once, each on its own pane; none hands over to another.
    GtkApplication* app =
        gtk_application_new("org.bkgcolors.Preferences", G_APPLICATION_NON_UNIQUE);
    Session session{pane.get(), options.colour, nullptr};
    g_signal_connect(app, "activate", G_CALLBACK(Activate), &session);
    // The program's own options are read above; GApplication would refuse them.
    int status = g_application_run(G_APPLICATION(app), 1, argv);
    const bool discarded =
        session.window && session.window->outcome() == PrefsWindow::Outcome::Discarded;
    session.window.reset();
    g_object_unref(app);
    return status != 0 ? 1 : discarded ? 3 : 0;
}
