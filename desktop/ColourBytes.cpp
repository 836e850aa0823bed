#include "desktop/ColourBytes.h"

#include "tools/ColourText.h"

int ShownByte(float component) {
    if (!(component > 0.0f))
        return 0;
    if (component >= 1.0f)
        return 255;
    return static_cast<int>(static_cast<double>(component) * 65535.0 + 0.5) >> 8;
}

GdkRGBA RgbaFromBytes(int red, int green, int blue) {
    return GdkRGBA{static_cast<float>(red) / 255.0f, static_cast<float>(green) / 255.0f,
                   static_cast<float>(blue) / 255.0f, 1.0f};
}

GdkRGBA SnapToBytes(const GdkRGBA& rgba) {
    return RgbaFromBytes(ShownByte(rgba.red), ShownByte(rgba.green), ShownByte(rgba.blue));
}

GdkRGBA RgbaFromWell(const platform::Color& colour) {
    float red = 0, green = 0, blue = 0;
    colour.getRed(&red, &green, &blue, nullptr);
    return RgbaFromBytes(ComponentByte(red), ComponentByte(green), ComponentByte(blue));
}

platform::Color WellFromRgba(const GdkRGBA& rgba) {
    GdkRGBA shown = SnapToBytes(rgba);
    return platform::Color::colorWithCalibratedRed(shown.red, shown.green, shown.blue, 1.0f);
}
