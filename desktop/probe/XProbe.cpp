#include "desktop/probe/XProbe.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <gdk-pixbuf/gdk-pixbuf.h>

#include <stdexcept>

namespace {

XErrorHandler gOtherErrors = nullptr;

// The windows looked at belong to other programs and may be gone by the time they are asked
// about: that is an answer (nothing there), not a reason to end the program that asks.
int IgnoreVanishedWindows(Display* display, XErrorEvent* error) {
    if (error->error_code == BadWindow)
        return 0;
    return gOtherErrors ? gOtherErrors(display, error) : 0;
}

// One property of a window as bytes, items of `format` bits; empty when absent.
std::vector<unsigned char> Property(Display* display, Window window, const char* name, Atom type,
                                    int& format, unsigned long& items) {
    Atom actualType = None;
    unsigned long after = 0;
    unsigned char* data = nullptr;
    items = 0;
    format = 0;
    if (XGetWindowProperty(display, window, XInternAtom(display, name, False), 0, 1 << 16, False,
                           type, &actualType, &format, &items, &after, &data) != Success ||
        !data)
        return {};
    std::size_t size = items * (format == 32 ? sizeof(long) : std::size_t(format / 8));
    std::vector<unsigned char> bytes(data, data + size);
    XFree(data);
    return bytes;
}

long CardinalProperty(Display* display, Window window, const char* name, long absent) {
    int format = 0;
    unsigned long items = 0;
    auto bytes = Property(display, window, name, XA_CARDINAL, format, items);
    if (format != 32 || items < 1)
        return absent;
    return *reinterpret_cast<const long*>(bytes.data());
}

} // namespace

XProbe::XProbe(const std::string& display) : display_(XOpenDisplay(display.c_str())) {
    if (!display_)
        throw std::runtime_error("cannot open display " + display);
    XErrorHandler before = XSetErrorHandler(IgnoreVanishedWindows);
    if (before != IgnoreVanishedWindows)
        gOtherErrors = before;
}

XProbe::~XProbe() {
    XCloseDisplay(display_);
}

XProbe::Image XProbe::screenshot() const {
    Window root = DefaultRootWindow(display_);
    XWindowAttributes attributes;
    XGetWindowAttributes(display_, root, &attributes);
    XImage* shot =
        XGetImage(display_, root, 0, 0, attributes.width, attributes.height, AllPlanes, ZPixmap);
    if (!shot)
        throw std::runtime_error("the screen could not be read");
    Image image{attributes.width, attributes.height, {}};
    image.pixels.reserve(std::size_t(image.width) * image.height);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            image.pixels.push_back(XGetPixel(shot, x, y) & 0xFFFFFF);
    XDestroyImage(shot);
    return image;
}

std::vector<XProbe::Rect> XProbe::findColour(const Image& image, std::uint32_t rgb, int minSide) {
    std::vector<Rect> found;
    std::vector<bool> seen(image.pixels.size(), false);
    std::vector<std::pair<int, int>> stack;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            std::size_t at = std::size_t(y) * image.width + x;
            if (seen[at] || image.pixels[at] != rgb)
                continue;
            int left = x, right = x, top = y, bottom = y;
            seen[at] = true;
            stack.assign(1, {x, y});
            while (!stack.empty()) {
                auto [px, py] = stack.back();
                stack.pop_back();
                left = std::min(left, px), right = std::max(right, px);
                top = std::min(top, py), bottom = std::max(bottom, py);
                const std::pair<int, int> next[] = {
                    {px + 1, py}, {px - 1, py}, {px, py + 1}, {px, py - 1}};
                for (auto [nx, ny] : next) {
                    if (nx < 0 || ny < 0 || nx >= image.width || ny >= image.height)
                        continue;
                    std::size_t n = std::size_t(ny) * image.width + nx;
                    if (!seen[n] && image.pixels[n] == rgb) {
                        seen[n] = true;
                        stack.emplace_back(nx, ny);
                    }
                }
            }
            Rect area{left, top, right - left + 1, bottom - top + 1};
            if (area.width >= minSide && area.height >= minSide)
                found.push_back(area);
        }
    return found;
}

bool XProbe::savePng(const Image& image, const Rect& area, const std::string& file,
                     std::string& error) {
    if (area.width <= 0 || area.height <= 0 || area.x < 0 || area.y < 0 ||
        area.x + area.width > image.width || area.y + area.height > image.height) {
        error = "the area lies outside the screen";
        return false;
    }
    GdkPixbuf* pixbuf = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, area.width, area.height);
    guchar* rows = gdk_pixbuf_get_pixels(pixbuf);
    int stride = gdk_pixbuf_get_rowstride(pixbuf);
    for (int y = 0; y < area.height; ++y)
        for (int x = 0; x < area.width; ++x) {
            std::uint32_t pixel = image.at(area.x + x, area.y + y);
            guchar* out = rows + std::size_t(y) * stride + 3 * x;
            out[0] = guchar(pixel >> 16), out[1] = guchar(pixel >> 8), out[2] = guchar(pixel);
        }
    GError* failure = nullptr;
    bool saved = gdk_pixbuf_save(pixbuf, file.c_str(), "png", &failure, nullptr);
    if (!saved) {
        error = failure ? failure->message : "the PNG could not be written";
        g_clear_error(&failure);
    }
    g_object_unref(pixbuf);
    return saved;
}

std::vector<XProbe::Window> XProbe::windowsOf(pid_t pid) const {
    ::Window root = DefaultRootWindow(display_), parent = 0, *children = nullptr;
    unsigned count = 0;
    std::vector<Window> found;
    if (!XQueryTree(display_, root, &root, &parent, &children, &count))
        return found;
    for (unsigned i = 0; i < count; ++i) {
        XWindowAttributes attributes;
        if (XGetWindowAttributes(display_, children[i], &attributes) &&
            attributes.map_state == IsViewable &&
            CardinalProperty(display_, children[i], "_NET_WM_PID", -1) == pid)
            found.push_back(children[i]);
    }
    if (children)
        XFree(children);
    return found;
}

XProbe::Window XProbe::mainWindowOf(pid_t pid) const {
    for (Window window : windowsOf(pid))
        if (!transientFor(window))
            return window;
    return 0;
}

XProbe::Window XProbe::transientFor(Window window) const {
    ::Window owner = 0;
    return XGetTransientForHint(display_, window, &owner) ? owner : 0;
}

std::string XProbe::title(Window window) const {
    int format = 0;
    unsigned long items = 0;
    auto bytes = Property(display_, window, "_NET_WM_NAME",
                          XInternAtom(display_, "UTF8_STRING", False), format, items);
    return std::string(bytes.begin(), bytes.end());
}

XProbe::Rect XProbe::geometry(Window window) const {
    XWindowAttributes attributes;
    XGetWindowAttributes(display_, window, &attributes);
    ::Window child = 0;
    int x = 0, y = 0;
    XTranslateCoordinates(display_, window, DefaultRootWindow(display_), 0, 0, &x, &y, &child);
    return {x, y, attributes.width, attributes.height};
}

void XProbe::click(int x, int y, int count) const {
    XTestFakeMotionEvent(display_, -1, x, y, CurrentTime);
    for (int i = 0; i < count; ++i) {
        XTestFakeButtonEvent(display_, 1, True, CurrentTime);
        XTestFakeButtonEvent(display_, 1, False, CurrentTime);
    }
    XSync(display_, False);
}

void XProbe::shortcut(int x, int y, const char* modifier, const char* key) const {
    XTestFakeMotionEvent(display_, -1, x, y, CurrentTime);
    const KeyCode held = XKeysymToKeycode(display_, XStringToKeysym(modifier));
    const KeyCode typed = XKeysymToKeycode(display_, XStringToKeysym(key));
    XTestFakeKeyEvent(display_, held, True, CurrentTime);
    XTestFakeKeyEvent(display_, typed, True, CurrentTime);
    XTestFakeKeyEvent(display_, typed, False, CurrentTime);
    XTestFakeKeyEvent(display_, held, False, CurrentTime);
    XSync(display_, False);
}

bool XProbe::requestClose(Window window) const {
    Atom protocols = XInternAtom(display_, "WM_PROTOCOLS", False);
    Atom deleteWindow = XInternAtom(display_, "WM_DELETE_WINDOW", False);
    Atom* offered = nullptr;
    int count = 0;
    bool takesIt = false;
    if (XGetWMProtocols(display_, window, &offered, &count)) {
        for (int i = 0; i < count; ++i)
            takesIt = takesIt || offered[i] == deleteWindow;
        XFree(offered);
    }
    if (!takesIt)
        return false;
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = protocols;
    event.xclient.format = 32;
    event.xclient.data.l[0] = long(deleteWindow);
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(display_, window, False, NoEventMask, &event);
    XSync(display_, False);
    return true;
}
