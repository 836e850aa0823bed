#include "platform/Color.h"
#include "platform/ColorWell.h"

#include <gtest/gtest.h>

#include <stdexcept>

using platform::Color;

namespace {

TEST(Color, RgbColourAnswersItsComponentsAndRefusesTheWhiteQuery) {
    Color colour = Color::colorWithCalibratedRed(0.1f, 0.2f, 0.3f, 0.4f);
    EXPECT_EQ(colour.colorSpaceName(), "NSCalibratedRGBColorSpace");
    float r = 0, g = 0, b = 0, a = 0;
    colour.getRed(&r, &g, &b, &a);
    EXPECT_EQ(r, 0.1f);
    EXPECT_EQ(g, 0.2f);
    EXPECT_EQ(b, 0.3f);
    EXPECT_EQ(a, 0.4f);
    EXPECT_THROW(colour.getWhite(&r, &a), std::invalid_argument);
}

TEST(Color, WhiteColourAnswersTheRgbQueryWithItsLevelInAllThree) {
    Color colour = Color::colorWithCalibratedWhite(0.5f, 0.25f);
    EXPECT_EQ(colour.colorSpaceName(), "NSCalibratedWhiteColorSpace");
    float r = 0, g = 0, b = 0, a = 0;
    colour.getRed(&r, &g, &b, &a);
    EXPECT_EQ(r, 0.5f);
    EXPECT_EQ(g, 0.5f);
    EXPECT_EQ(b, 0.5f);
    EXPECT_EQ(a, 0.25f);
    float w = 0;
    colour.getWhite(&w, nullptr);
    EXPECT_EQ(w, 0.5f);
}

TEST(Color, SpaceWithoutRgbFormThrows) {
    Color cmyk("NSDeviceCMYKColorSpace", {0.1f, 0.2f, 0.3f, 0.4f, 1.0f});
    float r = 0;
    EXPECT_THROW(cmyk.getRed(&r, nullptr, nullptr, nullptr), std::invalid_argument);
    EXPECT_THROW(cmyk.getWhite(&r, nullptr), std::invalid_argument);
}

TEST(Color, ComponentCountMustFitTheSpace) {
    EXPECT_THROW(Color(Color::CalibratedRGBColorSpace, {1, 1, 1}), std::invalid_argument);
    EXPECT_THROW(Color(Color::DeviceWhiteColorSpace, {1}), std::invalid_argument);
    EXPECT_NO_THROW(Color(Color::DeviceRGBColorSpace, {1, 1, 1, 1}));
}

TEST(ColorWell, HoldsACopyOfTheColourSet) {
    platform::ColorWell well;
    EXPECT_EQ(well.color(), Color::colorWithCalibratedWhite(1.0f, 1.0f));
    Color colour = Color::colorWithCalibratedRed(0, 1, 0, 1);
    well.setColor(colour);
    colour = Color::colorWithCalibratedWhite(0, 0);
    EXPECT_EQ(well.color(), Color::colorWithCalibratedRed(0, 1, 0, 1));
}

} // namespace
