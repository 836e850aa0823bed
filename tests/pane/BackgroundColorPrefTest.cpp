#include "pane/BackgroundColorPref.h"

#include "platform/UserDefaults.h"
#include "platform/View.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

using platform::Color;
using platform::UserDefaults;

namespace {

constexpr const char* kKey = "BkgColorsSelectedColor";

// Reaches the pane's fields the way a subclass may.
class PaneProbe : public BackgroundColorPref {
public:
    using BackgroundColorPref::alpha;
    using BackgroundColorPref::b;
    using BackgroundColorPref::blue;
    using BackgroundColorPref::colorRef;
    using BackgroundColorPref::cp;
    using BackgroundColorPref::currentColorWell;
    using BackgroundColorPref::g;
    using BackgroundColorPref::green;
    using BackgroundColorPref::key;
    using BackgroundColorPref::m_BrowserView;
    using BackgroundColorPref::m_key;
    using BackgroundColorPref::newColorWell;
    using BackgroundColorPref::nsColor;
    using BackgroundColorPref::r;
    using BackgroundColorPref::red;
    using BackgroundColorPref::valueName;
};

UserDefaults& Standard() {
    return UserDefaults::standardUserDefaults();
}

class BackgroundColorPrefTest : public ::testing::Test {
protected:
    void SetUp() override {
        Standard().removeObjectForKey(kKey);
        Standard().synchronize();
        pane.mainViewDidLoad();
    }
    // The colour stored on disk, as another process would read it.
    std::optional<UserDefaults::Object> Stored() {
        return UserDefaults(Standard().path()).objectForKey(kKey);
    }
    void Choose(const Color& colour) {
        pane.newColorWell->setColor(colour);
        pane.didUnselect();
    }
    PaneProbe pane;
};

TEST(BackgroundColorArithmetic, EveryByteSurvivesUnpackAndRepack) {
    for (int v = 0; v < 256; ++v) {
        for (int index = 0; index < 3; ++index) {
            float component = BackgroundColorPref::UnpackComponent(v << (8 * index), index);
            EXPECT_EQ(component, static_cast<float>(v) / 255.0f);
            EXPECT_EQ(BackgroundColorPref::ComponentByte(component), v) << v << " at " << index;
        }
    }
    EXPECT_EQ(BackgroundColorPref::UnpackComponent(230, 0), 0.9019608f);
}

TEST(BackgroundColorArithmetic, ComponentsTruncateRatherThanRound) {
    const struct {
        float component;
        std::int32_t byte;
    } rows[] = {
        {0.0f, 0},
        {1.0f, 255},
        {0.5f, 127}, // 127.5 truncated
        {0.999f, 254},
        {-0.5f, -127}, // toward zero, not down
        {2.0f, 510},   // not clamped; packing keeps the low byte
        {std::numeric_limits<float>::infinity(), INT32_MAX},
        {-1e20f, INT32_MIN},
        {std::numeric_limits<float>::quiet_NaN(), 0},
    };
    for (const auto& row : rows)
        EXPECT_EQ(BackgroundColorPref::ComponentByte(row.component), row.byte) << row.component;
}

TEST(BackgroundColorArithmetic, PackPutsRedLowestAndMasksEachComponent) {
    EXPECT_EQ(BackgroundColorPref::Pack(0x12, 0x34, 0x56), 0x563412);
    EXPECT_EQ(BackgroundColorPref::Pack(510, -1, 0x1FF), 0xFFFFFE);
    EXPECT_EQ(BackgroundColorPref::Pack(-1, -1, -1) >> 24, 0) << "top byte always 0";
}

TEST_F(BackgroundColorPrefTest, ConstructionLeavesFieldsZeroAndLoadingSetsTheNames) {
    PaneProbe fresh;
    EXPECT_TRUE(fresh.key.IsEmpty());
    EXPECT_TRUE(fresh.valueName.IsEmpty());
    EXPECT_EQ(fresh.m_key, nullptr);
    EXPECT_EQ(fresh.m_BrowserView, nullptr);
    EXPECT_EQ(fresh.cp, nullptr);
    EXPECT_EQ(fresh.colorRef, 0u);
    EXPECT_EQ(fresh.red, 0.0f);
    EXPECT_EQ(fresh.r, 0);
    EXPECT_FALSE(fresh.nsColor);
    EXPECT_EQ(fresh.colorWell("currentColorWell"), fresh.currentColorWell);
    EXPECT_EQ(fresh.colorWell("newColorWell"), fresh.newColorWell);
    fresh.mainViewDidLoad();
    EXPECT_STREQ(fresh.key, "BkgColors");
    EXPECT_STREQ(fresh.valueName, "SelectedColor");
    EXPECT_STREQ(fresh.m_key, "BkgColorsSelectedColor");
    EXPECT_FALSE(Stored()) << "loading the view reads and writes nothing";
}

TEST_F(BackgroundColorPrefTest, HostCallbacksAnswerFixedValues) {
    platform::View browser("browser");
    pane.setBrowserView(&browser);
    EXPECT_EQ(pane.m_BrowserView, &browser);
    EXPECT_FALSE(pane.editPane());
    EXPECT_TRUE(pane.windowWillClose());
}

TEST_F(BackgroundColorPrefTest, WithNothingStoredBothWellsShowOpaqueGrey230) {
    pane.didSelect();
    Color grey = Color::colorWithCalibratedRed(230 / 255.0f, 230 / 255.0f, 230 / 255.0f, 1.0f);
    EXPECT_EQ(pane.currentColorWell->color(), grey);
    EXPECT_EQ(pane.newColorWell->color(), grey);
    EXPECT_EQ(*pane.nsColor, grey);
    EXPECT_FALSE(Stored()) << "showing does not write";
}

TEST_F(BackgroundColorPrefTest, TopByteOfTheStoredValueIsIgnored) {
    Standard().setObject(static_cast<std::int32_t>(0xFF123456u), kKey);
    Standard().synchronize();
    pane.alpha = 0.25f;
    pane.didSelect();
    EXPECT_EQ(pane.currentColorWell->color(),
              Color::colorWithCalibratedRed(0x56 / 255.0f, 0x34 / 255.0f, 0x12 / 255.0f, 1.0f));
    EXPECT_EQ(pane.alpha, 0.25f) << "showing leaves alpha alone";
}

TEST_F(BackgroundColorPrefTest, ShowingReadsWhatAnotherProcessStored) {
    pane.didSelect();
    {
        UserDefaults other(Standard().path());
        other.setObject(0x000102, kKey);
    }
    pane.didSelect();
    EXPECT_EQ(pane.newColorWell->color(),
              Color::colorWithCalibratedRed(2 / 255.0f, 1 / 255.0f, 0.0f, 1.0f));
}

TEST_F(BackgroundColorPrefTest, LeavingStoresTheChosenColourWithoutAlpha) {
    const struct {
        const char* what;
        Color colour;
        std::int32_t stored;
    } rows[] = {
        {"primary components", Color::colorWithCalibratedRed(1.0f, 0.0f, 0.5f, 1.0f), 0x7F00FF},
        {"semi-transparent",
         Color::colorWithCalibratedRed(0x12 / 255.0f, 0x34 / 255.0f, 0x56 / 255.0f, 0.3f),
         0x563412},
        {"calibrated white 0.5", Color::colorWithCalibratedWhite(0.5f, 1.0f), 0x7F7F7F},
        {"device white takes the RGB path", Color(Color::DeviceWhiteColorSpace, {1.0f, 1.0f}),
         0xFFFFFF},
        {"device RGB", Color(Color::DeviceRGBColorSpace, {0.0f, 1.0f, 0.0f, 1.0f}), 0x00FF00},
    };
    for (const auto& row : rows) {
        Choose(row.colour);
        EXPECT_EQ(Stored(), UserDefaults::Object(row.stored)) << row.what;
    }
    Choose(rows[1].colour);
    pane.didSelect();
    EXPECT_EQ(pane.currentColorWell->color(),
              Color::colorWithCalibratedRed(0x12 / 255.0f, 0x34 / 255.0f, 0x56 / 255.0f, 1.0f))
        << "after a reselect the colour shows opaque";
}

TEST_F(BackgroundColorPrefTest, WhiteCaseSetsRedAndAlphaAndKeepsGreenAndBlue) {
    Choose(Color::colorWithCalibratedRed(0.1f, 0.2f, 0.3f, 0.4f));
    Choose(Color::colorWithCalibratedWhite(0.5f, 0.6f));
    EXPECT_EQ(pane.red, 0.5f);
    EXPECT_EQ(pane.alpha, 0.6f);
    EXPECT_EQ(pane.green, 0.2f);
    EXPECT_EQ(pane.blue, 0.3f);
    EXPECT_EQ(pane.r, 127);
    EXPECT_EQ(pane.g, 127);
    EXPECT_EQ(pane.b, 127);
}

TEST_F(BackgroundColorPrefTest, LeavingWritesEvenWhenNothingChanged) {
    pane.didSelect();
    ASSERT_FALSE(Stored());
    pane.didUnselect();
    EXPECT_EQ(Stored(), UserDefaults::Object(std::int32_t(0xE6E6E6)));
}

TEST_F(BackgroundColorPrefTest, ColourWithoutRgbFormPropagatesAndStoresNothing) {
    pane.newColorWell->setColor(Color("NSDeviceCMYKColorSpace", {0, 0, 0, 1, 1}));
    EXPECT_THROW(pane.didUnselect(), std::invalid_argument);
    EXPECT_FALSE(Stored());
}

} // namespace
