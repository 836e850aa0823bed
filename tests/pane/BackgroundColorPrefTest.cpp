#include "pane/BackgroundColorPref.h"

#include "platform/UserDefaults.h"
#include "support/StandardStore.h"

#include "support/Testing.h"

#include <stdexcept>

using platform::Color;
using platform::UserDefaults;

namespace {

constexpr const char* kKey = "BkgColorsSelectedColor";

const auto Standard = []() -> UserDefaults& { return UserDefaults::standardUserDefaults(); };
const auto Opaque = [](int r, int g, int b) {
    return Color::colorWithCalibratedRed(r / 255.0f, g / 255.0f, b / 255.0f, 1.0f);
};

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
    Color Shown(const char* well = "currentColorWell") { return pane.colorWell(well)->color(); }
    BackgroundColorPref pane;
};

TEST(BackgroundColorArithmetic, EveryByteSurvivesUnpackAndRepack) {
    for (int v = 0; v < 256; ++v)
        for (int index = 0; index < 3; ++index) {
            float component = BackgroundColorPref::UnpackComponent(v << (8 * index), index);
            EXPECT_EQ(component, static_cast<float>(v) / 255.0f);
            EXPECT_EQ(BackgroundColorPref::ComponentByte(component), v) << v << " at " << index;
        }
}

TEST(BackgroundColorArithmetic, ComponentsTruncateAndPackingMasksEachByte) {
    // 0.5 gives 127.5 truncated, -0.5 goes toward zero, 2.0 is not clamped (packing keeps the low
    // byte).
    const std::pair<float, std::int32_t> rows[] = {
        {1.0f, 255}, {0.5f, 127}, {-0.5f, -127}, {2.0f, 510}, {HUGE_VALF, INT32_MAX}, {NAN, 0}};
    for (const auto& [component, byte] : rows)
        EXPECT_EQ(BackgroundColorPref::ComponentByte(component), byte) << component;
    EXPECT_EQ(BackgroundColorPref::Pack(510, -1, 0x1FF), 0xFFFFFE);
}

TEST_F(BackgroundColorPrefTest, ShowingReadsTheStoreAndIgnoresTheTopByte) {
    pane.didSelect();
    EXPECT_EQ(Shown(), Opaque(230, 230, 230)) << "the default";
    EXPECT_EQ(Shown("newColorWell"), Opaque(230, 230, 230));
    EXPECT_FALSE(Stored()) << "showing does not write";
    UserDefaults(Standard().path()).setObject(static_cast<std::int32_t>(0xFF123456u), kKey);
    pane.didSelect();
    EXPECT_EQ(Shown(), Opaque(0x56, 0x34, 0x12)) << "stored by another process";
}

TEST_F(BackgroundColorPrefTest, LeavingStoresTheChosenColourWithoutAlpha) {
    pane.didSelect();
    pane.didUnselect();
    EXPECT_EQ(Stored(), UserDefaults::Object(0xE6E6E6)) << "written even when nothing changed";
    // Primary components, calibrated white 0.5, device white (taking the RGB path), and a
    // semi-transparent colour.
    const std::pair<Color, std::int32_t> rows[] = {
        {Color::colorWithCalibratedRed(1.0f, 0.0f, 0.5f, 1.0f), 0x7F00FF},
        {Color::colorWithCalibratedWhite(0.5f, 0.6f), 0x7F7F7F},
        {Color(Color::DeviceWhiteColorSpace, {1.0f, 1.0f}), 0xFFFFFF},
        {Color::colorWithCalibratedRed(0x12 / 255.0f, 0x34 / 255.0f, 0x56 / 255.0f, 0.3f),
         0x563412},
    };
    for (const auto& [colour, stored] : rows) {
        pane.colorWell("newColorWell")->setColor(colour);
        pane.didUnselect();
        EXPECT_EQ(Stored(), UserDefaults::Object(stored)) << std::hex << stored;
    }
    pane.didSelect();
    EXPECT_EQ(Shown(), Opaque(0x12, 0x34, 0x56)) << "shown opaque after a reselect";

    pane.colorWell("newColorWell")->setColor(Color("NSDeviceCMYKColorSpace", {0, 0, 0, 1, 1}));
    try {
        pane.didUnselect();
        ADD_FAILURE() << "a colour without an RGB form was stored";
    } catch (const std::invalid_argument& e) {
        EXPECT_STREQ(e.what(), "colour space NSDeviceCMYKColorSpace has no RGB components");
    }
    EXPECT_EQ(Stored(), UserDefaults::Object(0x563412)) << "no RGB form: nothing stored";
}

} // namespace
