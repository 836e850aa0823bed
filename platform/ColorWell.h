/// @file
/// ColorWell.h — stands for NSColorWell: a control in the pane's view that shows one colour and
/// lets the user pick another.
///
/// Ownership: owns a copy of its colour; the well itself belongs to the view (the pane) that made
/// it. Invariant: it always holds a colour, opaque calibrated white 1.0 until one is set.
/// Copying: not copyable (outlets refer to a well by address).
#pragma once

#include "platform/Color.h"

namespace platform {

/// A control of the pane's view that shows one colour (see ColorWell.h).
class ColorWell {
public:
    /// A well showing opaque calibrated white.
    ColorWell() : color_(Color::colorWithCalibratedWhite(1.0f, 1.0f)) {}
    ColorWell(const ColorWell&) = delete;
    ColorWell& operator=(const ColorWell&) = delete;

    /// The colour the well shows; stays valid until the next setColor.
    const Color& color() const { return color_; }
    /// Shows `color` (a copy); does not notify anyone.
    void setColor(const Color& color) { color_ = color; }

private:
    Color color_;
};

} // namespace platform
