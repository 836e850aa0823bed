// bkgcolors-xprobe — looks at an X display and drives it for the demo: waits for a colour to be
// shown, saves a window as PNG, and closes a window as a window manager would.

#include "desktop/probe/XProbe.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

namespace {

constexpr const char* Usage =
    "usage: bkgcolors-xprobe [--timeout SECONDS] COMMAND\n"
    "  wait-colour RRGGBB [COUNT]  wait until COUNT areas (default 1) of that colour are shown\n"
    "  shot PID FILE               save the main window of process PID as PNG\n"
    "  close PID                   ask the main window of process PID to close\n"
    "  screen FILE                 save the whole screen as PNG (dialogs included)\n"
    "The display is $DISPLAY; every wait ends after the timeout (default 30 s) with status 1.\n";

[[noreturn]] void Fail(int status, const std::string& message) {
    std::fprintf(stderr, "bkgcolors-xprobe: %s\n", message.c_str());
    std::exit(status);
}

long Number(const std::string& text, int base, const char* what) {
    char* end = nullptr;
    long value = std::strtol(text.c_str(), &end, base);
    if (text.empty() || *end != '\0' || value < 0)
        Fail(2, std::string("bad ") + what + " '" + text + "'");
    return value;
}

} // namespace

int main(int argc, char** argv) {
    int i = 1;
    long seconds = 30;
    if (i + 1 < argc && std::string(argv[i]) == "--timeout") {
        seconds = Number(argv[i + 1], 10, "timeout");
        i += 2;
    }
    if (i >= argc)
        Fail(2, "no command (try --help)");
    const std::string command = argv[i++];
    const int rest = argc - i;
    if (command == "-h" || command == "--help") {
        std::fputs(Usage, stdout);
        return 0;
    }
    const char* display = std::getenv("DISPLAY");
    if (!display || !*display)
        Fail(1, "DISPLAY is not set");
    const std::chrono::milliseconds limit(seconds * 1000);
    try {
        XProbe probe(display);
        if (command == "wait-colour" && (rest == 1 || rest == 2)) {
            auto rgb = static_cast<std::uint32_t>(Number(argv[i], 16, "colour"));
            long count = rest == 2 ? Number(argv[i + 1], 10, "count") : 1;
            if (!WaitFor(limit, [&] {
                    return long(XProbe::findColour(probe.screenshot(), rgb, 8).size()) >= count;
                }))
                Fail(1, std::string("colour ") + argv[i] + " not shown in time");
            return 0;
        }
        if (command == "screen" && rest == 1) {
            const XProbe::Image screen = probe.screenshot();
            std::string error;
            if (!XProbe::savePng(screen, {0, 0, screen.width, screen.height}, argv[i], error))
                Fail(1, std::string(argv[i]) + ": " + error);
            return 0;
        }
        if ((command == "shot" && rest == 2) || (command == "close" && rest == 1)) {
            pid_t pid = static_cast<pid_t>(Number(argv[i], 10, "process id"));
            XProbe::Window window = 0;
            if (!WaitFor(limit, [&] { return (window = probe.mainWindowOf(pid)) != 0; }))
                Fail(1, "process " + std::string(argv[i]) + " shows no window");
            if (command == "close") {
                if (!probe.requestClose(window))
                    Fail(1, "the window does not take a close request");
                return 0;
            }
            std::string error;
            if (!XProbe::savePng(probe.screenshot(), probe.geometry(window), argv[i + 1], error))
                Fail(1, std::string(argv[i + 1]) + ": " + error);
            return 0;
        }
    } catch (const std::exception& e) {
        Fail(1, e.what());
    }
    Fail(2, "bad command line (try --help)");
}
