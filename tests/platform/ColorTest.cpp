#include "platform/Color.h"

#include <gtest/gtest.h>

#include <stdexcept>

using platform::Color;

namespace {

TEST(Color, RgbAndWhiteQueriesFollowTheColourSpace) {
    float r = 0, g = 0, b = 0, a = 0;
    Color rgb = Color::colorWithCalibratedRed(0.1f, 0.2f, 0.3f, 0.4f);
    rgb.getRed(&r, &g, &b, &a);
    EXPECT_EQ(std::vector<float>({r, g, b, a}), std::vector<float>({0.1f, 0.2f, 0.3f, 0.4f}));
    EXPECT_THROW(rgb.getWhite(&r, &a), std::invalid_argument);

    Color white = Color::colorWithCalibratedWhite(0.5f, 0.25f);
    white.getRed(&r, &g, &b, &a);
    EXPECT_EQ(std::vector<float>({r, g, b, a}), std::vector<float>({0.5f, 0.5f, 0.5f, 0.25f}))
        << "a white colour answers the RGB query with its level in all three";

    Color cmyk("NSDeviceCMYKColorSpace", {0.1f, 0.2f, 0.3f, 0.4f, 1.0f});
    EXPECT_THROW(cmyk.getRed(&r, nullptr, nullptr, nullptr), std::invalid_argument);
    EXPECT_THROW(cmyk.getWhite(&r, nullptr), std::invalid_argument);
    EXPECT_THROW(Color(Color::CalibratedRGBColorSpace, {1, 1, 1}), std::invalid_argument);
}

} // namespace
