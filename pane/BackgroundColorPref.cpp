#include "pane/BackgroundColorPref.h"

#include "platform/UserDefaults.h"

#include <cmath>

BackgroundColorPref::BackgroundColorPref() {
    // Stands in for loading the interface file, which connects the two outlets.
    currentColorWell = addColorWell("currentColorWell");
    newColorWell = addColorWell("newColorWell");
}

BackgroundColorPref::~BackgroundColorPref() = default;

void BackgroundColorPref::mainViewDidLoad() {
    key = "BkgColors";
    valueName = "SelectedColor";
    m_key = "BkgColorsSelectedColor";
}

void BackgroundColorPref::didSelect() {
    platform::UserDefaults::standardUserDefaults().synchronize();
    int value = bp.Get(Str("BkgColors"), Str("SelectedColor"), DefaultColor);
    red = UnpackComponent(value, 0);
    green = UnpackComponent(value, 1);
    blue = UnpackComponent(value, 2);
    nsColor = platform::Color::colorWithCalibratedRed(red, green, blue, 1.0f);
    currentColorWell->setColor(*nsColor);
    newColorWell->setColor(*nsColor);
}

void BackgroundColorPref::didUnselect() {
    nsColor = newColorWell->color();
    if (nsColor->colorSpaceName().compare(platform::Color::CalibratedWhiteColorSpace) != 0) {
        nsColor->getRed(&red, &green, &blue, &alpha);
        r = ComponentByte(red);
        g = ComponentByte(green);
        b = ComponentByte(blue);
    } else {
        nsColor->getWhite(&red, &alpha);
        r = g = b = ComponentByte(red);
    }
    bp.Set("BkgColors", "SelectedColor", Pack(r, g, b));
    platform::UserDefaults::standardUserDefaults().synchronize();
}

bool BackgroundColorPref::editPane() {
    return false;
}

void BackgroundColorPref::setBrowserView(platform::View* browserView) {
    m_BrowserView = browserView;
}

bool BackgroundColorPref::windowWillClose() {
    return true;
}

float BackgroundColorPref::UnpackComponent(int packed, int index) {
    auto byte = (static_cast<unsigned>(packed) >> (8 * index)) & 0xFFu;
    return static_cast<float>(byte) / 255.0f;
}

std::int32_t BackgroundColorPref::ComponentByte(float component) {
    double scaled = static_cast<double>(component) * 255.0;
    if (std::isnan(scaled))
        return 0;
    // Converting a value outside the 32-bit range would be undefined; such components saturate.
    if (scaled >= 2147483648.0)
        return INT32_MAX;
    if (scaled <= -2147483649.0)
        return INT32_MIN;
    return static_cast<std::int32_t>(scaled);
}

int BackgroundColorPref::Pack(std::int32_t r, std::int32_t g, std::int32_t b) {
    return static_cast<int>((static_cast<std::uint32_t>(r) & 0xFFu) |
                            ((static_cast<std::uint32_t>(g) & 0xFFu) << 8) |
                            ((static_cast<std::uint32_t>(b) & 0xFFu) << 16));
}
