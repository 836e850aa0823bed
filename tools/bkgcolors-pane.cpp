// bkgcolors-pane — a minimal host for the background colour pane: loads the plug-in, shows the
// pane (printing the colour of each well) and, given a colour, picks it in the new-colour well
// and leaves the pane, which stores it.

#include "platform/Color.h"
#include "platform/PaneBundle.h"
#include "platform/UserDefaults.h"
#include "platform/View.h"
#include "tools/ColourText.h"
#include "tools/Output.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr const char* kUsage =
    "usage: bkgcolors-pane [--plugin PATH] [--defaults FILE] [COLOUR]\n"
    "  COLOUR is #RRGGBB, R,G,B[,A] with components from 0 to 1, or --white W\n";

struct Options {
    std::string plugin;
    std::optional<std::string> defaults;
    std::optional<platform::Color> colour;
};

[[noreturn]] void Fail(const std::string& message) {
    std::fprintf(stderr, "bkgcolors-pane: %s\n", message.c_str());
    std::exit(2);
}

Options ParseOptions(int argc, char** argv) {
    Options options;
    bool pluginGiven = false;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        auto value = [&]() -> std::string {
            if (i + 1 >= argc)
                Fail("option " + arg + " needs a value");
            return argv[++i];
        };
        if (arg == "-h" || arg == "--help") {
            std::fputs(kUsage, stdout);
            std::exit(FinishOutput("bkgcolors-pane", 0));
        } else if (arg == "--plugin") {
            options.plugin = value();
            pluginGiven = true;
        } else if (arg == "--defaults") {
            options.defaults = value();
            if (options.defaults->empty())
                Fail("--defaults needs a file name");
        } else if (arg == "--white") {
            std::string level = value();
            auto white = ParseComponent(level);
            if (!white)
                Fail("white level '" + level + "' is not a number from 0 to 1");
            if (options.colour)
                Fail("more than one colour given");
            options.colour = platform::Color::colorWithCalibratedWhite(*white, 1.0f);
        } else if (arg.size() > 1 && arg[0] == '-' && !std::strchr("0123456789.", arg[1])) {
            Fail("unknown option " + arg + " (try --help)");
        } else {
            if (options.colour)
                Fail("more than one colour given");
            options.colour = ParseColour(arg);
            if (!options.colour)
                Fail("unrecognised colour '" + arg + "' (use #RRGGBB, R,G,B[,A] or --white W)");
        }
    }
    if (!pluginGiven)
        options.plugin = platform::PaneBundle::builtInPlugInPath();
    return options;
}

void PrintWell(const std::string& outlet, const platform::Color& colour) {
    float red = 0, green = 0, blue = 0, alpha = 0;
    colour.getRed(&red, &green, &blue, &alpha);
    std::printf("%s #%02X%02X%02X %.7g %.7g %.7g %.7g\n", outlet.c_str(), ComponentByte(red),
                ComponentByte(green), ComponentByte(blue), static_cast<double>(red),
                static_cast<double>(green), static_cast<double>(blue), static_cast<double>(alpha));
}

} // namespace

int main(int argc, char** argv) {
    Options options = ParseOptions(argc, argv);
    if (options.defaults)
        platform::UserDefaults::setStandardPath(*options.defaults);

    std::string error;
    auto bundle = platform::PaneBundle::load(options.plugin, error);
    if (!bundle)
        Fail(error);

    try {
        auto pane = bundle->instantiate();
        if (!pane)
            Fail("pane plug-in " + options.plugin + " made no pane");
        platform::View browser("browser");
        pane->setBrowserView(&browser);
        pane->mainViewDidLoad();
        pane->didSelect();
        for (const std::string& outlet : pane->colorWellOutlets())
            PrintWell(outlet, pane->colorWell(outlet)->color());
        if (options.colour) {
            platform::ColorWell* chosen = pane->colorWell("newColorWell");
            if (!chosen)
                Fail("pane plug-in " + options.plugin + " has no newColorWell");
            chosen->setColor(*options.colour);
            pane->didUnselect();
            pane->windowWillClose();
        }
    } catch (const std::exception& e) {
        Fail(std::string("the pane failed: ") + e.what());
    } catch (...) {
        Fail("the pane failed");
    }
    // The store has already reported why it could not read or write its file.
    const bool saved = platform::UserDefaults::standardUserDefaults().synchronize();
    return FinishOutput("bkgcolors-pane", saved ? 0 : 2);
}
