// ColourText.h — the colour syntax of the hosts' command lines and the 8-bit form of a colour
// component, shared by bkgcolors-pane and bkgcolors-prefs.
//
// Free functions over values; nothing is owned or kept between calls.
#pragma once

#include "platform/Color.h"

#include <optional>
#include <string>

// A component from 0 to 1 written as a plain decimal number; nullopt for anything else.
std::optional<float> ParseComponent(const std::string& text);
// `#RRGGBB` (bytes / 255) or `R,G,B[,A]` with components from 0 to 1, as an opaque or translucent
// calibrated RGB colour; nullopt for anything else.
std::optional<platform::Color> ParseColour(const std::string& text);
// The byte the pane stores for a component: widened, scaled by 255 and truncated, clamped to 0-255.
int ComponentByte(float component);
