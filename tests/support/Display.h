// Display.h — test helpers for the display tests: a private Xvfb server on a free display number,
// and the environment that makes GTK start fast and quietly on it.
//
// Ownership: an XvfbServer owns its server process and stops it when it goes away.
// Copying: not copyable.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>

class XvfbServer {
public:
    // Starts Xvfb, which picks a free display and names it on a pipe; display() stays empty, with
    // the reason in problem(), when no server could start within the time allowed.
    XvfbServer() {
        int fds[2];
        if (pipe2(fds, O_CLOEXEC) != 0) {
            problem_ = "no pipe";
            return;
        }
        pid_ = fork();
        if (pid_ == 0) {
            dup2(fds[1], 3); // dup2 clears close-on-exec on the copy Xvfb writes to
            int quiet = open("/dev/null", O_WRONLY);
            dup2(quiet, 1);
            dup2(quiet, 2);
            execlp("Xvfb", "Xvfb", "-displayfd", "3", "-screen", "0", "1024x768x24", "-nolisten",
                   "tcp", "-noreset", static_cast<char*>(nullptr));
            _exit(127);
        }
        close(fds[1]);
        std::string number;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        for (;;) {
            auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            pollfd wait{fds[0], POLLIN, 0};
            char c = 0;
            if (left.count() <= 0 || poll(&wait, 1, int(left.count())) <= 0 ||
                read(fds[0], &c, 1) != 1 || c == '\n')
                break;
            number += c;
        }
        close(fds[0]);
        if (number.empty())
            problem_ = "Xvfb did not start";
        else
            display_ = ":" + number;
    }
    ~XvfbServer() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
    }
    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    const std::string& display() const { return display_; }
    const std::string& problem() const { return problem_; }

private:
    pid_t pid_ = -1;
    std::string display_, problem_;
};

// Points this process (and the programs it starts) at `display` with GTK's quiet settings: the
// cairo renderer and no OpenGL probe (whose driver keeps a buffer to the end), no accessibility
// bus, settings in memory, no session bus; GTK's schemas stay reachable under /usr/share.
inline void UseDisplay(const std::string& display) {
    setenv("DISPLAY", display.c_str(), 1);
    unsetenv("WAYLAND_DISPLAY");
    setenv("GSK_RENDERER", "cairo", 1);
    setenv("GDK_DEBUG", "gl-disable", 1);
    setenv("GTK_A11Y", "none", 1);
    setenv("GSETTINGS_BACKEND", "memory", 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
    const char* data = std::getenv("XDG_DATA_DIRS");
    std::string dirs = data && *data ? data : "/usr/local/share:/usr/share";
    if ((":" + dirs + ":").find(":/usr/share:") == std::string::npos)
        dirs += ":/usr/share";
    setenv("XDG_DATA_DIRS", dirs.c_str(), 1);
}
