// XProbe.h — a small X11 client that looks at a display and drives it as a person and a window
// manager would: screenshots, areas of one exact colour, pointer clicks, and the close request a
// window manager sends. The display tests and the demo's screenshot use it.
//
// Ownership: owns its connection to the display, closed when the probe goes away. Images are
// plain values. Invariant: a window that vanishes while it is looked at answers as absent, never
// ends the program. Copying: not copyable.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

struct _XDisplay;

class XProbe {
public:
    using Window = unsigned long;

    struct Rect {
        int x = 0, y = 0, width = 0, height = 0;
        int centreX() const { return x + width / 2; }
        int centreY() const { return y + height / 2; }
    };
    // Pixels as 0xRRGGBB, row by row.
    struct Image {
        int width = 0, height = 0;
        std::vector<std::uint32_t> pixels;
        std::uint32_t at(int x, int y) const { return pixels[std::size_t(y) * width + x]; }
    };

    // Connects to `display` (such as ":5"); throws std::runtime_error when it cannot.
    explicit XProbe(const std::string& display);
    ~XProbe();
    XProbe(const XProbe&) = delete;
    XProbe& operator=(const XProbe&) = delete;

    // The whole screen as it is shown now.
    Image screenshot() const;
    // The bounding boxes of the connected areas of exactly `rgb` that are at least `minSide`
    // pixels wide and high, from top to bottom.
    static std::vector<Rect> findColour(const Image& image, std::uint32_t rgb, int minSide);
    // The part `area` of `image` written to `file` as PNG; false with a reason in `error`.
    static bool savePng(const Image& image, const Rect& area, const std::string& file,
                        std::string& error);

    // The viewable top-level windows that process `pid` made, in stacking order.
    std::vector<Window> windowsOf(pid_t pid) const;
    // The first of them that is transient for no other window, or 0.
    Window mainWindowOf(pid_t pid) const;
    // The window a dialog belongs to (WM_TRANSIENT_FOR), or 0.
    Window transientFor(Window window) const;
    // The window's title (_NET_WM_NAME), empty when it has none.
    std::string title(Window window) const;
    // The window's place on the screen.
    Rect geometry(Window window) const;

    // Moves the pointer to x, y and clicks the first button `count` times in a row.
    void click(int x, int y, int count = 1) const;
    // Moves the pointer to x, y (without a window manager the keyboard goes where the pointer is)
    // and types `key` while holding `modifier`, both X key names such as "Control_L" and "w".
    void shortcut(int x, int y, const char* modifier, const char* key) const;
    // Asks `window` to close as a window manager does (WM_DELETE_WINDOW); false when the window
    // does not take that request.
    bool requestClose(Window window) const;

private:
    _XDisplay* display_;
};

// Checks `condition` every few milliseconds until it holds (true) or `limit` has passed (false):
// what a display shows changes when its programs get round to it, not after a known time.
template <typename Condition> bool WaitFor(std::chrono::milliseconds limit, Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        if (condition())
            return true;
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}
