// ColourBytes.h — the conversions between the colours GTK shows and the colours of the pane's
// wells, so that the colour a person picks is the colour stored and the colour stored is the
// colour shown.
//
// GTK shows a colour as three bytes. A well colour handed to the pane is byte / 255 per channel,
// which the pane's truncation (component x 255) turns back into the same byte; a colour shown is
// always such a byte colour, so nothing rounds differently on the way in and out.
// Free functions over values; nothing is owned.
#pragma once

#include "platform/Color.h"

#include <gdk/gdk.h>

// The byte GTK's renderer shows for a component: quantised to 16 bits with rounding, high byte
// kept; components outside 0-1 are clamped.
int ShownByte(float component);
// The opaque colour of three bytes, each byte / 255.
GdkRGBA RgbaFromBytes(int red, int green, int blue);
// `rgba` moved to the byte colour GTK shows for it, opaque.
GdkRGBA SnapToBytes(const GdkRGBA& rgba);
// The colour a button shows for a well colour: the bytes the pane stores for it, opaque. Throws
// std::invalid_argument for a colour with no RGB form.
GdkRGBA RgbaFromWell(const platform::Color& colour);
// The well colour for what a button shows: calibrated RGB, each channel the shown byte / 255.
platform::Color WellFromRgba(const GdkRGBA& rgba);
