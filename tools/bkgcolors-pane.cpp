// bkgcolors-pane — a minimal host for the background colour pane: loads the plug-in, shows the
// pane (printing the colour of each well) and, given a colour, picks it in the new-colour well
// and leaves the pane, which stores it.

#include "platform/Color.h"
#include "platform/PaneBundle.h"
#include "platform/UserDefaults.h"
#include "platform/View.h"
#include "tools/ColourText.h"
#include "tools/CommandLine.h"
#include "tools/Output.h"
#include "tools/Translation.h"

#include <cstdint>
#include <cstdio>
#include <exception>
#include <optional>
#include <string>

namespace {

// Messages and usage are translated; the well lines and the `stored` line, which scripts read,
// are the same in every language, their numbers always written with a dot.
constexpr const char* kUsage =
    N_("usage: bkgcolors-pane [--plugin PATH] [--defaults FILE] [COLOUR | --white W]\n"
       "       bkgcolors-pane -h | --help | --version\n"
       "Shows the colour of each well of the background colour pane; given a colour, picks it in\n"
       "the new-colour well, leaves the pane (which stores it) and prints what was stored.\n"
       "  COLOUR  #RRGGBB, #RGB, rgb(R, G, B) with bytes 0-255, or R,G,B with components 0-1;\n"
       "          the store keeps no alpha, so a colour that is not fully opaque is refused\n"
       "  --white W        a grey of white level W, from 0 to 1\n"
       "  --plugin PATH    the pane module to load (default: the one installed with the program)\n"
       "  --defaults FILE  the defaults file to use instead of the user's\n"
       "Exit status: 0 done, 2 bad arguments or a failure of the pane or the store.\n");

// Where the pane keeps its colour: the packed bytes R | G << 8 | B << 16.
constexpr const char* kColourKey = "BkgColorsSelectedColor";

struct Options {
    std::string plugin;
    std::optional<std::string> defaults;
    std::optional<platform::Color> colour;
};

Options ParseOptions(const CommandLine& line) {
    Options options;
    options.plugin = line.value("--plugin", platform::PaneBundle::builtInPlugInPath());
    if (line.has("--defaults")) {
        options.defaults = line.value("--defaults");
        if (options.defaults->empty())
            line.fail(_("--defaults needs a file name"));
    }
    const auto whites = line.values("--white");
    if (whites.size() + line.operands().size() > 1)
        line.fail(_("more than one colour given"));
    for (const std::string& level : whites) {
        auto white = ParseComponent(level);
        if (!white)
            line.fail(Fill(_("white level '%s' is not a number from 0 to 1"), level));
        options.colour = platform::Color::colorWithCalibratedWhite(*white, 1.0f);
    }
    for (const std::string& text : line.operands()) {
        std::string why;
        options.colour = ParseColour(text, &why);
        if (!options.colour)
            line.fail(why);
    }
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
    UseCatalogues();
    CommandLine line("bkgcolors-pane", kUsage);
    line.read(argc, argv, {"--plugin", "--defaults", "--white"}, false);
    const Options options = ParseOptions(line);
    if (options.defaults)
        platform::UserDefaults::setStandardPath(*options.defaults);

    std::string error;
    auto bundle = platform::PaneBundle::load(options.plugin, error);
    if (!bundle)
        line.fail(error);

    try {
        auto pane = bundle->instantiate();
        if (!pane)
            line.fail(Fill(_("pane plug-in %s made no pane"), options.plugin));
        platform::View browser("browser");
        pane->setBrowserView(&browser);
        pane->mainViewDidLoad();
        pane->didSelect();
        for (const std::string& outlet : pane->colorWellOutlets())
            PrintWell(outlet, pane->colorWell(outlet)->color());
        if (options.colour) {
            platform::ColorWell* chosen = pane->colorWell("newColorWell");
            if (!chosen)
                line.fail(Fill(_("pane plug-in %s has no newColorWell"), options.plugin));
            chosen->setColor(*options.colour);
            pane->didUnselect();
            pane->windowWillClose();
        }
    } catch (const std::exception& e) {
        line.fail(Fill(_("the pane failed: %s"), e.what()));
    } catch (...) {
        line.fail(_("the pane failed"));
    }
    // The store has already reported why it could not read or write its file.
    platform::UserDefaults& store = platform::UserDefaults::standardUserDefaults();
    if (!store.synchronize())
        return FinishOutput(line.program(), 2);
    if (options.colour) {
        const auto packed = static_cast<std::uint32_t>(store.integerForKey(kColourKey));
        std::printf("stored #%02X%02X%02X (%u)\n", packed & 0xFFu, (packed >> 8) & 0xFFu,
                    (packed >> 16) & 0xFFu, packed);
    }
    return FinishOutput(line.program(), 0);
}
