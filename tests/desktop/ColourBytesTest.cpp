// The colours the window shows and hands to the pane: every byte survives the trip through the
// host's conversion and the pane's packing, and a colour between two bytes is taken as the byte
// the renderer shows for it.

#include "desktop/ColourBytes.h"
#include "pane/BackgroundColorPref.h"
#include "platform/UserDefaults.h"
#include "support/StandardStore.h"

#include "support/Testing.h"

#include <cairo.h>

namespace {

class Pane : public BackgroundColorPref {
public:
    using BackgroundColorPref::currentColorWell;
    using BackgroundColorPref::newColorWell;
};

int Stored() {
    return platform::UserDefaults(StandardStore::path()).integerForKey("BkgColorsSelectedColor");
}

TEST(ColourBytes, EveryByteIsStoredAndShownAsItself) {
    Pane pane;
    pane.mainViewDidLoad();
    for (int v = 0; v < 256; ++v) {
        SCOPED_TRACE("byte " + std::to_string(v));
        const int red = v, green = 255 - v, blue = (v * 7 + 3) & 0xFF;
        const GdkRGBA shown = RgbaFromBytes(red, green, blue);
        pane.newColorWell->setColor(WellFromRgba(shown));
        pane.didUnselect();
        ASSERT_EQ(Stored(), red | green << 8 | blue << 16);
        pane.didSelect();
        const GdkRGBA back = RgbaFromWell(pane.currentColorWell->color());
        ASSERT_TRUE(gdk_rgba_equal(&back, &shown)) << "shown again as the same bytes";
        ASSERT_EQ(ShownByte(back.red), red);
        ASSERT_EQ(ShownByte(back.green), green);
        ASSERT_EQ(ShownByte(back.blue), blue);
    }
}

// The byte a solid fill of `component` gets on screen, drawn the way GTK's cairo renderer draws.
int RenderedByte(double component) {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1, 1);
    cairo_t* cr = cairo_create(surface);
    cairo_set_source_rgb(cr, component, component, component);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_flush(surface);
    int byte =
        *reinterpret_cast<const std::uint32_t*>(cairo_image_surface_get_data(surface)) & 0xFF;
    cairo_surface_destroy(surface);
    return byte;
}

TEST(ColourBytes, ColourBetweenBytesIsTakenAsTheByteOnScreen) {
    for (int step = 0; step <= 4096; ++step) {
        const float component = float(step) / 4096.0f;
        ASSERT_EQ(ShownByte(component), RenderedByte(component)) << "component " << component;
    }
    const std::pair<float, int> edges[] = {{-0.25f, 0}, {1.5f, 255}, {NAN, 0}, {0.5f, 128}};
    for (auto [component, byte] : edges)
        EXPECT_EQ(ShownByte(component), byte) << component;

    // 0.5 shows as 80: handed to the pane as 0x80 / 255, it is stored as 0x80, not 0x7F.
    Pane pane;
    pane.newColorWell->setColor(WellFromRgba(GdkRGBA{0.5f, 0.5f, 0.5f, 0.3f}));
    pane.didUnselect();
    EXPECT_EQ(Stored(), 0x808080);
    const GdkRGBA snapped = SnapToBytes(GdkRGBA{0.5f, 0.999f, 0.001f, 0.3f}),
                  expected = RgbaFromBytes(128, 255, 0);
    EXPECT_TRUE(gdk_rgba_equal(&snapped, &expected)) << "bytes shown, opaque";
}

TEST(ColourBytes, WellColourIsShownAsTheBytesThePaneStores) {
    // A well colour from the command line is shown as what the pane would store for it.
    const GdkRGBA half =
                      RgbaFromWell(platform::Color::colorWithCalibratedRed(0.5f, 1.0f, 0.0f, 0.5f)),
                  stored = RgbaFromBytes(127, 255, 0);
    EXPECT_TRUE(gdk_rgba_equal(&half, &stored));
    const GdkRGBA white = RgbaFromWell(platform::Color::colorWithCalibratedWhite(0.2f, 1.0f)),
                  grey = RgbaFromBytes(51, 51, 51);
    EXPECT_TRUE(gdk_rgba_equal(&white, &grey));
    EXPECT_THROW(RgbaFromWell(platform::Color("NSPatternColorSpace", {})), std::invalid_argument);
}

} // namespace
