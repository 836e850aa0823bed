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
// An opaque calibrated RGB colour written as `#RRGGBB` or `#RGB` (hex bytes), `rgb(R, G, B)`
// (decimal bytes) or `R,G,B` (components from 0 to 1). A fourth, alpha, part (`#RRGGBBAA`,
// `#RGBA`, `rgba(R, G, B, A)`, `R,G,B,A`) is taken only when fully opaque, since the store keeps
// no alpha. nullopt for anything else, with the reason (translated) in `why` when given; the
// reason names `whiteOption` as another way to give a colour when the program has one.
std::optional<platform::Color> ParseColour(const std::string& text, std::string* why = nullptr,
                                           const char* whiteOption = "--white W");
// The byte the pane stores for a component: widened, scaled by 255 and truncated, clamped to 0-255.
int ComponentByte(float component);
