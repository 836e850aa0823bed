#include "platform/Color.h"

#include <cstring>
#include <stdexcept>

namespace platform {

namespace {

bool IsRGBSpace(const std::string& space) {
    return space == Color::CalibratedRGBColorSpace || space == Color::DeviceRGBColorSpace;
}

bool IsWhiteSpace(const std::string& space) {
    return space == Color::CalibratedWhiteColorSpace || space == Color::DeviceWhiteColorSpace;
}

void Put(float* out, float value) {
    if (out)
        *out = value;
}

} // namespace

Color::Color(std::string colorSpaceName, std::vector<float> components)
    : space_(std::move(colorSpaceName)), components_(std::move(components)) {
    if (IsRGBSpace(space_) && components_.size() != 4)
        throw std::invalid_argument("an RGB colour has four components");
    if (IsWhiteSpace(space_) && components_.size() != 2)
        throw std::invalid_argument("a white colour has two components");
}

Color Color::colorWithCalibratedRed(float red, float green, float blue, float alpha) {
    return Color(CalibratedRGBColorSpace, {red, green, blue, alpha});
}

Color Color::colorWithCalibratedWhite(float white, float alpha) {
    return Color(CalibratedWhiteColorSpace, {white, alpha});
}

void Color::getRed(float* red, float* green, float* blue, float* alpha) const {
    if (IsRGBSpace(space_)) {
        Put(red, components_[0]);
        Put(green, components_[1]);
        Put(blue, components_[2]);
        Put(alpha, components_[3]);
    } else if (IsWhiteSpace(space_)) {
        Put(red, components_[0]);
        Put(green, components_[0]);
        Put(blue, components_[0]);
        Put(alpha, components_[1]);
    } else {
        throw std::invalid_argument("colour space " + space_ + " has no RGB components");
    }
}

void Color::getWhite(float* white, float* alpha) const {
    if (!IsWhiteSpace(space_))
        throw std::invalid_argument("colour space " + space_ + " has no white component");
    Put(white, components_[0]);
    Put(alpha, components_[1]);
}

bool Color::operator==(const Color& other) const {
    return space_ == other.space_ && components_.size() == other.components_.size() &&
           std::memcmp(components_.data(), other.components_.data(),
                       components_.size() * sizeof(float)) == 0;
}

} // namespace platform
