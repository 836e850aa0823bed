/// @file
/// Color.h — stands for NSColor: an immutable colour value in a named colour space with 32-bit
/// float components.
///
/// Ownership: a plain value; it owns its space name and components. Invariant: a colour of an RGB
/// space has four components (red, green, blue, alpha), one of a white space two (white, alpha);
/// other spaces carry whatever components they were made with and have no RGB or white form.
/// Copying costs one short string and one small vector.
#pragma once

#include <string>
#include <vector>

namespace platform {

/// An immutable colour value in a named colour space (see Color.h).
class Color {
public:
    ///@{
    /// The names of the colour spaces with an RGB form: two RGB spaces and two white spaces.
    static constexpr const char* CalibratedRGBColorSpace = "NSCalibratedRGBColorSpace";
    static constexpr const char* DeviceRGBColorSpace = "NSDeviceRGBColorSpace";
    static constexpr const char* CalibratedWhiteColorSpace = "NSCalibratedWhiteColorSpace";
    static constexpr const char* DeviceWhiteColorSpace = "NSDeviceWhiteColorSpace";
    ///@}

    /// A colour in any space. Throws std::invalid_argument when an RGB space is not given four
    /// components or a white space not two; components are kept as given, not clamped.
    Color(std::string colorSpaceName, std::vector<float> components);

    /// colorWithCalibratedRed:green:blue:alpha: — components kept as given.
    static Color colorWithCalibratedRed(float red, float green, float blue, float alpha);
    /// colorWithCalibratedWhite:alpha: — components kept as given.
    static Color colorWithCalibratedWhite(float white, float alpha);

    /// The name of the colour's space, e.g. "NSCalibratedRGBColorSpace".
    const std::string& colorSpaceName() const { return space_; }
    /// The components as made; for RGB spaces red, green, blue, alpha.
    const std::vector<float>& components() const { return components_; }

    /// getRed:green:blue:alpha: — a white colour answers with its white level in all three; null
    /// pointers are skipped. Throws std::invalid_argument for a space with no RGB form.
    void getRed(float* red, float* green, float* blue, float* alpha) const;
    /// getWhite:alpha: — only for white spaces; throws std::invalid_argument for any other space.
    void getWhite(float* white, float* alpha) const;

    /// Same space and bit-identical components.
    bool operator==(const Color& other) const;
    /// The opposite of operator==.
    bool operator!=(const Color& other) const { return !(*this == other); }

private:
    std::string space_;
    std::vector<float> components_;
};

} // namespace platform
